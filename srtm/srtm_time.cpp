// Frame indices, runs and minutes: the time axis of a study is the running
// sum of the tables' frame spacings over all runs.
#include <cmath>
#include <cstdio>

#include "srtm_internal.h"
#include "zor_exit.h"

double SRTM_time_total_minutes(int itime_total) {
  if (itime_total < 0) return 0.0;
  double time = 0.0;
  if (SRTM.nruns == 0) {
    if (SRTM.table_value[0])
      for (int jt = 0; jt < SRTM.table_nt[0]; jt++) {
        time += SRTM.table_value[0][0][jt];
        if (jt == itime_total) return time;
      }
    printf("Programming error: time point (%d) for 1st run not found in SRTM_time_total_minutes()\n", itime_total);
    zor_exit(1);
  }
  int it = 0;
  for (int r = 0; r < SRTM.nruns; r++) {
    if (!SRTM.table_value[r]) break;
    for (int jt = 0; jt < SRTM.table_nt[r]; jt++, it++) {
      time += SRTM.table_value[r][0][jt];
      if (it == itime_total) return time;
    }
  }
  printf("itime_total = %d, nruns = %d, it = %d\n", itime_total, SRTM.nruns, it);
  printf("Programming error: time point (%d) not found in SRTM_time_total_minutes()\n", itime_total);
  zor_exit(1);
}

double SRTM_time_run_minutes(int itime_total) {
  for (int r = 0; r < SRTM.nruns; r++) {
    if (itime_total < SRTM.run_istart[r] || itime_total > SRTM.run_istop[r]) continue;
    double total = SRTM_time_total_minutes(itime_total);
    if (r == 0) return total;
    return total - SRTM_time_total_minutes(SRTM.run_istop[r - 1]);
  }
  return 0.0;
}

int SRTM_get_run_number(int iTime_total) {
  if (iTime_total < 0) return 0;
  for (int r = 0; r < SRTM.nruns; r++)
    if (iTime_total >= SRTM.run_istart[r] && iTime_total <= SRTM.run_istop[r]) return r;
  puts("Programming error: iRun undefined by SRTM_get_run_number()");
  zor_exit(1);
}

int SRTM_get_run_number_from_time(double Time_total) {
  int found = -1;
  for (int r = 0; r < SRTM.nruns; r++) {
    double first = SRTM_time_total_minutes(SRTM.run_istart[r]);
    double last = SRTM_time_total_minutes(SRTM.run_istop[r]);
    if (Time_total >= first - 0.001 && Time_total <= last + 0.001) found = r;
  }
  if (found >= 0) return found;
  if (SRTM.nruns < 1 || Time_total < SRTM_time_total_minutes(0)) return 0;
  return SRTM.nruns - 1;
}

int SRTM_get_itime_in_run(int iTime_total) {
  return iTime_total - SRTM.run_istart[SRTM_get_run_number(iTime_total)];
}

int SRTM_get_itime_in_run_from_time(double Time_total) {
  const int r = SRTM_get_run_number_from_time(Time_total);
  const int nt = SRTM.nt[r], i0 = SRTM.run_istart[r];
  int j = 0;
  while (j < nt && !(SRTM_time_total_minutes(i0 + j) > Time_total)) j++;
  if (j < nt) {
    int before = i0 + j - 1 < 0 ? 0 : i0 + j - 1;
    if (fabs(Time_total - SRTM_time_total_minutes(before)) < fabs(SRTM_time_total_minutes(i0 + j) - Time_total))
      j--;
  }
  if (j < 0) j = 0;
  if (j > nt - 1) j = nt - 1;
  return j;
}

int SRTM_get_itime_from_time(double Time_total) {
  const int r = SRTM_get_run_number_from_time(Time_total);
  int it = 0;
  for (int k = 0; k < r; k++) it += SRTM.nt[k];
  return it + SRTM_get_itime_in_run_from_time(Time_total);
}

void SRTM_get_start_stop_times(int iRun, int *istart, int *istop) {
  if (iRun < 0 || iRun >= SRTM.nruns) {
    printf("Programming error: run %d does not exist\n", iRun);
    zor_exit(1);
  }
  *istart = SRTM.run_istart[iRun];
  *istop = SRTM.run_istop[iRun];
}
