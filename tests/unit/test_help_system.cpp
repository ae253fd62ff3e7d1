// Help printed to the shell: the text dumps, the entry for a region's codes,
// and the menus browsed with choices read from standard input.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "test_support.h"
#include "zor.h"

namespace {

const std::string RULE = "----------------------------------------------\n";
const std::string CHOOSE = RULE + "--- choose item: 0 = main menu, return = back \n" + RULE;

class Help : public ::testing::Test {
 protected:
  void SetUp() override {
    home = make_temp_dir();
    docs = home + "/documentation";
    ASSERT_EQ(system(("mkdir -p '" + docs + "'").c_str()), 0);
    setenv("ZOR_HOME", home.c_str(), 1);
  }
  void TearDown() override { unsetenv("ZOR_HOME"); }

  void doc(const std::string &name, const std::string &text) { write_text_file(docs, name, text); }

  // help_menu on a menu file with `input` as standard input, in a child.
  ChildRun menu(const std::string &file, const std::string &input) {
    const std::string in = write_text_file(home, "stdin.txt", input);
    return run_in_child(
        [&] {
          if (!freopen(in.c_str(), "r", stdin)) return -2;
          std::string name = file;
          return help_menu(0, name.data());
        },
        20);
  }

  std::string home, docs;
};

TEST_F(Help, WithoutHomeEachFormSaysWhatToDo) {
  unsetenv("ZOR_HOME");
  Captured c = capture_output([] { action_help(1, 1); });
  EXPECT_EQ(c.out, "For help, quit and define the environment variable ZOR_HOME, and then re-start.\n");
  c = capture_output([] { action_help(0, 1); });
  EXPECT_EQ(c.out, "For help, quit and define the environment variable ZOR_HOME, and then re-start.\n");
  c = capture_output([] { print_question_mark_help(4, 24); });
  EXPECT_EQ(c.out, "Define the environment variable ZOR_HOME for more help.\n");
  int result = 0;
  c = capture_output([&] {
    char name[] = "zorview-menu.txt";
    result = help_menu(0, name);
  });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "For help, quit and define the environment variable ZOR_HOME, and then re-start.\n");
}

TEST_F(Help, TextFormsPrintANewlineThenTheFileWithoutComments) {
  doc("zorview-startup.txt", "start\nline two  # a note for authors\n# whole comment\nlast");
  doc("zorview-interactive-help1.txt", "short\n");
  doc("zorview-interactive-help2.txt", "long\n");
  EXPECT_EQ(capture_output([] { action_help(0, 2); }).out, "\nstart\nline two  last");
  EXPECT_EQ(capture_output([] { action_help(1, 1); }).out, "\nshort\n");
  EXPECT_EQ(capture_output([] { action_help(1, 3); }).out, "\nlong\n");
}

