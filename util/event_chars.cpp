// One character names an event in every file and condition string of the
// models: 1 to 9, then a to z for 10 to 35 and A to Z for 36 to 61; a comma
// joins events.
#include "zor_event_chars.h"

int event_number_from_char(char c) {
  if (c >= '1' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'z') return c - 'a' + 10;
  if (c >= 'A' && c <= 'Z') return c - 'A' + 36;
  if (c == ',') return -1;
  return 0;
}

int event_char_from_number(int event_number, char *c) {
  if (event_number >= 1 && event_number <= 9) {
    *c = static_cast<char>('0' + event_number);
  } else if (event_number >= 10 && event_number <= 35) {
    *c = static_cast<char>('a' + event_number - 10);
  } else if (event_number >= 36 && event_number <= 61) {
    *c = static_cast<char>('A' + event_number - 36);
  } else {
    return 1;
  }
  return 0;
}
