// PET event files: tau2' (and optionally a table column that scales k2') on
// the first line, then type lines, each followed by one period line or a
// blank line. An event is one coefficient of the model; its periods may
// come from several runs.
#include <cstdio>
#include <cstring>

#include "srtm_internal.h"
#include "zor_exit.h"
#include "zor_text.h"

namespace {

int type_of_word(const char *word) {
  if (!strcmp(word, "R1")) return srtm::TYPE_R1;
  if (!strcmp(word, "k2") || !strcmp(word, "K2")) return srtm::TYPE_k2;
  if (!strcmp(word, "k2a") || !strcmp(word, "K2a")) return srtm::TYPE_k2a;
  if (!strcmp(word, "V_over_b") || !strcmp(word, "V_b") || !strcmp(word, "DVb") || !strcmp(word, "Vb"))
    return srtm::TYPE_DVb;
  if (!strcmp(word, "1_over_b") || !strcmp(word, "b") || !strcmp(word, "1_b")) return srtm::TYPE_1b;
  if (!strcmp(word, "constant")) return srtm::TYPE_CON;
  if (!strcmp(word, "linear")) return srtm::TYPE_LIN;
  return -1;
}

int shape_of_word(const char *word) {
  if (!strcmp(word, "constant")) return srtm::SHAPE_CONSTANT;
  if (!strcmp(word, "gamma")) return srtm::SHAPE_GAMMA;
  if (!strcmp(word, "gamma-integral")) return srtm::SHAPE_GAMMAINT;
  if (!strcmp(word, "sigmoid")) return srtm::SHAPE_SIGMOID;
  if (!strcmp(word, "table")) return srtm::SHAPE_TABLE;
  return -1;
}

// The event that the last type line named, for its period line.
struct TypeLine {
  int icoeff;
  int shape;
  int event_id;
  int found;
};

// Reads one type line; returns 0, 1 for an error, or 2 for an `exclude'
// line (no event).
int read_type_line(const char *line, int line_number, const char *file_name, int irun, TypeLine *t) {
  char words[3][ZOR_LINE] = {"", "", ""};
  int nread = sscanf(line, "%1023s %1023s %1023s", words[0], words[1], words[2]);
  if (nread < 2) {
    printf("Error on line %d: only %d values were read with value %s.\n", line_number, nread < 0 ? 0 : nread,
           words[0]);
    puts("\nEvents should be identified with 2 or 3 arguments:");
    puts("1) event identifier: 1-9, a-z, A-Z");
    puts("2) event type      : R1, k2, k2a");
    puts("3) event shape     : constant, gamma, sigmoid, table (default=constant)");
    return 1;
  }
  if (nread == 2 && !strcmp(words[0], "exclude")) {
    strcpy(SRTM.ExcludeString[irun], words[1]);
    return 2;
  }
  int event_id = SRTM_EventNumberFromChar(words[0][0]);
  if (event_id < 1) {
    printf("Event number (%d) for event (%c) is not allowed on line %d in file %s\n", event_id, words[0][0],
           line_number, file_name);
    return 1;
  }
  int type = type_of_word(words[1]);
  if (type < 0) {
    printf("Error on line %d: allowed types are R1, k2, and k2a\n", line_number);
    return 1;
  }
  int shape = srtm::SHAPE_CONSTANT;
  if (nread == 3) {
    shape = shape_of_word(words[2]);
    if (shape < 0) {
      printf("Error: shape %s is unknown. Use 'constant', 'gamma', 'sigmoid', or 'table'.\n", words[2]);
      return 1;
    }
  }
  char id = words[0][0];
  int icoeff = -1;
  for (int j = 0; j < SRTM.ncoeff; j++)
    if (SRTM.event_id[j] == event_id) icoeff = j;
  t->found = icoeff >= 0;
  if (t->found) {
    if (SRTM.event_type[icoeff] != type) {
      printf("Error: event %c does not have a consistent type.\n", id);
      printf("The type is %s in the 1st run ", srtm_type_name(SRTM.event_type[icoeff]));
      printf("and %s in run %d.\n", srtm_type_name(type), irun + 1);
      return 1;
    }
    if (SRTM.event_shape[icoeff] != shape) {
      printf("Error: event %c does not have a consistent shape.\n", id);
      printf("The shape is %s in the 1st run ", srtm_shape_name(SRTM.event_shape[icoeff]));
      printf("and %s in run %d.\n", srtm_shape_name(shape), irun + 1);
      return 1;
    }
  } else {
    if (SRTM.ncoeff + 1 > SRTM_MAX_EVENTS) {
      printf("Error: # of events (%d) > max dimension in program (%d).\n", SRTM.ncoeff + 1, SRTM_MAX_EVENTS);
      zor_exit(1);
    }
    if (type == srtm::TYPE_k2 && SRTM.k2prime_base[irun] != 0.0) {
      printf("Error: use either a variable k2' (no k2 event), or a fixed one (k2'=%g in run %d).\n",
             SRTM.k2prime_base[irun], irun + 1);
      return 1;
    }
    icoeff = SRTM.ncoeff++;
    SRTM.event_id[icoeff] = event_id;
    SRTM.event_type[icoeff] = type;
    SRTM.event_shape[icoeff] = shape;
    SRTM.nperiods[icoeff] = 0;
    SRTM.tau[icoeff] = 0.0;
    SRTM.alpha[icoeff] = 1.0;
  }
  if (SRTM.nperiods[icoeff] == 0) {
    SRTM.period_start[icoeff][0] = SRTM_time_total_minutes(SRTM.run_istart[irun]);
    SRTM.period_stop[icoeff][0] = SRTM_time_total_minutes(SRTM.run_istop[irun]);
  }
  t->icoeff = icoeff;
  t->shape = shape;
  t->event_id = event_id;
  return 0;
}

}  // namespace

