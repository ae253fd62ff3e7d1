// One character names an event in every file and condition string.
#include <cstdio>

#include "zor_event_chars.h"
#include "zor_exit.h"
#include "zor_glm.h"

int GLM_EventNumberFromCharID(char event_char) { return event_number_from_char(event_char); }

int GLM_EventCharIDFromInteger(int event_number, char *event_char) {
  return event_char_from_number(event_number, event_char);
}

char GLM_EventCharID(int event_number) {
  char c;
  if (GLM_EventCharIDFromInteger(event_number, &c)) {
    printf("Programming error: event number %d apparently is not defined!\n", event_number);
    zor_exit(1);
  }
  return c;
}

int GLM_EventStringFromInteger(int event_number, char *event_string) {
  char c;
  if (GLM_EventCharIDFromInteger(event_number, &c)) {
    printf("Error: event %d is not defined.\n", event_number);
    return 1;
  }
  event_string[0] = c;
  event_string[1] = '\0';
  return 0;
}
