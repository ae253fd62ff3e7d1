// Everything of zorview that needs no X server.
#ifndef ZOR_H
#define ZOR_H

#include "zor_types.h"
#include "zor_exit.h"
#include "zor_alloc.h"
#include "zor_text.h"
#include "zor_matrix.h"
#include "zor_special.h"
#include "zor_linear_models.h"
#include "zor_geometry.h"
#include "zor_header.h"
#include "zor_stack.h"
#include "zor_display_state.h"
#include "zor_float_int.h"
#include "zor_graph.h"
#include "zor_actions.h"
#include "zor_time_model.h"
#include "zor_panels.h"
#include "zor_roi_files.h"
#include "zor_overlay.h"
#include "zor_atomic_file.h"
#include "zor_regular_file.h"
#include "zor_startup.h"
#include "zor_glm.h"
#include "zor_rem.h"
#include "zor_srtm.h"
#include "zor_curve_fit.h"
#include "zor_align.h"
#include "zor_fit.h"
#include "zor_picture.h"

#endif
