// The region's map operations: list and map kept in step, growing from a
// seed, box erosion and dilation, threshold selection, clustering, moving,
// mirroring, clearing and stepping through the listed regions. Growing uses
// an explicit queue, so no region, however large or winding, deepens the
// stack.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

#include "zor_colour.h"
#include "zor_compose.h"
#include "zor_graph.h"
#include "zor_overlay_edit.h"
#include "zor_x11.h"

namespace {

bool have_stack(void) {
  return mosaic.stack != nullptr && mosaic.stack->n3d > 0 && overlay_map.weight != nullptr &&
         overlay_map.color != nullptr;
}

IPOINT3D shown_dim(void) { return mosaic.stack->dim; }

bool inside(IPOINT3D v, IPOINT3D d) {
  return v.x >= 0 && v.x < d.x && v.y >= 0 && v.y < d.y && v.z >= 0 && v.z < d.z;
}

int flat(IPOINT3D v, IPOINT3D d) { return v.x + d.x * (v.y + d.y * v.z); }

// Scratch volumes kept between edits: a region tool is used again and
// again on the same stack, and fresh memory of that size costs more to map
// than the edit itself.
std::vector<int16_t> scratch_binary;
std::vector<uint8_t> scratch_mask, scratch_a, scratch_b;

template <typename T>
T *scratch(std::vector<T> &v, size_t n) {
  if (v.size() < n) v.resize(n);
  return v.data();
}

void clear_map(void) {
  const int n3d = mosaic.stack->n3d;
  memset(overlay_map.weight, 0, sizeof(float) * (size_t)n3d);
  memset(overlay_map.color, 0, sizeof(int16_t) * (size_t)n3d);
}

// Whole runs of voxels sixteen (or eight, or four) at a time. Each lane
// gives the value the one-voxel loop after it gives.
typedef uint8_t u8x16 __attribute__((vector_size(16)));
typedef uint8_t u8x8 __attribute__((vector_size(8)));
typedef uint8_t u8x4 __attribute__((vector_size(4)));
typedef int16_t i16x8 __attribute__((vector_size(16)));
typedef int32_t i32x4 __attribute__((vector_size(16)));
typedef float f32x4 __attribute__((vector_size(16)));

template <typename V>
inline V load(const void *p) {
  V v;
  memcpy(&v, p, sizeof v);
  return v;
}
template <typename V>
inline void store(void *p, V v) {
  memcpy(p, &v, sizeof v);
}

// o |= v (or o &= v) over n bytes.
void combine_into(uint8_t *o, const uint8_t *v, size_t n, int dilate) {
  size_t j = 0;
  if (dilate) {
    for (; j + 16 <= n; j += 16) store(o + j, load<u8x16>(o + j) | load<u8x16>(v + j));
    for (; j < n; j++) o[j] |= v[j];
  } else {
    for (; j + 16 <= n; j += 16) store(o + j, load<u8x16>(o + j) & load<u8x16>(v + j));
    for (; j < n; j++) o[j] &= v[j];
  }
}

// m = 1 where the value is not 0 (NaN included), else 0.
void mask_of_nonzero(const int16_t *b, uint8_t *m, int n) {
  int i = 0;
  for (; i + 8 <= n; i += 8) {
    const i16x8 set = (load<i16x8>(b + i) != 0) & 1;
    store(m + i, __builtin_convertvector(set, u8x8));
  }
  for (; i < n; i++) m[i] = b[i] != 0;
}
void mask_of_nonzero(const float *w, uint8_t *m, int n) {
  int i = 0;
  for (; i + 4 <= n; i += 4) {
    const i32x4 set = (load<f32x4>(w + i) != 0.0f) & 1;
    store(m + i, __builtin_convertvector(set, u8x4));
  }
  for (; i < n; i++) m[i] = w[i] != 0.0f;
}
// m = 1 where sign·value > low (never for NaN), else 0.
void mask_above(const float *v, float sign, float low, uint8_t *m, int n) {
  int i = 0;
  const f32x4 s4 = {sign, sign, sign, sign}, l4 = {low, low, low, low};
  for (; i + 4 <= n; i += 4) {
    const i32x4 set = (s4 * load<f32x4>(v + i) > l4) & 1;
    store(m + i, __builtin_convertvector(set, u8x4));
  }
  for (; i < n; i++) m[i] = sign * v[i] > low;
}

// Box of half-width r along one axis over a volume of 0s and 1s: OR
// (dilate) or AND (erode) of the voxels of the window inside the stack. The
// volume is taken as blocks of `n` slices of `s` contiguous values (s = 1
// along x, a row along y, a plane along z); each output slice is the first
// slice of its window combined with the others, a whole slice at a time,
// so that memory is read in order whatever the axis.
void box_pass(uint8_t *__restrict out, const uint8_t *__restrict in, IPOINT3D d, int axis, int r, int dilate) {
  const int n = axis == 0 ? d.x : axis == 1 ? d.y : d.z;
  const size_t s = axis == 0 ? 1 : axis == 1 ? (size_t)d.x : (size_t)d.x * d.y;
  const size_t n3d = (size_t)d.x * d.y * d.z;
  const size_t block = s * (size_t)n;
  for (size_t base = 0; base < n3d; base += block) {
    const uint8_t *__restrict src = in + base;
    uint8_t *__restrict dst = out + base;
    if (s == 1) {
      // Along a row: the row itself, then the row shifted by 1 to r either way.
      memcpy(dst, src, (size_t)n);
      for (int k = 1; k <= r && k < n; k++) {
        combine_into(dst, src + k, (size_t)(n - k), dilate);
        combine_into(dst + k, src, (size_t)(n - k), dilate);
      }
      continue;
    }
    for (int i = 0; i < n; i++) {
      const int lo = std::max(i - r, 0), hi = std::min(i + r, n - 1);
      uint8_t *__restrict o = dst + (size_t)i * s;
      memcpy(o, src + (size_t)lo * s, s);
      for (int k = lo + 1; k <= hi; k++) combine_into(o, src + (size_t)k * s, s, dilate);
    }
  }
}

// The 26-connected part joined to the seed of a mask of 1s (voxels that may
// join), found by runs along x: each run joined looks at the nine rows
// around it, one voxel beyond its ends, and joins the runs it meets there.
// Joined voxels become 2 and the seed 3. Returns the number joined besides
// the seed.
int grow_mask(IPOINT3D seed, IPOINT3D d, uint8_t *m) {
  struct Run {
    int y, z, x0, x1;
  };
  auto row_of = [&](int y, int z) { return (size_t)d.x * ((size_t)y + (size_t)d.y * z); };
  std::vector<Run> stack;
  m[flat(seed, d)] = 3;
  stack.push_back(Run{seed.y, seed.z, seed.x, seed.x});
  int added = 0;
  while (!stack.empty()) {
    const Run r = stack.back();
    stack.pop_back();
    for (int z = std::max(r.z - 1, 0); z <= std::min(r.z + 1, d.z - 1); z++)
      for (int y = std::max(r.y - 1, 0); y <= std::min(r.y + 1, d.y - 1); y++) {
        uint8_t *row = m + row_of(y, z);
        const int end = std::min(r.x1 + 1, d.x - 1);
        for (int x = std::max(r.x0 - 1, 0); x <= end; x++) {
          if (row[x] != 1) continue;
          int a = x, b = x;
          while (a > 0 && row[a - 1] == 1) a--;
          while (b < d.x - 1 && row[b + 1] == 1) b++;
          memset(row + a, 2, (size_t)(b - a + 1));
          added += b - a + 1;
          stack.push_back(Run{y, z, a, b});
          x = b;
        }
      }
  }
  return added;
}

// The grown mask into the map: joined voxels weigh 1 in the region's
// colour; the seed weighs 1 and keeps the cleared colour; the rest is cleared.
void mask_to_map(const uint8_t *m, int n3d) {
  float *w = overlay_map.weight;
  int16_t *color = overlay_map.color;
  const int16_t root_color = ovl_root.color;
  const i32x4 one = {0x3f800000, 0x3f800000, 0x3f800000, 0x3f800000};  // the bits of 1.0f
  int i = 0;
  for (; i + 8 <= n3d; i += 8) {
    const i16x8 v = __builtin_convertvector(load<u8x8>(m + i), i16x8);
    store(color + i, (v == 2) & root_color);
    const i32x4 low = __builtin_convertvector(load<u8x4>(m + i), i32x4);
    const i32x4 high = __builtin_convertvector(load<u8x4>(m + i + 4), i32x4);
    store(w + i, (low >= 2) & one);
    store(w + i + 4, (high >= 2) & one);
  }
  for (; i < n3d; i++) {
    w[i] = m[i] >= 2 ? 1.0f : 0.0f;
    color[i] = m[i] == 2 ? root_color : (int16_t)0;
  }
}

}  // namespace

