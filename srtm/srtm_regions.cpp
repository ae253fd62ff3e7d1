// Reference and target regions: the region files, the run's whole data, and
// the masked means that make the time-activity curves.
#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "srtm_internal.h"
#include "zor_alloc.h"
#include "zor_header.h"
#include "zor_text.h"
#include "zor_volume_source.h"

namespace {

void overlay_syntax_message(void) {
  puts("Error: The syntax in an overlay file can be one of the following:");
  puts("1)  x y z         (voxel indices), OR");
  puts("2)  x y z weight  (for variable weight in range 0:1)");
}

// The masked mean of each frame: each voxel weighted by mask/w.
int masked_curve(const float *mask, int n3d, const float *data, int nt, double *curve, const char *region_file) {
  double w = 0.0;
  for (int v = 0; v < n3d; v++) w += mask[v];
  if (w == 0.0) {
    printf("Error: the region in file %s holds no voxels.\n", region_file);
    return 1;
  }
  for (int jt = 0; jt < nt; jt++) {
    const float *volume = data + (size_t)jt * n3d;
    double sum = 0.0;
    for (int v = 0; v < n3d; v++)
      if (mask[v] != 0.0f) sum += (mask[v] / w) * volume[v];
    curve[jt] = sum;
  }
  return 0;
}

// The checks of read_overlay_mask, with its messages; the weights go to
// `weight_vector` when there is one.
int scan_overlay_mask(const char *FileName, IPOINT3D dim, float *weight_vector) {
  FILE *fp = fopen(FileName, "r");
  if (!fp) {
    printf("Error opening file %s\n", FileName);
    return 1;
  }
  long n3d = (long)dim.x * dim.y * dim.z;
  if (weight_vector)
    for (long v = 0; v < n3d; v++) weight_vector[v] = 0.0f;
  char line[ZOR_LINE];
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    int x, y, z;
    float weight = 1.0f;
    int nread = sscanf(line, "%d %d %d %g", &x, &y, &z, &weight);
    if (nread == 3) weight = 1.0f;
    if (nread != 3 && nread != 4) {
      overlay_syntax_message();
      fclose(fp);
      return 1;
    }
    if (weight < 0.0f || weight > 1.0f) {
      puts("Error: use weight values <= 1. in overlays.");
      fclose(fp);
      return 1;
    }
    if (x < 0 || y < 0 || z < 0 || x >= dim.x || y >= dim.y || z >= dim.z) {
      puts("Error: the overlay in file .ovl does not agree with the image dimensions.");
      fclose(fp);
      return 1;
    }
    if (weight_vector) weight_vector[(long)z * dim.x * dim.y + (long)y * dim.x + x] = weight;
  }
  fclose(fp);
  return 0;
}

int storage_bytes_of(const XD_HEADER &header) {
  switch (header.storage_type) {
    case BSHORT:
    case USHORT: return 2;
    case BFLOAT:
    case BLONG: return 4;
    case UINT8: return 1;
    default: return 0;
  }
}

// The whole frames a regular data file holds behind its header, or -1 when
// the file cannot be measured (it is then simply read).
long frames_on_disk(const char *file_name, const XD_HEADER &header, int bytes) {
  struct stat info;
  if (stat(file_name, &info) != 0 || !S_ISREG(info.st_mode)) return -1;
  const long long frame = (long long)header.dim.x * header.dim.y * header.dim.z * bytes;
  // A compressed file can hold at most what its stream can expand to.
  const long long size = is_gzip_nifti_name(file_name) ? gzip_expansion_limit((long long)info.st_size)
                                                       : (long long)info.st_size;
  const long long behind = size - (long long)header.voxel_offset;
  if (frame <= 0 || behind <= 0) return 0;
  return (long)std::min<long long>(behind / frame, INT32_MAX);
}

// True when reading the run's data is bound to fail: its storage type is
// not read here, it cannot be opened, or it is shorter than its header says.
bool data_file_fails(const char *file_name, const XD_HEADER &header) {
  const int bytes = storage_bytes_of(header);
  if (bytes == 0) return true;
  FILE *fp = fopen(file_name, "rb");
  if (!fp) return true;
  fclose(fp);
  const long frames = frames_on_disk(file_name, header, bytes);
  return frames >= 0 && frames < header.nt;
}

