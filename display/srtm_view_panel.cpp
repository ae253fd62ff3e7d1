// The PET model's fields in the graph panel (what is shown, the kinetic
// parameter at the chosen frame, the condition's effect and the excluded
// frames) and what a click on them, or on the model's name, does.
#include <cstdio>
#include <cstring>
#include <string>

#include "zor_exit.h"
#include "zor_graph.h"
#include "zor_model_views.h"
#include "zor_panels.h"
#include "zor_srtm.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {

struct parameter_text {
  int code;
  const char *format;
  const char *help;
  int color;
};

const parameter_text parameter_texts[] = {
    {0, "    R1 = %5.2f (%5.2f) ", "R1 = EF relative to ref. region", COLOR_GREEN},
    {1, " tau2' = %5.2f (%5.2f)", "tau2' = 1/k2a in min", COLOR_ORANGE},
    {2, "    BP = %5.2f (%5.2f)", "BP = B_avail/Kd", COLOR_PURPLE},
    {-2, "   k2a = %5.3f (%5.3f)", "k2a = GLM BP parameter in 1/min", COLOR_PURPLE},
    {-4, "   1/b = %5.3f (%5.3f)", "1/b = GLM parameter in 1/min", COLOR_GREEN},
    {4, "     b = %5.3f (%5.3f)", "  b = intercept in min      ", COLOR_GREEN},
    {-3, "   V/b = %5.3f (%5.3f)", "V/b = GLM parameter in 1/min", COLOR_GREEN},
    {3, "     V = %5.3f (%5.3f)", "   V = distribution volume  ", COLOR_GREEN},
};

const char *display_names[4] = {" TAC ", "Regressors", "Residue", "SNR"};

// The frame the panel shows: the chosen one, or the first.
int shown_frame(void) { return graph.iTime < 0 ? 0 : graph.iTime; }

bool fitted(void) { return SRTM.initialized == 2 && SRTM.Beta_c && graph.npoints == SRTM.ntime; }

void parameter_field(SelectableText *t) {
  const int code = glm_model.iParameter;
  const bool visible = graph.type == 1 && glm_model.iDisplay != 2 && glm_model.iDisplay != 3;
  if (code == -1) {
    set_panel_field(t, COLOR_PURPLE, visible, 300, 130, "Changing graph viewing option", "TAC, R1, tau2', BP, k2a",
              "display only TAC");
    snprintf(t->string, sizeof t->string, "%22s", "");
    return;
  }
  const parameter_text *p = nullptr;
  for (const parameter_text &e : parameter_texts)
    if (e.code == code) p = &e;
  if (!p) p = &parameter_texts[2];
  double value = 0.0, error = 0.0;
  if (fitted() && shown_frame() < SRTM.ntime) value = SRTM_get_parameter_value(code, shown_frame(), &error);
  set_panel_field(t, p->color, visible, 300, 130, "Changing graph viewing option", "TAC, R1, tau2', BP, k2a", p->help);
  snprintf(t->string, sizeof t->string, p->format, value, error);
}

void condition_field(SelectableText *t) {
  const bool visible = graph.type == 1 && glm_model.iDisplay != 2 && glm_model.iDisplay != 3;
  set_panel_field(t, COLOR_CYAN, visible, 450, 130, "Condition name, effect size, and SEM", "from GLM fit.",
            "Use mouse to change conditions.");
  if (SRTM_get_nconditions() == 0) {
    strcpy(t->string, "no conditions");
    return;
  }
  char name[ZOR_LINE];
  if (SRTM_get_condition_name(glm_model.iCondition_value, name)) {
    printf("Programming error: condition index %d is not defined.\n", glm_model.iCondition_value);
    zor_exit(1);
  }
  char numbers[64];
  snprintf(numbers, sizeof numbers, " = %7.4f+-%7.4f", glm_model.effect_size, glm_model.effect_sem);
  snprintf(t->string, sizeof t->string, "%s", (std::string(name) + numbers).c_str());
  if (SRTM_BP_condition(glm_model.iCondition_value)) {
    double error = 0.0;
    if (fitted()) SRTM_calculate_BP_condition(glm_model.iCondition_value, &error);
    snprintf(t->message2, sizeof t->message2, "from GLM fit. BP_err = %5.2f", error);
  }
}