void overlay_scratch_reset(void) {
  std::vector<int16_t>().swap(scratch_binary);
  std::vector<uint8_t>().swap(scratch_mask);
  std::vector<uint8_t>().swap(scratch_a);
  std::vector<uint8_t>().swap(scratch_b);
}

void update_root_overlay(int set_name, int update_text) {
  ovl_root.npts = 0;
  if (have_stack()) {
    const IPOINT3D d = shown_dim();
    const float *weight = overlay_map.weight;
    const f32x4 zero = {0.0f, 0.0f, 0.0f, 0.0f};
    int i = 0;
    for (int z = 0; z < d.z; z++)
      for (int y = 0; y < d.y; y++)
        for (int x = 0; x < d.x; x++, i++) {
          // Four empty voxels at a time are passed over at once.
          if (x + 4 <= d.x) {
            const i32x4 set = load<f32x4>(weight + i) != zero;
            if (!(set[0] | set[1] | set[2] | set[3])) {
              x += 3;
              i += 3;
              continue;
            }
          }
          const float w = weight[i];
          if (w == 0.0f) continue;
          ovl_root.voxel[ovl_root.npts] = IPOINT3D{x, y, z};
          ovl_root.weight[ovl_root.npts] = w;
          ovl_root.npts++;
        }
  }
  if (set_name) {
    if (ovl_root.npts == 0)
      strcpy(ovl_root.name, "none");
    else
      snprintf(ovl_root.name, sizeof ovl_root.name, "ovl%d", overlay_map.number);
  }
  if (update_text) mosaic.update_regions |= REGION_MENUS;
  if (graph.type == 1) {
    fill_graph_vector();
    graph.update_regions |= GRAPH_REBUILD;
  }
}

