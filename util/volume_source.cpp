// Volume files read from the start, plain or gzip-compressed (zlib).
#include "zor_volume_source.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

gzFile gz_of(volume_source *source) { return static_cast<gzFile>(source->gz); }

bool ends_with(const char *text, const char *tail) {
  const size_t n = strlen(text), m = strlen(tail);
  return n >= m && strcmp(text + n - m, tail) == 0;
}

// Opens a regular file without waiting on a pipe; -1 for anything else.
int open_regular(const char *name) {
  const int fd = open(name, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return -1;
  struct stat info;
  if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
    close(fd);
    return -1;
  }
  const int flags = fcntl(fd, F_GETFL);
  if (flags >= 0) fcntl(fd, F_SETFL, flags & ~O_NONBLOCK);
  return fd;
}

}  // namespace

bool is_gzip_nifti_name(const char *file_name) { return file_name && ends_with(file_name, ".nii.gz"); }

long long gzip_expansion_limit(long long compressed_bytes) {
  // Deflate codes at most 258 bytes in a little over two bits: no stream
  // expands more than 1032 times. A margin covers the smallest files.
  if (compressed_bytes < 0) return 0;
  if (compressed_bytes > LLONG_MAX / 1100) return LLONG_MAX;
  return compressed_bytes * 1100 + 65536;
}

int volume_source_open(volume_source *source, const char *file_name) {
  volume_source_close(source);
  source->name = file_name;
  source->position = 0;
  const int fd = open_regular(file_name);
  if (fd < 0) return 1;
  if (is_gzip_nifti_name(file_name)) {
    gzFile gz = gzdopen(fd, "rb");
    if (!gz) {
      close(fd);
      return 1;
    }
    gzbuffer(gz, 1 << 18);
    source->gz = gz;
    return 0;
  }
  source->fp = fdopen(fd, "rb");
  if (!source->fp) {
    close(fd);
    return 1;
  }
  return 0;
}

long long volume_source_read(volume_source *source, void *buffer, long long bytes) {
  if (bytes <= 0) return 0;
  long long done = 0;
  unsigned char *out = static_cast<unsigned char *>(buffer);
  if (source->fp) {
    done = (long long)fread(out, 1, (size_t)bytes, source->fp);
  } else if (source->gz) {
    // gzread takes an unsigned count: large reads go in pieces.
    while (done < bytes) {
      const long long want = bytes - done > (1LL << 30) ? (1LL << 30) : bytes - done;
      const int got = gzread(gz_of(source), out + done, (unsigned)want);
      if (got <= 0) break;
      done += got;
      if (got < want) break;
    }
  }
  source->position += done;
  return done;
}

int volume_source_skip_to(volume_source *source, long long offset) {
  if (offset < source->position) return 1;
  if (source->fp) {
    if (fseeko(source->fp, (off_t)offset, SEEK_SET) != 0) return 1;
    source->position = offset;
    return 0;
  }
  std::vector<unsigned char> scratch(1 << 16);
  while (source->position < offset) {
    const long long want = offset - source->position < (long long)scratch.size() ? offset - source->position
                                                                               : (long long)scratch.size();
    if (volume_source_read(source, scratch.data(), want) != want) return 1;
  }
  return 0;
}

int volume_source_finish(volume_source *source) {
  if (!source->gz) return 0;
  std::vector<unsigned char> scratch(1 << 16);
  for (;;) {
    const int got = gzread(gz_of(source), scratch.data(), (unsigned)scratch.size());
    if (got > 0) continue;
    int code = Z_OK;
    gzerror(gz_of(source), &code);
    if (got == 0 && code == Z_OK) return 0;
    volume_source_report(source);
    return 1;
  }
}

int volume_source_report(volume_source *source) {
  if (!source->gz) return 0;
  int code = Z_OK;
  const char *why = gzerror(gz_of(source), &code);
  if (code == Z_OK || code == Z_BUF_ERROR || code == Z_STREAM_END) {
    printf("Error: the compressed file %s ends early: it is truncated.\n", source->name.c_str());
    return 1;
  }
  // zlib names the stream "<fd:N>" in front of its reason: the file's name
  // is given instead.
  const char *reason = why && *why ? why : "unreadable stream";
  if (reason[0] == '<') {
    const char *colon = strstr(reason, ">: ");
    if (colon) reason = colon + 3;
  }
  printf("Error: the compressed file %s is damaged (%s).\n", source->name.c_str(), reason);
  return 1;
}

void volume_source_close(volume_source *source) {
  if (source->fp) fclose(source->fp);
  if (source->gz) gzclose_r(gz_of(source));
  source->fp = nullptr;
  source->gz = nullptr;
}
