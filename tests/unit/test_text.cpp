#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "test_support.h"
#include "zor.h"

namespace {

FILE *open_text(const std::string &content) {
  std::string dir = make_temp_dir();
  std::string path = write_text_file(dir, "t.txt", content);
  return fopen(path.c_str(), "r");
}

TEST(Text, UpperCaseIsOnlyAToZ) {
  EXPECT_TRUE(is_upper_case('A'));
  EXPECT_TRUE(is_upper_case('Z'));
  EXPECT_FALSE(is_upper_case('a'));
  EXPECT_FALSE(is_upper_case('@'));
  EXPECT_FALSE(is_upper_case('['));
  EXPECT_FALSE(is_upper_case(0xC9));
}

TEST(Text, ToLowerCaseAddsThirtyTwoWithoutTesting) {
  EXPECT_EQ(to_lower_case('Q'), 'q');
  EXPECT_EQ(to_lower_case('1'), '1' + 32);
}

TEST(Text, ConvertToLowerLeavesAllButAToZ) {
  char s[] = "Run-01_[AZ]@x\xC9";
  convert_to_lower(s);
  EXPECT_STREQ(s, "run-01_[az]@x\xC9");
}

TEST(Text, NextNonWhiteSkipsBlanksAndTabsOnly) {
  char s[] = " \t \tword";
  EXPECT_STREQ(next_non_white(s), "word");
  char n[] = "  \n x";
  EXPECT_EQ(*next_non_white(n), '\n');
  char e[] = "   ";
  EXPECT_EQ(*next_non_white(e), '\0');
}

TEST(Text, GetLineKeepsTheNewline) {
  FILE *fp = open_text("first\nsecond");
  char buf[1024];
  ASSERT_NE(get_line(fp, buf, 1024), nullptr);
  EXPECT_STREQ(buf, "first\n");
  ASSERT_EQ(get_line(fp, buf, 1024), buf);
  EXPECT_STREQ(buf, "second");
  EXPECT_EQ(get_line(fp, buf, 1024), nullptr);
  fclose(fp);
}

TEST(Text, LineOf2000CharactersArrivesInTwoPieces) {
  std::string line;
  for (int i = 0; i < 2000; i++) line += static_cast<char>('a' + i % 26);
  FILE *fp = open_text(line + "\nnext\n");
  char buf[1024];
  ASSERT_NE(get_line(fp, buf, 1024), nullptr);
  EXPECT_EQ(std::string(buf), line.substr(0, 1023));
  ASSERT_NE(get_line(fp, buf, 1024), nullptr);
  EXPECT_EQ(std::string(buf), line.substr(1023) + "\n");
  ASSERT_NE(get_line(fp, buf, 1024), nullptr);
  EXPECT_STREQ(buf, "next\n");
  fclose(fp);
}

TEST(Text, SizeArgumentIsIgnored) {
  FILE *fp = open_text(std::string(50, 'x') + "\n");
  char buf[1024];
  ASSERT_NE(get_line(fp, buf, 8), nullptr);
  EXPECT_EQ(strlen(buf), 51u);
  fclose(fp);
}

TEST(Text, CommentEndsTheLine) {
  FILE *fp = open_text("x 4 # columns\n# only a comment\n   # indented\nplain\n");
  char buf[1024];
  ASSERT_NE(get_line_with_comment(fp, buf, 1024), nullptr);
  EXPECT_STREQ(buf, "x 4 ");
  ASSERT_NE(get_line_with_comment(fp, buf, 1024), nullptr);
  EXPECT_STREQ(buf, "");  // not the end of the file
  ASSERT_NE(get_line_with_comment(fp, buf, 1024), nullptr);
  EXPECT_STREQ(buf, "   ");
  ASSERT_NE(get_line_with_comment(fp, buf, 1024), nullptr);
  EXPECT_STREQ(buf, "plain\n");
  EXPECT_EQ(get_line_with_comment(fp, buf, 1024), nullptr);
  fclose(fp);
}

TEST(Text, CommentMarkInsideQuotesStillCuts) {
  FILE *fp = open_text("title \"run #3 of 4\" done\n");
  char buf[1024];
  ASSERT_NE(get_line_with_comment(fp, buf, 1024), nullptr);
  EXPECT_STREQ(buf, "title \"run ");
  fclose(fp);
}

TEST(Text, CommentBeyondTheLineLimitCutsTheSecondPiece) {
  FILE *fp = open_text(std::string(1100, 'a') + "#tail\n");
  char buf[1024];
  ASSERT_NE(get_line_with_comment(fp, buf, 1024), nullptr);
  EXPECT_EQ(strlen(buf), 1023u);
  ASSERT_NE(get_line_with_comment(fp, buf, 1024), nullptr);
  EXPECT_EQ(std::string(buf), std::string(77, 'a'));
  fclose(fp);
}

}  // namespace
