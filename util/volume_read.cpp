// Reading the voxels of one file into its place in a stack: native and
// NIfTI volumes, one volume per read, and FreeSurfer slice series.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "zor_alloc.h"
#include "zor_exit.h"
#include "zor_regular_file.h"
#include "zor_stack.h"
#include "zor_volume_source.h"

namespace {

int storage_bytes(int storage_type) {
  switch (storage_type) {
    case BSHORT:
    case USHORT: return 2;
    case BLONG:
    case BFLOAT: return 4;
    case UINT8: return 1;
    case BDOUBLE: return 8;
    default: return 0;  // no reading path
  }
}

// The loops over whole volumes below are worth vectorizing even at the
// build's usual optimisation level.
#pragma GCC push_options
#pragma GCC optimize("vect-cost-model=dynamic")

void swap_bytes_16(void *data, long count) {
  uint16_t *p = static_cast<uint16_t *>(data);
  for (long i = 0; i < count; i++) p[i] = __builtin_bswap16(p[i]);
}

void swap_bytes_64(void *data, long count) {
  uint64_t *p = static_cast<uint64_t *>(data);
  for (long i = 0; i < count; i++) p[i] = __builtin_bswap64(p[i]);
}

void swap_bytes_32(void *data, long count) {
  uint32_t *p = static_cast<uint32_t *>(data);
  // Shifts and masks rather than a byte-swap instruction: they vectorize
  // on every x86-64.
  for (long i = 0; i < count; i++) {
    const uint32_t x = p[i];
    p[i] = (x >> 24) | ((x >> 8) & 0xff00u) | ((x << 8) & 0xff0000u) | (x << 24);
  }
}

// Converts one volume's stored values to floats in `out`.
template <typename T>
void convert(const T *__restrict raw, float *__restrict out, long count) {
  for (long i = 0; i < count; i++) out[i] = static_cast<float>(raw[i]);
}

// Doubles beyond float's range become infinite or the largest float, as
// rounding to nearest gives them, without the conversion the language
// leaves undefined for them.
inline float double_to_float(double v) {
  const double halfway = (double)FLT_MAX + 0x1p103;  // half a step above the largest float
  if (v >= halfway) return INFINITY;
  if (v <= -halfway) return -INFINITY;
  if (v > (double)FLT_MAX) return FLT_MAX;
  if (v < -(double)FLT_MAX) return -FLT_MAX;
  return static_cast<float>(v);
}

void convert(const double *__restrict raw, float *__restrict out, long count) {
  for (long i = 0; i < count; i++) out[i] = double_to_float(raw[i]);
}

// The same with slope and offset applied on the way, in the same float
// steps as scaling afterwards: one pass over the volume instead of two.
template <typename T>
void convert_scaled(const T *__restrict raw, float *__restrict out, long count, float slope,
                    float offset) {
  for (long i = 0; i < count; i++) out[i] = slope * static_cast<float>(raw[i]) + offset;
}

void scale_in_place(float *values, float slope, float offset, long count) {
  for (long i = 0; i < count; i++) values[i] = slope * values[i] + offset;
}

#pragma GCC pop_options

[[noreturn]] void seek_failure(long offset, const char *name) {
  fprintf(stderr, "\nError doing fseek() to %ld in data file %s\n", offset, name);
  zor_exit(1);
}

// The byte position of the data. A value no file position can have ends
// the run as a failed seek does.
long data_offset(const XD_HEADER &header, const char *name) {
  const float offset = header.voxel_offset;
  if (!(offset > -9.0e18f && offset < 9.0e18f)) {
    fprintf(stderr, "\nError: the data offset (%g) of file %s is not a file position\n", offset,
            name);
    zor_exit(1);
  }
  return static_cast<long>(offset);
}

std::string slice_name(const char *stem, int slice, int storage_type) {
  char number[16];
  snprintf(number, sizeof number, "%03d", slice);
  return std::string(stem) + number + (storage_type == BFLOAT ? ".bfloat" : ".bshort");
}

// Size of a file in bytes, or -1 when it cannot be opened. Only regular
// files are measured; for others the reading finds out.
long long file_size(const char *name, bool *measured) {
  // Opened without waiting, so that a pipe does not hold the check up.
  const int fd = open(name, O_RDONLY | O_NONBLOCK);
  if (fd < 0) return -1;
  struct stat st;
  *measured = fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
  close(fd);
  return *measured ? static_cast<long long>(st.st_size) : 0;
}

int check_freesurfer_series(const data_stack *stack, const file_list *node) {
  const XD_HEADER &h = node->header;
  const long long need = static_cast<long long>(node->nt) * h.dim.x * h.dim.y *
                         (h.storage_type == BFLOAT ? 4 : 2);
  for (int jz = 0; jz < h.dim.z; jz++) {
    const std::string name = slice_name(node->file_name, jz, h.storage_type);
    bool measured = false;
    const long long size = file_size(name.c_str(), &measured);
    if (size < 0) {
      printf("\nError: cannot open file %s\n", node->file_name);
      return 1;
    }
    if (measured && size < need) {
      printf("Error reading the short data from file %s\n", name.c_str());
      return 1;
    }
  }
  return 0;
}

// Slope and offset to apply while converting, when `on`.
struct Scaling {
  bool on;
  float slope, offset;
};

template <typename T>
void convert_volume(const T *raw, float *values, long count, Scaling scaling) {
  if (scaling.on)
    convert_scaled(raw, values, count, scaling.slope, scaling.offset);
  else
    convert(raw, values, count);
}

// Reads one volume of `npts` values into `values`. UINT8 vector data packs
// each r, g, b triple into one float 65536 r + 256 g + b at position j/3.
// Integer values are scaled on the way when `scaling` says so. Returns false
// on a short read.
bool read_volume(FILE *fp, const XD_HEADER &header, bool swap, int npts, void *raw,
                 float *values, Scaling scaling) {
  switch (header.storage_type) {
    case BFLOAT:
      if (fread(values, 4, npts, fp) != static_cast<size_t>(npts)) return false;
      if (swap) swap_bytes_32(values, npts);
      return true;
    case BSHORT:
    case USHORT:
      if (fread(raw, 2, npts, fp) != static_cast<size_t>(npts)) return false;
      if (swap) swap_bytes_16(raw, npts);
      if (header.storage_type == BSHORT)
        convert_volume(static_cast<const int16_t *>(raw), values, npts, scaling);
      else
        convert_volume(static_cast<const uint16_t *>(raw), values, npts, scaling);
      return true;
    case BLONG:
      if (fread(raw, 4, npts, fp) != static_cast<size_t>(npts)) return false;
      if (swap) swap_bytes_32(raw, npts);
      convert_volume(static_cast<const int32_t *>(raw), values, npts, scaling);
      return true;
    case UINT8: {
      if (fread(raw, 1, npts, fp) != static_cast<size_t>(npts)) return false;
      const unsigned char *b = static_cast<const unsigned char *>(raw);
      if (header.data_type == DATA_VECTOR) {
        for (int j = 0; j + 2 < npts; j += 3)
          values[j / 3] = 65536.0f * b[j] + 256.0f * b[j + 1] + b[j + 2];
      } else {
        convert_volume(b, values, npts, scaling);
      }
      return true;
    }
    case BDOUBLE:
      // Rounded to float, then treated as float storage: scaled afterwards
      // in float steps, as 32-bit floats are.
      if (fread(raw, 8, npts, fp) != static_cast<size_t>(npts)) return false;
      if (swap) swap_bytes_64(raw, npts);
      convert(static_cast<const double *>(raw), values, npts);
      return true;
    default:
      // Unknown storage has no reading path: the volume keeps what the
      // buffer holds, zeros from the start.
      return true;
  }
}

// Scaling and placement of one volume. Each voxel's scaling is done just
// before it is placed, and only the first n3d values are scaled: for
// complex and vector data the scaled values are, apart from the very first,
// already placed, so such data stays unscaled.
void place_volume(data_stack *stack, const XD_HEADER &header, int it, float *values,
                  bool scaled) {
  const float slope = header.scale_slope, offset = header.scale_offset;
  const int n3d = stack->n3d;
  switch (stack->data_type) {
    case DATA_MAGNITUDE: {
      // Magnitude volumes are read straight into their place.
      float *v = stack->Volume[it];
      if (v != values) memcpy(v, values, sizeof(float) * n3d);
      if (slope != 0.0f && !scaled) scale_in_place(v, slope, offset, n3d);
      break;
    }
    case DATA_COMPLEX:
    case DATA_MAGNITUDE_PHASE: {
      FCOMPLEX *v = stack->fcVolume[it];
      for (int j = 0; j < n3d; j++) {
        if (slope != 0.0f) values[j] = slope * values[j] + offset;
        v[j].real = values[2 * j];
        v[j].imag = values[2 * j + 1];
      }
      break;
    }
    case DATA_VECTOR: {
      POINT3D *v = stack->v3Volume[it];
      for (int j = 0; j < n3d; j++) {
        if (slope != 0.0f) values[j] = slope * values[j] + offset;
        v[j].x = values[3 * j];
        v[j].y = values[3 * j + 1];
        v[j].z = values[3 * j + 2];
      }
      break;
    }
    default:
      break;
  }
}

void show_progress(const char *name, int jt, int nt) {
  if (nt <= 9 || jt % (nt / 10) != 0) return;
  int percent = static_cast<int>(floor(100.0 * jt / nt + 0.5));
  if (percent > 100) percent = 100;
  printf("\r%s: %d %c", name, percent, '%');
  fflush(stdout);
}


// Converts one volume of magnitude data from the file's bytes at `src` into
// `target`: the same steps as read_volume after its read.
void convert_mapped_volume(const unsigned char *src, const XD_HEADER &header, bool swap, int npts,
                           void *raw, float *target, Scaling scaling) {
  const int bytes = storage_bytes(header.storage_type);
  const void *stored = src;
  if (header.storage_type == BFLOAT) {
    memcpy(target, src, sizeof(float) * (size_t)npts);
    if (swap) swap_bytes_32(target, npts);
    return;
  }
  // A data offset that is no multiple of the value size leaves the mapped
  // values unaligned: they are copied first, as swapped ones are.
  const bool misaligned = bytes > 1 && reinterpret_cast<uintptr_t>(src) % (uintptr_t)bytes != 0;
  if ((swap || misaligned) && bytes > 1) {
    memcpy(raw, src, (size_t)npts * (size_t)bytes);
    if (swap && bytes == 2) swap_bytes_16(raw, npts);
    if (swap && bytes == 4) swap_bytes_32(raw, npts);
    if (swap && bytes == 8) swap_bytes_64(raw, npts);
    stored = raw;
  }
  if (header.storage_type == BDOUBLE) {
    convert(static_cast<const double *>(stored), target, npts);
    return;
  }
  switch (header.storage_type) {
    case BSHORT: convert_volume(static_cast<const int16_t *>(stored), target, npts, scaling); break;
    case USHORT: convert_volume(static_cast<const uint16_t *>(stored), target, npts, scaling); break;
    case BLONG: convert_volume(static_cast<const int32_t *>(stored), target, npts, scaling); break;
    default: convert_volume(static_cast<const unsigned char *>(stored), target, npts, scaling); break;
  }
}

// Magnitude volumes of a regular file that holds all of them: the file is
// mapped and its volumes converted straight from the page cache, shared
// between two threads. Each volume is converted exactly as the one-by-one
// reader would, and the progress lines come out the same, in order.
// Returns false, having done nothing, when the file does not qualify.
bool read_mapped_magnitude(data_stack *stack, file_list *file_info, long offset,
                           Scaling scaling) {
  const XD_HEADER &header = file_info->header;
  const char *name = file_info->file_name;
  const int bytes = storage_bytes(header.storage_type);
  const int nt = file_info->nt;
  const int npts = stack->npts_volume;
  if (stack->data_type != DATA_MAGNITUDE || bytes == 0 || nt < 2 || npts <= 0 ||
      (header.storage_type == UINT8 && header.data_type == DATA_VECTOR))
    return false;
  const long long volume_bytes = (long long)npts * bytes;
  const long long need = offset + (long long)nt * volume_bytes;
  const int fd = open(name, O_RDONLY | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || st.st_size < need) {
    close(fd);
    return false;
  }
  void *map = mmap(nullptr, (size_t)need, PROT_READ, MAP_PRIVATE, fd, 0);
  close(fd);
  if (map == MAP_FAILED) return false;
  madvise(map, (size_t)need, MADV_SEQUENTIAL | MADV_WILLNEED);
  const unsigned char *data = static_cast<const unsigned char *>(map) + offset;
  const bool swap = machine_byte_order() != header.byte_order;

  std::atomic<int> next{0};
  auto work = [&](void *raw, bool report) {
    int printed = 0;
    for (;;) {
      const int jt = next.fetch_add(1);
      if (jt >= nt) break;
      if (report)
        for (; printed <= jt; printed++) show_progress(name, printed, nt);
      const int it = file_info->start_image + jt;
      convert_mapped_volume(data + jt * volume_bytes, header, swap, npts, raw, stack->Volume[it],
                            scaling);
      place_volume(stack, header, it, stack->Volume[it], scaling.on);
    }
    if (report)
      for (; printed < nt; printed++) show_progress(name, printed, nt);
  };
  const bool two = std::thread::hardware_concurrency() > 1;
  const bool need_raw = swap || offset % bytes != 0;
  std::vector<char> raw_main(need_raw ? (size_t)volume_bytes : 0), raw_other(raw_main.size());
  if (two) {
    // This thread reports: each line once, in order, as the volumes are
    // taken up.
    std::thread other([&] { work(raw_other.data(), false); });
    work(raw_main.data(), true);
    other.join();
  } else {
    work(raw_main.data(), true);
  }
  munmap(map, (size_t)need);
  printf("\r%s: 100 %c\n", name, '%');
  fflush(stdout);
  return true;
}

// Volumes of a compressed NIfTI-1 file, decompressed in order: each volume
// is converted from its bytes exactly as from a plain file's. A stream that
// ends early or is damaged is reported and gives 1.
int read_compressed_file(data_stack *stack, file_list *file_info, long offset, Scaling scaling) {
  const XD_HEADER &header = file_info->header;
  const char *name = file_info->file_name;
  volume_source source;
  if (volume_source_open(&source, name)) {
    printf("\nError: cannot open file %s.\n", name);
    return 1;
  }
  if (volume_source_skip_to(&source, offset)) {
    if (!volume_source_report(&source)) printf("Error reading the data from file %s\n", name);
    volume_source_close(&source);
    return 1;
  }
  const bool swap = machine_byte_order() != header.byte_order;
  const int npts = stack->npts_volume;
  const int bytes = storage_bytes(header.storage_type);
  const long long volume_bytes = (long long)npts * bytes;
  std::vector<float> values(stack->data_type != DATA_MAGNITUDE ? (size_t)npts : 0);
  std::vector<unsigned char> stored((size_t)volume_bytes), scratch((size_t)volume_bytes);
  const int nt = file_info->nt;
  for (int jt = 0; jt < nt; jt++) {
    show_progress(name, jt, nt);
    const int it = file_info->start_image + jt;
    float *target = stack->data_type == DATA_MAGNITUDE ? stack->Volume[it] : values.data();
    if (bytes > 0) {
      if (volume_source_read(&source, stored.data(), volume_bytes) != volume_bytes) {
        if (!volume_source_report(&source)) printf("Error reading the data from file %s\n", name);
        volume_source_close(&source);
        return 1;
      }
      if (header.storage_type == UINT8 && header.data_type == DATA_VECTOR) {
        for (int j = 0; j + 2 < npts; j += 3)
          target[j / 3] = 65536.0f * stored[j] + 256.0f * stored[j + 1] + stored[j + 2];
      } else {
        convert_mapped_volume(stored.data(), header, swap, npts, scratch.data(), target, scaling);
      }
    }
    place_volume(stack, header, it, target, scaling.on);
  }
  // The rest of the stream is read too, so that its check sum is verified.
  const int damaged = volume_source_finish(&source);
  volume_source_close(&source);
  if (damaged) return 1;
  printf("\r%s: 100 %c\n", name, '%');
  fflush(stdout);
  return 0;
}
}  // namespace