int SRTMInternal_read_start_stop_time(int irun, int icoeff, int ishape, int event_id, int found, int nperiod,
                                      char *line) {
  char id = SRTM_EventChar(event_id);
  float start = 0.0f, stop = 0.0f, tau = 0.0f, alpha = 1.0f;
  int column = 0;
  int nread;
  switch (ishape) {
    case srtm::SHAPE_CONSTANT:
      nread = sscanf(line, "%f %f", &start, &stop);
      if (nread < 1) {
        puts("Error: a constant event should be followed by start time and optionally stop time.");
        return 1;
      }
      if (nread == 1) stop = 0.0f;
      break;
    case srtm::SHAPE_GAMMA:
      nread = sscanf(line, "%f %f %f", &start, &tau, &alpha);
      if (nread < 2) {
        puts("Error: a gamma event should be followed by start time, tau, and optionally alpha.");
        return 1;
      }
      if (nread == 2) alpha = 1.0f;
      break;
    case srtm::SHAPE_GAMMAINT:
      if (sscanf(line, "%f %f", &start, &tau) != 2) {
        puts("Error: a gamma-integral event should be followed by start time and tau.");
        return 1;
      }
      break;
    case srtm::SHAPE_SIGMOID:
      if (sscanf(line, "%f %f", &start, &tau) != 2) {
        puts("Error: a sigmoid event should be followed by start time and tau.");
        return 1;
      }
      break;
    case srtm::SHAPE_TABLE:
      nread = sscanf(line, "%d", &column);
      if (nread != 1) {
        printf("Programming error 2: nread = %d in SRTM_read_GLM_file\n", nread);
        zor_exit(1);
      }
      if (column < 0 || column >= SRTM.table_ncolumns[irun]) {
        printf("Error: the table column (%d) of event %c is out of range (0-%d) in run %d.\n", column, id,
               SRTM.table_ncolumns[irun] - 1, irun + 1);
        return 1;
      }
      break;
    default:
      printf("Programming error: event shape (%d) is unknown.\n", ishape);
      zor_exit(1);
  }
  if (found) {
    if ((ishape == srtm::SHAPE_GAMMA || ishape == srtm::SHAPE_GAMMAINT) && tau != SRTM.tau[icoeff]) {
      printf("Error: event %c is a gamma event with tau=%g in run %d not equal to previous tau (%g).\n", id, tau,
             irun + 1, SRTM.tau[icoeff]);
      return 1;
    }
    if (ishape == srtm::SHAPE_GAMMA && alpha != SRTM.alpha[icoeff]) {
      printf("Error: event %c is a gamma event with alpha=%g in run %d not equal to previous alpha (%g).\n", id,
             alpha, irun + 1, SRTM.alpha[icoeff]);
      return 1;
    }
    if (ishape == srtm::SHAPE_SIGMOID && tau != SRTM.tau[icoeff]) {
      printf("Error: event %c is a sigmoid event with tau=%g in run %d not equal to previous tau (%g).\n", id, tau,
             irun + 1, SRTM.tau[icoeff]);
      return 1;
    }
  }
  if (start < 0.0f) {
    printf("Error: ON time must be > 0 for period %d of event %c.\n", nperiod + 1, id);
    return 1;
  }
  if (stop != 0.0f && start >= stop) {
    printf("Error: OFF time (%g) must be > ON time (%g) for period %d of event %c.\n", stop, start, nperiod + 1, id);
    return 1;
  }
  SRTM.icolumn[icoeff] = column;
  SRTM.tau[icoeff] = tau;
  SRTM.alpha[icoeff] = alpha;
  if (nperiod >= SRTM_MAX_PERIODS) {
    // Reported, not stored: the event keeps its first periods.
    printf("Error: the number of periods (%d) for event %c > max dimension in program (%d).\n", nperiod + 1, id,
           SRTM_MAX_PERIODS);
    return 0;
  }
  float run_start = (float)SRTM_time_total_minutes(SRTM.run_istart[irun]);
  float run_stop = (float)SRTM_time_total_minutes(SRTM.run_istop[irun]);
  SRTM.period_start[icoeff][nperiod] = (float)(start + run_start);
  SRTM.period_stop[icoeff][nperiod] = stop != 0.0f ? (float)(stop + run_start) : run_stop;
  SRTM.nperiods[icoeff] = nperiod + 1;
  return 0;
}

