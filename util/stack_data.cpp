// Storage of a stack's volumes and the one way to read a voxel value,
// whatever the data type.
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <cstdlib>

#include <sys/mman.h>

#include "zor_alloc.h"
#include "zor_special.h"
#include "zor_display_state.h"
#include "zor_exit.h"
#include "zor_stack.h"

namespace {

const size_t HUGE_PAGE = size_t{2} << 20;

// All volumes of a stack lie in one block, cleared, and the table points
// into it. A large block comes from calloc as fresh pages, which costs no
// clearing, and is offered huge pages: a 4-D run then takes a few hundred
// page faults instead of hundreds of thousands.
void *cleared_block(size_t count, size_t size) {
  void *p = calloc(count > 0 ? count : 1, size);
  if (!p) alloc_error("Allocation error in allocate_stack_data().");
  const size_t bytes = count * size;
  if (bytes >= 4 * HUGE_PAGE) {
    const uintptr_t start = (reinterpret_cast<uintptr_t>(p) + HUGE_PAGE - 1) & ~(HUGE_PAGE - 1);
    const uintptr_t end = (reinterpret_cast<uintptr_t>(p) + bytes) & ~(HUGE_PAGE - 1);
    if (end > start) madvise(reinterpret_cast<void *>(start), end - start, MADV_HUGEPAGE);
  }
  return p;
}

template <typename T>
T **volume_table(int nt, int n3d) {
  if (nt < 0 || n3d < 0) alloc_error("Allocation error in allocate_stack_data().");
  T **table = static_cast<T **>(calloc(nt > 0 ? nt : 1, sizeof(T *)));
  if (!table) alloc_error("Allocation error in allocate_stack_data().");
  if (nt == 0) return table;
  T *block = static_cast<T *>(cleared_block(static_cast<size_t>(nt) * n3d, sizeof(T)));
  for (int t = 0; t < nt; t++) table[t] = block + static_cast<size_t>(t) * n3d;
  return table;
}

template <typename T>
void free_volume_table(T **&table, int nt) {
  if (!table) return;
  if (nt > 0) free(table[0]);
  free(table);
  table = nullptr;
}

}  // namespace

int values_per_voxel(int data_type) {
  if (data_type == DATA_VECTOR) return 3;
  if (data_type == DATA_COMPLEX || data_type == DATA_MAGNITUDE_PHASE) return 2;
  return 1;
}

void allocate_stack_data(int nt, int n3d, data_stack *stack) {
  stack->nt = nt;
  stack->n3d = n3d;
  stack->npts_volume = n3d * values_per_voxel(stack->data_type);
  stack->Volume = nullptr;
  stack->fcVolume = nullptr;
  stack->v3Volume = nullptr;
  switch (stack->data_type) {
    case DATA_MAGNITUDE: stack->Volume = volume_table<float>(nt, n3d); break;
    case DATA_COMPLEX:
    case DATA_MAGNITUDE_PHASE: stack->fcVolume = volume_table<FCOMPLEX>(nt, n3d); break;
    case DATA_VECTOR: stack->v3Volume = volume_table<POINT3D>(nt, n3d); break;
    default: break;
  }
}

void free_stack_data(int nt, data_stack *stack) {
  free_volume_table(stack->Volume, nt);
  free_volume_table(stack->fcVolume, nt);
  free_volume_table(stack->v3Volume, nt);
}

float stack_data_4d(const data_stack *stack, int display_data_type, int ispace, int itime) {
  if (ispace < 0 || ispace >= stack->n3d) {
    printf("Programming error: space index (%d) out of range (%d) in stack_data_4d\n", ispace,
           stack->n3d);
    fflush(stdout);
    zor_exit(1);
  }
  if (itime < 0 || itime >= stack->nt) {
    printf("Programming error: time index (%d) out of range (%d) in stack_data_4d\n", itime,
           stack->nt);
    fflush(stdout);
    zor_exit(1);
  }
  switch (stack->data_type) {
    case DATA_MAGNITUDE:
      return stack->Volume[itime][ispace];
    case DATA_COMPLEX: {
      const FCOMPLEX v = stack->fcVolume[itime][ispace];
      if (display_data_type == 0) return compute_amplitude(v);
      if (display_data_type == 1) return static_cast<float>(compute_phase(v) * 57.29577950560105);
      if (display_data_type == 2) return v.real;
      return v.imag;
    }
    case DATA_MAGNITUDE_PHASE: {
      const FCOMPLEX v = stack->fcVolume[itime][ispace];
      if (display_data_type == 0) return v.real;
      if (display_data_type == 1) return v.imag;
      if (display_data_type == 2) return static_cast<float>(v.real * cos(v.imag));
      return static_cast<float>(v.real * sin(v.imag));
    }
    case DATA_VECTOR: {
      const POINT3D v = stack->v3Volume[itime][ispace];
      if (display_data_type < 1)
        return static_cast<float>(sqrt(static_cast<double>(v.x) * v.x +
                                       static_cast<double>(v.y) * v.y +
                                       static_cast<double>(v.z) * v.z));
      if (display_data_type == 1) return v.x;
      if (display_data_type == 2) return v.y;
      if (display_data_type == 3) return v.z;
      return 0.0f;
    }
    default:
      return 0.0f;
  }
}

float stack_data_4d_voxel(const data_stack *stack, int display_data_type, IPOINT3D voxel,
                          int itime) {
  return stack_data_4d(stack, display_data_type, index3d(voxel.x, voxel.y, voxel.z), itime);
}

namespace {
bool inside_shown_stack(int x, int y, int z) {
  const data_stack *s = mosaic.stack;
  return s && x >= 0 && x < s->dim.x && y >= 0 && y < s->dim.y && z >= 0 && z < s->dim.z;
}
}  // namespace

int index3d(int ix, int iy, int iz) {
  if (!inside_shown_stack(ix, iy, iz)) {
    puts("Programming error: index out of range in index3d.");
    printf("(x,y,z) = (%d,%d,%d)\n", ix, iy, iz);
    zor_exit(1);
  }
  const IPOINT3D dim = mosaic.stack->dim;
  return ix + dim.x * iy + dim.x * dim.y * iz;
}

int voxel3D_to_1D(IPOINT3D voxel) {
  if (!inside_shown_stack(voxel.x, voxel.y, voxel.z)) {
    puts("Programming error: index out of range in voxel3D_to_1D");
    printf("(i,j,k) = (%d,%d,%d)\n", voxel.x, voxel.y, voxel.z);
    zor_exit(1);
  }
  const IPOINT3D dim = mosaic.stack->dim;
  return voxel.x + dim.x * voxel.y + dim.x * dim.y * voxel.z;
}
