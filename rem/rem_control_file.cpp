// The group model's control file. A keyword block ends at the first `event`
// line; then either groups of file lines, each opened by an `event` line, or
// (when a "measurements:" line is anywhere in the file) index ranges under
// each event and the list of files after "measurements:".
#include <climits>
#include <cstdio>
#include <cstring>

#include "rem_internal.h"
#include "zor_rem.h"
#include "zor_text.h"

namespace {

int is_measurements_word(const char *word) {
  return !strcmp(word, "measurements") || !strcmp(word, "measurements:");
}

// The first word of a line, or an empty string.
void first_word(const char *line, char *word) {
  word[0] = '\0';
  sscanf(line, "%1023s", word);
}

int event_slot_free(void) {
  if (REM.nevents < REM_MAX_EVENTS) return 1;
  printf("Error: more than %d events are defined.\n", REM_MAX_EVENTS);
  return 0;
}

int file_slot_free(void) {
  if (REM.ntime < REM_MAX_FILES) return 1;
  printf("Error: more than %d measurement files are listed.\n", REM_MAX_FILES);
  return 0;
}

// 0 square, 1 ramp, -1 any other word (after its message).
int decode_shape(const char *word) {
  if (!strcmp(word, "square")) return rem::SHAPE_SQUARE;
  if (!strcmp(word, "ramp")) return rem::SHAPE_RAMP;
  puts("Error: the only defined shapes are 'square' and 'ramp'");
  return -1;
}

int decode_time_model(char *argument) {
  char word[ZOR_LINE] = "";
  sscanf(argument, "%1023s", word);
  if (!strcmp(word, "rem") || !strcmp(word, "REM") || !strcmp(word, "mem") || !strcmp(word, "MEM")) return 0;
  printf("Warning: the argument of 'time-model' (%s) is not recognized as REM,\n", word);
  puts("so the -t [file name] option will fail using zorview.");
  puts("Valid arguments: REM, MEM, rem, mem");
  return 0;
}

int decode_smoothing(char *argument) {
  float signal_mm, ratio_mm;
  if (sscanf(argument, "%f %f", &signal_mm, &ratio_mm) != 2) {
    puts("Error: `smoothing' requires 2 arguments (mm).");
    puts("1) width of smoothing kernel in prior analysis,");
    puts("2) width of smoothing kernel used to boost random-effects DOF");
    return -1;
  }
  REM_input.smoothed_mm = signal_mm;
  REM_input.smooth_ratio_mm = ratio_mm;
  return 0;
}

// The event line that ends the keyword block: its ID and shape go to the
// first event slot.
int decode_event(char *argument) {
  char id[ZOR_LINE], shape_word[ZOR_LINE];
  int nread = sscanf(argument, "%1023s %1023s", id, shape_word);
  if (nread < 1) {
    puts("Error: 'subjects' or 'sessions' or 'events' requires a character argument.");
    return -1;
  }
  int number = REM_EventNumberFromChar(id[0]);
  if (number < 1) {
    printf("Error: event %c is not an allowed event character.\n", id[0]);
    return -1;
  }
  int shape = rem::SHAPE_SQUARE;
  if (nread == 2 && (shape = decode_shape(shape_word)) < 0) return -1;
  if (!event_slot_free()) return -1;
  REM.event_number[REM.nevents] = number;
  REM.event_shape[REM.nevents] = shape;
  return 1;
}

// A file line, `name [magnitude]`: 1 if a magnitude stood on it, -1 when the
// list is full.
int add_file(const char *line) {
  if (!file_slot_free()) return -1;
  int t = REM.ntime;
  first_word(line, REM_input.signal_file_name[t]);
  float magnitude;
  int given = sscanf(line, "%*s %f", &magnitude) == 1;
  REM_input.signal_magnitude[t] = given ? magnitude : 1.0f;
  REM.ntime++;
  return given;
}

// Reads lines with one hand-back: a line that ends a list of ranges without
// belonging to it is read again by the caller.
struct LineSource {
  FILE *file;
  char line[ZOR_LINE];
  bool held = false;
  bool next() {
    if (held) {
      held = false;
      return true;
    }
    return get_line_with_comment(file, line, ZOR_LINE) != nullptr;
  }
  void hold() { held = true; }
};

int saturating_samples(int samples, int start, int stop) {
  long long total = (long long)samples + stop - start + 1;
  if (total > INT_MAX) return INT_MAX;
  if (total < INT_MIN) return INT_MIN;
  return (int)total;
}

// The ranges of event slot REM.nevents, up to a blank line, the end, or a
// line that opens another event or the file list; then the slot is taken.
int read_ranges(LineSource &source, int first_event) {
  const int e = REM.nevents;
  REM.nstims[e] = 0;
  REM.nsamples[e] = 0;
  while (source.next()) {
    if (rem_line_is_blank(source.line)) break;
    char word[ZOR_LINE];
    first_word(source.line, word);
    if (rem_is_group_keyword(word) || is_measurements_word(word)) {
      source.hold();
      break;
    }
    int start, stop;
    if (sscanf(source.line, "%d %d", &start, &stop) != 2) {
      if (first_event)
        puts("The start and stop indices for files should follow the event");
      else
        printf("The start and stop indices for files should follow event %c\n", REM_EventChar(REM.event_number[e]));
      return 1;
    }
    if (REM.nstims[e] >= REM_MAX_RANGES) {
      printf("Error: more than %d ranges are given for event %c.\n", REM_MAX_RANGES,
             REM_EventChar(REM.event_number[e]));
      return 1;
    }
    REM.event_start[e][REM.nstims[e]] = start;
    REM.event_stop[e][REM.nstims[e]] = stop;
    REM.nsamples[e] = saturating_samples(REM.nsamples[e], start, stop);
    REM.nstims[e]++;
  }
  REM.nevents++;
  return 0;
}

// A later event line of the form with ranges: its ID, its shape, its ranges.
int read_event(LineSource &source) {
  if (!event_slot_free()) return 1;
  char id[ZOR_LINE], shape_word[ZOR_LINE];
  int nread = sscanf(source.line, "%*s %1023s %1023s", id, shape_word);
  if (nread < 1) {
    puts("Error: `event' requires a character argument.");
    return 1;
  }
  int number = REM_EventNumberFromChar(id[0]);
  if (number < 1) {
    printf("Error: event %c is not an allowed event character.\n", id[0]);
    return 1;
  }
  int shape = rem::SHAPE_SQUARE;
  if (nread == 2 && (shape = decode_shape(shape_word)) < 0) return -1;
  REM.event_number[REM.nevents] = number;
  REM.event_shape[REM.nevents] = shape;
  return read_ranges(source, 0);
}

// Every range must lie within the files; every file should be in a range.
int check_ranges(void) {
  const int nfiles = REM_input.nfiles;
  for (int e = 0; e < REM.nevents; e++) {
    if (REM.nstims[e] == 0) {
      printf("Error: event %c has no starting and ending file indicators.\n", REM_EventChar(REM.event_number[e]));
      return 1;
    }
  }
  for (int e = 0; e < REM.nevents; e++) {
    for (int r = 0; r < REM.nstims[e]; r++) {
      int start = REM.event_start[e][r], stop = REM.event_stop[e][r];
      if (start < 0 || stop < 0 || start >= nfiles || stop >= nfiles) {
        printf("Error: the range %d %d of event %c is outside the %d measurement files (0 to %d).\n", start, stop,
               REM_EventChar(REM.event_number[e]), nfiles, nfiles - 1);
        return 1;
      }
    }
  }
  for (int t = 0; t < nfiles; t++) {
    int included = 0;
    for (int e = 0; e < REM.nevents && !included; e++)
      for (int r = 0; r < REM.nstims[e]; r++)
        if (t >= REM.event_start[e][r] && t <= REM.event_stop[e][r]) included = 1;
    if (!included) printf("Warning: file %d [ %s ] is not included in any events!\n", t, REM_input.signal_file_name[t]);
  }
  return 0;
}

// A group of the plain form, in slot REM.nevents, starting at the next file.
void open_group(void) {
  const int e = REM.nevents;
  REM.event_start[e][0] = REM.ntime;
  REM.event_shape[e] = rem::SHAPE_SQUARE;
  REM.nstims[e] = 1;
  REM.nsamples[e] = 0;
}

void close_group(void) {
  REM.event_stop[REM.nevents][0] = REM.ntime - 1;
  REM.nevents++;
}

}  // namespace

