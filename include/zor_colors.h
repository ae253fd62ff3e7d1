// The colours every drawing call names by number. What each number looks
// like depends on the window family (image or graph); see zor_x11.h.
#ifndef ZOR_COLORS_H
#define ZOR_COLORS_H

enum defined_colors {
  COLOR_CYAN = 1,
  COLOR_RED = 2,
  COLOR_GREEN = 3,
  COLOR_BLUE = 4,
  COLOR_PURPLE = 5,
  COLOR_YELLOW = 6,
  COLOR_ORANGE = 7,
  COLOR_MAGENTA = 8,
  COLOR_SKY = 9,
  COLOR_WHITE = 10,
  COLOR_GRAY = 11,
  COLOR_BLACK = 12
};

#endif
