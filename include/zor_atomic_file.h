// Writing a file so that it is replaced only when complete: the text goes
// to a temporary file beside the target, which is renamed over the target
// after everything was written and flushed to disk. A full disk or a failure
// half way leaves the old file as it was and no temporary file behind.
#ifndef ZOR_ATOMIC_FILE_H
#define ZOR_ATOMIC_FILE_H

#include <cstdio>
#include <string>

struct atomic_file {
  FILE *stream;           // where the writer writes; null when not open
  std::string target;     // the file to replace
  std::string temp_name;  // the temporary file beside it
};

// Opens a temporary file beside `target_name`. Returns the stream, or null
// (with nothing created) when it cannot be made.
FILE *atomic_file_open(atomic_file *file, const char *target_name);

// Flushes, syncs and closes the stream, then renames the temporary file over
// the target. Returns 0 on success; 1 when anything failed, in which case the
// temporary file is removed and the target is untouched.
int atomic_file_commit(atomic_file *file);

// Closes and removes the temporary file; the target stays as it was.
void atomic_file_abandon(atomic_file *file);

// Test hook: while on, every stream opened here writes to a device that is
// always full, so that writes fail the way they do on a full disk.
void atomic_file_simulate_full_disk(int on);
void atomic_file_reset(void);

#endif
