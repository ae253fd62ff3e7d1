// The command line: one table of options, read both by the option loop and
// by the usage text. Only the character after the "-" of a token counts,
// and a value is always the next token.
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "zor_exit.h"
#include "zor_help.h"
#include "zor_startup.h"
#include "zor_text.h"
#include "zor_time_model.h"

namespace {

// Integers as atoi reads them, but pinned to the int range instead of
// overflowing.
int option_integer(const char *value) {
  errno = 0;
  long v = strtol(value, nullptr, 10);
  if (v > INT_MAX) v = INT_MAX;
  if (v < INT_MIN) v = INT_MIN;
  return static_cast<int>(v);
}

// A model option reads its control file at once, before any image is
// opened; the last model option wins.
void read_model(int which_model, const char *value) {
  initialize_TimeSeriesModel(which_model);
  std::string file_name = value;
  if (read_TimeSeriesModel(file_name.data())) zor_exit(1);
}

void read_named_model(const char *value) {
  std::string file_name = value;
  const int which_model = determine_TimeSeriesModel(file_name.data());
  if (which_model == 0) zor_exit(1);
  read_model(which_model, value);
}

// The start-up page of the help files, or the help menus at the terminal.
void help_and_exit() {
  action_help(0, 1);
  zor_exit(0);
}

void help_menu_and_exit() {
  char root[] = "zorview-menu.txt";
  help_menu(0, root);
  fflush(stdout);
  zor_exit(0);
}

typedef void (*option_action)(const char *value, const char *token);

struct option_entry {
  char letter;
  const char *value_name;  // null for an option without a value
  const char *help;
  option_action action;
};

zorview_options &o = startup_options;

// In the order of the scanner's option string; the same help text on
// neighbouring entries is shown once for both letters.
const option_entry option_table[] = {
    {'A', "file", "activation map of natural logarithms (converted to base 10)",
     [](const char *v, const char *) { add_image_file(&activation_files, v, 2, 0); }},
    {'a', "file", "activation map, linear scale",
     [](const char *v, const char *) { add_image_file(&activation_files, v, 0, 0); }},
    {'d', "file", "tract file", [](const char *v, const char *) { o.DTI_tract_name = v; }},
    {'D', "file", "tract file", [](const char *v, const char *) { o.DTI_tract_name = v; }},
    {'z', "zoom", "zoom of the image window (below 0 becomes 0)",
     [](const char *v, const char *) {
       o.zoom_window = option_integer(v);
       if (o.zoom_window < 0) o.zoom_window = 0;
     }},
    {'Z', "zoom", "zoom of the image window (below 0 becomes 0)",
     [](const char *v, const char *) {
       o.zoom_window = option_integer(v);
       if (o.zoom_window < 0) o.zoom_window = 0;
     }},
    {'x', "n", "panels across (below 1 becomes 1)",
     [](const char *v, const char *) {
       o.nPanelsX = option_integer(v);
       if (o.nPanelsX < 1) o.nPanelsX = 1;
     }},
    {'X', "n", "panels across (below 1 becomes 1)",
     [](const char *v, const char *) {
       o.nPanelsX = option_integer(v);
       if (o.nPanelsX < 1) o.nPanelsX = 1;
     }},
    {'p', "file", "activation map of base-10 logarithms of p values",
     [](const char *v, const char *) { add_image_file(&activation_files, v, 1, 0); }},
    {'P', "file", "activation map of base-10 logarithms of p values",
     [](const char *v, const char *) { add_image_file(&activation_files, v, 1, 0); }},
    {'e', "file", "images placed ahead of the time axis",
     [](const char *v, const char *) { add_image_file(&anatomy_files, v, 0, 0); }},
    {'m', "n", "slices in the mosaic (0 all, negative three planes)",
     [](const char *v, const char *) { o.number_panels = option_integer(v); }},
    {'o', "file", "overlay list file", [](const char *v, const char *) { o.ovl_name = v; }},
    {'O', "file", "overlay list file", [](const char *v, const char *) { o.ovl_name = v; }},
    {'w', "file", "wire list file", [](const char *v, const char *) { o.wire_name = v; }},
    {'W', "file", "wire list file", [](const char *v, const char *) { o.wire_name = v; }},
    {'3', nullptr, "three orthogonal planes",
     [](const char *, const char *) { o.number_panels = -1; }},
    {'h', nullptr, "show this help", [](const char *, const char *) { help_and_exit(); }},
    {'H', nullptr, "show the help menu", [](const char *, const char *) { help_menu_and_exit(); }},
    {'n', nullptr, "leave out the model's run files",
     [](const char *, const char *) { o.IncludeTimeData = 0; }},
    {'N', nullptr, "leave out the model's statistical maps",
     [](const char *, const char *) { o.IncludeMaps = 0; }},
    {'T', nullptr, "also load the model's T maps", [](const char *, const char *) { o.UseT = 1; }},
    {'S', nullptr, "also load the model's S maps", [](const char *, const char *) { o.UseS = 1; }},
    {'v', nullptr, "describe each volume while loading",
     [](const char *, const char *) { o.Verbose = 1; }},
    {'V', nullptr, "describe each volume while loading",
     [](const char *, const char *) { o.Verbose = 1; }},
    {'y', nullptr, "turn the images upside down",
     [](const char *, const char *) { o.flip_X11_y = !o.flip_X11_y; }},
    {'Y', nullptr, "third plane YZ at the lower right instead of ZY",
     [](const char *, const char *) { o.display_ortho_ZY = !o.display_ortho_ZY; }},
    {'i', "file", "image file (a bare name does the same)",
     [](const char *v, const char *) { add_image_file(&image_files, v, 0, 0); }},
    {'t', "file", "model control file, model named by its first line",
     [](const char *v, const char *) { read_named_model(v); }},
    {'G', "file", "SRTM control file", [](const char *v, const char *) { read_model(MODEL_SRTM, v); }},
    {'g', "file", "GLM control file", [](const char *v, const char *) { read_model(MODEL_GLM, v); }},
    {'r', "file", "REM control file", [](const char *v, const char *) { read_model(MODEL_REM, v); }},
    {'f', "file", "FIT control file", [](const char *v, const char *) { read_model(MODEL_FIT, v); }},
};

std::string option_string() {
  std::string s;
  for (const option_entry &e : option_table) {
    s += e.letter;
    if (e.value_name) s += ':';
  }
  return s;
}

const option_entry *find_option(int letter) {
  for (const option_entry &e : option_table)
    if (e.letter == letter) return &e;
  return nullptr;
}

}  // namespace

