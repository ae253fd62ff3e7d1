// The tracts through the region: a density map counting, for each voxel,
// the tracts that touch the region and cross that voxel, scaled to 1 at its
// largest value; and growing the region along the densest voxels.
#include <cstdio>
#include <cstring>

#include "zor_overlay_edit.h"
#include "zor_panels.h"
#include "zor_wires.h"
#include "zor_x11.h"

float TractRescaleFactor = 1.0f;

void tractography_reset(void) { TractRescaleFactor = 1.0f; }

void update_overlay_for_tractography(int lAdd) {
  if (ovl_root.npts <= 0 || !mosaic.stack || !activation.fTractMap || !overlay_map.weight) return;
  const int n3d = mosaic.stack->n3d;
  const float *map = activation.fTractMap;
  for (int added = 0; added < lAdd; added++) {
    int best = -1;
    float largest = 0.0f;
    for (int i = 0; i < n3d; i++) {
      if (overlay_map.weight[i] != 0.0f) continue;
      if (best < 0 || map[i] > largest) {
        best = i;
        largest = map[i];
      }
    }
    if (best < 0 || largest == 0.0f) break;
    overlay_map.weight[best] = 1.0f;
    overlay_map.color[best] = ovl_root.color;
  }
  update_root_overlay(1, 0);
}

void action_trace_tracts(int Retrace) {
  if (!mosaic.stack || !overlay_map.weight) return;
  if (!activation.fTractMap) {
    puts("Tractography needs a vector map (-a) to hold the tract density; nothing traced.");
    char l1[] = "Tractography needs a vector map", l2[] = "nothing traced", l3[] = " ";
    show_on_info_line(0, 0, l1, l2, l3);
    return;
  }
  const data_stack *s = mosaic.stack;
  const int n3d = s->n3d;
  const IPOINT3D &c = mosaic.icross;
  if (ovl_root.npts == 0 && c.x >= 0 && c.y >= 0 && c.z >= 0 && c.x < s->dim.x && c.y < s->dim.y &&
      c.z < s->dim.z) {
    const int seed = c.x + s->dim.x * (c.y + s->dim.y * c.z);
    overlay_map.weight[seed] = 1.0f;
    overlay_map.color[seed] = ovl_root.color;
    update_root_overlay(1, 0);
  }
  float *map = activation.fTractMap;
  if (Retrace == 0) {
    memset(map, 0, sizeof(float) * static_cast<size_t>(n3d));
  } else {
    for (int i = 0; i < n3d; i++) map[i] *= TractRescaleFactor;
    update_overlay_for_tractography(ovl_root.npts);
  }

  // One walk over the words: a tract counts when any of its voxels is in
  // the region, and then adds 1 at each of its voxels.
  const int field = Retrace ? TEXTFIELD_TRACTOGRAPHY_AGAIN : TEXTFIELD_TRACTOGRAPHY;
  const int *words = DTI_tracts.array;
  const int length_array = words ? DTI_tracts.length_array : 0;
  const float *weight = overlay_map.weight;
  int w = 3, tract = 0;
  while (w < length_array) {
    int L = words[w++];
    // The reader has checked lengths and indices; a tract running past the
    // array is cut at its end.
    if (L < 0) L = 0;
    if (L > length_array - w) L = length_array - w;
    const int *index = words + w;
    bool touches = false;
    for (int k = 0; k < L; k++)
      if (index[k] >= 0 && index[k] < n3d && weight[index[k]] != 0.0f) touches = true;
    if (touches)
      for (int k = 0; k < L; k++)
        if (index[k] >= 0 && index[k] < n3d) map[index[k]] += 1.0f;
    w += L;
    if (++tract % 10000 == 0 && XWindow_image != 0) {
      char text[64];
      snprintf(text, sizeof text, "tract %d", tract);
      ChangeImageSelectionText(field, text);
    }
  }

  float largest = 0.0f;
  for (int i = 0; i < n3d; i++)
    if (map[i] > largest) largest = map[i];
  if (largest == 0.0f) {
    TractRescaleFactor = 1.0f;
  } else {
    TractRescaleFactor = largest;
    for (int i = 0; i < n3d; i++) map[i] /= largest;
  }
  update_root_overlay(1, 0);
  mosaic.update_regions |= REGION_MENUS;
}
