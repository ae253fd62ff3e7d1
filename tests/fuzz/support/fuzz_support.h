// What every fuzz target shares: a private working folder, the files a
// reader expects written into it, a reset of every per-run state, and the
// checks made on each input.
#ifndef ZOR_FUZZ_SUPPORT_H
#define ZOR_FUZZ_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

// Empties this process's private folder (made on first use under the
// system's temporary folder) and makes it the working folder.
void fuzz_fresh_dir();
void fuzz_write(const std::string &name, const void *data, size_t size);
void fuzz_write(const std::string &name, const std::string &content);
// A valid single-file NIfTI-1 volume of 4 x 3 x 2 voxels and `nt` float
// time points, for readers that need a shown stack or a run.
void fuzz_write_volume(const std::string &name, int nt);
// The input cut into at most `n` pieces at each line "@@" (the last piece
// keeps the rest); missing pieces are empty.
std::vector<std::string> fuzz_parts(const uint8_t *data, size_t size, size_t n);
// The input as a NUL-terminated string, cut at its first NUL.
std::string fuzz_text(const uint8_t *data, size_t size);
// The hidden per-run states a target's reader touches, put back to their
// start before each run (each reset costs time: the engines' records are
// large).
enum {
  FUZZ_RESET_NONE = 0,
  FUZZ_RESET_PROGRAM = 1,  // start-up, stacks, overlays, windows
  FUZZ_RESET_GLM = 2,
  FUZZ_RESET_REM = 4,
  FUZZ_RESET_SRTM = 8,
  FUZZ_RESET_FIT = 16  // the fit engine and the registration
};
void fuzz_reset(int which);
// A 4 x 3 x 2 shown stack and fresh overlay records, for the region, wire
// and tract readers.
void fuzz_shown_stack();

struct FuzzRun {
  int result;       // what the body returned (-99 when it exited)
  int exit_status;  // -1 when the body returned
  std::string output;  // standard output
};
// Runs `body` with its output captured and the one exit turned into a return.
FuzzRun fuzz_call(const std::function<int()> &body);

// The checks of every target: `prepare` writes the files (after the
// `resets`), `body` calls the reader. Both run twice; the process aborts, so
// that libFuzzer keeps the input, when a result is not in `results`, an exit
// status is not 0 or 1, or the second run prints or returns anything else
// than the first.
void fuzz_check(const std::function<void()> &prepare, const std::function<int()> &body,
                std::initializer_list<int> results, int resets);

// The program's entry over `args` (the program name is added), without a
// display: a run that gets as far as opening its windows ends with status 1
// after the display message, like every failed start.
int fuzz_program(const std::vector<std::string> &args);

#endif
