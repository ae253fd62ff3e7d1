// Replace-when-complete file writing, shared by every writer of result files.
#include "zor_atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace {

int g_simulate_full_disk = 0;

// The folder part of a path, with its slash ("" for the working folder).
std::string folder_of(const std::string &path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

std::string base_of(const std::string &path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The new file gets the old file's permissions, or those a plain fopen
// would have given it.
mode_t mode_for(const std::string &target) {
  struct stat st;
  if (stat(target.c_str(), &st) == 0 && S_ISREG(st.st_mode)) return st.st_mode & 07777;
  mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

}  // namespace

void atomic_file_simulate_full_disk(int on) { g_simulate_full_disk = on; }

void atomic_file_reset(void) { g_simulate_full_disk = 0; }

FILE *atomic_file_open(atomic_file *file, const char *target_name) {
  file->stream = nullptr;
  file->target = target_name;
  file->temp_name.clear();

  std::string pattern = folder_of(file->target) + base_of(file->target) + ".tmpXXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd = mkstemp(name.data());
  if (fd < 0) return nullptr;
  file->temp_name = name.data();
  fchmod(fd, mode_for(file->target));

  if (g_simulate_full_disk) {
    close(fd);
    file->stream = fopen("/dev/full", "w");
  } else {
    file->stream = fdopen(fd, "w");
    if (!file->stream) close(fd);
  }
  if (!file->stream) {
    unlink(file->temp_name.c_str());
    file->temp_name.clear();
    return nullptr;
  }
  return file->stream;
}

int atomic_file_commit(atomic_file *file) {
  if (!file->stream) return 1;
  int failed = 0;
  if (fflush(file->stream) != 0 || ferror(file->stream)) failed = 1;
  if (!failed && fsync(fileno(file->stream)) != 0) failed = 1;
  if (fclose(file->stream) != 0) failed = 1;
  file->stream = nullptr;
  if (!failed && rename(file->temp_name.c_str(), file->target.c_str()) != 0) failed = 1;
  if (failed) unlink(file->temp_name.c_str());
  file->temp_name.clear();
  return failed;
}

void atomic_file_abandon(atomic_file *file) {
  if (file->stream) fclose(file->stream);
  file->stream = nullptr;
  if (!file->temp_name.empty()) unlink(file->temp_name.c_str());
  file->temp_name.clear();
}
