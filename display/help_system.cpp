// Help: the text dumps, the help for the region clicked, and the menus
// browsed at the terminal. Every file is found under $ZOR_HOME/documentation/
// and everything is printed on standard output.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "zor_display_state.h"
#include "zor_event_trace.h"
#include "zor_help.h"
#include "zor_regular_file.h"
#include "zor_text.h"
#include "zor_x11.h"

namespace {

void print_missing_home(void) {
  puts("For help, quit and define the environment variable ZOR_HOME, and then re-start.");
}

void print_open_failure(const std::string &path, const char *home, bool third_line) {
  printf("Error: cannot open the file %s.\n", path.c_str());
  printf("The environment variable ZOR_HOME is set to %s\n", home);
  if (third_line) puts("If this is incorrect, quit, define this environment variable, and re-start.");
}

std::string documentation_path(const char *home, const std::string &name) {
  return std::string(home) + "/documentation/" + name;
}

// Lines of a file as the line reader gives them: pieces of at most 1023
// characters, each with its line end if it had one.
std::vector<std::string> read_lines(FILE *fp) {
  std::vector<std::string> lines;
  char buffer[1024];
  while (get_line(fp, buffer, sizeof buffer)) lines.emplace_back(buffer);
  return lines;
}

// One line of standard input, whole. False at the end of input.
bool read_answer(std::string *line) {
  line->clear();
  int c;
  bool any = false;
  while ((c = getchar()) != EOF) {
    any = true;
    if (c == '\n') break;
    line->push_back(static_cast<char>(c));
  }
  return any;
}

// The entry heads of a menu file: "!<menu> <item>". A head without two
// numbers reads as -1 -1, which the order check refuses.
struct menu_entry {
  int menu, item;
  size_t line;  // index of the head line
};

std::vector<menu_entry> menu_entries(const std::vector<std::string> &lines) {
  std::vector<menu_entry> entries;
  for (size_t k = 0; k < lines.size(); k++) {
    if (lines[k].empty() || lines[k][0] != '!') continue;
    menu_entry e{-1, -1, k};
    if (sscanf(lines[k].c_str() + 1, "%d %d", &e.menu, &e.item) != 2) e.menu = e.item = -1;
    entries.push_back(e);
  }
  return entries;
}

// Walks the heads from (0, 0): a head may stay on the menu or go to the
// next one, or stay on the item or go to the next one.
int check_order(const std::vector<menu_entry> &entries, const char *shown_name) {
  long m = 0, i = 0;
  for (size_t e = 0; e < entries.size(); e++) {
    const long a = entries[e].menu, b = entries[e].item;
    if (a != m && a != m + 1 && b != i && b != i + 1) {
      printf("Warning: menu entry %d in file %s is %d %d,\n", static_cast<int>(e), shown_name,
             entries[e].menu, entries[e].item);
      printf("but it should be either %ld %ld or %ld %ld,\n", m, i + 1, m + 1, i);
      return 1;
    }
    if (a == m + 1) {
      m = a;
      i = 0;
    } else if (b == i + 1) {
      i = b;
    }
  }
  return 0;
}

// Where each entry's text lies, and how many items each menu has.
struct menu_tables {
  std::map<std::pair<int, int>, std::pair<size_t, size_t>> text;  // (menu, item) -> first line, count
  std::map<int, int> items;                                        // menu -> largest item number
  int largest_menu = 0;
};

menu_tables build_tables(const std::vector<std::string> &lines, const std::vector<menu_entry> &entries) {
  menu_tables t;
  for (size_t e = 0; e < entries.size(); e++) {
    const size_t first = entries[e].line + 1;
    const size_t end = e + 1 < entries.size() ? entries[e + 1].line : lines.size();
    const std::pair<int, int> key{entries[e].menu, entries[e].item};
    if (!t.text.count(key)) t.text[key] = {first, end - first};
    int &n = t.items[entries[e].menu];
    if (entries[e].item > n) n = entries[e].item;
    if (entries[e].menu > t.largest_menu) t.largest_menu = entries[e].menu;
  }
  return t;
}

const char *RULE = "----------------------------------------------\n";

// What one menu file session ended with.
enum session_end { SESSION_QUIT, SESSION_LINK, SESSION_FAILED };

// Prints an entry's text. In a sub-menu a line "> file" ends the printing
// and names the menu file to follow.
bool print_entry(const std::vector<std::string> &lines, const menu_tables &t, int menu, int item,
                 std::string *link) {
  auto found = t.text.find({menu, item});
  if (found == t.text.end()) return false;
  for (size_t k = 0; k < found->second.second; k++) {
    const std::string &line = lines[found->second.first + k];
    if (menu != 0 && !line.empty() && line[0] == '>') {
      std::string name = line.substr(1);
      while (!name.empty() && (name.back() == '\n' || name.back() == '\r' || name.back() == ' ' ||
                               name.back() == '\t'))
        name.pop_back();
      size_t lead = name.find_first_not_of(" \t");
      *link = lead == std::string::npos ? std::string() : name.substr(lead);
      return true;
    }
    fputs(line.c_str(), stdout);
  }
  return false;
}

// One file of the menus, from opening it to "q" or a link.
session_end menu_session(const char *home, const std::string &file_name, std::string *link) {
  const std::string path = documentation_path(home, file_name);
  FILE *fp = fopen_regular(path.c_str(), "r");
  if (!fp) {
    print_open_failure(path, home, true);
    return SESSION_FAILED;
  }
  printf("Help from file %s\n", path.c_str());
  const std::vector<std::string> lines = read_lines(fp);
  fclose(fp);
  const std::vector<menu_entry> entries = menu_entries(lines);
  if (check_order(entries, path.c_str())) {
    fflush(stdout);
    return SESSION_FAILED;
  }
  const menu_tables t = build_tables(lines, entries);
  auto items_of = [&t](int menu) {
    auto f = t.items.find(menu);
    return f == t.items.end() ? 0 : f->second;
  };

  int menu = 0;
  bool on_item = false;  // the last choice was an item of the sub-menu
  bool show_chosen = false;
  int chosen = 0;
  for (;;) {
    if (show_chosen) {
      show_chosen = false;
      if (print_entry(lines, t, menu, chosen, link)) return SESSION_LINK;
    }
    if (menu != 0 && items_of(menu) == 0) {
      menu = 0;
      on_item = false;
    }
    print_entry(lines, t, menu, 0, link);
    fputs(RULE, stdout);
    fputs("--- choose item: 0 = main menu, return = back \n", stdout);
    fputs(RULE, stdout);
    fputs(menu == 0 ? "help > " : "help >> ", stdout);
    fflush(stdout);
    std::string answer;
    if (!read_answer(&answer)) {
      // The end of input quits, as "q" does.
      putchar('\n');
      return SESSION_QUIT;
    }
    const std::vector<std::string> words = split_words(answer.c_str());
    const std::string word = words.empty() ? std::string() : words[0];
    const bool number = !word.empty() && word[0] >= '0' && word[0] <= '9';
    if (!number) {
      if (menu == 0) return SESSION_QUIT;
      // "b" and anything else that is no number: back one step.
      if (on_item)
        on_item = false;
      else
        menu = 0;
      continue;
    }
    const long k = strtol(word.c_str(), nullptr, 10);
    if (k == 0) {
      menu = 0;
      on_item = false;
      continue;
    }
    if (menu == 0) {
      if (k > t.largest_menu || !t.text.count({static_cast<int>(k), 0})) {
        printf("Bad option. Choose '0', 'b', 'q', or a number from 1 to %d\n", t.largest_menu);
        continue;
      }
      menu = static_cast<int>(k);
      on_item = false;
      // A menu of one page shows that page, then the main menu returns.
      if (items_of(menu) == 0) {
        chosen = 0;
        show_chosen = true;
      }
      continue;
    }
    if (k > items_of(menu) || !t.text.count({menu, static_cast<int>(k)})) {
      printf("Bad option. Choose '0', 'b', 'q', or a number from 1 to %d\n", items_of(menu));
      continue;
    }
    chosen = static_cast<int>(k);
    on_item = true;
    show_chosen = true;
  }
}

bool is_entry_head(const char *line, int cursor, int text) {
  char c;
  int a, b;
  return sscanf(line, "%c %d %d", &c, &a, &b) == 3 && c == '!' && a == cursor && b == text;
}

}  // namespace

