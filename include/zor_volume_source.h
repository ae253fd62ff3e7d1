// The bytes of a volume file, read in order from the start: a plain file,
// or a gzip-compressed one (".nii.gz") decompressed on the way. Readers of
// voxel data go through this, so that every place that reads a ".nii" reads
// a ".nii.gz" too, with the same values.
#ifndef ZOR_VOLUME_SOURCE_H
#define ZOR_VOLUME_SOURCE_H

#include <cstdio>
#include <string>

// True for a name that ends in ".nii.gz": a NIfTI-1 file compressed whole.
bool is_gzip_nifti_name(const char *file_name);

// The most bytes a deflate stream of `compressed_bytes` bytes can expand to:
// what a header may declare before anything is allocated for it.
long long gzip_expansion_limit(long long compressed_bytes);

struct volume_source {
  FILE *fp = nullptr;      // a plain file
  void *gz = nullptr;      // or a compressed one
  std::string name;
  long long position = 0;  // bytes delivered so far
};

// Opens a regular file, compressed when its name says so. Returns 0, or 1
// (nothing open, no message) when it cannot be opened.
int volume_source_open(volume_source *source, const char *file_name);

// Reads up to `bytes` bytes; returns how many were read. Fewer than asked
// means the file ended or, for a compressed file, its stream is damaged:
// volume_source_report says which.
long long volume_source_read(volume_source *source, void *buffer, long long bytes);

// Moves forward to byte `offset` of the (decompressed) content. Returns 0,
// or 1 when the content is shorter or the offset lies behind.
int volume_source_skip_to(volume_source *source, long long offset);

// For a compressed file: reads what is left up to the end of the stream, so
// that its check sum is verified. Returns 0, or 1 after the message of
// volume_source_report. A plain file always gives 0.
int volume_source_finish(volume_source *source);

// Prints the one-line reason of a short read of a compressed file: a
// stream that ends early or one that is corrupt. Returns 1 when it printed
// (the file is compressed), 0 otherwise (the caller prints its own).
int volume_source_report(volume_source *source);

void volume_source_close(volume_source *source);

#endif