void print_usage(void) {
  printf("Usage: %s <image file> [optional arguments]\n", program_name);
  const size_t n = sizeof option_table / sizeof option_table[0];
  for (size_t i = 0; i < n; i++) {
    const option_entry &e = option_table[i];
    std::string flags = std::string("-") + e.letter;
    // Paired letters share one line.
    while (i + 1 < n && std::string(option_table[i + 1].help) == e.help) {
      flags += std::string(", -") + option_table[++i].letter;
    }
    if (e.value_name) flags += std::string(" <") + e.value_name + ">";
    printf("  %-18s %s\n", flags.c_str(), e.help);
  }
}

void parse_command_options(std::vector<std::string> &myargv, int myargc) {
  // One row behind the last token stays empty, so a value missing at the
  // end reads as an empty word.
  myargv.resize(static_cast<size_t>(myargc) + 1);
  myargv[static_cast<size_t>(myargc)].clear();
  std::vector<char *> rows(myargv.size());
  for (size_t i = 0; i < myargv.size(); i++) rows[i] = myargv[i].data();

  const std::string options = option_string();
  int which_arg = 0;
  for (;;) {
    const int option = my_getopt(myargc, rows.data(), options.c_str(), &which_arg);
    if (option == 0) break;
    const char *optarg = rows[static_cast<size_t>(which_arg)];
    if (option == -1) {
      printf("Option %s not valid.\n", optarg);
      puts("Program exiting.");
      zor_exit(1);
    }
    const option_entry *entry = find_option(option);
    if (!entry) {
      printf("Valid option -%c not yet programmed.\n", optarg[0]);
      puts("Program exiting.");
      zor_exit(1);
    }
    // The option's own token, for messages: a value stands one behind it.
    // (For a bare word taken as an image file this is not the word, but
    // that action has no message.)
    const char *token = entry->value_name ? rows[static_cast<size_t>(which_arg - 1)] : optarg;
    entry->action(optarg, token);
  }
}
