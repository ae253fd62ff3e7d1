// Help printed to the shell the program was started from. All help files
// lie in $ZOR_HOME/documentation/: "<program>-startup.txt" (the command
// line), "<program>-interactive-help1.txt" and "-help2.txt" (short and long
// forms of the interactive help), "<program>-question-mark.txt" (help on
// the window region clicked) and "zorview-menu.txt", the root of the help
// menus browsed at the terminal.
#ifndef ZOR_HELP_H
#define ZOR_HELP_H

// mode 0: the start-up text; mode 1: the interactive text, short with
// button 1 and long otherwise.
void action_help(int mode, int button);
// Waits for a click on a region of the image window (a key ends the wait
// too) and prints the help entry for the region's codes.
void action_key_question_mark(void);
// Prints the entry of the question-mark file whose head is
// "! cursor_selection text_selection"; the part of action_key_question_mark
// after the wait.
void print_question_mark_help(int cursor_selection, int text_selection);
// Browses a menu file at the terminal, reading choices from standard input.
// from_link is 0 for the outermost call. Returns 0, or 1 when the file
// cannot be used.
int help_menu(int from_link, char *file_name);
// Checks the order of a menu file's entry heads as the menu does, with the
// same warning. Returns 0 when in order.
int check_help_menu_order(const char *path, const char *shown_name);

#endif
