// One character names an event in every file and condition string.
#include <cstdio>

#include "zor_exit.h"
#include "zor_glm.h"

int GLM_EventNumberFromCharID(char event_char) {
  if (event_char >= '1' && event_char <= '9') return event_char - '0';
  if (event_char >= 'a' && event_char <= 'z') return event_char - 'a' + 10;
  if (event_char >= 'A' && event_char <= 'Z') return event_char - 'A' + 36;
  if (event_char == ',') return -1;
  return 0;
}

int GLM_EventCharIDFromInteger(int event_number, char *event_char) {
  if (event_number >= 1 && event_number <= 9) {
    *event_char = static_cast<char>('0' + event_number);
  } else if (event_number >= 10 && event_number <= 35) {
    *event_char = static_cast<char>('a' + event_number - 10);
  } else if (event_number >= 36 && event_number <= 61) {
    *event_char = static_cast<char>('A' + event_number - 36);
  } else {
    return 1;
  }
  return 0;
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
