// The items of both menu lists, created once, and the image window's list
// laid out from the present state: place, hit range, colour, visibility,
// label and help of every item, so that the menus keep no state of their
// own beyond the item under the pointer.
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_colour.h"
#include "zor_float_int.h"
#include "zor_overlay.h"
#include "zor_panels.h"
#include "zor_stack.h"

namespace {

void text(char *field, const char *value) { snprintf(field, 1024, "%s", value); }

void help(SelectableText *t, const char *m1, const char *m2, const char *m3) {
  if (m1) text(t->message1, m1);
  if (m2) text(t->message2, m2);
  if (m3) text(t->message3, m3);
}

void place(SelectableText *t, int x, int start, int end, int color, bool visible) {
  t->XPosition = x;
  t->XSelectStart = start;
  t->XSelectEnd = end;
  t->color = color;
  t->visible = visible ? 1 : 0;
}

bool overlay_points(void) { return ovl_root.npts != 0; }
bool wire_points(void) { return wire_root.npts != 0; }
bool wires_allowed(void) { return mosaic.display_3orthogonal || mosaic.mosaic_orientation == ORTHO_XY; }
bool maps_exist(void) { return activation.nmaps != 0; }

// Items 13 to 15: overlay (d, c, m) and wire (D, C, M) forms of one tool.
void overlay_wire_item(SelectableText *t, char lower, const char *what, const char *both_message,
                       const char *both_buttons) {
  char label[8], key[32], m2[128];
  const bool o = overlay_points(), w = wire_points();
  if (o && w) {
    if (lower != 'c') snprintf(label, sizeof label, " %c ", lower), text(t->string, label);
    snprintf(key, sizeof key, lower == 'c' ? "Keyboard: c/D" : "Keyboard: %c/%c", lower, lower - 32);
    help(t, key, both_message, both_buttons);
  } else if (w) {
    snprintf(label, sizeof label, " %c ", lower - 32);
    text(t->string, label);
    snprintf(key, sizeof key, "Keyboard: %c", lower - 32);
    snprintf(m2, sizeof m2, "%s wire frame", what);
    help(t, key, m2, "R button");
  } else {
    snprintf(label, sizeof label, " %c ", lower);
    text(t->string, label);
    snprintf(key, sizeof key, "Keyboard: %c", lower);
    snprintf(m2, sizeof m2, "%s overlay", what);
    help(t, key, m2, "L button");
  }
}

const char *complex_label(int d) {
  static const char *const labels[4] = {"mag. ", "phase", "real ", "imag "};
  return d >= 0 && d < 4 ? labels[d] : "";
}

void data_type_item(SelectableText *t, int R) {
  const bool map_shown = activation.visible && activation.data_type != 0;
  const data_stack *shown = map_shown ? activation.stack : mosaic.stack;
  const bool real = !shown || shown->data_type == 0;
  place(t, R / 2, R / 2 - 50, R / 2 + 50, map_shown ? COLOR_GREEN : COLOR_GRAY, R > 150 && !real);
  if (real) return;
  if (map_shown && shown->data_type == 3) {
    static const char *const labels[8] = {"vec: RGB", "vec: BRG", "vec: GBR", "vec: Mag",
                                          "vec:  x ", "Vec:  y ", "Vec:  z ", " Tract  "};
    const int d = activation.display_data_type;
    text(t->string, d >= -3 && d <= 4 ? labels[d + 3] : "");
    help(t, "Function for color overlay:", "Vector data:", "RGB, magnitude, x, y, z");
  } else if (map_shown) {
    text(t->string, complex_label(activation.display_data_type));
    help(t, "Function for color overlay:", "complex data:", "magnitude, phase, real, imaginary");
  } else if (shown->data_type == 3) {
    static const char *const labels[4] = {"vec: mag", "vec:  x ", "vec:  y ", "vec:  z "};
    const int d = mosaic.display_data_type;
    text(t->string, d >= 0 && d < 4 ? labels[d] : "");
    help(t, "Function for gray-scale image:", "Vector data:", "magnitude, x, y, z");
  } else {
    text(t->string, complex_label(mosaic.display_data_type));
    help(t, "Function for gray-scale image:", "magnitude, phase", "real, imaginary");
  }
}

// The two places over the colorbar for the sign and scheme items.
// Sums are made in 64 bits and held to the int range: a huge zoom asked for on
// the command line must not overflow them.
int held_to_int(long long v) { return (int)std::max<long long>(INT_MIN, std::min<long long>(INT_MAX, v)); }

void colorbar_place(SelectableText *t, bool right, int R, int C, bool visible) {
  const long long r = R, c = C;
  if (right)
    place(t, held_to_int(r + 3 * c / 5), held_to_int(r + c / 2), held_to_int(r + c), COLOR_WHITE, visible);
  else
    place(t, held_to_int(r + c / 5), R, held_to_int(r + c / 2), COLOR_WHITE, visible);
}

void orientation_item(SelectableText *t, int W, int C, int P, int R) {
  place(t, W - C - P - 90, R - 90, R, COLOR_GREEN, !mosaic.display_3orthogonal);
  const bool zy = mosaic.display_ortho_ZY;
  const bool hovered = t->selected;
  help(t, "keyboard: none", "change mosaic orientation: X-Y, X-Z, Y-Z or Z-Y", nullptr);
  switch (mosaic.mosaic_orientation) {
    case ORTHO_XY:
      text(t->string, hovered ? (zy ? " X-Z  |  Z-Y " : " X-Z  |  Y-Z ") : "orient: X-Y");
      help(t, nullptr, nullptr, zy ? "L: X-Z, R: Z-Y" : "L: X-Z, R: Y-Z");
      break;
    case ORTHO_XZ:
      text(t->string, hovered ? (zy ? " Z-Y  |  X-Y " : " Y-Z  |  X-Y ") : "orient: X-Z");
      help(t, nullptr, nullptr, zy ? "L: Z=Y, R: X-Y" : "L: Y-Z, R: X-Y");
      break;
    default:
      text(t->string, hovered ? "L: X-Y, R: X-Z" : (mosaic.mosaic_orientation == ORTHO_ZY ? "orient: Z-Y" : "orient: Y-Z"));
      break;
  }
}

void range_item(SelectableText *t) {
  char label[128];
  if (activation.visible && activation.nmaps != 0) {
    const float low = get_activation_threshold(-1), high = get_activation_threshold(1);
    if (activation.scale_log || high - low > 5.0f)
      snprintf(label, sizeof label, "%d to %d", truncate_to_int(low), truncate_to_int(high));
    else
      snprintf(label, sizeof label, "%g to %g", low, high);
  } else if (image_scale_max - image_scale_min > 5.0f) {
    snprintf(label, sizeof label, "%d to %d", truncate_to_int(image_scale_min), truncate_to_int(image_scale_max));
  } else {
    snprintf(label, sizeof label, "%g to %g", image_scale_min, image_scale_max);
  }
  text(t->string, label);
  help(t, "Select to input range.", "Use spacebar to toggle activation on/off.", " ");
}

}  // namespace

