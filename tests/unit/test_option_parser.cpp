#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "zor.h"

namespace {

struct Args {
  std::vector<std::string> words;
  std::vector<char *> argv;
  explicit Args(std::vector<std::string> w) : words(std::move(w)) {
    for (auto &s : words) argv.push_back(s.data());
    argv.push_back(nullptr);
  }
  int argc() const { return static_cast<int>(words.size()); }
};

const char kOptions[] = "A:a:d:D:z:Z:x:X:p:P:e:m:o:O:w:W:3hHnNTSvVyYi:t:G:g:r:f:";

class OptionParser : public ::testing::Test {
 protected:
  void SetUp() override { my_getopt_reset(); }
  void TearDown() override { my_getopt_reset(); }
};

TEST_F(OptionParser, EndOfListReturnsZero) {
  Args a({"zorview"});
  int which = -7;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 0);
  EXPECT_EQ(which, -7);
}

TEST_F(OptionParser, BareWordIsAnImageFile) {
  Args a({"zorview", "run1.nii", "run2.nii"});
  int which = 0;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'i');
  EXPECT_EQ(which, 1);
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'i');
  EXPECT_EQ(which, 2);
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 0);
}

TEST_F(OptionParser, OptionWithValueStandsOnTheValue) {
  Args a({"zorview", "-a", "map.nii", "-v", "img.nii"});
  int which = 0;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'a');
  EXPECT_EQ(which, 2);
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'v');
  EXPECT_EQ(which, 3);  // an option without a value points at itself
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'i');
  EXPECT_EQ(which, 4);
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 0);
}

TEST_F(OptionParser, OnlyTheSecondCharacterCounts) {
  Args a({"zorview", "-verbose", "-abc", "file"});
  int which = 0;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'v');
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'a');
  EXPECT_EQ(which, 3);
}

TEST_F(OptionParser, UnknownOptionKeepsThePosition) {
  Args a({"zorview", "-M", "4"});
  int which = 0;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), -1);
  EXPECT_EQ(which, 1);
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), -1);
  EXPECT_EQ(which, 1);
}

TEST_F(OptionParser, LoneDashIsUnknown) {
  Args a({"zorview", "-"});
  int which = 0;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), -1);
  EXPECT_EQ(which, 1);
}

TEST_F(OptionParser, ColonMatchesLikeAnyCharacter) {
  Args a({"zorview", "-:", "x"});
  int which = 0;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), ':');
  EXPECT_EQ(which, 1);  // the ':' after 'A' is followed by 'a', not ':'
  my_getopt_reset();
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), "q::", &which), ':');
  EXPECT_EQ(which, 2);  // here the matched ':' is followed by ':', so a value comes
}

TEST_F(OptionParser, MissingValueAtTheEndGivesArgc) {
  Args a({"zorview", "img", "-o"});
  int which = 0;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'i');
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 'o');
  EXPECT_EQ(which, a.argc());
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 0);
}

TEST_F(OptionParser, PositionPersistsUntilReset) {
  Args a({"zorview", "-3"});
  int which = 0;
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), '3');
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 0);
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), 0);
  my_getopt_reset();
  EXPECT_EQ(my_getopt(a.argc(), a.argv.data(), kOptions, &which), '3');
  EXPECT_EQ(which, 1);
}

}  // namespace