int check_stack_file(const data_stack *stack, const file_list *node) {
  const XD_HEADER &h = node->header;
  if (h.file_type == FREESURFER) return check_freesurfer_series(stack, node);
  bool measured = false;
  long long size = file_size(node->file_name, &measured);
  if (size < 0) {
    printf("\nError: cannot open file %s.\n", node->file_name);
    return 1;
  }
  const long offset = data_offset(h, node->file_name);
  if (offset < 0) seek_failure(offset, node->file_name);
  const long long values = static_cast<long long>(stack->n3d) * values_per_voxel(stack->data_type);
  const long long need = offset + node->nt * values * storage_bytes(h.storage_type);
  // A compressed file holds at most what its size can expand to.
  if (measured && is_gzip_nifti_name(node->file_name)) size = gzip_expansion_limit(size);
  if (measured && size < need && storage_bytes(h.storage_type) > 0) {
    printf("Error reading the data from file %s\n", node->file_name);
    return 1;
  }
  return 0;
}

int read_vistrel_file(data_stack *stack, file_list *file_info) {
  const XD_HEADER &header = file_info->header;
  const char *name = file_info->file_name;
  const bool swap = machine_byte_order() != header.byte_order;
  // Magnitude volumes of integers are scaled while they are converted.
  const bool integers = header.storage_type == BSHORT || header.storage_type == USHORT ||
                        header.storage_type == BLONG ||
                        (header.storage_type == UINT8 && header.data_type != DATA_VECTOR);
  const Scaling scaling = {stack->data_type == DATA_MAGNITUDE && integers &&
                               header.scale_slope != 0.0f,
                           header.scale_slope, header.scale_offset};
  if (is_gzip_nifti_name(name)) return read_compressed_file(stack, file_info, data_offset(header, name), scaling);
  FILE *fp = fopen_regular(name, "rb");
  if (!fp) {
    printf("\nError: cannot open file %s.\n", name);
    return 1;
  }
  const long offset = data_offset(header, name);
  if (fseek(fp, offset, SEEK_SET) != 0) {
    fclose(fp);
    seek_failure(offset, name);
  }
  if (read_mapped_magnitude(stack, file_info, offset, scaling)) {
    fclose(fp);
    return 0;
  }

  const int npts = stack->npts_volume;
  float *values = nullptr;
  if (stack->data_type != DATA_MAGNITUDE) {
    values = float_vector(npts);
    memset(values, 0, sizeof(float) * npts);
  }
  const int bytes = storage_bytes(header.storage_type);
  void *raw = nullptr;
  if (bytes > 0 && header.storage_type != BFLOAT) raw = char_vector_long(static_cast<int64_t>(npts) * bytes);

  const int nt = file_info->nt;
  for (int jt = 0; jt < nt; jt++) {
    show_progress(name, jt, nt);
    const int it = file_info->start_image + jt;
    float *target = stack->data_type == DATA_MAGNITUDE ? stack->Volume[it] : values;
    if (!read_volume(fp, header, swap, npts, raw, target, scaling)) {
      free(raw);
      free(values);
      fclose(fp);
      printf("Error reading the data from file %s\n", name);
      return 1;
    }
    place_volume(stack, header, it, target, scaling.on);
  }
  free(raw);
  free(values);
  fclose(fp);
  printf("\r%s: 100 %c\n", name, '%');
  fflush(stdout);
  return 0;
}