void initialize_common_selectable_text(void) {
  const int row0[] = {10, 12, 12, 13, 14, 15, 16, 17, 18, 19, 20, 22, 21, 23, 24, 25, 26, 27};
  for (int id : row0) new_selectable_image_text(0, id);
  for (int id = 1; id <= 9; id++) new_selectable_image_text(1, id);
  new_selectable_image_text(3, TEXTFIELD_MOSAIC_ORIENT);

  for (int id = 1; id <= 6; id++) new_selectable_graph_text(1, id);
  const int graph_rows[][2] = {{2, 7},  {1, 8},  {2, 9},  {2, 10}, {4, 11}, {4, 12}, {4, 13}, {4, 20}, {4, 21},
                               {4, 17}, {2, 14}, {2, 15}, {2, 16}, {4, 18}, {3, 19}};
  for (const auto &r : graph_rows) new_selectable_graph_text(r[0], r[1]);
}

void initialize_specific_selectable_text(void) {
  new_selectable_image_text(0, TEXTFIELD_LABEL_PLANES);
  new_selectable_image_text(0, TEXTFIELD_COLOR_OR_GRAY);
  new_selectable_image_text(2, TEXTFIELD_COLORBAR_RANGE);
  new_selectable_image_text(4, TEXTFIELD_MAP_CONDITION);
  new_selectable_image_text(2, TEXTFIELD_TRACTOGRAPHY);
  new_selectable_image_text(4, TEXTFIELD_TRACTOGRAPHY_AGAIN);
  new_selectable_image_text(3, TEXTFIELD_MIP);

  new_selectable_graph_text(4, TEXTFIELD_OUTPUT_ROI);
  new_selectable_graph_text(3, TEXTFIELD_LAST_TIME_POINT);
  new_selectable_graph_text(2, TEXTFIELD_GRAPH_MODEL);
}

