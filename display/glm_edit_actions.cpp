// What a range selected on the time course does to the linear model: add,
// move or delete a stimulus of the active event, fit a gamma or sigmoid
// response to the range, take the curve as a table regressor, or flip
// excluded points; and the model written back as control and event files.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "zor_exit.h"
#include "zor_glm.h"
#include "zor_glm_actions.h"
#include "zor_graph.h"
#include "zor_stack.h"
#include "zor_time_model.h"
#include "zor_x11.h"

namespace {

int prompt_on_graph(const char *prompt, const char *options, char *answer) {
  // A yes-or-no word, ended with Return.
  return get_X11_string(1, prompt, options, "", 1, 1, answer);
}

void show_info(const char *text) {
  char line[ZOR_LINE], blank[] = " ";
  snprintf(line, sizeof line, "%s", text);
  show_on_info_line(1, 0, line, blank, blank);
}

bool is_yes(const char *answer) { return answer[0] == 'y' || answer[0] == 'Y'; }

// Event numbers a drawing can take: 0 has no identifier to write or show.
bool drawable_event(int event_number) {
  if (event_number != 0) return true;
  puts("Error: event 0 has no identifier; choose an event ID from 1-9, a-z or A-Z.");
  return false;
}

// After a change: a new event whose regressor lies only on excluded points
// leaves the fit without support.
void warn_events_without_support(void) {
  if (GLM.initialized != 2 || !GLM.X_tc) return;
  for (int j = 0; j < GLM.nevents && j < GLM.ncoeff; j++) {
    bool any = false;
    for (int t = 0; t < GLM.ntime && !any; t++) any = GLM.X_tc[t][j] != 0.0f;
    if (!any) {
      char id = ' ';
      GLM_EventCharIDFromInteger(GLM.event_number[j], &id);
      printf("Warning: event %c is zero at every time point in use (are its stimuli excluded?).\n", id);
    }
  }
}

// The number of points of a grid from `start` to `end`, both included,
// taken as the loops take them; -1 (after a message) for a grid that would
// never end or is too large to search.
constexpr long GRID_LIMIT = 1000000;

long grid_count(float start, float end, float step) {
  if (!(std::isfinite(start) && std::isfinite(end) && std::isfinite(step))) {
    puts("Error: the grid search has limits or steps that are not numbers.");
    return -1;
  }
  if (start > end) return 0;
  if (step <= 0.0f) {
    printf("Error: the grid search step (%g) must be > 0.\n", step);
    return -1;
  }
  long n = 0;
  for (float v = start; v <= end; v += step) {
    if (++n > GRID_LIMIT) {
      printf("Error: the grid search (%g to %g in steps of %g) has too many points.\n", start, end, step);
      return -1;
    }
  }
  return n;
}

bool finite_data(int npoints, const float *data) {
  for (int t = 0; t < npoints; t++)
    if (!std::isfinite(data[t])) {
      printf("Error: the time course holds a value that is not a number at point %d; no search is made.\n", t);
      return false;
    }
  return true;
}

// One point of a search: the stimulus on trial, the model rebuilt, the data
// filtered and fitted. Returns 1 when the stimulus cannot be defined.
int try_stimulus(int event_number, int shape, float onset, float tau, float alpha, int npoints, float *data,
                 float *fit, float *sigma2) {
  if (GLM_define_1_stimulus(event_number, shape, onset, onset, tau, alpha)) return 1;
  *sigma2 = INFINITY;
  if (GLM_define_basis_functions() == 0 && GLM_PreFilter(0, npoints, data) == 0)
    GLM_fit_data(npoints, data, fit, sigma2);
  return 0;
}

int search(int event_number, int shape, float start_onset, float end_onset, float step_onset, float start_tau,
           float end_tau, float step_tau, const float *alphas, int nalpha, float *best_onset, float *best_tau,
           float *best_alpha, int npoints, float *data, float *fit) {
  if (npoints != GLM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", npoints,
           GLM.ntime);
    return 1;
  }
  if (!finite_data(npoints, data)) return 1;
  if (grid_count(start_onset, end_onset, step_onset) < 0 || grid_count(start_tau, end_tau, step_tau) < 0) return 1;
  float best = INFINITY;
  bool found = false;
  for (float tau = start_tau; tau <= end_tau; tau += step_tau) {
    for (int a = 0; a < nalpha; a++) {
      for (float onset = start_onset; onset <= end_onset; onset += step_onset) {
        float sigma2;
        if (try_stimulus(event_number, shape, onset, tau, alphas[a], npoints, data, fit, &sigma2)) return 1;
        if (sigma2 < best) {
          best = sigma2;
          *best_onset = onset;
          *best_tau = tau;
          if (best_alpha) *best_alpha = alphas[a];
          found = true;
        }
        if (GLM_delete_1_stimulus(event_number, onset, 0)) return 1;
      }
    }
  }
  if (!found) {
    puts("Error: no point of the grid search gave a finite fit.");
    return 1;
  }
  return 0;
}

