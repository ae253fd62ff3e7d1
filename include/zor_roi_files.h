// Result tables written from the graph window (".roi", ".hist", ".px",
// ".py", ".pz"): the first region written in a run creates the table, every
// further region adds columns behind each of its lines. The name in force,
// the count of regions written to each file in this run, the writers of the
// model-free rows and the user's entries.
#ifndef ZOR_ROI_FILES_H
#define ZOR_ROI_FILES_H

#include <string>

// ".roi" at the start; set by label_graph_window for the graph shown.
extern char ROI_file_name[1024];

// One file written in this run.
struct roi_file_list {
  char name[1024];
  int number_rois;  // regions written to it in this run
  int contains_ovl_list;
  roi_file_list *next;
};

// Adds a node with no region unless one of that name exists.
void prep_roi_file_list(const char *file_name);
// Regions written to the file in this run, 0 for a file not written yet.
int get_number_rois_in_file(const char *file_name);

// The next line of the old table in `ibuffer` (its characters as ints, the
// end-of-file value last), from `*iloc` up to its newline, with `new_text`
// behind it; `*iloc` moves past the newline. At the end of the old table the
// line is empty and `*iloc` stays. The char form holds at most 1023
// characters; the writers use the string form, which has no limit.
void create_new_ROI_line(int *ibuffer, const char *new_text, int *iloc, char *whole_line);
void create_new_ROI_line(int *ibuffer, const char *new_text, int *iloc, std::string *whole_line);

// The current region (time course, or with a time model that model's
// columns) into the table. 0, or 1 after a message; a failure leaves the
// table on disk and its count as they were.
int write_ovl_into_roi_file(const char *file_name);
// Every listed region in turn. 0 or 1.
int write_ovl_list_into_roi_file(const char *file_name);
// The histogram or profile shown, with its fit. 0 or 1.
int write_projection(const char *file_name);

// The keys r and R of the graph window, and its " R " item.
void action_write_1_ROI(void);
void action_write_all_ROIs(void);

// Forgets every file written, as at program start.
void roi_files_reset(void);

#endif
