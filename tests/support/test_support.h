// Helpers shared by the unit tests: catching the program's exit, capturing
// what a call prints, and scratch folders.
#ifndef ZOR_TEST_SUPPORT_H
#define ZOR_TEST_SUPPORT_H

#include <functional>
#include <string>

// Thrown instead of ending the process while a test's exit hook is active.
struct ZorExit {
  int status;
};

// Runs `body` with the exit hook installed; returns the exit status it
// ended with, or -1 when it returned normally.
int run_catching_exit(const std::function<void()> &body);

// What `body` wrote to standard output and standard error, byte for byte.
struct Captured {
  std::string out;
  std::string err;
  int exit_status;  // -1 when body returned
};
Captured capture_output(const std::function<void()> &body);

// One line of a control file through an engine's keyword decoder (on a
// copy, as the decoders cut their line up): what it returned and printed.
struct Decoded {
  int result;
  std::string out;
};
Decoded decode_keyword_line(int (*decoder)(char *line), const std::string &line);

// Runs the program's entry in process as far as its windows: DISPLAY is
// removed for the call, and a run that ends only because no display can be
// opened counts as a start that went through (exit_status -1), without the
// two lines the failed connection prints.
Captured capture_until_windows(const std::function<void()> &body);

// Runs `body` in a child process, for calls that could block or run away:
// the child is ended after `seconds`, and its address space is limited to
// `memory_limit` bytes when that is not 0 (except under AddressSanitizer,
// which needs a large address space of its own). `finished` is false when
// the child was killed or crashed; otherwise `result` is what body returned
// and `out`, `exit_status` what it printed and how it ended, as
// capture_output gives them.
struct ChildRun {
  bool finished;
  int result;
  int exit_status;
  std::string out;
};
ChildRun run_in_child(const std::function<int()> &body, int seconds, size_t memory_limit = 0);

// A fresh empty folder under the system's temporary folder, removed at exit.
std::string make_temp_dir();
// Writes `content` to dir/name and returns the full path.
std::string write_text_file(const std::string &dir, const std::string &name,
                            const std::string &content);
std::string write_binary_file(const std::string &dir, const std::string &name,
                              const void *data, size_t size);

#endif