int REMInternal_decode_keyword(char *line) {
  char keyword[ZOR_LINE] = "";
  if (sscanf(line, "%1023s", keyword) != 1) return -1;
  char *argument = argument_of(line);

  if (!strcmp(keyword, "time-model")) return decode_time_model(argument);
  if (!strcmp(keyword, "multiple-comparisons")) {
    int value;
    if (sscanf(argument, "%d", &value) != 1) {
      puts("Error: `multiple-comparisons' requires an integer argument.");
      return -1;
    }
    REM_input.multiple_comparisons = value;
    return 0;
  }
  if (!strcmp(keyword, "smoothing") || !strcmp(keyword, "smooth")) return decode_smoothing(argument);
  if (!strcmp(keyword, "conditions")) {
    copy_without_line_end(REM_input.condition_string, argument);
    return 0;
  }
  if (!strcmp(keyword, "output-format")) {
    char word[ZOR_LINE] = "";
    sscanf(argument, "%1023s", word);
    if (!strcmp(word, "nifti") || !strcmp(word, "NIFTI")) REM_input.nifti_output = 1;
    if (!strcmp(word, "zor") || !strcmp(word, "ZOR")) REM_input.nifti_output = 0;
    return 0;
  }
  if (rem_is_group_keyword(keyword)) return decode_event(argument);
  return -1;
}

