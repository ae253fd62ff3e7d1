// Result tables written from the graph window: the name in force and the
// count of regions written to each file in this run.
#ifndef ZOR_ROI_FILES_H
#define ZOR_ROI_FILES_H

// ".roi" at the start; set by label_graph_window for the graph shown.
extern char ROI_file_name[1024];
int get_number_rois_in_file(const char *file_name);

#endif