TEST_F(Help, MissingTextFileIsReportedInThreeLines) {
  Captured c = capture_output([] { action_help(1, 2); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "Error: cannot open the file " + docs + "/zorview-interactive-help2.txt.\n" +
                       "The environment variable ZOR_HOME is set to " + home + "\n" +
                       "If this is incorrect, quit, define this environment variable, and re-start.\n");
}

TEST_F(Help, MissingQuestionMarkFileIsReportedInTwoLines) {
  Captured c = capture_output([] { print_question_mark_help(0, 0); });
  EXPECT_EQ(c.out, "Error: cannot open the file " + docs + "/zorview-question-mark.txt.\n" +
                       "The environment variable ZOR_HOME is set to " + home + "\n");
}

TEST_F(Help, HomeOfAnyLengthEndsWithAMessage) {
  const std::string longer(20000, 'z');
  setenv("ZOR_HOME", longer.c_str(), 1);
  Captured c = capture_output([] { action_help(1, 1); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out.rfind("Error: cannot open the file " + longer + "/documentation/", 0), 0u);
  c = capture_output([] { print_question_mark_help(4, 26); });
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_NE(c.out.find("ZOR_HOME is set to " + longer + "\n"), std::string::npos);
  ChildRun r = menu("zorview-menu.txt", "1\n");
  EXPECT_TRUE(r.finished);
  EXPECT_EQ(r.result, 1);
}

const char *QUESTIONS =
    "! 4 24   # the help item\n"
    "Help item text\n"
    "second line\n"
    "\n"
    "Not part of any entry\n"
    "! 8 0\n"
    "Nothing here\n"
    "\n"
    "! 194 0\n"
    "A voxel of an axial panel\n"
    "! 4 25\n"
    "runs on into the next entry\n"
    "\n"
    "! 2 2\n"
    "last entry without a blank line";

TEST_F(Help, QuestionMarkPrintsTheEntryBodyUpToABlankLine) {
  doc("zorview-question-mark.txt", QUESTIONS);
  Captured c = capture_output([] { print_question_mark_help(4, 24); });
  EXPECT_EQ(c.out, "Help from file " + docs + "/zorview-question-mark.txt\n" +
                       "message code 4 24\n"
                       "Help item text\nsecond line\n\n");
}

TEST_F(Help, LaterHeadsInsideAnEntryArePrintedAsText) {
  doc("zorview-question-mark.txt", QUESTIONS);
  Captured c = capture_output([] { print_question_mark_help(194, 0); });
  EXPECT_EQ(c.out, "Help from file " + docs + "/zorview-question-mark.txt\n" +
                       "message code 194 0\n"
                       "A voxel of an axial panel\n! 4 25\nruns on into the next entry\n\n");
}

TEST_F(Help, EntryOnTheLastLineEndsAtTheEndOfTheFile) {
  doc("zorview-question-mark.txt", QUESTIONS);
  Captured c = capture_output([] { print_question_mark_help(2, 2); });
  EXPECT_EQ(c.out, "Help from file " + docs + "/zorview-question-mark.txt\n" +
                       "message code 2 2\nlast entry without a blank line");
}

TEST_F(Help, UnknownCodesAskForAnEntry) {
  doc("zorview-question-mark.txt", QUESTIONS);
  Captured c = capture_output([] { print_question_mark_help(4, 2); });
  EXPECT_EQ(c.out, "Help from file " + docs + "/zorview-question-mark.txt\n" +
                       "message code 4 2\n"
                       "Context-sensitive help text not found; add to file.\n");
}

const char *MENU =
    "!0 0\n"
    "Main menu\n"
    "1 Keys\n"
    "2 Files\n"
    "3 About\n"
    "!1 0\n"
    "Keys page\n"
    "1 image keys\n"
    "2 graph keys\n"
    "!1 1\n"
    "Image keys text\n"
    "!1 2\n"
    "Graph keys text\n"
    ">other.txt\n"
    "never printed\n"
    "!2 0\n"
    "Files page only\n"
    "!3 0\n"
    "About page\n"
    "!3 1\n"
    "About item\n";

const char *OTHER =
    "!0 0\n"
    "Other main\n"
    "1 More\n"
    "!1 0\n"
    "More page\n"
    "!1 1\n"
    "More item\n";

const std::string MAIN = "Main menu\n1 Keys\n2 Files\n3 About\n" + CHOOSE + "help > ";
const std::string KEYS = "Keys page\n1 image keys\n2 graph keys\n" + CHOOSE + "help >> ";

class HelpMenu : public Help {
 protected:
  void SetUp() override {
    Help::SetUp();
    doc("m.txt", MENU);
    doc("other.txt", OTHER);
    root = "Help from file " + docs + "/m.txt\n";
  }
  std::string root;
};

TEST_F(HelpMenu, ItemsAndStepsBack) {
  ChildRun r = menu("m.txt", "1\n1\nb\nb\nq\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.out, root + MAIN + KEYS + "Image keys text\n" + KEYS + KEYS + MAIN);
}

TEST_F(HelpMenu, QInASubMenuOnlyGoesBack) {
  ChildRun r = menu("m.txt", "1\nq\nquit\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.out, root + MAIN + KEYS + MAIN);
}

TEST_F(HelpMenu, LinkSwitchesFilesAndLeavingItReturnsToTheRoot) {
  ChildRun r = menu("m.txt", "1\n2\n1\nq\nq\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
  const std::string other_main = "Other main\n1 More\n" + CHOOSE + "help > ";
  const std::string more = "More page\n" + CHOOSE + "help >> ";
  EXPECT_EQ(r.out, root + MAIN + KEYS + "Graph keys text\n" + "Help from file " + docs +
                       "/other.txt\n" + other_main + more + other_main + root + MAIN + "\n");
}

TEST_F(HelpMenu, PageOnlyMenuBadOptionZeroAndEmptyLine) {
  ChildRun r = menu("m.txt", "2\n3\n5\n0\n\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
  const std::string about = "About page\n" + CHOOSE + "help >> ";
  EXPECT_EQ(r.out, root + MAIN + "Files page only\n" + MAIN + about +
                       "Bad option. Choose '0', 'b', 'q', or a number from 1 to 1\n" + about + MAIN);
}

TEST_F(HelpMenu, EndOfInputQuits) {
  ChildRun r = menu("m.txt", "9\n1\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.out, root + MAIN + "Bad option. Choose '0', 'b', 'q', or a number from 1 to 3\n" + MAIN +
                       KEYS + "\n");
  r = menu("m.txt", "");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.out, root + MAIN + "\n");
}

TEST_F(HelpMenu, EntriesInOrderPassTheCheck) {
  doc("ok.txt", "!0 0\nmain\n!1 0\na\n!1 1\nb\n!2 0\nc\n");
  ChildRun r = menu("ok.txt", "");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(check_help_menu_order((docs + "/ok.txt").c_str(), "ok.txt"), 0);
}

TEST_F(HelpMenu, EntryOutOfOrderIsRefusedWithTheWarning) {
  doc("bad.txt", "!0 0\nmain\n!2 3\nx\n");
  ChildRun r = menu("bad.txt", "1\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 1);
  const std::string path = docs + "/bad.txt";
  EXPECT_EQ(r.out, "Help from file " + path + "\nWarning: menu entry 1 in file " + path +
                       " is 2 3,\nbut it should be either 0 1 or 1 0,\n");
}

TEST_F(HelpMenu, HeadsWithoutNumbersAreRefused) {
  doc("bad.txt", "!0 0\nmain\n!menu\nx\n");
  ChildRun r = menu("bad.txt", "1\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 1);
}

TEST_F(HelpMenu, ItemsDeeperThanTheMenuDeclaresAreSafe) {
  doc("deep.txt", "!0 0\nmain\n!1 0\npage\n!1 2147483647\nfar\n!1 -5\nnegative\n");
  ChildRun r = menu("deep.txt", "1\n3\n99999999999999999999\n2147483647\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
  const std::string page = "page\n" + CHOOSE + "help >> ";
  const std::string bad = "Bad option. Choose '0', 'b', 'q', or a number from 1 to 2147483647\n";
  EXPECT_EQ(r.out, "Help from file " + docs + "/deep.txt\nmain\n" + CHOOSE + "help > " + page + bad +
                       page + bad + page + "far\n" + page + "\n");
}

TEST_F(HelpMenu, LinkToAMissingFileEndsTheMenu) {
  doc("m2.txt", "!0 0\nmain\n!1 0\npage\n!1 1\n>missing.txt\n");
  ChildRun r = menu("m2.txt", "1\n1\n");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
  EXPECT_NE(r.out.find("Error: cannot open the file " + docs + "/missing.txt.\n"), std::string::npos);
}

TEST_F(HelpMenu, MissingRootFileFails) {
  ChildRun r = menu("none.txt", "");
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: cannot open the file " + docs + "/none.txt.\n" +
                       "The environment variable ZOR_HOME is set to " + home + "\n" +
                       "If this is incorrect, quit, define this environment variable, and re-start.\n");
}

TEST_F(HelpMenu, LongAnswersAndManyLinksNeitherHangNorCrash) {
  doc("loop.txt", "!0 0\nmain\n!1 0\npage\n!1 1\n>loop.txt\n");
  std::string input = "1\n" + std::string(100000, 'x') + "\n";
  for (int k = 0; k < 2000; k++) input += "1\n1\n";
  ChildRun r = menu("loop.txt", input);
  ASSERT_TRUE(r.finished);
  EXPECT_EQ(r.result, 0);
}

}  // namespace
