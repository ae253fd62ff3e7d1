// What the image window shows. The record holds no X types, so the
// loaders and engines can read it without a display.
#ifndef ZOR_DISPLAY_STATE_H
#define ZOR_DISPLAY_STATE_H

#include "zor_stack.h"

struct mosaic_display {
  data_stack *stack;  // the shown stack
};

extern mosaic_display mosaic;

#endif
