// The characters that name the events of a model.
#ifndef ZOR_EVENT_CHARS_H
#define ZOR_EVENT_CHARS_H

// The event a character names (1 to 61), -1 for a comma, 0 for anything else.
int event_number_from_char(char c);

// The character of event 1 to 61 into *c; 1 (and *c untouched) for any other number.
int event_char_from_number(int event_number, char *c);

#endif
