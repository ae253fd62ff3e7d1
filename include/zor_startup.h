// The program's start: the command line or a remembered one in a start-up
// file, the option table, and the file lists the options fill.
#ifndef ZOR_STARTUP_H
#define ZOR_STARTUP_H

#include <string>
#include <vector>

#include "zor_stack.h"

// Name of the program, used for window titles and help file names.
extern char program_name[1024];

// What the options ask for, kept until the records they are meant for
// (display state, overlays, models) take them over.
struct zorview_options {
  int number_panels;      // slices in the mosaic; 0 all, negative three planes
  int nPanelsX;           // panels across; 0 means the layout decides
  int zoom_window;        // 0 means the layout decides
  int flip_X11_y;         // rows drawn upward
  int display_ortho_ZY;   // third plane ZY (1) or YZ (0)
  int IncludeTimeData;
  int IncludeMaps;
  int UseT;
  int UseS;
  int Verbose;
  std::string ovl_name;
  std::string wire_name;
  std::string DTI_tract_name;
};

extern zorview_options startup_options;

// When set, zorview_main ends with this function's status in place of
// opening the windows: files, options, overlays and the display state are
// then as the viewer would show them first.
extern int (*zorview_after_loading)(void);

// Sets the options to their defaults, empties the three file lists and the
// three stacks, forgets the grid the first load fixed, and rewinds the option
// scanner, so that main can run again in one process.
void zorview_startup_reset(void);

// Appends the words of the first line (after the command name) of a
// start-up file in the working directory to `myargv` and prints the rest of
// the file. A file that cannot be opened adds nothing and says nothing.
void read_program_init_file(const char *file_name, std::vector<std::string> &myargv, int *myargc);

// The start-up file rule: with an empty command line or a lone "-y"/"-Y",
// consult .vistrel, then .zorview. Ends the run with status 1 when neither
// gives any word.
void apply_startup_files(std::vector<std::string> &myargv, int *myargc);

// Appends one name to a file list whose head has an empty name when the list
// is empty. scale_log: 0 linear, 1 base-10 logarithms, 2 natural logarithms.
// type: 0 a file named by the user; 1, 2, 3 P, T and S maps of a model.
int add_image_file(file_list *list_head, const char *file_name, int scale_log, int type);
// True when a list holds no file.
int file_list_is_empty(const file_list *list_head);
// Releases every node behind the head and empties the head.
void clear_file_list(file_list *list_head);
// How list nodes are obtained; tests replace it to provoke a failure.
extern file_list *(*file_list_node_allocator)(void);

// Runs the option loop over the whole argument list (position 0 is the
// program name). Ends the run for help, invalid options and model options.
void parse_command_options(std::vector<std::string> &myargv, int myargc);

// Reads the wire list, the region list and the tract file the options
// named, in that order, over the display state; a failed read ends the run
// with status 1.
void load_startup_overlays(void);

// The short usage text, built from the option table.
void print_usage(void);

#endif
