// The model's fields in the graph panel, what a click on them does, and the
// model's keys in the graph window.
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_graph.h"
#include "zor_exit.h"
#include "zor_glm.h"
#include "zor_glm_actions.h"
#include "zor_overlay.h"
#include "zor_panels.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {

std::string included_events(void) {
  std::string s;
  for (int j = 0; j < GLM.nevents; j++)
    if (!GLM_event_is_in_string(glm_model.residue_string, j)) s += GLM_EventCharID(GLM.event_number[j]);
  return s;
}

void condition_text(char *text) {
  if (GLM_get_nconditions() == 0) {
    strcpy(text, "no conditions");
    return;
  }
  modify_graph_vector();  // fresh values for the text
  char condition[ZOR_LINE];
  if (GLM_get_condition_string(glm_model.iCondition_value, condition)) {
    printf("Programming error: condition index %d is not defined.\n", glm_model.iCondition_value);
    zor_exit(1);
  }
  char numbers[64];
  snprintf(numbers, sizeof numbers, " = %6.3f+-%6.3f", glm_model.effect_size, glm_model.effect_sem);
  snprintf(text, ZOR_LINE, " %s", (std::string(condition) + numbers).c_str());
}

const char *shape_label(int shape) {
  switch (shape) {
    case GLM_DRAW_SQUARE: return "draw event: square";
    case GLM_DRAW_GAMMA: return "draw event: gamma";
    case GLM_DRAW_SIGMOID: return "draw event: sigmoid";
    case GLM_DRAW_TABLE: return "draw event: table";
    default: return "draw: ignore region";
  }
}

void show_failure(const char *line1, const char *line2) {
  char a[ZOR_LINE], b[ZOR_LINE], blank[] = " ";
  snprintf(a, sizeof a, "%s", line1);
  snprintf(b, sizeof b, "%s", line2);
  show_on_info_line(1, 0, a, b, blank);
}

int step(int value, int button, int count) {
  if (count <= 0) return 0;
  value += button == 1 ? 1 : -1;
  if (value >= count) value = 0;
  if (value < 0) value = count - 1;
  return value;
}

}  // namespace

void define_GLM_residue_from_exclusion(const char *text) {
  // The text is the residue; a text that names no event empties it.
  snprintf(glm_model.residue_string, sizeof glm_model.residue_string, "%s", text);
  if (GLM_get_number_events_inside_residue(glm_model.residue_string) == 0) glm_model.residue_string[0] = '\0';
}

void update_SelectText_GLM_TimeSeriesModel(SelectableText *t) {
  const bool time_view = graph.type == 1 && !graph.freq_domain;
  const bool freq_view = graph.type == 1 && graph.freq_domain;
  char text[ZOR_LINE] = "";
  switch (t->FieldID) {
    case TEXTFIELD_GLM_CONDITIONS:
      set_panel_field(t, COLOR_CYAN, time_view, 325, 100, "Condition name, effect size, and", "st. dev. from GLM fit.",
                "Use mouse to change conditions.");
      condition_text(text);
      break;
    case TEXTFIELD_GLM_INCLUDE: {
      set_panel_field(t, COLOR_CYAN, time_view, 200, 100, "Include a list of events in fit.",
                "Select and then respond to prompt", "Data and fit will be adjusted");
      const std::string events = included_events();
      snprintf(text, sizeof text, events.empty() ? "include: " : "include: %s", events.c_str());
      break;
    }
    case TEXTFIELD_GLM_EXCLUDE:
      set_panel_field(t, COLOR_CYAN, time_view, 200, 100, "Exclude a list of events in fit.",
                "Select and then respond to prompt", "Data and fit will be adjusted");
      snprintf(text, sizeof text, glm_model.residue_string[0] ? "exclude: %s" : "exclude: ", glm_model.residue_string);
      break;
    case TEXTFIELD_GLM_NEW_EVENT: {
      set_panel_field(t, COLOR_SKY, time_view, 325, 100, "Set an event ID for drawing.", "Select and enter event ID",
                "at prompt. 1-9,a-z,A-Z ");
      char id = ' ';
      GLM_EventCharIDFromInteger(glm_model.event_number_active, &id);
      snprintf(text, sizeof text, "draw event: %c", id);
      break;
    }
    case TEXTFIELD_GLM_NEW_SHAPE:
      set_panel_field(t, COLOR_SKY, time_view, 325, 100, "Set an event shape for drawing.",
                "L/R buttons cycle through options", "('table' is like correlation)");
      strcpy(text, shape_label(glm_model.shape));
      break;
    case TEXTFIELD_GLM_BASELINE:
      set_panel_field(t, COLOR_CYAN, graph.type == 1, 500, 40, "Remove/reinstate GLM baseline", "Keyboard equivalent: b",
                " ");
      strcpy(text, glm_model.baseline ? "base:y" : "base:n");
      break;
    case TEXTFIELD_GLM_NBASELINE:
      set_panel_field(t, COLOR_CYAN, graph.type == 1, 540, 40, "Define polynomial for baseline.",
                "3 terms for DC + quadratic drift.", "Select and then respond to prompt");
      snprintf(text, sizeof text, "(%d)", GLM_get_nbaseline_terms());
      break;
    case TEXTFIELD_CHI2:
      set_panel_field(t, COLOR_GRAY, time_view, 700, 40, "Chi-squared per degree of freedom", "from GLM fit to data", " ");
      snprintf(text, sizeof text, "%5.2e", glm_model.chi2_dof);
      break;
    case TEXTFIELD_FREQ_BAND: {
      set_panel_field(t, COLOR_CYAN, freq_view, 300, 150, "Low and high frequency cutoffs.", "L/R mouse click to set", " ");
      float low, high;
      GLM_get_preGLM_frequency_band(&low, &high);
      snprintf(text, sizeof text, "band: %g to %g", low, high);
      break;
    }
    case TEXTFIELD_PHASE_SHIFT: {
      set_panel_field(t, COLOR_CYAN, freq_view, 300, 150, "Phase shift", "L/R mouse click to set", " ");
      float phase;
      GLM_get_preGLM_phase_shift(&phase);
      snprintf(text, sizeof text, "phase shift: %g", phase);
      break;
    }
    case TEXTFIELD_GRAPH_UNITS: {
      const bool hidden = graph.type == 0 || graph.time_model == MODEL_REM || graph.time_model == MODEL_SRTM ||
                          graph.size.x < 150;
      set_panel_field(t, COLOR_WHITE, !hidden, (int)(graph.size.x * 0.45), 80, "Toggle between % or abs units",
                "using mouse clicks", " ");
      strcpy(text, graph.units_percent ? " units: % " : " units: abs ");
      break;
    }
    default: return;
  }
  snprintf(t->string, sizeof t->string, "%s", text);
}

