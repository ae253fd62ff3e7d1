// Changing the linear model from the graph window: a range drawn on the time
// course adds, moves or deletes a stimulus of the active event, fits a gamma
// or sigmoid response to it by grid search, takes the time course as a table
// regressor or flips excluded points; the statistical maps of the whole
// volume under the model so built, in memory; and the model written back as
// a control file and event files.
#ifndef ZOR_GLM_ACTIONS_H
#define ZOR_GLM_ACTIONS_H

// The alpha values a free-shaped gamma tries.
constexpr int GLM_NALPHA = 9;
extern const float glm_alpha_grid[GLM_NALPHA];

int action_define_square_function(int event_number);
int action_define_table_event(int event_number);
int action_fit_gamma_or_sigmoid(int event_number, int shape);
// Best onset and time constant (in time points) of a stimulus of
// `event_number` over the grid: time constants from start_tau to end_tau,
// and for each the onsets from start_onset to end_onset, both ends included.
// Every point rebuilds the model, filters `data` and fits it into `fit`; the
// stimulus is taken out again after each. Returns 0, or 1 when a point
// cannot be defined or deleted, or when no point gives a finite fit.
int grid_search_onset_tau(int event_number, int shape, float start_onset, float end_onset, float step_onset,
                          float start_tau, float end_tau, float step_tau, float *best_onset, float *best_tau,
                          int npoints, float *data, float *fit);
// The same with every alpha of glm_alpha_grid between the two loops.
int grid_search_onset_tau_alpha(int event_number, int shape, float start_onset, float end_onset, float step_onset,
                                float start_tau, float end_tau, float step_tau, float *best_onset, float *best_tau,
                                float *best_alpha, int npoints, float *data, float *fit);
int action_compute_p_value(void);
int action_write_glm_files(void);
void action_ignore_out_of_range(void);

// The "P" key of the image window: the maps, shown at once.
void action_key_P(void);

// Threads the maps may use; 0 (the default) takes one per processor.
extern int glm_maps_threads;
// The multiplier of the corrected p values of the last maps: the number of
// voxels of a volume.
extern int glm_maps_resels;

// How the actions ask a question on the information line. Tests put a
// scripted answerer here; it returns 0 for Escape, as get_X11_string does.
extern int (*glm_action_prompt)(const char *prompt, const char *options, char *answer);
// Restores the prompt and the thread count, as at program start.
void glm_actions_reset(void);

#endif
