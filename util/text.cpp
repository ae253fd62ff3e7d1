// Line readers and small character helpers shared by every text file reader.
#include "zor_text.h"
#include "zor_types.h"

#include <cctype>
#include <cstring>

int is_upper_case(int c) { return c >= 'A' && c <= 'Z'; }

int to_lower_case(int c) { return c + 32; }

void convert_to_lower(char *string) {
  for (char *p = string; *p; p++)
    if (is_upper_case(*p)) *p = static_cast<char>(to_lower_case(*p));
}

char *next_non_white(char *ptr) {
  while (*ptr == ' ' || *ptr == '\t') ptr++;
  return ptr;
}

const char *next_non_white(const char *ptr) {
  while (*ptr == ' ' || *ptr == '\t') ptr++;
  return ptr;
}

char *get_line(FILE *stream, char *buffer, int size) {
  // Every caller's buffer is ZOR_LINE characters, whatever it passes.
  return fgets(buffer, 1024, stream);
}

char *get_line_with_comment(FILE *stream, char *buffer, int size) {
  if (!get_line(stream, buffer, size)) return nullptr;
  char *mark = strchr(buffer, '#');
  if (mark) *mark = '\0';
  return buffer;
}

std::vector<std::string> split_words(const char *line) {
  std::vector<std::string> words;
  const char *p = line;
  for (;;) {
    while (*p && isspace(static_cast<unsigned char>(*p))) p++;
    if (!*p) break;
    const char *start = p;
    while (*p && !isspace(static_cast<unsigned char>(*p))) p++;
    words.emplace_back(start, p);
  }
  return words;
}

int is_blank_line(const char *line) {
  for (const char *p = line; *p; p++)
    if (!isspace(static_cast<unsigned char>(*p))) return 0;
  return 1;
}

char *argument_of(char *line) {
  char *p = next_non_white(line);
  while (*p && *p != ' ' && *p != '\t' && *p != '\n' && *p != '\r') p++;
  return next_non_white(p);
}

void copy_without_line_end(char *destination, const char *source) {
  size_t n = strlen(source);
  while (n > 0 && (source[n - 1] == '\n' || source[n - 1] == '\r')) n--;
  if (n > ZOR_LINE - 1) n = ZOR_LINE - 1;
  memcpy(destination, source, n);
  destination[n] = '\0';
}
