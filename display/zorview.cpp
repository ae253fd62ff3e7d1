#include "zorview_main.h"

int main(int argc, char **argv) { return zorview_main(argc, argv); }