void action_help(int mode, int button) {
  const char *home = getenv("ZOR_HOME");
  if (!home) {
    print_missing_home();
    fflush(stdout);
    return;
  }
  const char *suffix = mode == 0     ? "-startup.txt"
                       : button == 1 ? "-interactive-help1.txt"
                                     : "-interactive-help2.txt";
  const std::string path = documentation_path(home, std::string(program_name) + suffix);
  FILE *fp = fopen_regular(path.c_str(), "r");
  if (!fp) {
    print_open_failure(path, home, true);
    fflush(stdout);
    return;
  }
  putchar('\n');
  char line[1024];
  while (get_line_with_comment(fp, line, sizeof line)) fputs(line, stdout);
  fclose(fp);
  fflush(stdout);
}

void print_question_mark_help(int cursor_selection, int text_selection) {
  const char *home = getenv("ZOR_HOME");
  if (!home) {
    puts("Define the environment variable ZOR_HOME for more help.");
    fflush(stdout);
    return;
  }
  const std::string path = documentation_path(home, std::string(program_name) + "-question-mark.txt");
  FILE *fp = fopen_regular(path.c_str(), "r");
  if (!fp) {
    print_open_failure(path, home, false);
    fflush(stdout);
    return;
  }
  printf("Help from file %s\n", path.c_str());
  printf("message code %d %d\n", cursor_selection, text_selection);
  bool found = false, printing = false;
  char line[1024];
  while (get_line_with_comment(fp, line, sizeof line)) {
    if (!printing) {
      if (is_entry_head(line, cursor_selection, text_selection)) found = printing = true;
      continue;
    }
    if (strlen(line) == 1) {
      putchar('\n');
      break;
    }
    fputs(line, stdout);
  }
  fclose(fp);
  if (!found) puts("Context-sensitive help text not found; add to file.");
  fflush(stdout);
}

