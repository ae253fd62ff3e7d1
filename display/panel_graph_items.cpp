// The graph window's menu list laid out from the present state; the model's
// own fields are filled by the model's view.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_overlay.h"
#include "zor_panels.h"
#include "zor_time_model.h"

namespace {

void set(SelectableText *t, int x, int width, int color, bool visible, const char *label, const char *m1,
         const char *m2, const char *m3) {
  set_panel_field(t, color, visible, x, width, m1, m2, m3);
  snprintf(t->string, sizeof t->string, "%s", label);
}

bool is_histogram(void) { return graph.type == 0 && graph.space_model == 0; }
bool is_model_field(int id) { return id == TEXTFIELD_GRAPH_UNITS || (id >= TEXTFIELD_GLM_CONDITIONS && id <= TEXTFIELD_CHI2); }

std::string format(const char *f, double a) {
  char s[128];
  snprintf(s, sizeof s, f, a);
  return s;
}

}  // namespace

void update_graph_selectable_text(void) {
  update_common_graph_selectable_text();
  update_specific_graph_selectable_text();
}

void update_common_graph_selectable_text(void) {
  const IPOINT2D S = graph.size;
  const int T = (int)truncf(S.x * 0.25f);
  const bool hist = is_histogram();
  const bool region_tools = hist && ovl_root.npts != 0;
  const bool binning = graph.type == 1 && graph.time_model != MODEL_REM && graph.time_model != MODEL_FIT && S.x >= 150;
  for (SelectableText *t = &graph.SelectText; t; t = t->next) {
    switch (t->FieldID) {
      case TEXTFIELD_GRAPH_TIME_SPACE:
        if (t->YLocation != 1) break;
        set(t, 0, 80, COLOR_YELLOW, true, graph.type == 1 ? "graph: time" : "graph: space", "Switch graph types:",
            "time or space", "(other graphs under 'space')");
        break;
      case TEXTFIELD_GRAPH_SPACE: {
        if (t->YLocation != 1) break;
        static const char *const labels[4] = {"graph: histogram", "graph: x project", "graph: y project",
                                              "graph: z project"};
        const int m = graph.space_model >= 0 && graph.space_model <= 3 ? graph.space_model : 0;
        set(t, T, 80, COLOR_YELLOW, graph.type == 0, labels[m], "Switch graph types:", "histogram, x, y, z", " ");
        break;
      }
      case TEXTFIELD_GRAPH_BIN:
        if (t->YLocation != 1) break;
        set(t, T, 30, COLOR_WHITE, binning, graph.bin_data ? "bin   : " : "smooth: ", "Bin or smooth data and fit",
            "for viewing noisy data.", "Use mouse clicks.");
        break;
      case TEXTFIELD_GRAPH_BIN_VALUE:
        if (t->YLocation != 1) break;
        set(t, (int)truncf(S.x * 0.25f + 40), 80, COLOR_WHITE, binning, format("%4d", graph.bin_width).c_str(),
            "Increase or decrease bin value.", "Use mouse clicks", "or use L/R arrows");
        break;
      case TEXTFIELD_GRAPH_AUTO_X: {
        if (t->YLocation != 1) break;
        const bool reset = graph.Min.x != graph.xLow || graph.Max.x != graph.xHigh;
        if (hist)
          set(t, S.x - 250, 50, COLOR_WHITE, reset, "reset x", "Reset x graph limits", "or histogram limits.", " ");
        else
          set(t, S.x - 250, 50, COLOR_WHITE, reset, "reset x", "Reset graph limits to full range.",
              "(Use left/right arrows near", " borders to change limits)");
        break;
      }
      case TEXTFIELD_GRAPH_AUTO_Y:
        if (t->YLocation != 1) break;
        set(t, S.x - 100, 50, COLOR_WHITE, true, graph.fixed.y ? " y fixed" : " y free ",
            "Auto-scale or fix graph range.", "(Use up/down arrows near up/down", " borders to change limits)");
        break;
      case TEXTFIELD_GRAPH_YLOW:
        if (t->YLocation != 2) break;
        set(t, S.x - 50, 50, COLOR_WHITE, true, format(" %g", graph.Min.y).c_str(), "Lower graph graph range:",
            "Use up/down arrows by low border,", "or select to input range.");
        break;
      case TEXTFIELD_GRAPH_YHIGH:
        if (t->YLocation != 1) break;
        set(t, S.x - 50, 50, COLOR_WHITE, true, format(" %g", graph.Max.y).c_str(), "Upper graph graph range:",
            "Use up/down arrows by high border,", "or select to input range.");
        break;
      case TEXTFIELD_GRAPH_X_LOW_HIGH: {
        if (t->YLocation != 2) break;
        char label[128];
        snprintf(label, sizeof label, " X: %g %g", graph.xbin_low, graph.xbin_high);
        set(t, 200, 100, COLOR_WHITE, hist, label, "Histogram range (low, high)", "Note that reset-x also can",
            "modify the histogram range.");
        break;
      }
      case TEXTFIELD_GRAPH_HIST_BINS:
        if (t->YLocation != 2) break;
        set(t, 350, 80, COLOR_WHITE, hist, format("bins: %4d", graph.histogram_bins).c_str(),
            "Increase or decrease # bins", "for the histogram.", "Use mouse or L/R arrows");
        break;
      case TEXTFIELD_GRAPH_SELECT_IMAGE:
        if (t->YLocation != 4) break;
        set(t, 200, 50, COLOR_CYAN, hist, "Select", "Select voxels above/below", "current grayscale threshold",
            "to define an overlay.");
        break;
      case TEXTFIELD_GRAPH_ABOVE_BELOW:
        if (t->YLocation != 4) break;
        set(t, 250, 50, COLOR_CYAN, hist, graph.select_above ? "above" : "below", "Choosing selection criteria.",
            "Select voxels above or below", "the lower grayscale limit.");
        break;
      case TEXTFIELD_GRAPH_SELECT_THRESH:
        if (t->YLocation != 4) break;
        set(t, 300, 80, COLOR_WHITE, hist, format("%g", graph.hist_marker).c_str(), "Threshold for selection",
            "based upon image intensities.", "Use mouse or L/R arrows");
        break;
      case TEXTFIELD_GRAPH_ERODE:
        if (t->YLocation != 2) break;
        set(t, S.x - 200, 50, COLOR_CYAN, region_tools, "Erode", "Erode the overlay on the image.",
            "Use a 3x3 mask.", "Treat overlays as binary.");
        break;
      case TEXTFIELD_GRAPH_DILATE:
        if (t->YLocation != 2) break;
        set(t, S.x - 100, 50, COLOR_CYAN, region_tools, "Dilate", "Dilate the overlay on the image.",
            "Use a 3x3 mask.", "Treat overlays as binary.");
        break;
      case TEXTFIELD_GRAPH_ED_DISTANCE:
        if (t->YLocation != 2) break;
        set(t, S.x - 150, 20, COLOR_CYAN, false, format(" %1d ", graph.ed_distance).c_str(),
            "Set the distance for erosion", "or dilation.", "Only use values 1-3.");
        break;
      case TEXTFIELD_GRAPH_CLUSTER:
        if (t->YLocation != 4) break;
        set(t, S.x - 100, 50, COLOR_CYAN, region_tools, "Cluster", "Cluster neighbors that touch.",
            "Diagonal neighbors do not touch.", "Use with erode & dilate.");
        break;
      case TEXTFIELD_GRAPH_FLATTEN:
        if (t->YLocation != 4) break;
        set(t, S.x - 200, 50, COLOR_CYAN, region_tools, "Flatten", "Flatten the image using GLM",
            "across a mask define by the", "current overlay.");
        break;
      case TEXTFIELD_GRAPH_DIMENSION:
        if (t->YLocation != 3) break;
        set(t, S.x - 150, 50, COLOR_CYAN, region_tools, graph.ed_dimension == 2 ? "2D" : "3D",
            "Dimensionality for erosion or", "dilation.", " ");
        break;
      case TEXTFIELD_GRAPH_OVL_KEEP:
        if (t->YLocation != 4) break;
        set(t, 350, 50, COLOR_CYAN, region_tools, "Keep", "Keep voxels inside overlay.", "Set voxels outside to zero.",
            " ");
        break;
      case TEXTFIELD_GRAPH_OVL_DISCARD:
        if (t->YLocation != 4) break;
        set(t, 400, 50, COLOR_CYAN, region_tools, "Discard", "Discard voxels inside overlay.",
            "Other voxels are not affected.", " ");
        break;
      default: break;
    }
  }
}

