// The modal text prompt on the information line. It runs its own small
// loop on the same thread; windows are not repainted until it ends.
#include <cctype>
#include <cstring>
#include <string>

#include "zor_event_trace.h"
#include "zor_x11.h"

namespace {

const char KEY_BACKSPACE = 8, KEY_DELETE = 127, KEY_RETURN = 13, KEY_ESCAPE = 27;

bool key_admitted(char key, int Input_allowed) {
  unsigned char c = (unsigned char)key;
  switch (Input_allowed) {
    case 0: return true;
    case 1: return isalpha(c) != 0;
    case 2: return isdigit(c) != 0;
    case 3: return isalnum(c) != 0;
    case 4: return isalnum(c) != 0 || c == ' ';
    default: return false;
  }
}

void show_prompt(int image_or_graph, const char *prompt, const std::string &text,
                 const char *options) {
  std::string line = std::string(prompt) + " >" + text + " " + options;
  char blank[] = " ";
  show_on_info_line(image_or_graph, 1, line.data(), blank, blank);
}

}  // namespace

int get_X11_string(int image_or_graph, const char *prompt, const char *options,
                   const char *default_string, int Input_allowed, int CR_required,
                   char *return_string) {
  std::string text = default_string;
  show_prompt(image_or_graph, prompt, text, options);
  XSync(XConnection, False);
  event_trace_prompt(prompt);

  char key = 0;
  for (;;) {
    XEvent event;
    if (get_next_event(&event) == 0) {
      wait_for_X_input(-1);
      continue;
    }
    if (event.type != KeyPress || !get_key_press(&event.xkey, &key)) continue;
    bool appended = false;
    if (key == KEY_BACKSPACE || key == KEY_DELETE) {
      // The first character of the answer cannot be taken back.
      if (text.size() > 1) text.pop_back();
    } else if (key_admitted(key, Input_allowed) && text.size() < 1023) {
      text.push_back(key);
      appended = true;
    }
    show_prompt(image_or_graph, prompt, text, options);
    if (CR_required ? (key == KEY_RETURN || key == KEY_ESCAPE) : appended) break;
  }
  XSync(XConnection, False);
  if (key == KEY_ESCAPE) {
    strcpy(return_string, text.c_str());
    return 0;
  }
  if (text == " ") text = default_string;
  strcpy(return_string, text.c_str());
  return 1;
}