// The cursor's index along the graph's axis.
int cursor_index(void) {
  if (graph.type == 1) return graph.iLastTime;
  switch (graph.space_model) {
    case 1: return mosaic.icross.x;
    case 2: return mosaic.icross.y;
    case 3: return mosaic.icross.z;
    default:
      puts("Programming error: graph type = 4 in function action_fit_gamma().");
      zor_exit(1);
  }
  return 0;
}

float at_least_half(float value) { return value < 0.5f ? 0.5f : value; }

}  // namespace

const float glm_alpha_grid[GLM_NALPHA] = {0.2f, 0.4f, 0.6f, 0.8f, 1.0f, 2.0f, 3.0f, 4.0f, 5.0f};

int (*glm_action_prompt)(const char *prompt, const char *options, char *answer) = prompt_on_graph;

int glm_maps_threads = 0;
int glm_maps_resels = 0;

void glm_actions_reset(void) {
  glm_action_prompt = prompt_on_graph;
  glm_maps_threads = 0;
  glm_maps_resels = 0;
}

int action_define_square_function(int event_number) {
  if (event_number < 0) return 0;
  if (graph.ix_low_select < 0)
    GLM_delete_1_stimulus(event_number, (float)graph.ix_high_select, 1);
  else
    GLM_define_1_stimulus(event_number, SHAPE_SQUARE, (float)graph.ix_low_select, (float)graph.ix_high_select, 0.0f,
                          1.0f);
  return 0;
}

int action_define_table_event(int event_number) {
  if (event_number < 0) return 0;
  if (graph.ix_low_select >= 0)
    GLM_define_table_event_interactive(event_number, graph.ix_low_select, graph.ix_high_select, graph.npoints,
                                       graph.yVector);
  else
    GLM_delete_1_stimulus(event_number, (float)graph.ix_high_select, 1);
  return 0;
}

int grid_search_onset_tau(int event_number, int shape, float start_onset, float end_onset, float step_onset,
                          float start_tau, float end_tau, float step_tau, float *best_onset, float *best_tau,
                          int npoints, float *data, float *fit) {
  const float alpha_one = 1.0f;
  return search(event_number, shape, start_onset, end_onset, step_onset, start_tau, end_tau, step_tau, &alpha_one, 1,
                best_onset, best_tau, nullptr, npoints, data, fit);
}

int grid_search_onset_tau_alpha(int event_number, int shape, float start_onset, float end_onset, float step_onset,
                                float start_tau, float end_tau, float step_tau, float *best_onset, float *best_tau,
                                float *best_alpha, int npoints, float *data, float *fit) {
  return search(event_number, shape, start_onset, end_onset, step_onset, start_tau, end_tau, step_tau,
                glm_alpha_grid, GLM_NALPHA, best_onset, best_tau, best_alpha, npoints, data, fit);
}