int SRTM_read_GLM_file(char *file_name, int irun) {
  FILE *fp = fopen(file_name, "r");
  if (!fp) {
    printf("Error attempting to open the GLM file %s.\n", file_name);
    return 1;
  }
  char line[ZOR_LINE];
  int line_number = 1;
  if (!get_line_with_comment(fp, line, ZOR_LINE)) {
    printf("Error reading the 1st line of GLM file %s\n", file_name);
    fclose(fp);
    return 1;
  }
  float tau2prime;
  int column = 0;
  int nread = sscanf(line, "%f %d", &tau2prime, &column);
  if (nread < 1) {
    printf("Error reading line %d of the GLM file %s (tau2').\n", line_number, file_name);
    fclose(fp);
    return 1;
  }
  if (nread < 2) column = 0;
  if (tau2prime > 0.0f) SRTM.k2prime_base[irun] = 1.0 / tau2prime;
  if (column > 0 && column < SRTM.table_ncolumns[irun]) {
    printf("Using column %d of table as a relative index of k2_ref with baseline value 1/k2_ref=%g\n", column,
           tau2prime);
    for (int jt = 0; jt < SRTM.nt[irun]; jt++) SRTM.k2prime_rel[irun][jt] = SRTM.table_value[irun][column][jt];
  }

  SRTM.ntime += SRTM.nt[irun];
  SRTM.run_istop[irun] = SRTM.ntime - 1;
  SRTM.run_istart[irun] = irun == 0 ? 0 : SRTM.run_istop[irun - 1] + 1;

  int last_line_was_type = 0, last_line_was_blank = 0;
  TypeLine t = {-1, 0, 0, 0};
  while (get_line_with_comment(fp, line, ZOR_LINE)) {
    line_number++;
    int result = 0;
    if (srtm_line_is_blank(line)) {
      if (last_line_was_type && !last_line_was_blank) {
        char zero[ZOR_LINE] = "0";
        result = SRTMInternal_read_start_stop_time(irun, t.icoeff, t.shape, t.event_id, t.found,
                                                   SRTM.nperiods[t.icoeff], zero);
      }
      last_line_was_blank = 1;
      last_line_was_type = 0;
    } else if (!last_line_was_type) {
      result = read_type_line(line, line_number, file_name, irun, &t);
      if (result == 0) last_line_was_type = 1;
      if (result == 2) result = 0;
      last_line_was_blank = 0;
    } else {
      result = SRTMInternal_read_start_stop_time(irun, t.icoeff, t.shape, t.event_id, t.found,
                                                 SRTM.nperiods[t.icoeff], line);
      last_line_was_type = last_line_was_blank = 0;
    }
    if (result) {
      fclose(fp);
      return 1;
    }
  }
  fclose(fp);
  if (last_line_was_type && SRTM.nperiods[t.icoeff] == 0) SRTM.nperiods[t.icoeff] = 1;
  return 0;
}
