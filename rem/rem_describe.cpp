// What the group model prints about itself: the two forms of its control
// file, and the events and files it has read.
#include <cstdio>

#include "zor_rem.h"

void REMInternal_describe_rem_format(void) {
  puts("\nExample input file:\n");
  puts("smoothing 0.5 1.5  # [prior smoothing (mm)] [smoothing for var. ratio]");
  puts("conditions p c p-c # mandatory; Statistical tests MUST be included");
  puts("event p # pre-treated group");
  puts("../group1/subject1/S-1.bfloat # any previous output file");
  puts("../group1/subject2/S-1.bfloat # same output file, but diffent analysis");
  puts("../group1/subjectn/S-1.bfloat");
  fputs("event c # control group", stdout);
  puts("../group2/subject1/S-1.bfloat");
  puts("../group2/subject2/S-1.bfloat");
  puts("../group2/subjectn/S-1.bfloat");
  puts("...");

  puts("\nOR\n");
  puts("\nExample input file:\n");
  puts("smoothing 0.5 1.5  # [prior smoothing (mm)] [smoothing for var. ratio]");
  puts("conditions p c p-c # mandatory; Statistical tests MUST be included");
  puts("event p square # pre-treated group, DC level");
  puts("0 7            # start, stop files; there could be more entries below");
  fputs("event P ramp   # pre-treated group, linear change over time", stdout);
  puts("0 7            # start, stop files");
  puts("event c square # pre-treated group, DC level");
  puts("8 15           # start, stop files");
  fputs("event C ramp   # pre-treated group, linear change over time", stdout);
  puts("8 15           # start, stop files");
  fputs("measurements:", stdout);
  puts("../group1/subject1/S-1.bfloat # file 0");
  puts("../group1/subject2/S-1.bfloat # file 1");
  puts("...");
  puts("../group2/subject8/S-1.bfloat # file 15");
}

void REM_describe_input(void) {
  for (int e = 0; e < REM.nevents; e++) {
    const char *format =
        REM.event_shape[e] == rem::SHAPE_RAMP ? "\nRAMP event %c has %d samples:\n" : "\nSQUARE event %c has %d samples:\n";
    printf(format, REM_EventChar(REM.event_number[e]), REM.nsamples[e]);
    if (REM_input.overlapping_events) {
      for (int r = 0; r < REM.nstims[e]; r++) printf("%d %d   (ON, OFF)\n", REM.event_start[e][r], REM.event_stop[e][r]);
      continue;
    }
    const int start = REM.event_start[e][0];
    for (int t = start; t <= REM.event_stop[e][0] && t < REM_input.nfiles; t++)
      printf("file[%d] = %s , magnitude = %g\n", t - start, REM_input.signal_file_name[t],
             REM_input.signal_magnitude[t]);
  }
  if (REM_input.overlapping_events) {
    puts("measurement files:");
    for (int t = 0; t < REM_input.nfiles; t++)
      printf("file[%d] = %s , magnitude = %g\n", t, REM_input.signal_file_name[t], REM_input.signal_magnitude[t]);
  }
}