int action_fit_gamma_or_sigmoid(int event_number, int shape) {
  const int cursor = cursor_index();
  const int low = graph.ix_low_select, high = graph.ix_high_select;
  printf("range: %d %d\n", low, high);
  if (event_number < 0) return 0;
  if (low < 0) return GLM_delete_1_stimulus(event_number, (float)high, 1);
  if (cursor > low && cursor < high)
    return GLM_define_1_stimulus(event_number, shape, (float)low, (float)high, (float)(cursor - low), 1.0f);
  if (low > graph.npoints - 1 || high > graph.npoints - 1 || high < 0) {
    puts("Programming error: graph.ix_low_select (or high_select) out of range.");
    zor_exit(1);
  }
  const int npoints = graph.npoints;
  if (npoints != GLM.ntime) {
    printf("Error: the number of data time points (%d) does not match the number in the GLM (%d).\n", npoints,
           GLM.ntime);
    return 1;
  }
  char answer[ZOR_LINE] = "";
  bool fix_alpha = true;
  if (shape == SHAPE_GAMMA) {
    if (!glm_action_prompt("Fix shape with alpha=1?", "(y,n,ESC,other)", answer)) return 0;
    fix_alpha = is_yes(answer);
  }
  // The searches work on the curve as shown, which the filter changes in place.
  float *data = graph.yVector, *fit = graph.yFit;
  if (!finite_data(npoints, data)) return 1;

  // The time constant alone, with the onset at the start of the range.
  const float onset = (float)low;
  const float length = (float)(high - low + 1);
  const float step = (length - 1.0f) / 50.0f;
  float tau0 = 1.0f, best = INFINITY;
  if (grid_count(1.0f, length, step) < 0) return 1;
  for (float tau = 1.0f; tau <= length; tau += step) {
    float sigma2;
    if (try_stimulus(event_number, shape, onset, tau, 1.0f, npoints, data, fit, &sigma2)) return 1;
    if (sigma2 < best) {
      best = sigma2;
      tau0 = tau;
    }
    if (GLM_delete_1_stimulus(event_number, onset, 0)) return 1;
  }

  if (!glm_action_prompt("Vary onset time?", "(y,n,ESC,other)", answer)) return 0;
  const bool vary_onset = is_yes(answer);
  const float tr = GLM.tr[0];
  float best_onset = onset, best_tau = tau0, best_alpha = 1.0f;
  if (vary_onset) {
    float start_onset = low - tau0 / 2, end_onset = low + tau0 / 2;
    float start_tau = at_least_half(rintf(tau0 / 2)), end_tau = tau0 * 1.5f;
    float grid_step = (end_onset - start_onset) / 10.0f;
    for (int pass = 0; pass < 2; pass++) {
      if (fix_alpha) {
        printf("Onset range: (%g %g)   ,  Onset range: (%g %g)\n", start_onset * tr, end_onset * tr, start_tau * tr,
               end_tau * tr);
        if (grid_search_onset_tau(event_number, shape, start_onset, end_onset, grid_step, start_tau, end_tau,
                                  grid_step, &best_onset, &best_tau, npoints, data, fit))
          return 1;
      } else {
        printf("Onset range: (%g %g)   ,  Onset range: (%g %g)  , vary alpha\n", start_onset * tr, end_onset * tr,
               start_tau * tr, end_tau * tr);
        if (grid_search_onset_tau_alpha(event_number, shape, start_onset, end_onset, grid_step, start_tau, end_tau,
                                        grid_step, &best_onset, &best_tau, &best_alpha, npoints, data, fit))
          return 1;
      }
      // A finer pass around the best point.
      start_onset = best_onset - best_tau / 5;
      end_onset = best_onset + best_tau / 5;
      start_tau = at_least_half(rintf(best_tau * 0.8f));
      end_tau = best_tau * 1.2f;
      grid_step = (end_onset - start_onset) / 10.0f;
    }
  } else if (!fix_alpha) {
    const float start_tau = at_least_half(rintf(tau0 * 0.8f)), end_tau = tau0 * 1.2f;
    const float grid_step = tau0 / 10.0f;
    best = INFINITY;
    if (grid_count(start_tau, end_tau, grid_step) < 0) return 1;
    for (float tau = start_tau; tau <= end_tau; tau += grid_step) {
      for (int a = 0; a < GLM_NALPHA; a++) {
        float sigma2;
        if (try_stimulus(event_number, shape, onset, tau, glm_alpha_grid[a], npoints, data, fit, &sigma2)) return 1;
        if (sigma2 < best) {
          best = sigma2;
          best_tau = tau;
          best_alpha = glm_alpha_grid[a];
        }
        if (GLM_delete_1_stimulus(event_number, onset, 0)) return 1;
      }
    }
  }

  if (GLM_define_1_stimulus(event_number, shape, best_onset, best_onset, best_tau, best_alpha)) return 1;
  if (shape == SHAPE_GAMMA)
    printf("Define new event of shape GAMMA starting at %g with tau = %g and alpha = %g\n", best_onset * tr,
           best_tau * tr, best_alpha);
  else
    printf("Define new event of shape SIGMOID starting at %g with tau = %g\n", best_onset * tr, best_tau * tr);
  return 0;
}

