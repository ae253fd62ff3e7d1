// What the user's pointer and keys do in the image window: each action
// changes the display records and sets update_regions bits; one
// Update_Regions at the end of the event repaints. None draws itself,
// except the modal slice selection.
#ifndef ZOR_ACTIONS_H
#define ZOR_ACTIONS_H

#include "zor_display_state.h"

// Pointer buttons, wheel and motion.
void action_image_button1(int press, int xbut, int ybut);
void action_image_button23(int press);
void action_image_button4(void);
void action_image_button5(void);
void action_image_motion_notify(void);
// Arrows: up 1 for Up, left 1 for Left; in 1 for "," and the wheel up.
void action_image_arrow_up_down(int up);
void action_image_arrow_left_right(int left);
void action_image_arrow_in_out(int in);
void action_image_text_selection(int button);
void action_set_projection_location(void);
// Forgets the press kept between button events.
void image_actions_reset(void);

// The contrast window: a drag of (dx, dy) as fractions of the image
// region, and the four arrow steps (0 Down, 1 Up, 2 Right, 3 Left).
void contrast_drag(float dx, float dy);
void contrast_arrow_step(int which);
enum { CONTRAST_DOWN = 0, CONTRAST_UP = 1, CONTRAST_RIGHT = 2, CONTRAST_LEFT = 3 };

// Cross-hair moves by one voxel for the plane under the pointer; returns
// 1 when the cross-hair moved.
int move_crosshair_in_plane(int up_down, int positive);

// Maps.
void action_increment_activation_map(void);
void action_decrement_activation_map(void);
void set_activation_map(int imap);
void convert_activation_scale(file_list *file);

// Time.
void split_graphX_into_file_and_location(float xvalue, int *ifile, int *itime);
// The time-step redraw of "+" and "-": image, info line and graph.
void time_step_redraw(void);

// Slices.
void action_key_pound_sign(void);
void action_select_slices(void);
// Forgets the panels and zoom saved by a slice selection.
void action_select_slices_reset(void);
// Marks the n central slices of nz (as the typed number does).
void mark_central_slices(int n, int nz, int *display_slice);

// Small keys.
void action_key_control_c(int button);
void action_key_control_i(void);
void action_key_return(void);
void action_key_i(void);
void action_key_T(void);
void action_key_l(void);
void action_key_L(void);

// Right-panel hooks: empty in this program.
void action_RightPanel_button1(void);
void action_RightPanel_button23(void);
void action_RightPanel_cursor(void);
void action_RightPanel_arrow_up_down(int up);
void action_RightPanel_arrow_left_right(int left);
void action_RightPanel_tab(void);
void update_right_panel(void);

#endif
