// One entry for every volume header: the name decides the format, the
// format's reader fills the record, and the derived fields are computed the
// same way for all formats.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_geometry.h"
#include "zor_header.h"
#include "zor_volume_source.h"

namespace {

void set_header_defaults(const char *file_name, XD_HEADER *header) {
  memset(header, 0, sizeof *header);
  snprintf(header->file_name, sizeof header->file_name, "%s", file_name);
  header->resolution = POINT3D{1.0f, 1.0f, 1.0f};
  header->direction = POINT3D{1.0f, 1.0f, 1.0f};
  header->byte_order = machine_byte_order();
  for (int i = 0; i < 4; i++) header->ijk_to_xyz.m[i][i] = 1.0f;
  header->xyz_to_ijk = header->ijk_to_xyz;
}

bool has_extension_in_last_component(const char *file_name) {
  const char *slash = strrchr(file_name, '/');
  const char *last = slash ? slash + 1 : file_name;
  return strchr(last, '.') != nullptr;
}

// A native file named without an extension must say in its header how its
// values are stored.
int read_native_header_without_extension(const char *file_name, XD_HEADER *header) {
  header->storage_type = -1;
  const std::string header_name = std::string(file_name) + ".hdr";
  if (read_vistrel_header(header_name.c_str(), header)) return 1;
  if (header->storage_type <= 0) {
    puts("Error: the file type is not recognized,");
    puts("so it was assumed to be an vistrel file without an extension.");
    printf("However, the storage type was not read from file %s\n", header_name.c_str());
    puts("Valid types end in .nii, .img, .bshort, .bfloat, .blong, or _'");
    return 1;
  }
  header->file_type = header->storage_type;
  return 0;
}

int read_header_by_extension(int Verbose, const char *file_name, XD_HEADER *header) {
  char name[ZOR_LINE];
  snprintf(name, sizeof name, "%s", file_name);
  int file_type = -1;
  if (get_extension(name, &file_type, 0)) return 1;
  // A compressed NIfTI-1 file is a ".nii" read through its decompression.
  if (is_gzip_nifti_name(name)) file_type = NIFTI_NII;
  if (file_type == NIFTI_NII || file_type == NIFTI_IMG) {
    header->file_type = file_type;
    if (file_type == NIFTI_IMG && Verbose)
      puts("Files with .img extensions are assumed to be NIFTI, not ANALYZE");
    return read_nifti_header(Verbose, file_name, header);
  }
  // Any other extension is a native file; a known one gives the default
  // storage, which the header may override.
  header->file_type = file_type;
  header->storage_type = file_type;
  return read_vistrel_header(file_name, header);
}

// Counts of a header that passed check_volume_dimensions: they fit int.
void set_voxel_counts(XD_HEADER *header) {
  const int64_t n2d = static_cast<int64_t>(header->dim.x) * header->dim.y;
  const int64_t n3d = n2d * header->dim.z;
  header->n2d = static_cast<int>(n2d);
  header->n3d = static_cast<int>(n3d);
  header->n4d = static_cast<long>(n3d * header->nt);
}

}  // namespace

int check_volume_dimensions(const XD_HEADER *header, const char *name) {
  const int counts[4] = {header->dim.x, header->dim.y, header->dim.z, header->nt};
  const char axes[4] = {'x', 'y', 'z', 't'};
  // Negative counts are refused like missing ones: nothing could be read.
  for (int i = 0; i < 4; i++) {
    if (counts[i] < 1) {
      printf("Error: Value for %c dimension not found in header file '%s'\n", axes[i], name);
      return 1;
    }
  }
  // Voxel and value counts are kept in 32 bits everywhere: a volume, its
  // stored values and the whole series must fit.
  const int64_t components = header->data_type == DATA_VECTOR      ? 3
                             : header->data_type == DATA_MAGNITUDE ? 1
                                                                   : 2;
  const int64_t n3d = static_cast<int64_t>(header->dim.x) * header->dim.y * header->dim.z;
  if (n3d * components > INT32_MAX || n3d * header->nt > INT32_MAX) {
    printf("Error: the volume of %d x %d x %d voxels in file %s is too large.\n", header->dim.x,
           header->dim.y, header->dim.z, name);
    return 1;
  }
  return 0;
}

void print_volume_header_summary(const XD_HEADER *header) {
  switch (header->data_type) {
    case DATA_MAGNITUDE: printf("magnitude data, "); break;
    case DATA_COMPLEX: printf("complex data, "); break;
    case DATA_MAGNITUDE_PHASE: printf("magnitude-phase data, "); break;
    default: break;
  }
  switch (header->storage_type) {
    case BSHORT: printf("short ints, "); break;
    case BLONG: puts("long ints"); break;
    case BFLOAT: puts("floating point"); break;
    case UINT8: puts("bytes"); break;
    default: break;
  }
  printf("voxels (%d,%d,%d,%d), res (%g,%g,%g,%g)\n", header->dim.x, header->dim.y,
         header->dim.z, header->nt, header->resolution.x, header->resolution.y,
         header->resolution.z, header->resolution_t);
}

int read_volume_header(int Verbose, const char *file_name, XD_HEADER *header) {
  set_header_defaults(file_name, header);
  // Names are kept in 1024-character records, with room for a new extension.
  if (strlen(file_name) + 5 >= sizeof header->file_name) {
    printf("Error: the file name %s is too long.\n", file_name);
    return 1;
  }

  const size_t length = strlen(file_name);
  int result;
  if (length > 0 && file_name[length - 1] == '_')
    result = read_freesurfer_header(file_name, header);
  else if (!has_extension_in_last_component(file_name))
    result = read_native_header_without_extension(file_name, header);
  else
    result = read_header_by_extension(Verbose, file_name, header);
  if (result) return 1;

  // Every reader has checked its counts already; this guards the counts
  // computed below whatever the format.
  if (check_volume_dimensions(header, header->file_name)) return 1;
  set_voxel_counts(header);
  header->xyz_to_ijk = invert_mat44(header->ijk_to_xyz);
  header->fov = POINT3D{header->dim.x * header->resolution.x, header->dim.y * header->resolution.y,
                        header->dim.z * header->resolution.z};
  if (Verbose) print_volume_header_summary(header);
  return 0;
}