void action_graph_button23_GLM_TimeSeriesModel(void) {
  // A selection can only be made on the curve; anything else is refused
  // before the model is touched.
  const int low = graph.ix_low_select, high = graph.ix_high_select;
  if (low < 0 || high < 0 || low >= graph.npoints || high >= graph.npoints) {
    printf("Error: the selection (%d to %d) lies outside the time course (0 to %d).\n", low, high,
           graph.npoints - 1);
    show_info("selection outside the data");
    fflush(stdout);
    return;
  }
  if (!GLM_is_initialized()) {
    puts("This function requires a defined GLM model.");
    return;
  }
  if (glm_model.shape == GLM_DRAW_IGNORE) {
    printf("select %d to %d\n", low, high);
    GLM_modify_excluded_region(0, low, high);
    GLM_define_basis_functions();
  } else {
    if (low == high) graph.ix_low_select = -1;  // a click deletes what lies there
    const int event_number = glm_model.event_number_active;
    if (graph.ix_low_select >= 0 && !drawable_event(event_number)) {
      fflush(stdout);
      return;
    }
    switch (glm_model.shape) {
      case GLM_DRAW_SQUARE: action_define_square_function(event_number); break;
      case GLM_DRAW_GAMMA: action_fit_gamma_or_sigmoid(event_number, SHAPE_GAMMA); break;
      case GLM_DRAW_SIGMOID: action_fit_gamma_or_sigmoid(event_number, SHAPE_SIGMOID); break;
      case GLM_DRAW_TABLE: action_define_table_event(event_number); break;
      default: break;
    }
    GLM_define_basis_functions();
    GLM_describe_basis_functions();
    GLM_describe_stimuli();
    warn_events_without_support();
  }

  char conditions[ZOR_LINE] = "";
  const int nevents = GLM_get_number_events();
  int failed = 0;
  if (nevents == 2)
    failed = GLM_create_all_conditions(conditions);
  else if (nevents >= 1)
    failed = GLM_create_all_single_conditions(conditions);
  int nconditions = 0;
  if (failed || GLM_define_conditions(1, conditions, &nconditions)) {
    fflush(stdout);
    return;
  }
  printf("%d conditions: %s\n", nconditions, conditions);
  if (glm_model.iCondition_value >= nconditions) glm_model.iCondition_value = 0;

  char text[ZOR_LINE];
  if (graph.ix_low_select < 1)
    snprintf(text, sizeof text, "deleted selection at location %d", graph.ix_high_select);
  else
    snprintf(text, sizeof text, "selected %d to %d", graph.ix_low_select, graph.ix_high_select);
  show_info(text);
  fflush(stdout);
  modify_graph_vector();
  graph.update_regions |= 4;
}

int action_write_glm_files(void) {
  if (GLM_get_number_events() == 0) {
    puts("This function requires a defined GLM model.");
    return 1;
  }
  GLM_describe_stimuli();
  GLM_describe_basis_functions();
  char condition[ZOR_LINE];
  if (GLM_get_condition_string(0, condition)) {
    puts("create conditions");
    char conditions[ZOR_LINE] = "";
    if (GLM_create_all_conditions(conditions)) {
      puts("Error creating conditions.");
      return 1;
    }
    int nconditions = 0;
    if (GLM_define_conditions(1, conditions, &nconditions)) {
      puts("Error defining conditions.");
      return 1;
    }
  }
  int nruns = 0;
  for (const file_list *f = &image_files; f && f->file_name[0] && nruns < GLM_MAX_RUNS; f = f->next, nruns++)
    snprintf(GLM_input.run_name[nruns], ZOR_LINE, "%s", f->file_name);
  GLM_input.nruns = nruns;
  char control[] = "glm.dat", root[] = "run";
  const int status = GLM_write_glm_files(control, root);
  show_info(status ? "the model was not written" : "model written to glm.dat");
  fflush(stdout);
  return status;
}

void action_ignore_out_of_range(void) {
  if (!GLM_is_initialized()) return;
  const int n = graph.npoints < GLM.ntime ? graph.npoints : GLM.ntime;
  for (int t = 0; t < n; t++)
    if (graph.yVector[t] < graph.Min.y || graph.yVector[t] > graph.Max.y) GLM_modify_excluded_region(1, t, t);
  GLM_define_basis_functions();
}
