// Result-table bookkeeping as it stands before any table is written: every
// file holds no region yet.
#include <cstring>

#include "zor_graph.h"
#include "zor_overlay.h"
#include "zor_roi_files.h"
#include "zor_x11.h"

char ROI_file_name[1024] = ".roi";

int get_number_rois_in_file(const char *file_name) { return 0; }
