#include <sys/stat.h>

#include "overlay_fixture.h"

namespace {

using AtomicWrite = OverlayFiles;

TEST_F(AtomicWrite, CompleteWriteReplacesTheTarget) {
  write_text_file(dir, "out.txt", "old\n");
  atomic_file f;
  FILE *fp = atomic_file_open(&f, "out.txt");
  ASSERT_NE(fp, nullptr);
  fputs("new text\n", fp);
  // Until the commit the old content is what readers see.
  EXPECT_EQ(read_file("out.txt"), "old\n");
  EXPECT_EQ(folder_entries().size(), 2u);
  EXPECT_EQ(atomic_file_commit(&f), 0);
  EXPECT_EQ(read_file("out.txt"), "new text\n");
  EXPECT_EQ(folder_entries(), std::vector<std::string>{"out.txt"});
}

TEST_F(AtomicWrite, NewFileIsCreatedWithPlainPermissions) {
  mode_t mask = umask(022);
  atomic_file f;
  ASSERT_NE(atomic_file_open(&f, "fresh"), nullptr);
  fputs("x", f.stream);
  ASSERT_EQ(atomic_file_commit(&f), 0);
  umask(mask);
  struct stat st;
  ASSERT_EQ(stat("fresh", &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0644u);
}

TEST_F(AtomicWrite, ReplacedFileKeepsItsPermissions) {
  write_text_file(dir, "kept", "old");
  chmod("kept", 0600);
  atomic_file f;
  ASSERT_NE(atomic_file_open(&f, "kept"), nullptr);
  ASSERT_EQ(atomic_file_commit(&f), 0);
  struct stat st;
  ASSERT_EQ(stat("kept", &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
}

TEST_F(AtomicWrite, FailedWriteLeavesTheOldFileAndNoTemporary) {
  write_text_file(dir, "out.txt", "old\n");
  atomic_file_simulate_full_disk(1);
  atomic_file f;
  FILE *fp = atomic_file_open(&f, "out.txt");
  ASSERT_NE(fp, nullptr);
  // More than one buffer's worth, so writes fail half way as well.
  for (int i = 0; i < 10000; i++) fprintf(fp, "line %d\n", i);
  EXPECT_EQ(atomic_file_commit(&f), 1);
  EXPECT_EQ(read_file("out.txt"), "old\n");
  EXPECT_EQ(folder_entries(), std::vector<std::string>{"out.txt"});
}

TEST_F(AtomicWrite, AbandonedWriteLeavesTheOldFile) {
  write_text_file(dir, "out.txt", "old\n");
  atomic_file f;
  FILE *fp = atomic_file_open(&f, "out.txt");
  ASSERT_NE(fp, nullptr);
  fputs("half", fp);
  atomic_file_abandon(&f);
  EXPECT_EQ(read_file("out.txt"), "old\n");
  EXPECT_EQ(folder_entries(), std::vector<std::string>{"out.txt"});
}

TEST_F(AtomicWrite, TemporaryFileIsBesideATargetInAnotherFolder) {
  std::filesystem::create_directory(dir + "/sub");
  atomic_file f;
  ASSERT_NE(atomic_file_open(&f, "sub/t.ovl"), nullptr);
  EXPECT_EQ(f.temp_name.rfind("sub/t.ovl", 0), 0u);
  fputs("1 2 3\n", f.stream);
  ASSERT_EQ(atomic_file_commit(&f), 0);
  EXPECT_EQ(read_file("sub/t.ovl"), "1 2 3\n");
}

TEST_F(AtomicWrite, MissingFolderGivesNoStream) {
  atomic_file f;
  EXPECT_EQ(atomic_file_open(&f, "no/such/folder/x"), nullptr);
  EXPECT_EQ(f.stream, nullptr);
  EXPECT_EQ(atomic_file_commit(&f), 1);
}

}  // namespace