void update_overlay_map(void) {
  if (!have_stack()) return;
  clear_map();
  const IPOINT3D d = shown_dim();
  for (int k = 0; k < ovl_root.npts; k++) {
    if (ovl_root.weight[k] == 0.0f || !inside(ovl_root.voxel[k], d)) continue;
    const int i = flat(ovl_root.voxel[k], d);
    overlay_map.weight[i] = ovl_root.weight[k];
    overlay_map.color[i] = ovl_root.color;
  }
}

float overlay_volume(void) {
  if (!have_stack()) return 0.0f;
  float sum = 0.0f;
  for (int i = 0; i < mosaic.stack->n3d; i++) sum += overlay_map.weight[i];
  const POINT3D r = mosaic.stack->resolution;
  return sum * r.x * r.y * r.z;
}

int voxel_touches_activated_neighbor(IPOINT3D voxel) {
  if (!have_stack()) return 0;
  const IPOINT3D d = shown_dim();
  float sum = 0.0f;
  for (int k = -1; k <= 1; k++)
    for (int j = -1; j <= 1; j++)
      for (int i = -1; i <= 1; i++) {
        if (i == 0 && j == 0 && k == 0) continue;
        const IPOINT3D n{voxel.x + i, voxel.y + j, voxel.z + k};
        if (!inside(n, d) || overlay_map.weight[flat(n, d)] == 0.0f) continue;
        // Face and edge neighbours count 1, corner neighbours a half.
        sum += (i == 0 || j == 0 || k == 0) ? 1.0f : 0.5f;
      }
  return sum > 0.0f;
}