void initialize_selectable_text(void) {
  initialize_common_selectable_text();
  initialize_specific_selectable_text();
  update_image_selectable_text();
  update_graph_selectable_text();
}

void update_image_selectable_text(void) {
  update_common_image_selectable_text();
  update_specific_image_selectable_text();
}

void update_common_image_selectable_text(void) {
  const int R = mosaic.ImageRegionPixels.x;
  const int C = mosaic.nx_ColorBar;
  const int istep = R > 374 ? R / 25 : 15;
  for (SelectableText *t = &mosaic.SelectText; t; t = t->next) {
    if (t->FieldID == 0) continue;  // a list that was never built
    t->color = COLOR_WHITE;
    help(t, "Function:", " ", " ");
    if (t->YLocation == 0) {
      auto row0 = [&](int step, int color, bool visible) {
        place(t, istep * step, istep * step, istep * step + istep - 1, color, visible);
      };
      switch (t->FieldID) {
        case TEXTFIELD_NEW_OVL_WIRE:
          place(t, 0, 0, istep, COLOR_CYAN, wires_allowed() || activation.visible);
          if (activation.visible && wires_allowed()) {
            text(t->string, " N ");
            help(t, "Keyboard: n/N  (wire frames on X-Y only)", "New overlay from activation (N, L button)",
                 "New wire frame (n, R button");
          } else if (wires_allowed()) {
            text(t->string, " N ");
            help(t, "Keyboard: N (wire frames on X-Y only)", "New wire frame (either button)",
                 "use R button on image for overlay");
          } else {
            text(t->string, " n ");
            help(t, "Keyboard: n", "New overlay based upon map:", "use L button on active voxel");
          }
          break;
        case TEXTFIELD_READ_OVL_WIRE:
          row0(1, COLOR_CYAN, true);
          text(t->string, " r ");
          help(t, "Keyboard: r/R", "Read overlay (r) or wire (R)", "L button         or R button");
          break;
        case TEXTFIELD_DEL_OVL_WIRE:
          row0(3, COLOR_CYAN, overlay_points() || wire_points());
          overlay_wire_item(t, 'd', "Delete", "Delete overlay (d) or wire (D)", "L button           or R button");
          break;
        case TEXTFIELD_COLOR_OVL_WIRE:
          row0(4, COLOR_CYAN, overlay_points() || wire_points());
          overlay_wire_item(t, 'c', "Color", "Color overlay (c) or wire (C)", "L button          or R button");
          break;
        case TEXTFIELD_MIRROR_OVL_WIRE:
          row0(5, COLOR_CYAN, overlay_points() || wire_points());
          overlay_wire_item(t, 'm', "Mirror", "Mirror overlay (m) or wire (M)", "L button           or R button");
          break;
        case TEXTFIELD_FILL_WIRE:
          row0(6, COLOR_CYAN, wire_points());
          text(t->string, " F ");
          help(t, "Keyboard: f/F", "Fill closed wire frames", "L/R button");
          break;
        case TEXTFIELD_OVL_STATS:
          row0(7, COLOR_CYAN, overlay_points());
          text(t->string, " S ");
          help(t, "Keyboard: s/S", "Stats for 1 (s) or all (S) time points", "L button        or R button");
          break;
        case TEXTFIELD_TRANSPARENT:
          row0(8, COLOR_CYAN, overlay_points() || activation.visible);
          text(t->string, " T ");
          help(t, "Keyboard: t/T", "Transparent overlays", "either button");
          break;
        case TEXTFIELD_IMAGE_LEVEL:
          row0(11, COLOR_WHITE, R >= 200);
          text(t->string, " i ");
          help(t, "Keyboard: i", "image contrast & brightness (auto)", "use alone or with overlay");
          break;
        case TEXTFIELD_IMAGE_ZOOM:
          row0(12, COLOR_WHITE, true);
          text(t->string, " z ");
          help(t, "Keyboard: z/Z", "decrease (z) or increase (Z) zoom", "L button     or R button");
          break;
        case TEXTFIELD_IMAGE_CROSS:
          row0(13, COLOR_WHITE, true);
          text(t->string, " + ");
          help(t, "Keyboard: ^c", "change cross-hair display", "line, cross, pixelated, none");
          break;
        case TEXTFIELD_IMAGE_INTERP:
          row0(14, COLOR_WHITE, mosaic.zoom_window != 1);
          text(t->string, " I ");
          help(t, "Keyboard: tab or ^i", "Interpolate across zoom factor", "image, activation, overlays, crosshairs");
          break;
        case TEXTFIELD_IMAGE_GRAPH:
          row0(16, COLOR_ORANGE, true);
          text(t->string, " g ");
          help(t, "Keyboard: g or G", "Bring up graph window", "x,y,z,t graphs");
          break;
        case TEXTFIELD_HELP:
          row0(17, COLOR_YELLOW, R > 324);
          text(t->string, " h ");
          help(t, "Keyboard: h/H", "Help me! short (h) or long (H) forms", "output goes to shell window");
          break;
        case TEXTFIELD_QUIT:
          row0(18, COLOR_WHITE, R > 324);
          text(t->string, " q ");
          help(t, "Keyboard: q", "Quit", nullptr);
          break;
        case TEXTFIELD_QUESTION:
          row0(19, COLOR_YELLOW, R > 324);
          text(t->string, " ? ");
          help(t, "Keyboard: ? or /", "context-sensitive help", "click here & then on something else!");
          break;
        case TEXTFIELD_POUND_SIGN: {
          const int x = mosaic.display_3orthogonal ? R - 20 : R - 90;
          place(t, x, x, R, COLOR_GREEN, true);
          if (mosaic.display_3orthogonal) {
            text(t->string, " # ");
            help(t, "Keyboard: #", "# panels in mosaic", "Input number; switch to mosaic");
          } else {
            char label[64];
            snprintf(label, sizeof label, " # (%d of %d)", mosaic.DimPanels.z, mosaic.DisplayVolumeDim.z);
            text(t->string, label);
            help(t, "Keyboard: #", "# panels in mosaic", "Set explicitly or select with mouse");
          }
          break;
        }
        default: break;
      }
      continue;
    }
    switch (t->FieldID) {
      case TEXTFIELD_OVL_OR_WIRE: {
        const bool shown = mosaic.toggle_overlays == 1 || mosaic.toggle_overlays == 2;
        place(t, 0, 0, 50, COLOR_CYAN, R >= 150 && shown);
        const bool wires = mosaic.toggle_overlays == 2;
        text(t->string, wires ? " wire  :" : "overlay:");
        help(t, nullptr, wires ? "switch to overlays" : "switch to wires", "(if loaded)");
        break;
      }
      case TEXTFIELD_WHICH_OVL_WIRE: {
        const bool shown = mosaic.toggle_overlays == 1 || mosaic.toggle_overlays == 2;
        place(t, 60, 60, 110, COLOR_CYAN, R > 150 && shown);
        const bool wires = mosaic.toggle_overlays == 2;
        text(t->string, (std::string(" ") + (wires ? wire_root.name : ovl_root.name)).c_str());
        help(t, nullptr, wires ? "next or previous wire frame" : "next or previous overlay",
             "use mouse/UD arrows or LR arrows");
        break;
      }
      case TEXTFIELD_DATA_TYPE: data_type_item(t, R); break;
      case TEXTFIELD_VECTOR_FIELD:
        place(t, R / 2 + 60, R / 2 + 60, R / 2 + 160, COLOR_GREEN,
              R > 150 && activation.data_type == 3 && mosaic.zoom_window > 3);
        text(t->string, activation.vector_field ? "field: Yes" : "field: No ");
        help(t, "Function for color overlay:", "Vector data:", "RGB, magnitude, x, y, z");
        break;
      case TEXTFIELD_MOSAIC_3PLANE: {
        const bool shown = mosaic.stack && mosaic.stack->dim.z > 1 && !mosaic.MIP;
        place(t, R - 90, R - 90, R - 50, COLOR_GREEN, shown);
        if (mosaic.display_3orthogonal)
          text(t->string, t->selected ? "to mosaic" : "3-plane:");
        else
          text(t->string, t->selected ? "to 3-plane" : "mosaic: ");
        help(t, "keyboard: 3", "change display mode", "mosaic <--> 3-plane");
        break;
      }
      case TEXTFIELD_XPANELS: {
        const bool shown = mosaic.stack && mosaic.stack->dim.z > 1 && !mosaic.MIP &&
                           mosaic.text_selection != TEXTFIELD_MOSAIC_3PLANE;
        place(t, R - 45, R - 49, R, COLOR_GREEN, shown);
        if (mosaic.display_3orthogonal) {
          const bool zy = (mosaic.display_ortho_ZY != 0) != (t->selected != 0);
          text(t->string, zy ? " Y vs Z" : " Z vs Y");
          help(t, nullptr, "switch orientation", "of right panel");
        } else {
          char label[64];
          snprintf(label, sizeof label, " %d x %d", mosaic.DimPanels.x, mosaic.DimPanels.y);
          text(t->string, label);
          help(t, nullptr, "buttons L & R differently", "change mosaic display");
        }
        break;
      }
      case TEXTFIELD_COLORBAR_TAILP:
      case TEXTFIELD_COLORBAR_TAILN: {
        const bool plus = t->FieldID == TEXTFIELD_COLORBAR_TAILP;
        const int scheme = activation.color_scheme;
        const bool visible = maps_exist() && (plus ? scheme >= 0 : scheme < 1);
        // With two ramps the item of the sign shown on the right goes right.
        const bool right = scheme == 0 && (plus ? activation.color_sign == 1 : activation.color_sign != 1);
        colorbar_place(t, right, R, C, visible);
        text(t->string, plus ? " + " : " - ");
        if (scheme == 0 && plus)
          help(t, nullptr, "button L: select + sign; button R: switch signs",
               "use L/R arrows ON COLORBAR for all options");
        else if (scheme == 0)
          help(t, nullptr, "button L: select - sign", "button R: switch   signs");
        else if (plus)
          help(t, nullptr, "button L: back to +- signs", "button R: switch to - sign");
        else
          help(t, nullptr, "button L: back to +- signs", "button R: switch to + sign");
        break;
      }
      case TEXTFIELD_COLORBAR_SCHEME: {
        colorbar_place(t, true, R, C, maps_exist() && activation.color_scheme != 0);
        char label[32];
        snprintf(label, sizeof label, "(%d)", std::abs(activation.color_scheme));
        text(t->string, label);
        help(t, nullptr, "button L/R: change color schemes", "RY or BG --> BRY --> spectrum");
        break;
      }
      case TEXTFIELD_MOSAIC_ORIENT:
        orientation_item(t, lPixelsX_BottomMenu, C, mosaic.nx_RightPanel, R);
        break;
      default: break;
    }
  }
}