void exclusion_field(SelectableText *t) {
  set_panel_field(t, COLOR_CYAN, graph.type == 1 && !graph.freq_domain, 200, 100, "Ignore data past some time point",
            "Select and then respond to prompt", "Data and fit will be adjusted");
  // The first showing says none; later ones list the run's exclusions.
  if (t->string[0] == '\0') {
    strcpy(t->string, "Exclude: none");
    return;
  }
  const int t_index = shown_frame();
  const int run = SRTM.nruns > 0 && t_index < SRTM.ntime ? SRTM_get_run_number(t_index) : 0;
  char list[ZOR_LINE] = "";
  SRTM_Get_Ignore_String(run, list);
  snprintf(t->string, sizeof t->string, "Exclude: %s", list);
}

void step_parameter(int button) {
  int &code = glm_model.iParameter;
  if (SRTM_is_SRTM_model()) {
    if (button == 1)
      code = code >= 2 ? -2 : code + 1;
    else
      code = code <= -2 ? 2 : code - 1;
  } else {
    code = code == 3 ? 4 : 3;
  }
}

void toggle_weighting(void) {
  const float half_life = SRTM_get_half_life();
  if (half_life != 0.0f) {
    half_life_save = half_life;
    SRTM_set_half_life(0.0f);
    return;
  }
  if (half_life_save != 0.0f) {
    SRTM_set_half_life(half_life_save);
    return;
  }
  char answer[ZOR_LINE] = "";
  float value;
  if (get_X11_string(1, "Ligand half life", "(units = minutes, usually)", " 20.33", 2, 1, answer) &&
      sscanf(answer, "%g", &value) == 1) {
    SRTM_set_half_life(value);
    half_life_save = value;
  }
}

void ask_exclusions(void) {
  const int run = SRTM.nruns > 0 && shown_frame() < SRTM.ntime ? SRTM_get_run_number(shown_frame()) : 0;
  char options[128], answer[ZOR_LINE] = "";
  snprintf(options, sizeof options, "Exclude time points from run %d", run);
  if (get_X11_string(1, "list (e.g., 70-90):", options, " ", 0, 1, answer) &&
      SRTM_Set_Ignore_String(run, answer) == 0) {
    if (SRTM_define_static_basis_functions()) zor_exit(1);
    fill_SRTM_TimeSeriesModel();
    build_graph_display(1);
    return;
  }
  char bad[] = "bad input", kept[] = "exclusion criteria not modified", empty[] = "";
  show_on_info_line(1, 0, bad, kept, empty);
}

}  // namespace

void update_SelectText_SRTM_TimeSeriesModel(SelectableText *SelectText) {
  SelectableText *t = SelectText;
  switch (t->FieldID) {
    case TEXTFIELD_DISPLAY_FULLFIT:
      set_panel_field(t, COLOR_CYAN, graph.type == 1, 325, 100, "Display TAC or residue", " ",
                "Change to residue with click");
      snprintf(t->string, sizeof t->string, "%s", display_names[glm_model.iDisplay & 3]);
      break;
    case TEXTFIELD_PARAM_VALUES: parameter_field(t); break;
    case TEXTFIELD_SRTM_CONDITIONS: condition_field(t); break;
    case TEXTFIELD_SRTM_EXCLUSIONS: exclusion_field(t); break;
    default: break;
  }
}

void action_graph_text_selection_SRTM_TimeSeriesModel(int button) {
  switch (graph.text_selection) {
    case TEXTFIELD_DISPLAY_FULLFIT:
      glm_model.iDisplay = (glm_model.iDisplay + (button == 1 ? 1 : 3)) % 4;
      graph.fixed.y = 0;
      fill_graph_vector();
      break;
    case TEXTFIELD_GRAPH_MODEL:
      if (glm_model.iDisplay != 2) {
        toggle_weighting();
        fill_SRTM_TimeSeriesModel();
        graph.update_regions |= GRAPH_REBUILD | GRAPH_MENUS;
      } else {
        graph.freq_domain = !graph.freq_domain;
        fill_graph_vector();
        graph.update_regions |= GRAPH_REBUILD;
        graph.fixed.y = 0;
      }
      return;
    case TEXTFIELD_PARAM_VALUES: step_parameter(button); break;
    case TEXTFIELD_SRTM_CONDITIONS: {
      const int count = SRTM_get_nconditions();
      if (count > 0) {
        int &c = glm_model.iCondition_value;
        c += button == 1 ? 1 : -1;
        if (c >= count) c = 0;
        if (c < 0) c = count - 1;
      }
      fill_SRTM_TimeSeriesModel();
      break;
    }
    case TEXTFIELD_SRTM_EXCLUSIONS: ask_exclusions(); return;
    default: break;
  }
  graph.update_regions |= GRAPH_MENUS;
}