int grow_region_from_seed(IPOINT3D seed, const int16_t *binary) {
  if (!have_stack()) return 0;
  const IPOINT3D d = shown_dim();
  if (!inside(seed, d)) {
    clear_map();
    return 0;
  }
  // Every voxel that joins touches the region, so the cube walk ends with
  // the 26-connected part of `binary` next to the seed.
  const int n3d = mosaic.stack->n3d;
  uint8_t *m = scratch(scratch_mask, (size_t)n3d);
  mask_of_nonzero(binary, m, n3d);
  const int added = grow_mask(seed, d, m);
  mask_to_map(m, n3d);
  return added;
}

int grow_activated_region(int distance) {
  if (!have_stack() || !inside(mosaic.icross, shown_dim())) return -1;
  const IPOINT3D d = shown_dim();
  const int n3d = mosaic.stack->n3d;
  const float value = activation_data_1d(flat(mosaic.icross, d));
  const float sign = value >= 0.0f ? 1.0f : -1.0f;
  const float low = get_activation_threshold(-1);
  if (sign * value < low) {
    fputs("Center voxel not activated; function canceled.\n", stdout);
    return -1;
  }
  const float *values = activation.data_type == 1 ? activation.fSpaceMatrix : nullptr;
  if (values && distance <= 0) {
    // No opening: the thresholded map is the mask to grow over.
    uint8_t *m = scratch(scratch_mask, (size_t)n3d);
    mask_above(values, sign, low, m, n3d);
    grow_mask(mosaic.icross, d, m);
    mask_to_map(m, n3d);
    update_root_overlay(1, 1);
    return ovl_root.npts;
  }
  int16_t *binary = scratch(scratch_binary, (size_t)n3d);
  if (values) {
    for (int i = 0; i < n3d; i++) binary[i] = sign * values[i] > low;
  } else {
    for (int i = 0; i < n3d; i++) binary[i] = sign * activation_data_1d(i) > low;
  }
  if (distance > 0) {
    erode_dilate_binary(0, distance, n3d, binary);
    erode_dilate_binary(1, distance, n3d, binary);
  }
  grow_region_from_seed(mosaic.icross, binary);
  update_root_overlay(1, 1);
  return ovl_root.npts;
}

void action_select_activated_region(void) {
  char answer[1024] = "";
  int distance = 0;
  // Escape leaves no opening.
  if (get_X11_string(2, "Erode & dilate?", "(y,n,1-5)", "", 3, 0, answer)) {
    const char c = answer[0];
    if (c == 'y' || c == 'Y')
      distance = 1;
    else if (c == 'n' || c == 'N')
      distance = 0;
    else
      distance = std::clamp(atoi(answer), 0, 5);
  }
  grow_activated_region(distance);
}

void erode_dilate_binary(int dilate, int nrel, int n3d, int16_t *binary) {
  if (!mosaic.stack || n3d <= 0 || nrel < 0) return;
  const IPOINT3D d = shown_dim();
  if (d.x * d.y * d.z != n3d) return;
  // The box restricted to the stack is a product of three intervals, so
  // the OR (AND) over it is taken one axis at a time.
  uint8_t *a = scratch(scratch_a, (size_t)n3d), *b = scratch(scratch_b, (size_t)n3d);
  mask_of_nonzero(binary, a, n3d);
  box_pass(b, a, d, 0, nrel, dilate);
  box_pass(a, b, d, 1, nrel, dilate);
  const uint8_t *result = a;
  if (graph.ed_dimension == 3) {
    box_pass(b, a, d, 2, nrel, dilate);
    result = b;
  }
  int i = 0;
  for (; i + 8 <= n3d; i += 8) store(binary + i, __builtin_convertvector(load<u8x8>(result + i), i16x8));
  for (; i < n3d; i++) binary[i] = result[i];
}

