// Start-up files: a remembered command line in the working directory. The
// first line is written like a shell command; the rest is a note that is
// shown to the user.
#include <sys/stat.h>

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_exit.h"
#include "zor_help.h"
#include "zor_startup.h"
#include "zor_text.h"

namespace {

// Copies what is left of the file to standard output byte for byte.
void print_rest_of_file(FILE *fp) {
  char buffer[4096];
  size_t n;
  while ((n = fread(buffer, 1, sizeof buffer, fp)) > 0) fwrite(buffer, 1, n, stdout);
}

bool is_lone_flip_option(const std::string &token) { return token == "-y" || token == "-Y"; }

}  // namespace

void read_program_init_file(const char *file_name, std::vector<std::string> &myargv, int *myargc) {
  // Only a regular file: a pipe of that name could block the start for ever.
  struct stat info;
  if (stat(file_name, &info) != 0 || !S_ISREG(info.st_mode)) return;
  FILE *fp = fopen(file_name, "r");
  if (!fp) return;

  char line[ZOR_LINE];
  if (!get_line(fp, line, ZOR_LINE)) {
    fclose(fp);
    return;
  }
  std::vector<std::string> words = split_words(line);
  if (words.empty()) {
    fclose(fp);
    return;
  }
  // The first word is the command name of the remembered command line.
  for (size_t i = 1; i < words.size(); i++) {
    myargv.resize(static_cast<size_t>(*myargc));
    myargv.push_back(words[i]);
    (*myargc)++;
  }
  print_rest_of_file(fp);
  fclose(fp);
}

void apply_startup_files(std::vector<std::string> &myargv, int *myargc) {
  const bool empty_command_line = *myargc < 2;
  const bool lone_flip = *myargc == 2 && is_lone_flip_option(myargv[1]);
  if (!empty_command_line && !lone_flip) return;

  read_program_init_file(".vistrel", myargv, myargc);
  // With a lone flip option the count is already 2, so .zorview is never
  // read and the flip stays in front of the remembered words.
  if (*myargc < 2) read_program_init_file(".zorview", myargv, myargc);
  if (*myargc < 2) {
    puts("Error: this program should be invoked as");
    puts("   zorview <image file> [optional arguments]\n");
    action_help(0, 1);
    zor_exit(1);
  }
}
