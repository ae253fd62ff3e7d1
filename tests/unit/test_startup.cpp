#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"
#include "zorview_main.h"

namespace {

// Each test runs in a fresh working directory, where start-up files live.
class Startup : public ::testing::Test {
 protected:
  void SetUp() override {
    char cwd[4096];
    ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
    saved_dir_ = cwd;
    dir_ = make_temp_dir();
    ASSERT_EQ(chdir(dir_.c_str()), 0);
    zorview_startup_reset();
  }
  void TearDown() override {
    ASSERT_EQ(chdir(saved_dir_.c_str()), 0);
    zorview_startup_reset();
  }

  void write(const std::string &name, const std::string &content) {
    write_text_file(dir_, name, content);
  }
  // A small native volume: its header and a data file of zeros.
  void volume(const std::string &stem, int x, int y, int z, int t) {
    write(stem + ".hdr", "x " + std::to_string(x) + "\ny " + std::to_string(y) + "\nz " +
                             std::to_string(z) + "\nt " + std::to_string(t) + "\n");
    write(stem + ".bshort", std::string(static_cast<size_t>(x) * y * z * t * 2, '\0'));
  }

  Captured run(std::vector<std::string> args) {
    args.insert(args.begin(), "zorview");
    std::vector<char *> argv;
    for (auto &a : args) argv.push_back(a.data());
    argv.push_back(nullptr);
    return capture_until_windows(
        [&] { zorview_main(static_cast<int>(args.size()), argv.data()); });
  }

  std::vector<std::string> names(const file_list *list) {
    std::vector<std::string> out;
    if (file_list_is_empty(list)) return out;
    for (const file_list *n = list; n; n = n->next) out.push_back(n->file_name);
    return out;
  }

  std::string dir_;
  std::string saved_dir_;
};

const char kInvoked[] =
    "Error: this program should be invoked as\n"
    "   zorview <image file> [optional arguments]\n\n";
// The header summary a verbose read prints.
const char kSummary[] = "magnitude data, short ints, voxels (4,4,2,3), res (1,1,1,0)\n";

// What loading a stack of 4x4x2 files prints: the size of the run's first
// file, then each file's closing progress line.
std::string loaded(const std::vector<std::string> &files, int nt = 3, bool first_of_run = true) {
  std::string out;
  if (first_of_run) out = "voxels (4,4,2," + std::to_string(nt) + "), res (1,1,1,0)\n";
  for (const std::string &f : files) out += "\r" + f + ": 100 %\n";
  return out;
}

// The start-up page of the help files, which the program shows when it is
// called without files and for "-h".
std::string usage_text() {
  return capture_output([] { action_help(0, 1); }).out;
}

TEST_F(Startup, EmptyCommandLineWithoutStartupFilesExplainsTheCall) {
  Captured c = run({});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, std::string(kInvoked) + usage_text());
  EXPECT_EQ(c.err, "");
}

TEST_F(Startup, VistrelGivesTheCommandLine) {
  volume("a", 4, 4, 2, 3);
  write(".vistrel", "zorview a.bshort -z 3\n");
  Captured c = run({});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, loaded({"a.bshort"}));
  EXPECT_EQ(names(&image_files), (std::vector<std::string>{"a.bshort"}));
  EXPECT_EQ(startup_options.zoom_window, 3);
}

TEST_F(Startup, NoteLinesAppearBeforeAnyOptionIsParsed) {
  write(".vistrel", "zorview -q\nfirst note\n\tsecond note # kept as is\n");
  Captured c = run({});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out,
            "first note\n\tsecond note # kept as is\n"
            "Option -q not valid.\nProgram exiting.\n");
}

TEST_F(Startup, VistrelWithOnlyTheCommandNameLeadsOnToZorview) {
  volume("b", 4, 4, 2, 3);
  write(".vistrel", "zorview\nnote from vistrel\n");
  write(".zorview", "zorview b.bshort\nnote from zorview\n");
  Captured c = run({});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "note from vistrel\nnote from zorview\n" + loaded({"b.bshort"}));
  EXPECT_EQ(names(&image_files), (std::vector<std::string>{"b.bshort"}));
}

TEST_F(Startup, StartupFileWithoutAnyWordAddsAndPrintsNothing) {
  write(".vistrel", "  \t \nhidden note\n");
  Captured c = run({});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out.find("hidden note"), std::string::npos);
  EXPECT_EQ(c.out.rfind(kInvoked, 0), 0u);
}

