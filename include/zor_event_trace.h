// Opt-in trace of the event loop for tests and benchmarks. When the
// environment variable ZOR_EVENT_TRACE names a file, one line is appended
// (and flushed) for each handled event after its XSync, for each repaint,
// and when a modal prompt starts:
//   event <n> <type> window=<image|graph> detail=<keycode|button|0> regions=0x<hex> graph=0x<hex> ms=<ms>
//   update regions=0x<hex> graph=0x<hex> ms=<ms>
//   prompt <prompt text>
// Without the variable nothing is written and the cost is one test.
#ifndef ZOR_EVENT_TRACE_H
#define ZOR_EVENT_TRACE_H

bool event_trace_enabled(void);
void event_trace_event(const char *type_name, int which_window, int detail, int mosaic_bits,
                       int graph_bits, double milliseconds);
void event_trace_update(int mosaic_bits, int graph_bits, double milliseconds);
void event_trace_prompt(const char *prompt);
// Closes the file and reads the variable again at the next line.
void event_trace_reset(void);
// Milliseconds of a monotonic clock.
double event_trace_now_ms(void);

#endif
