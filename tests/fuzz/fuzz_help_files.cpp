// The help files browsed at the terminal: the input holds the answers typed
// at the menu prompts, the root menu file, a second menu file that the root
// may link to ("> more.txt"), and the question-mark file, all separated by
// "@@" lines. The question-mark entries asked for are "! 3 1" and "! 0 0". The same files also stand in for the start-up and interactive
// help texts.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz_support.h"
#include "zor_display_state.h"
#include "zor_help.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::vector<std::string> parts = fuzz_parts(data, size, 4);
  const std::string program = program_name;
  fuzz_check(
      [&] {
        fuzz_write("answers", parts[0]);
        if (mkdir("documentation", 0700) != 0) abort();
        fuzz_write("documentation/zorview-menu.txt", parts[1]);
        fuzz_write("documentation/more.txt", parts[2]);
        fuzz_write("documentation/" + program + "-question-mark.txt", parts[3]);
        fuzz_write("documentation/" + program + "-startup.txt", parts[1]);
        fuzz_write("documentation/" + program + "-interactive-help1.txt", parts[2]);
        fuzz_write("documentation/" + program + "-interactive-help2.txt", parts[3]);
      },
      [] {
        char here[4096];
        if (!getcwd(here, sizeof here) || setenv("ZOR_HOME", here, 1) != 0) abort();
        if (!freopen("answers", "r", stdin)) abort();
        char root[] = "zorview-menu.txt";
        const int menu = help_menu(0, root);
        const int order = check_help_menu_order("documentation/more.txt", "more.txt");
        print_question_mark_help(3, 1);
        print_question_mark_help(0, 0);
        action_help(0, 1);
        action_help(1, 1);
        action_help(1, 3);
        return menu + 2 * order;
      },
      {0, 1, 2, 3}, FUZZ_RESET_PROGRAM);
  return 0;
}