// Header checks, masks and data of one run; `reference` 0 reads the target
// region alone.
int read_regions_of_run(int verbose, int iRun, char *file_name, int reference) {
  if (iRun < 0 || iRun >= SRTM_MAX_RUNS || !SRTM.target_region[iRun]) {
    printf("Error: run %d has no table to hold its region curves.\n", iRun + 1);
    return 1;
  }
  XD_HEADER header;
  if (read_volume_header(verbose, file_name, &header)) return 1;
  if (header.nt != SRTM.nt[iRun]) {
    printf("Error: the data file (%s) and table file disagree on the number of time points (%d and %d)\n", file_name,
           header.nt, SRTM.nt[iRun]);
    return 1;
  }
  int &known = reference ? srtm_alloc.roi_dims_known : srtm_alloc.target_dims_known;
  IPOINT3D &dim = reference ? srtm_alloc.roi_dim : srtm_alloc.target_dim;
  if (!known) {
    dim = header.dim;
    known = 1;
  } else if (dim.x != header.dim.x || dim.y != header.dim.y || dim.z != header.dim.z) {
    printf("Error: image dimensions for file %s (%d x %d x %d) are different from previous dimensions (%d x %d x "
           "%d)\n",
           file_name, header.dim.x, header.dim.y, header.dim.z, dim.x, dim.y, dim.z);
    return 1;
  }
  int n3d = header.dim.x * header.dim.y * header.dim.z;
  free_float_vector(SRTM.Mask_Reference);
  free_float_vector(SRTM.Mask_Target);
  SRTM.Mask_Reference = SRTM.Mask_Target = nullptr;
  if (data_file_fails(file_name, header)) {
    // Nothing is allocated for a volume that cannot be read (its header may
    // claim any size): the regions are checked as they would be, then the
    // read gives its own message.
    srtm_alloc.mask_n3d = 0;
    free_float_vector(SRTM.PET_TAC_4D[iRun]);
    SRTM.PET_TAC_4D[iRun] = nullptr;
    if (reference && scan_overlay_mask(SRTM_input.reference_region_file, header.dim, nullptr)) return 1;
    if (scan_overlay_mask(SRTM_input.target_region_file, header.dim, nullptr)) return 1;
    read_vistrel_data_file(file_name, header, nullptr);
    return 1;
  }
  if (reference) {
    SRTM.Mask_Reference = float_vector(n3d > 0 ? n3d : 1);
    if (read_overlay_mask(SRTM_input.reference_region_file, header.dim, SRTM.Mask_Reference)) return 1;
  }
  SRTM.Mask_Target = float_vector(n3d > 0 ? n3d : 1);
  srtm_alloc.mask_n3d = n3d;
  if (read_overlay_mask(SRTM_input.target_region_file, header.dim, SRTM.Mask_Target)) return 1;

  free_float_vector(SRTM.PET_TAC_4D[iRun]);
  long n4d = (long)n3d * header.nt;
  SRTM.PET_TAC_4D[iRun] = float_vector_long(n4d > 0 ? n4d : 1);
  if (read_vistrel_data_file(file_name, header, SRTM.PET_TAC_4D[iRun])) return 1;
  if (reference && masked_curve(SRTM.Mask_Reference, n3d, SRTM.PET_TAC_4D[iRun], header.nt,
                                SRTM.reference_region[iRun], SRTM_input.reference_region_file))
    return 1;
  return masked_curve(SRTM.Mask_Target, n3d, SRTM.PET_TAC_4D[iRun], header.nt, SRTM.target_region[iRun],
                      SRTM_input.target_region_file);
}

template <typename T>
void convert(const void *raw, float *out, long n) {
  const T *v = static_cast<const T *>(raw);
  for (long j = 0; j < n; j++) out[j] = (float)v[j];
}

}  // namespace