void action_graph_text_selection_GLM_TimeSeriesModel(int button) {
  char answer[ZOR_LINE] = "";
  switch (graph.text_selection) {
    case TEXTFIELD_GLM_CONDITIONS:
      glm_model.iCondition_value = step(glm_model.iCondition_value, button, GLM_get_nconditions());
      graph.update_regions |= 4;
      break;
    case TEXTFIELD_GLM_INCLUDE:
      if (get_X11_string(1, "Include events", "(event numbers, DEL, RET, ESC)", "", 0, 1, answer)) {
        GLM_define_residue_from_inclusion(answer, glm_model.residue_string);
        modify_graph_vector();
        label_graph_window();
        graph.update_regions |= 1;
      } else {
        show_failure("no events", " ");
      }
      break;
    case TEXTFIELD_GLM_EXCLUDE:
      if (get_X11_string(1, "Exclude events", "(event numbers, DEL, RET, ESC)", "", 0, 1, answer)) {
        define_GLM_residue_from_exclusion(answer);
        modify_graph_vector();
        label_graph_window();
        graph.update_regions |= 1;
      } else {
        show_failure("no events", " ");
      }
      break;
    case TEXTFIELD_GLM_NEW_EVENT:
      if (get_X11_string(1, "Event value event ID", "single alpha-numberic", "", 3, 0, answer) && answer[0]) {
        glm_model.event_number_active = GLM_EventNumberFromCharID(answer[0]);
        graph.update_regions |= 4;
      } else {
        show_failure("bad input", "new event field not modified");
      }
      break;
    case TEXTFIELD_GLM_NEW_SHAPE:
      glm_model.shape = step(glm_model.shape, button, 5);
      graph.update_regions |= 4;
      break;
    case TEXTFIELD_GLM_BASELINE:
      glm_model.baseline = !glm_model.baseline;
      modify_graph_vector();
      graph.update_regions |= 1;
      break;
    case TEXTFIELD_GLM_NBASELINE: {
      int n = -1;
      if (get_X11_string(1, "# baseline terms", "0,1,2,3,4", "", 2, 1, answer) && sscanf(answer, "%d", &n) == 1 &&
          GLM_set_nbaseline_terms(n) == 0) {
        GLM_define_basis_functions();
        modify_graph_vector();
        graph.update_regions |= 1;
      } else {
        show_failure("bad input", "baseline terms not modified");
      }
      break;
    }
    case TEXTFIELD_GRAPH_MODEL:
      if (noise_model_original == 0) {
        graph.freq_domain = !graph.freq_domain;
        fill_graph_vector();
        modify_graph_vector();
        graph.fixed.y = 0;
      } else {
        GLM_set_noise_model(GLM_get_noise_model() == 0 ? 1 : 0);
        fill_graph_vector();
        modify_graph_vector();
      }
      graph.update_regions |= 5;
      break;
    case TEXTFIELD_FREQ_BAND: {
      float a, b;
      if (get_X11_string(1, "Low & high cutoffs", "separate values with space", "", 0, 1, answer) &&
          sscanf(answer, "%g %g", &a, &b) == 2) {
        GLM_set_preGLM_frequency_band(a < b ? a : b, a < b ? b : a);
        fill_graph_vector();
        graph.update_regions |= 5;
      }
      break;
    }
    case TEXTFIELD_PHASE_SHIFT: {
      float phase;
      if (get_X11_string(1, "Phase shift", "phi per point", "", 0, 1, answer) && sscanf(answer, "%g", &phase) == 1) {
        GLM_set_preGLM_phase_shift(phase);
        fill_graph_vector();
        graph.update_regions |= 5;
      }
      break;
    }
    case TEXTFIELD_GRAPH_UNITS: action_change_graph_units(); break;
    default: break;
  }
}

int graph_event_handler_GLM_TimeSeriesModel(char key) {
  switch (key) {
    case ' ':
      glm_model.show_glm_windows = (glm_model.show_glm_windows + 1) % 3;
      build_graph_display(1);
      return 1;
    case 'b':
      glm_model.baseline = !glm_model.baseline;
      modify_graph_vector();
      graph.update_regions |= 5;
      return 1;
    case 7:
      action_write_glm_files();
      fflush(stdout);
      return 1;
    default: return 0;
  }
}