void action_key_question_mark(void) {
  reset_cursor_selections();
  char l1[] = "select a region with a mouse press", l2[] = "output to shell window",
       l3[] = "other keys cancel";
  show_on_info_line(0, 1, l1, l2, l3);
  event_trace_prompt(l1);
  for (;;) {
    XEvent event;
    const int which = get_next_event(&event);
    if (which == 0) {
      wait_for_X_input(-1);
      continue;
    }
    if (which != 1) continue;
    if (event.type == ButtonRelease) {
      define_mosaic_cursor_location(event.xbutton.x, event.xbutton.y);
      break;
    }
    if (event.type == KeyPress) break;
  }
  print_question_mark_help(mosaic.cursor_selection, mosaic.text_selection);
  char d1[] = "help printed in the shell window", blank[] = " ";
  show_on_info_line(0, 0, d1, blank, blank);
}

int help_menu(int from_link, char *file_name) {
  const char *home = getenv("ZOR_HOME");
  if (!home) {
    print_missing_home();
    return 1;
  }
  static std::string saved_help_file_name;
  if (from_link == 0) saved_help_file_name = file_name;
  // Following a link or leaving a linked file starts another session; the
  // call that follows a link returns 0 whatever that session gives.
  std::string name = file_name;
  bool linked = from_link != 0, followed = false;
  for (;;) {
    std::string link;
    const session_end end = menu_session(home, name, &link);
    fflush(stdout);
    if (end == SESSION_FAILED) return followed ? 0 : 1;
    if (end == SESSION_LINK) {
      name = link;
      linked = true;
      followed = true;
      continue;
    }
    if (!linked) return 0;
    // Leaving a linked file returns to the root file.
    name = saved_help_file_name;
    linked = false;
    followed = true;
  }
}

int check_help_menu_order(const char *path, const char *shown_name) {
  FILE *fp = fopen_regular(path, "r");
  if (!fp) {
    printf("Error: cannot open the file %s.\n", path);
    return 1;
  }
  const std::vector<std::string> lines = read_lines(fp);
  fclose(fp);
  return check_order(menu_entries(lines), shown_name);
}