int REMInternal_read_control_file_no_overlapping_events(FILE *file) {
  char line[ZOR_LINE];
  // The group the keyword block opened: its shape word does not hold here.
  open_group();
  while (get_line_with_comment(file, line, ZOR_LINE)) {
    if (rem_line_is_blank(line)) continue;
    char word[ZOR_LINE];
    first_word(line, word);
    if (rem_is_group_keyword(word)) {
      close_group();
      if (!event_slot_free()) return 1;
      char id[ZOR_LINE];
      if (sscanf(line, "%*s %1023s", id) != 1) {
        puts("Error: `event' requires a character argument.");
        return 1;
      }
      int number = REM_EventNumberFromChar(id[0]);
      if (number < 1) {
        printf("Error: event %c is not an allowed event character.\n", id[0]);
        return 1;
      }
      REM.event_number[REM.nevents] = number;
      open_group();
      continue;
    }
    int given = add_file(line);
    if (given < 0) return 1;
    if (given) REM_input.global_scaling = 1;
    REM.nsamples[REM.nevents]++;
  }
  close_group();
  REM_input.nfiles = REM.ntime;
  return 0;
}

int REMInternal_read_control_file_overlapping_events(FILE *file) {
  LineSource source;
  source.file = file;
  if (read_ranges(source, 1)) return 1;
  int in_file_list = 0;
  while (source.next()) {
    if (rem_line_is_blank(source.line)) continue;
    if (in_file_list) {
      // Magnitudes here scale the design but not the view's global fit.
      if (add_file(source.line) < 0) return 1;
      continue;
    }
    char word[ZOR_LINE];
    first_word(source.line, word);
    if (is_measurements_word(word)) {
      in_file_list = 1;
    } else if (rem_is_group_keyword(word)) {
      int result = read_event(source);
      if (result) return result;
    }
  }
  REM_input.nfiles = REM.ntime;
  return check_ranges();
}

int REM_read_control_file(char *file_name) {
  REM_engine_reset();

  FILE *fp = fopen(file_name, "r");
  if (!fp) {
    printf("Error: cannot open the file %s.\n", file_name);
    return 1;
  }

  char line[ZOR_LINE];
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    char word[ZOR_LINE];
    first_word(line, word);
    if (is_measurements_word(word)) REM_input.overlapping_events = 1;
  }
  rewind(fp);

  int event_found;
  if (read_control_keywords(fp, file_name, REMInternal_decode_keyword, rem_line_is_blank,
                            REMInternal_describe_rem_format, &event_found)) {
    fclose(fp);
    return 1;
  }
  if (!event_found) {
    printf("Error: the file %s defines no event.\n", file_name);
    REMInternal_describe_rem_format();
    fclose(fp);
    return 1;
  }

  int failed = REM_input.overlapping_events ? REMInternal_read_control_file_overlapping_events(fp)
                                            : REMInternal_read_control_file_no_overlapping_events(fp);
  fclose(fp);
  if (failed) return 1;

  REMInternal_define_design_matrix();
  if (REMInternal_read_DOFs_from_files()) return 1;
  REM_describe_input();
  REM.initialized = 1;
  return 0;
}
