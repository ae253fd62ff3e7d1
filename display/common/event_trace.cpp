// The event trace: see zor_event_trace.h for the format.
#include "zor_event_trace.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>

namespace {
FILE *trace_file = nullptr;
bool trace_checked = false;
long event_count = 0;

FILE *trace(void) {
  if (!trace_checked) {
    trace_checked = true;
    const char *name = getenv("ZOR_EVENT_TRACE");
    if (name && *name) trace_file = fopen(name, "a");
  }
  return trace_file;
}
}  // namespace

bool event_trace_enabled(void) { return trace() != nullptr; }

double event_trace_now_ms(void) {
  timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return (double)t.tv_sec * 1000.0 + (double)t.tv_nsec / 1.0e6;
}

void event_trace_event(const char *type_name, int which_window, int detail, int mosaic_bits,
                       int graph_bits, double milliseconds) {
  FILE *f = trace();
  if (!f) return;
  event_count++;
  fprintf(f, "event %ld %s window=%s detail=%d regions=0x%x graph=0x%x ms=%.3f\n", event_count,
          type_name, which_window == 2 ? "graph" : "image", detail, (unsigned)mosaic_bits,
          (unsigned)graph_bits, milliseconds);
  fflush(f);
}

void event_trace_update(int mosaic_bits, int graph_bits, double milliseconds) {
  FILE *f = trace();
  if (!f) return;
  fprintf(f, "update regions=0x%x graph=0x%x ms=%.3f\n", (unsigned)mosaic_bits,
          (unsigned)graph_bits, milliseconds);
  fflush(f);
}

void event_trace_prompt(const char *prompt) {
  FILE *f = trace();
  if (!f) return;
  fprintf(f, "prompt %s\n", prompt);
  fflush(f);
}

void event_trace_reset(void) {
  if (trace_file) fclose(trace_file);
  trace_file = nullptr;
  trace_checked = false;
  event_count = 0;
}