void update_specific_graph_selectable_text(void) {
  for (SelectableText *t = &graph.SelectText; t; t = t->next) {
    switch (t->FieldID) {
      case TEXTFIELD_GRAPH_MODEL: {
        char name[1024] = "";
        get_TimeSeriesModel_name(name);
        set(t, 200, 100, COLOR_CYAN, graph.type == 1 && graph.time_model != 0, (std::string("model: ") + name).c_str(),
            "Model type", "This currently is fixed.", "It is defined on entry.");
        break;
      }
      case TEXTFIELD_OUTPUT_ROI: {
        const bool several = ovl_root.next != nullptr;
        set(t, 500, 40, COLOR_WHITE, graph.type != 1 || ovl_root.npts != 0, " R ",
            several ? "KeyBoard: r/R" : "KeyBoard: r",
            several ? "ROI for 1 (r) or all (R) overlays" : "Write ROI for current overlay",
            several ? "L button      or R button" : "L button");
        break;
      }
      case TEXTFIELD_LAST_TIME_POINT:
        set(t, 500, 50, COLOR_WHITE, graph.type == 1, " l ", "KeyBoard: l", "Display last time point shown.",
            "left mouse button");
        break;
      default:
        if (is_model_field(t->FieldID)) update_SelectText_TimeSeriesModel(t);
        break;
    }
  }
}
