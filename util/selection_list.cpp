// Lists of indices such as "0,3-5,9-7,z": commas separate entries, a dash
// joins two entries into a range in either direction, and n/z, y, x name the
// last, second and third indices from the end.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "zor_text.h"

namespace {

// Returns 0 when the token is neither a letter code nor an integer.
int decode_token(const std::string &token, int max_number, int *value) {
  if (token.empty()) return 0;
  switch (token[0]) {
    case 'n': case 'N': case 'z': case 'Z': *value = max_number - 1; return 1;
    case 'y': case 'Y': *value = max_number - 2; return 1;
    case 'x': case 'X': *value = max_number - 3; return 1;
    default: break;
  }
  const char *start = token.c_str();
  char *end = nullptr;
  errno = 0;
  long v = strtol(start, &end, 10);
  if (end == start) return 0;
  if (v > INT_MAX) v = INT_MAX;  // out of range either way; keep it checkable
  if (v < INT_MIN) v = INT_MIN;
  *value = static_cast<int>(v);
  return 1;
}

int invalid_set() {
  printf("Error: invalid set\n");
  return 1;
}

}  // namespace

int decode_selection_list(const char *list, int max_number, int default_all, int *number,
                          int *selection) {
  *number = 0;
  const std::string text(list ? list : "");
  if (text.empty()) {
    if (default_all) {
      for (int i = 0; i < max_number; i++) selection[i] = i;
      *number = max_number > 0 ? max_number : 0;
    }
    return 0;
  }

  bool previous_cut_was_dash = false;
  size_t start = 0;
  for (size_t pos = 0; pos <= text.size(); pos++) {
    const char c = pos < text.size() ? text[pos] : '\0';
    if (c != ',' && c != '-' && c != '\0') continue;
    const std::string token = text.substr(start, pos - start);
    start = pos + 1;

    int value;
    if (!decode_token(token, max_number, &value)) return 0;
    if (*number >= max_number) return invalid_set();
    selection[(*number)++] = value;

    if (previous_cut_was_dash) {
      if (*number < 2) {
        printf("A bad syntax was used in the list string.");
        return 1;
      }
      const int first = selection[*number - 2];
      const int last = selection[*number - 1];
      *number -= 2;
      if (*number + 1 >= max_number) return invalid_set();
      const int step = last < first ? -1 : 1;
      for (long v = first;; v += step) {
        if (*number >= max_number) return invalid_set();
        selection[(*number)++] = static_cast<int>(v);
        if (v == last) break;
      }
    }
    previous_cut_was_dash = (c == '-');
  }

  for (int i = 0; i < *number; i++) {
    if (*number >= max_number) return invalid_set();
    if (selection[i] < 0 || selection[i] >= max_number) {
      printf("The list contains a number which is out of range.");
      return 1;
    }
  }
  return 0;
}