int read_freesurfer_file(data_stack *stack, file_list *file_info) {
  const XD_HEADER &header = file_info->header;
  const char *stem = file_info->file_name;
  if (!stack->Volume) {
    printf("Error: the series %s cannot join a stack of complex or vector data.\n", stem);
    return 1;
  }
  const int npts2d = header.dim.x * header.dim.y;
  const bool swap = machine_byte_order() != header.byte_order;
  const int nt = file_info->nt;
  const bool progress =
      static_cast<long long>(nt) * header.dim.z * npts2d > 1000000 && header.dim.z > 1;
  const bool floats = header.storage_type == BFLOAT;
  float *values = float_vector(npts2d);
  int16_t *shorts = floats ? nullptr : short_vector(npts2d);

  for (int jz = 0; jz < header.dim.z; jz++) {
    const std::string name = slice_name(stem, jz, header.storage_type);
    FILE *fp = fopen_regular(name.c_str(), "rb");
    if (!fp) {
      free(shorts);
      free_float_vector(values);
      printf("\nError: cannot open file %s\n", stem);
      return 1;
    }
    if (progress) {
      printf("\r%s: slice %d", stem, jz);
      fflush(stdout);
    }
    for (int jt = 0; jt < nt; jt++) {
      const size_t got = floats ? fread(values, 4, npts2d, fp) : fread(shorts, 2, npts2d, fp);
      if (got != static_cast<size_t>(npts2d)) {
        fclose(fp);
        free(shorts);
        free_float_vector(values);
        printf("Error reading the short data from file %s\n", name.c_str());
        return 1;
      }
      if (floats) {
        if (swap) swap_bytes_32(values, npts2d);
      } else {
        if (swap) swap_bytes_16(shorts, npts2d);
        convert(shorts, values, npts2d);
      }
      // The start image shifts the space index, not the time index: a
      // series lands right only as the first file of its stack. Values
      // that the shift pushes past the volume are dropped.
      float *volume = stack->Volume[jt];
      const long base = static_cast<long>(file_info->start_image) + static_cast<long>(jz) * npts2d;
      for (int j = 0; j < npts2d && base + j < stack->n3d; j++) volume[base + j] = values[j];
    }
    fclose(fp);
  }
  free(shorts);
  free_float_vector(values);
  if (progress) {
    printf("\r%s: 100 %c\n", stem, '%');
    fflush(stdout);
  }
  return 0;
}