void update_specific_image_selectable_text(void) {
  // Held far beyond any window X can open, so that the sums below cannot
  // overflow when a huge zoom is asked for.
  const int R = std::min(mosaic.ImageRegionPixels.x, 1 << 28);
  const int C = std::min(mosaic.nx_ColorBar, 1 << 28);
  const int B = lXBottomMenu, W = lPixelsX_BottomMenu, P = mosaic.nx_RightPanel;
  const int istep = R > 374 ? R / 25 : 15;
  const char *const traced = "XXXXXXXXXXXXXXXXXXXXXXXXXXXXXXXX";
  for (SelectableText *t = &mosaic.SelectText; t; t = t->next) {
    switch (t->FieldID) {
      case TEXTFIELD_LABEL_PLANES:
        if (t->YLocation != 0) break;
        place(t, istep * 20, istep * 20, istep * 21 - 1, COLOR_GRAY, R >= 350);
        text(t->string, " l ");
        help(t, "Keyboard: l/L", "Label position (l) or grids (L) on aligned data", "L button           or R button");
        break;
      case TEXTFIELD_COLOR_OR_GRAY:
        if (t->YLocation != 0) break;
        place(t, R + C / 4, R, R + C, activation.visible ? COLOR_YELLOW : COLOR_GRAY, C > 0 && maps_exist());
        if (activation.visible)
          text(t->string, t->selected ? "->gray " : " color ");
        else
          text(t->string, t->selected ? "->color" : " gray  ");
        help(t, "Keyboard: spacebar", "Toggle between activation colorbar", "and grayscale colorbar");
        break;
      case TEXTFIELD_COLORBAR_RANGE:
        if (t->YLocation != 2) break;
        place(t, R - B, R, R + C, COLOR_WHITE, true);
        range_item(t);
        break;
      case TEXTFIELD_MAP_CONDITION:
        if (t->YLocation != 4) break;
        place(t, R - B, R, R + C, COLOR_WHITE, activation_stack.nt != 0);
        text(t->string, activation.map_name);
        help(t, "Change the color map.", "a) Use left or right mouse clicks,", "b) Use +/- with cursor on colorbar. ");
        break;
      case TEXTFIELD_TRACTOGRAPHY:
        if (t->YLocation != 2) break;
        place(t, W - C - P - 90, R - 90, R, COLOR_ORANGE, DTI_tracts.ntracts > 0);
        text(t->string, "Trace");
        help(t, "Perform DTI tractography.", traced, traced);
        break;
      case TEXTFIELD_TRACTOGRAPHY_AGAIN:
        if (t->YLocation != 4) break;
        place(t, W - C - P - 90, R - 90, R, COLOR_ORANGE, DTI_tracts.ntracts > 0 && overlay_points());
        text(t->string, "ReTrace");
        help(t, "Perform DTI tractography.", traced, traced);
        break;
      case TEXTFIELD_MIP:
        if (t->YLocation != 3) break;
        place(t, W - C - P - 90, R - 90, R, COLOR_CYAN, mosaic.display_3orthogonal != 0);
        if (mosaic.MIP)
          text(t->string, t->selected ? "-> 3D" : " MIP ");
        else
          text(t->string, t->selected ? "->MIP" : "  3D ");
        help(t, "Toggle between MIP and 3D.", traced, traced);
        break;
      default: break;
    }
  }
}
