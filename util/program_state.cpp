// The program's long-lived records: the three stacks with their file lists
// and the display state that the voxel index helpers consult.
#include "zor_display_state.h"
#include "zor_stack.h"

data_stack image_stack, anatomy_stack, activation_stack;
file_list image_files, anatomy_files, activation_files;
mosaic_display mosaic;
