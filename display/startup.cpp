// Program entry: command line, start-up files, loading, windows, event loop.
#include <cstdio>

#include "zor.h"
#include "zorview_main.h"

int zorview_main(int argc, char **argv) {
  if (argc < 2) {
    puts("Error: this program should be invoked as");
    puts("   zorview <image file> [optional arguments]\n");
    zor_exit(1);
  }
  return 0;
}