TEST_F(Startup, BothStartupFilesEmptyOfWordsExplainTheCall) {
  write(".vistrel", "zorview\n");
  write(".zorview", "zorview\n");
  Captured c = run({});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, std::string(kInvoked) + usage_text());
}

TEST_F(Startup, LoneFlipWithOnlyZorviewFileFindsNoImages) {
  write(".zorview", "zorview a.bshort\nnote\n");
  Captured c = run({"-y"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: no image files and no .zorview file\n");
}

TEST_F(Startup, LoneFlipStaysInFrontOfTheVistrelWords) {
  volume("a", 4, 4, 2, 3);
  write(".vistrel", "zorview a.bshort -y\n");
  Captured c = run({"-y"});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(startup_options.flip_X11_y, 1);  // toggled twice
  write(".vistrel", "zorview a.bshort\n");
  c = run({"-Y"});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(startup_options.display_ortho_ZY, 0);
  EXPECT_EQ(startup_options.flip_X11_y, 1);
}

TEST_F(Startup, StartupFilesAreIgnoredWhenTheCommandLineHasWords) {
  volume("a", 4, 4, 2, 3);
  write(".vistrel", "zorview -q\nnote\n");
  Captured c = run({"a.bshort"});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, loaded({"a.bshort"}));
  c = run({"-yes"});  // not a lone "-y": acts as -y, consults nothing
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: no image files and no .zorview file\n");
  EXPECT_EQ(startup_options.flip_X11_y, 0);
}

TEST_F(Startup, FirstStartupLineIsReadUpTo1023Characters) {
  volume("a", 4, 4, 2, 3);
  std::string line = "zorview a.bshort";
  line += std::string(1023 - line.size(), ' ');
  line += "-q\nnote\n";  // beyond the first line's limit: printed, not parsed
  write(".vistrel", line);
  Captured c = run({});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(c.out, "-q\nnote\n" + loaded({"a.bshort"}));
}

TEST_F(Startup, StartupLineOfManyWordsIsTakenWhole) {
  volume("a", 4, 4, 2, 3);
  std::string line = "zorview";
  for (int i = 0; i < 120; i++) line += " -v";  // 120 tokens, 367 characters
  line += " a.bshort\n";
  write(".vistrel", line);
  Captured c = run({});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(startup_options.Verbose, 1);
  EXPECT_EQ(c.out, kSummary + loaded({"a.bshort"}));
}

TEST_F(Startup, ReadProgramInitFileAppendsWords) {
  write("init", "prog  one\ttwo three\nrest\n");
  std::vector<std::string> argv = {"zorview"};
  int argc = 1;
  Captured c = capture_output([&] { read_program_init_file("init", argv, &argc); });
  EXPECT_EQ(argc, 4);
  EXPECT_EQ(argv, (std::vector<std::string>{"zorview", "one", "two", "three"}));
  EXPECT_EQ(c.out, "rest\n");
  c = capture_output([&] { read_program_init_file("missing", argv, &argc); });
  EXPECT_EQ(argc, 4);
  EXPECT_EQ(c.out, "");
}

TEST_F(Startup, StartupFileThatIsAPipeIsIgnored) {
  ASSERT_EQ(mkfifo(".vistrel", 0600), 0);
  write(".zorview", "zorview -q\n");
  Captured c = run({});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Option -q not valid.\nProgram exiting.\n");
}

TEST_F(Startup, BareWordsAndDashIAreImageFiles) {
  volume("a", 4, 4, 2, 3);
  volume("b", 4, 4, 2, 3);
  Captured c = run({"a.bshort", "-i", "b.bshort", "a.bshort"});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(names(&image_files), (std::vector<std::string>{"a.bshort", "b.bshort", "a.bshort"}));
  EXPECT_EQ(c.out, loaded({"a.bshort", "b.bshort", "a.bshort"}));
  EXPECT_EQ(image_stack.nt, 9);
  EXPECT_EQ(image_files.next->start_image, 3);
}

TEST_F(Startup, MapAndAnatomyOptionsFillTheirLists) {
  volume("a", 4, 4, 2, 3);
  volume("m", 4, 4, 2, 1);
  volume("e", 4, 4, 2, 2);
  Captured c = run({"-a", "m.bshort", "-p", "m.bshort", "-P", "m.bshort", "-A", "m.bshort",
                    "-e", "e.bshort", "a.bshort"});
  ASSERT_EQ(c.exit_status, -1) << c.out;
  EXPECT_EQ(names(&activation_files).size(), 4u);
  std::vector<int> logs;
  for (const file_list *n = &activation_files; n; n = n->next) {
    logs.push_back(n->scale_log);
    EXPECT_EQ(n->type, 0);
  }
  EXPECT_EQ(logs, (std::vector<int>{0, 1, 1, 2}));
  EXPECT_EQ(names(&anatomy_files), (std::vector<std::string>{"e.bshort"}));
  // Stacks are loaded in the order anatomy, activation, images; the first
  // file of all sets the grid.
  EXPECT_EQ(c.out, loaded({"e.bshort"}, 2) +
                       loaded({"m.bshort", "m.bshort", "m.bshort", "m.bshort"}, 1, false) +
                       loaded({"a.bshort"}, 3, false));
  EXPECT_EQ(anatomy_stack.nt, 2);
  EXPECT_EQ(activation_stack.nt, 4);
  EXPECT_EQ(image_stack.nt, 3);
}

TEST_F(Startup, NamedFilesOptions) {
  volume("a", 4, 4, 2, 3);
  run({"a.bshort", "-d", "t1.trk", "-o", "r.ovl", "-w", "w.wire"});
  EXPECT_EQ(startup_options.DTI_tract_name, "t1.trk");
  EXPECT_EQ(startup_options.ovl_name, "r.ovl");
  EXPECT_EQ(startup_options.wire_name, "w.wire");
  run({"a.bshort", "-D", "t2.trk", "-O", "s.ovl", "-W", "v.wire"});
  EXPECT_EQ(startup_options.DTI_tract_name, "t2.trk");
  EXPECT_EQ(startup_options.ovl_name, "s.ovl");
  EXPECT_EQ(startup_options.wire_name, "v.wire");
}

TEST_F(Startup, DefaultsWithoutOptions) {
  volume("a", 4, 4, 2, 3);
  run({"a.bshort"});
  const zorview_options &o = startup_options;
  EXPECT_EQ(o.number_panels, 0);
  EXPECT_EQ(o.nPanelsX, 0);
  EXPECT_EQ(o.zoom_window, 0);
  EXPECT_EQ(o.flip_X11_y, 1);
  EXPECT_EQ(o.display_ortho_ZY, 1);
  EXPECT_EQ(o.IncludeTimeData, 1);
  EXPECT_EQ(o.IncludeMaps, 1);
  EXPECT_EQ(o.UseT, 0);
  EXPECT_EQ(o.UseS, 0);
  EXPECT_EQ(o.Verbose, 0);
  EXPECT_EQ(o.ovl_name, "");
  EXPECT_EQ(image_stack.nt, 3);  // the one file's time points
  EXPECT_STREQ(program_name, "zorview");
}

TEST_F(Startup, ModelLoadingFlags) {
  volume("a", 4, 4, 2, 3);
  run({"a.bshort", "-n", "-N", "-T", "-S", "-V"});
  const zorview_options &o = startup_options;
  EXPECT_EQ(o.IncludeTimeData, 0);
  EXPECT_EQ(o.IncludeMaps, 0);
  EXPECT_EQ(o.UseT, 1);
  EXPECT_EQ(o.UseS, 1);
  EXPECT_EQ(o.Verbose, 1);
}

TEST_F(Startup, ZoomBelowZeroBecomesZero) {
  volume("a", 4, 4, 2, 3);
  run({"a.bshort", "-z", "-5"});
  EXPECT_EQ(startup_options.zoom_window, 0);
  run({"a.bshort", "-Z", "0"});
  EXPECT_EQ(startup_options.zoom_window, 0);
  run({"a.bshort", "-z", "4"});
  EXPECT_EQ(startup_options.zoom_window, 4);
}

TEST_F(Startup, PanelsAcrossBelowOneBecomeOne) {
  volume("a", 4, 4, 2, 3);
  run({"a.bshort", "-x", "0"});
  EXPECT_EQ(startup_options.nPanelsX, 1);
  run({"a.bshort", "-X", "-7"});
  EXPECT_EQ(startup_options.nPanelsX, 1);
  run({"a.bshort", "-x", "5"});
  EXPECT_EQ(startup_options.nPanelsX, 5);
}

TEST_F(Startup, SliceCountAndThreePlanes) {
  volume("a", 4, 4, 2, 3);
  run({"a.bshort", "-m", "100"});
  EXPECT_EQ(startup_options.number_panels, 100);  // cut to the slices once shown
  run({"a.bshort", "-3"});
  EXPECT_EQ(startup_options.number_panels, -1);
  run({"a.bshort", "-m", "99999999999999999999"});
  EXPECT_EQ(startup_options.number_panels, 2147483647);
}

TEST_F(Startup, FlipOptionsToggle) {
  volume("a", 4, 4, 2, 3);
  run({"a.bshort", "-y"});
  EXPECT_EQ(startup_options.flip_X11_y, 0);
  run({"a.bshort", "-y", "-y", "-y", "-Y", "-Y"});
  EXPECT_EQ(startup_options.flip_X11_y, 0);
  EXPECT_EQ(startup_options.display_ortho_ZY, 1);
}

TEST_F(Startup, OnlyTheSecondCharacterOfAnOptionCounts) {
  volume("a", 4, 4, 2, 3);
  volume("m", 4, 4, 2, 1);
  Captured c = run({"-verbose", "a.bshort", "-abc", "m.bshort"});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(startup_options.Verbose, 1);
  EXPECT_EQ(names(&activation_files), (std::vector<std::string>{"m.bshort"}));
}

TEST_F(Startup, InvalidOptions) {
  Captured c = run({"-"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Option - not valid.\nProgram exiting.\n");
  c = run({"a.bshort", "-M", "4"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Option -M not valid.\nProgram exiting.\n");
  c = run({"-qx", "a.bshort"});
  EXPECT_EQ(c.out, "Option -qx not valid.\nProgram exiting.\n");
  EXPECT_EQ(c.err, "");
}

TEST_F(Startup, ColonIsAValidOptionNotProgrammed) {
  Captured c = run({"a.bshort", "-:"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Valid option -- not yet programmed.\nProgram exiting.\n");
}

TEST_F(Startup, ValueMissingAtTheEndIsEmpty) {
  volume("a", 4, 4, 2, 3);
  Captured c = run({"a.bshort", "-o"});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(startup_options.ovl_name, "");
  c = run({"-i"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: no image files and no .zorview file\n");
  c = run({"a.bshort", "-z"});
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(startup_options.zoom_window, 0);
}

TEST_F(Startup, ModelOptionsReadTheirControlFilesAtOnce) {
  Captured c = run({"a.bshort", "-g", "model.txt"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: cannot open the file model.txt.\n");
  c = run({"a.bshort", "-t", "model.txt"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: cannot open file model.txt containing the time model\n");
  // The group, PET and fitting models read theirs the same way.
  for (const char *opt : {"-r", "-G", "-f"}) {
    c = run({"a.bshort", opt, "model.txt"});
    EXPECT_EQ(c.exit_status, 1) << opt;
    EXPECT_EQ(c.out, "Error: cannot open the file model.txt.\n") << opt;
  }
}

TEST_F(Startup, HelpOptionsShowTheHelpAndEndWell) {
  unsetenv("ZOR_HOME");
  const std::string no_home =
      "For help, quit and define the environment variable ZOR_HOME, and then re-start.\n";
  for (const char *opt : {"-h", "-H"}) {
    Captured c = run({opt, "-q"});
    EXPECT_EQ(c.exit_status, 0) << opt;
    EXPECT_EQ(c.out, no_home);
  }
  // With the help files: the start-up page.
  setenv("ZOR_HOME", ZOR_SOURCE_DIR, 1);
  std::ifstream page(std::string(ZOR_SOURCE_DIR) + "/documentation/zorview-startup.txt");
  std::stringstream text;
  text << page.rdbuf();
  ASSERT_FALSE(text.str().empty());
  Captured c = run({"-h"});
  EXPECT_EQ(c.exit_status, 0);
  EXPECT_EQ(c.out, "\n" + text.str());
  unsetenv("ZOR_HOME");
}

TEST_F(Startup, UsageNamesEveryOption) {
  const std::string usage = capture_output([] { print_usage(); }).out;
  for (char letter : std::string("AadDzZxXpPemoOwW3hHnNTSvVyYitGgrf"))
    EXPECT_NE(usage.find(std::string("-") + letter), std::string::npos) << letter;
  EXPECT_EQ(usage.rfind("Usage: zorview <image file> [optional arguments]\n", 0), 0u);
}

TEST_F(Startup, NoImageFilesIsAnError) {
  volume("m", 4, 4, 2, 1);
  Captured c = run({"-a", "m.bshort", "-v"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: no image files and no .zorview file\n");
}

TEST_F(Startup, VerboseHeaderReadPrintsTheSummaryOnce) {
  volume("a", 4, 4, 2, 3);
  Captured c = run({"-v", "a.bshort"});
  EXPECT_EQ(c.out, kSummary + loaded({"a.bshort"}));
}

TEST_F(Startup, BadHeaderEndsTheRun) {
  volume("a", 4, 4, 2, 3);
  Captured c = run({"a.bshort", "missing.bshort"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "voxels (4,4,2,3), res (1,1,1,0)\nError: cannot open vistrel file missing.hdr.\n");
  write("bad.hdr", "x 4\ny 4\nz 2\n");
  c = run({"-e", "bad.bshort", "a.bshort"});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: Value for t dimension not found in header file 'bad.hdr'\n");
}

TEST_F(Startup, MoreThanAHundredTokens) {
  volume("a", 4, 4, 2, 3);
  std::vector<std::string> args;
  for (int i = 0; i < 150; i++) args.push_back("a.bshort");
  for (int i = 0; i < 51; i++) args.push_back("-y");
  Captured c = run(args);
  EXPECT_EQ(c.exit_status, -1);
  EXPECT_EQ(names(&image_files).size(), 150u);
  EXPECT_EQ(startup_options.flip_X11_y, 0);
  EXPECT_EQ(c.out, loaded(std::vector<std::string>(150, "a.bshort")));
  EXPECT_EQ(image_stack.nt, 450);
}

TEST_F(Startup, TokensOfThousandsOfCharacters) {
  volume("a", 4, 4, 2, 3);
  const std::string long_name(5000, 'w');
  Captured c = run({"a.bshort", "-w", long_name, "-z", std::string(3000, '7')});
  // The wire list is read at start-up: a missing one is named in full.
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_NE(c.out.find("Error: cannot open the file " + long_name + ".\n"), std::string::npos);
  EXPECT_EQ(startup_options.wire_name, long_name);
  EXPECT_EQ(startup_options.zoom_window, 2147483647);
  c = run({"a.bshort", "-q" + std::string(4000, 'q')});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Option -q" + std::string(4000, 'q') + " not valid.\nProgram exiting.\n");
}

TEST_F(Startup, ImageNameTooLongForTheListIsRefused) {
  const std::string long_name(3000, 'i');
  Captured c = run({long_name});
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: the file name " + long_name + " is too long.\n");
}

TEST_F(Startup, MainCanRunAgainWithFreshState) {
  volume("a", 4, 4, 2, 3);
  Captured first = run({"a.bshort", "a.bshort", "-y"});
  Captured second = run({"a.bshort", "a.bshort", "-y"});
  EXPECT_EQ(first.out, second.out);
  EXPECT_EQ(names(&image_files).size(), 2u);
  EXPECT_EQ(startup_options.flip_X11_y, 0);
}

// ---- the file lists ----

TEST_F(Startup, AddImageFileFillsTheHeadFirst) {
  file_list head{};
  add_image_file(&head, "one.nii", 1, 2);
  EXPECT_STREQ(head.file_name, "one.nii");
  EXPECT_EQ(head.scale_log, 1);
  EXPECT_EQ(head.type, 2);
  EXPECT_EQ(head.next, nullptr);
  add_image_file(&head, "two.nii", 2, 3);
  add_image_file(&head, "three.nii", 0, 1);
  ASSERT_NE(head.next, nullptr);
  EXPECT_STREQ(head.next->file_name, "two.nii");
  EXPECT_EQ(head.next->scale_log, 2);
  EXPECT_EQ(head.next->type, 3);
  ASSERT_NE(head.next->next, nullptr);
  EXPECT_STREQ(head.next->next->file_name, "three.nii");
  EXPECT_EQ(head.next->next->next, nullptr);
  clear_file_list(&head);
  EXPECT_TRUE(file_list_is_empty(&head));
  EXPECT_EQ(head.next, nullptr);
}

TEST_F(Startup, AddImageFileReportsAFailedNode) {
  file_list head{};
  add_image_file(&head, "one.nii", 0, 0);
  auto saved = file_list_node_allocator;
  file_list_node_allocator = []() -> file_list * { return nullptr; };
  Captured c = capture_output([&] { add_image_file(&head, "two.nii", 0, 0); });
  file_list_node_allocator = saved;
  EXPECT_EQ(c.exit_status, 1);
  EXPECT_EQ(c.out, "Error: memory problem creating a new file structure in the list.\n");
  EXPECT_EQ(head.next, nullptr);
  clear_file_list(&head);
}

}  // namespace
