// Loading the files of a list into one stack, concatenated along time.
// All headers are read first, since no file can be placed before the total
// number of time points is known; then the stack is allocated and filled.
#include <climits>
#include <cstdio>

#include "zor_stack.h"

namespace {

// What the first file of the run fixed for every later stack.
struct RunState {
  bool first_time = true;
  IPOINT3D dim{};
  POINT3D resolution{};
  int data_type_save = 0;
  data_stack *stack_save = nullptr;
};
RunState run_state;

bool same_dim(IPOINT3D a, IPOINT3D b) { return a.x == b.x && a.y == b.y && a.z == b.z; }
// Exact comparison, in which NaN matches NaN: a file whose voxel size is
// not a number is no mismatch with itself or its like (the display reports
// the unusable size).
bool same_side(float a, float b) { return a == b || (a != a && b != b); }
bool same_resolution(POINT3D a, POINT3D b) {
  return same_side(a.x, b.x) && same_side(a.y, b.y) && same_side(a.z, b.z);
}

// First pass over one file: header, checks against the run, and its place
// in the stack. Returns 0 or 1.
int register_file(int Verbose, int common_dimensions, data_stack *stack, file_list *node) {
  XD_HEADER header;
  if (read_volume_header(Verbose, node->file_name, &header)) return 1;

  if (run_state.first_time) {
    printf("voxels (%d,%d,%d,%d), res (%g,%g,%g,%g)\n", header.dim.x, header.dim.y, header.dim.z,
           header.nt, header.resolution.x, header.resolution.y, header.resolution.z,
           header.resolution_t);
    run_state.dim = header.dim;
    run_state.data_type_save = header.data_type;
    run_state.resolution = header.resolution;
    run_state.stack_save = stack;
    run_state.first_time = false;
  } else if (header.data_type != run_state.data_type_save && stack != &activation_stack &&
             run_state.stack_save != &activation_stack) {
    puts("Don't mix real and complex data types between files.");
    return 1;
  }

  if (common_dimensions) {
    if (!same_dim(header.dim, run_state.dim)) {
      printf("Error: dimensions for %s (%d,%d,%d)\n", node->file_name, header.dim.x, header.dim.y,
             header.dim.z);
      printf("don't match previous image dimensions (%d,%d,%d)\n", run_state.dim.x,
             run_state.dim.y, run_state.dim.z);
      return 1;
    }
    if (!same_resolution(header.resolution, run_state.resolution)) {
      printf("Warning: resolution for %s (%g,%g,%g)\n", node->file_name, header.resolution.x,
             header.resolution.y, header.resolution.z);
      printf("doesn't match previous resolution (%g,%g,%g)\n", run_state.resolution.x,
             run_state.resolution.y, run_state.resolution.z);
    }
  }

  stack->dim = header.dim;
  stack->n2d = header.n2d;
  stack->n3d = header.n3d;
  stack->n4d = header.n4d;
  stack->resolution = header.resolution;
  if (stack->resolution_t == 0.0f) stack->resolution_t = header.resolution_t;
  stack->origin = header.origin;
  stack->direction = header.direction;
  stack->fov = header.fov;
  stack->ijk_to_xyz = header.ijk_to_xyz;
  stack->xyz_to_ijk = header.xyz_to_ijk;
  stack->off_diagonal = header.off_diagonal;
  stack->registration = header.registration;
  stack->data_type = header.data_type;

  node->header = header;
  node->nt = node->type == 3 ? 1 : header.nt;
  if (static_cast<long long>(stack->nt) + node->nt > INT_MAX) {
    printf("Error: too many time points with file %s.\n", node->file_name);
    return 1;
  }
  node->start_image = stack->nt;
  stack->nt += node->nt;
  node->end_image = stack->nt - 1;
  node->time_step = header.resolution_t;
  return 0;
}

}  // namespace

void read_SpaceTime_data_reset(void) { run_state = RunState{}; }

int read_SpaceTime_data(int Verbose, int common_dimensions, data_stack *stack,
                        file_list *file_info, int *nfiles) {
  for (file_list *node = file_info; node; node = node->next)
    if (register_file(Verbose, common_dimensions, stack, node)) return 1;

  // The product is kept in 32 bits, as the record has always held it.
  stack->n4d = static_cast<int>(static_cast<unsigned>(stack->nt) * static_cast<unsigned>(stack->n3d));
  if (stack->n3d < 1) {
    printf("Error: the volumes of %s hold no voxels.\n", file_info->file_name);
    return 1;
  }
  if (static_cast<long long>(stack->n3d) * values_per_voxel(stack->data_type) > INT_MAX) {
    printf("Error: the volumes of %s hold too many values.\n", file_info->file_name);
    return 1;
  }
  // Nothing is allocated for a file that cannot hold what its header
  // declares: a wrong header must not ask for terabytes.
  for (file_list *node = file_info; node; node = node->next)
    if (check_stack_file(stack, node)) return 1;
  allocate_stack_data(stack->nt, stack->n3d, stack);

  *nfiles = 0;
  for (file_list *node = file_info; node; node = node->next) {
    const int failed = node->header.file_type == FREESURFER ? read_freesurfer_file(stack, node)
                                                            : read_vistrel_file(stack, node);
    if (failed) return 1;
    (*nfiles)++;
  }
  return 0;
}