void action_erode_dilate_overlay(int dilate) {
  if (!have_stack() || ovl_root.npts == 0) return;
  const int n3d = mosaic.stack->n3d;
  int16_t *binary = scratch(scratch_binary, (size_t)n3d);
  for (int i = 0; i < n3d; i++) binary[i] = overlay_map.weight[i] != 0.0f;
  // The panel's distance is shown but the step is always one voxel.
  erode_dilate_binary(dilate, 1, n3d, binary);
  for (int i = 0; i < n3d; i++) {
    if (binary[i]) {
      overlay_map.weight[i] = 1.0f;
      overlay_map.color[i] = ovl_root.color;
    } else {
      overlay_map.weight[i] = 0.0f;  // the colour value stays
    }
  }
  update_root_overlay(1, 1);
}

void action_select_above_below_threshold(void) {
  if (!have_stack()) return;
  const int n3d = mosaic.stack->n3d;
  const bool in_force = ovl_root.npts != 0;
  for (int i = 0; i < n3d; i++) {
    const float v = mosaic_data_1d(i);
    if (v == 0.0f) continue;  // the zero background stays as it is
    bool selected = graph.select_above ? v > graph.hist_marker : v < graph.hist_marker;
    if (in_force) selected = selected && overlay_map.weight[i] != 0.0f;
    overlay_map.weight[i] = selected ? 1.0f : 0.0f;
    overlay_map.color[i] = selected ? ovl_root.color : 0;
  }
  update_root_overlay(1, 1);
}

void action_cluster_overlay(void) {
  if (!have_stack() || !inside(mosaic.icross, shown_dim())) return;
  const IPOINT3D d = shown_dim();
  if (overlay_map.weight[flat(mosaic.icross, d)] == 0.0f) return;
  const int n3d = mosaic.stack->n3d;
  uint8_t *m = scratch(scratch_mask, (size_t)n3d);
  mask_of_nonzero(overlay_map.weight, m, n3d);
  grow_mask(mosaic.icross, d, m);
  mask_to_map(m, n3d);
  update_root_overlay(1, 1);
}

