// The program's long-lived records: the three stacks with their file lists,
// the display state that the voxel index helpers consult, the colour map
// and the graph.
#include "zor_display_state.h"
#include "zor_stack.h"

data_stack image_stack, anatomy_stack, activation_stack;
file_list image_files, anatomy_files, activation_files;
mosaic_display mosaic;
Activation activation;
graph_struct graph;


float image_scale_min = 0.0f, image_scale_max = 1.0f;
float image_scale_slope = 255.0f, image_scale_offset = 0.0f;
float contrast_low = 0.0f, contrast_high = 1.0f;

int lPixelsX_ImageInfoArea = 1, lXBottomMenu = 1, lPixelsX_BottomMenu = 1;