int read_ROIs_from_file(int verbose, int iRun, char *SRTM_FileName) {
  return read_regions_of_run(verbose, iRun, SRTM_FileName, 1);
}

int read_target_ROI_from_file(int verbose, int iRun, char *SRTM_FileName) {
  return read_regions_of_run(verbose, iRun, SRTM_FileName, 0);
}

int read_overlay_mask(char *FileName, IPOINT3D dim, float *weight_vector) {
  return scan_overlay_mask(FileName, dim, weight_vector);
}

int read_vistrel_data_file(char *FileName, XD_HEADER header, float *data) {
  const bool swap = machine_byte_order() != header.byte_order;
  const bool progress = header.n4d > 1000000 && header.nt > 10;
  int bytes;
  switch (header.storage_type) {
    case BSHORT:
    case USHORT: bytes = 2; break;
    case BFLOAT:
    case BLONG: bytes = 4; break;
    case UINT8: bytes = 1; break;
    default:
      printf("Error: the storage type (%d) of file %s cannot be read here.\n", header.storage_type, FileName);
      return 1;
  }
  long n3d = (long)header.dim.x * header.dim.y * header.dim.z;
  // A file shorter than its header says fails at its first missing frame,
  // and nothing is allocated for frames that are not there.
  const long frames = frames_on_disk(FileName, header, bytes);
  const bool short_file = frames >= 0 && frames < header.nt;
  std::vector<unsigned char> buffer;
  if (data && !(short_file && frames == 0)) buffer.resize((size_t)(n3d > 0 ? n3d : 1) * bytes);
  if (!data && !short_file) return 1;  // no place for what the file holds
  // Compressed NIfTI-1 files are read through their decompression.
  volume_source source;
  if (volume_source_open(&source, FileName)) {
    printf("\nError: cannot open file %s.\n", FileName);
    return 1;
  }
  if (volume_source_skip_to(&source, (long long)header.voxel_offset)) {
    if (!volume_source_report(&source)) printf("Error stepping past header into data for file %s\n", FileName);
    volume_source_close(&source);
    return 1;
  }
  int step = header.nt / 10;
  for (int jt = 0; jt < header.nt; jt++) {
    if (progress && step > 0 && jt % step == 0) {
      int percent = (int)floor(100.0 * jt / header.nt + 0.5);
      if (percent > 100) percent = 100;
      printf("\r%s: %d %c", FileName, percent, '%');
      fflush(stdout);
    }
    if (short_file && jt >= frames) {
      printf("Error reading time point %d for file %s\n", jt, FileName);
      volume_source_close(&source);
      return 1;
    }
    if (!data) continue;  // a short file's frames are only counted
    if (volume_source_read(&source, buffer.data(), (long long)bytes * n3d) != (long long)bytes * n3d) {
      if (!volume_source_report(&source)) printf("Error reading time point %d for file %s\n", jt, FileName);
      volume_source_close(&source);
      return 1;
    }
    if (swap && bytes == 2)
      for (long v = 0; v < n3d; v++) swap_16(buffer.data() + 2 * v);
    if (swap && bytes == 4)
      for (long v = 0; v < n3d; v++) swap_32(buffer.data() + 4 * v);
    float *out = data + (size_t)jt * n3d;
    switch (header.storage_type) {
      case BSHORT: convert<int16_t>(buffer.data(), out, n3d); break;
      case USHORT: convert<uint16_t>(buffer.data(), out, n3d); break;
      case BLONG: convert<int32_t>(buffer.data(), out, n3d); break;
      case UINT8: convert<uint8_t>(buffer.data(), out, n3d); break;
      default: memcpy(out, buffer.data(), sizeof(float) * n3d); break;
    }
    if (header.scale_slope != 0.0f)
      for (long v = 0; v < n3d; v++) out[v] = out[v] * header.scale_slope + header.scale_offset;
  }
  const int damaged = volume_source_finish(&source);
  volume_source_close(&source);
  if (damaged) return 1;
  if (progress) {
    printf("\r%s: 100 %c\n", FileName, '%');
    fflush(stdout);
  }
  return 0;
}