void move_overlay_in_one_direction(int direction, int increment) {
  if (!have_stack()) return;
  const IPOINT3D d = shown_dim();
  const int n3d = mosaic.stack->n3d;
  std::vector<float> w(overlay_map.weight, overlay_map.weight + n3d);
  std::vector<int16_t> c(overlay_map.color, overlay_map.color + n3d);
  const int n = direction == 0 ? d.x : direction == 1 ? d.y : d.z;
  // Wrapping round the stack's edge, for any increment.
  const int shift = ((increment % n) + n) % n;
  int i = 0;
  for (int z = 0; z < d.z; z++)
    for (int y = 0; y < d.y; y++)
      for (int x = 0; x < d.x; x++, i++) {
        IPOINT3D to{x, y, z};
        if (direction == 0)
          to.x = (x + shift) % n;
        else if (direction == 1)
          to.y = (y + shift) % n;
        else
          to.z = (z + shift) % n;
        const int j = flat(to, d);
        overlay_map.weight[j] = w[i];
        overlay_map.color[j] = c[i];
      }
  update_root_overlay(1, 1);
  fill_graph_vector();
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void action_mirror_overlay(void) {
  if (!have_stack()) return;
  const IPOINT3D d = shown_dim();
  const int n3d = mosaic.stack->n3d;
  std::vector<float> w(overlay_map.weight, overlay_map.weight + n3d);
  clear_map();
  int i = 0;
  for (int z = 0; z < d.z; z++)
    for (int y = 0; y < d.y; y++)
      for (int x = 0; x < d.x; x++, i++) {
        if (w[i] == 0.0f) continue;
        const int j = flat(IPOINT3D{d.x - 1 - x, y, z}, d);
        overlay_map.weight[j] = w[i];
        overlay_map.color[j] = ovl_root.color;
      }
}

void action_clear_overlay(void) {
  if (have_stack()) clear_map();
  ovl_root.npts = 0;
  update_root_overlay(1, 1);
  fill_graph_vector();
  graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
}

void action_step_overlay_list(int next, int combine) {
  char name_line[1200], volume_line[256], blank[] = " ";
  if (mosaic.toggle_overlays == 1) {
    if (!ovl_root.next || !have_stack()) return;
    ovl_list *active = &ovl_root, *last = &ovl_root, *before = &ovl_root;
    for (ovl_list *p = &ovl_root; p; p = p->next) {
      if (p->active) active = p;
      last = p;
    }
    for (ovl_list *p = &ovl_root; p && p->next; p = p->next)
      if (p->next == active) before = p;
    ovl_list *chosen;
    if (next)
      chosen = (active->next != nullptr) ? active->next : ovl_root.next;
    else
      chosen = (active == &ovl_root || before == &ovl_root) ? last : before;
    for (ovl_list *p = &ovl_root; p; p = p->next) p->active = 0;
    chosen->active = 1;
    const IPOINT3D d = shown_dim();
    if (!combine) {
      clear_map();
      for (int k = 0; k < chosen->npts; k++) {
        if (!inside(chosen->voxel[k], d)) continue;
        const int i = flat(chosen->voxel[k], d);
        overlay_map.weight[i] = chosen->weight[k];
        overlay_map.color[i] = chosen->color;
      }
      update_root_overlay(0, 1);
      snprintf(ovl_root.name, sizeof ovl_root.name, "%s", chosen->name);
    } else {
      for (int k = 0; k < chosen->npts; k++) {
        if (!inside(chosen->voxel[k], d)) continue;
        const int i = flat(chosen->voxel[k], d);
        if (chosen->weight[k] > overlay_map.weight[i]) overlay_map.color[i] = chosen->color;
        overlay_map.weight[i] = std::min(overlay_map.weight[i] + chosen->weight[k], 1.0f);
      }
      update_root_overlay(0, 1);
      snprintf(ovl_root.name, sizeof ovl_root.name, "ovl%d", overlay_map.number);
    }
    float sum = 0.0f;
    for (int k = 0; k < chosen->npts; k++) sum += chosen->weight[k];
    const POINT3D r = mosaic.stack->resolution;
    snprintf(name_line, sizeof name_line, "%s", chosen->name);
    snprintf(volume_line, sizeof volume_line, "volume = %g mm^3", sum * r.x * r.y * r.z);
    show_on_info_line(0, 0, name_line, volume_line, blank);
    fill_graph_vector();
    graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
  } else if (mosaic.toggle_overlays == 2) {
    if (!wire_root.next) return;
    wire_list *active = &wire_root, *last = &wire_root, *before = &wire_root;
    for (wire_list *p = &wire_root; p; p = p->next) {
      if (p->active) active = p;
      last = p;
    }
    for (wire_list *p = &wire_root; p && p->next; p = p->next)
      if (p->next == active) before = p;
    wire_list *chosen;
    if (next)
      chosen = (active->next != nullptr) ? active->next : wire_root.next;
    else
      chosen = (active == &wire_root || before == &wire_root) ? last : before;
    for (wire_list *p = &wire_root; p; p = p->next) p->active = 0;
    chosen->active = 1;
    const int keep = combine ? wire_root.npts : 0;
    CONTROL_POINT *points = control_vector(keep + chosen->npts);
    if (keep) memcpy(points, wire_root.control, sizeof(CONTROL_POINT) * (size_t)keep);
    if (chosen->npts)
      memcpy(points + keep, chosen->control, sizeof(CONTROL_POINT) * (size_t)chosen->npts);
    free_control_vector(wire_root.control);
    wire_root.control = points;
    wire_root.npts = keep + chosen->npts;
    if (!combine) snprintf(wire_root.name, sizeof wire_root.name, "%s", chosen->name);
    snprintf(name_line, sizeof name_line, "%s", chosen->name);
    show_on_info_line(0, 0, name_line, blank, blank);
  }
  mosaic.update_regions |= REGION_IMAGES;
}
