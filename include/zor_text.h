// Line readers, small text helpers and the command-line and list parsers.
#ifndef ZOR_TEXT_H
#define ZOR_TEXT_H

#include <cstdio>
#include <string>
#include <vector>

int is_upper_case(int c);
int to_lower_case(int c);  // adds 32 unconditionally: test first
void convert_to_lower(char *string);
char *next_non_white(char *ptr);
const char *next_non_white(const char *ptr);

// One line of at most 1023 characters, newline kept. `size` is ignored:
// every buffer handed in holds 1024 characters. Null at end of file.
char *get_line(FILE *stream, char *buffer, int size);
// The same, cut at the first '#'.
char *get_line_with_comment(FILE *stream, char *buffer, int size);

// The words of a line, split at white space (blanks, tabs, line ends, as
// the C scanners skip them). Every reader splits its lines with this.
std::vector<std::string> split_words(const char *line);
// True when a line holds nothing but white space: the one test of a blank
// line for every reader.
int is_blank_line(const char *line);
// The text after a line's first word, past its white space: where a model
// file's keyword line keeps its argument.
char *argument_of(char *line);
// The keyword lines at the head of a model's control file, each through
// `decode` (blank lines, as is_blank tells them, skipped), up to the line
// that starts the file's list (decode returns 1: *list_found is then 1) or
// the end. A line decode refuses (below 0) is reported with its number,
// followed by `describe`'s example of the format, and gives 1.
int read_control_keywords(FILE *fp, const char *file_name, int (*decode)(char *line),
                          int (*is_blank)(const char *line), void (*describe)(void), int *list_found);
// Copies a line without its line end, cut to fit a ZOR_LINE buffer.
void copy_without_line_end(char *destination, const char *source);

// Option scanner over one argument list; see my_getopt_reset.
int my_getopt(int argc, char **argv, const char *option_string, int *which_arg);
void my_getopt_reset(void);

// Lists such as "0,3-5,9-7,z". `selection` must hold max_number entries.
int decode_selection_list(const char *list, int max_number, int default_all,
                          int *number, int *selection);

#endif
