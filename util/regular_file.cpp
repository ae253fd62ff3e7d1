// Opening inputs only when they are regular files.
#include "zor_regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

FILE *fopen_regular(const char *name, const char *mode) {
  // Without O_NONBLOCK the open of a pipe waits for a writer.
  const int fd = open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return nullptr;
  struct stat info;
  if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    close(fd);
    return nullptr;
  }
  const int flags = fcntl(fd, F_GETFL);
  if (flags >= 0) fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
  FILE *fp = fdopen(fd, mode);
  if (!fp) close(fd);
  return fp;
}
