#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

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

TEST(Text, WordsAreSplitAtEveryKindOfWhiteSpace) {
  using W = std::vector<std::string>;
  EXPECT_EQ(split_words(""), W{});
  EXPECT_EQ(split_words(" \t\r\n\v\f"), W{});
  EXPECT_EQ(split_words("a"), W{"a"});
  EXPECT_EQ(split_words("  motion\theart \r\n"), (W{"motion", "heart"}));
  EXPECT_EQ(split_words("1-2,3 \v 12\f-"), (W{"1-2,3", "12", "-"}));
  EXPECT_EQ(split_words("x\xe9y z"), (W{"x\xe9y", "z"}));  // bytes above 127 are no white space
}

TEST(Text, BlankLineHoldsOnlyWhiteSpace) {
  EXPECT_TRUE(is_blank_line(""));
  EXPECT_TRUE(is_blank_line("\n"));
  EXPECT_TRUE(is_blank_line(" \t\r\n"));
  EXPECT_TRUE(is_blank_line("\v\f"));
  EXPECT_FALSE(is_blank_line("  x\n"));
  EXPECT_FALSE(is_blank_line("-"));
  EXPECT_FALSE(is_blank_line("\xa0"));
  // The readers cut comments first, so a comment-only line arrives blank.
  FILE *fp = open_text("   # only a note\n");
  char line[1024];
  ASSERT_NE(get_line_with_comment(fp, line, 1024), nullptr);
  EXPECT_TRUE(is_blank_line(line));
  fclose(fp);
}

TEST(Text, EveryReaderSkipsTheSameBlankLines) {
  // A line of carriage return and vertical tab is blank for the native
  // header, the model's event file and the region list alike.
  const std::string dir = make_temp_dir();
  const std::string odd = " \r\v\n";
  write_text_file(dir, "a.hdr", "x 2\n" + odd + "y 2\nz 1\nt 1\nstorage-type short\n");
  XD_HEADER header;
  Captured c = capture_output([&] { EXPECT_EQ(read_volume_header(0, (dir + "/a.bshort").c_str(), &header), 0); });
  EXPECT_EQ(c.out, "");
  std::string events = write_text_file(dir, "e.glm", "2\n" + odd + "1\n0 4\n");
  GLM_engine_reset();
  int result = -1;
  c = capture_output([&] { result = GLM_read_event_file(events.data(), 0, 10); });
  EXPECT_EQ(result, 0) << c.out;
  EXPECT_EQ(GLM.nevents, 1);
  GLM_engine_reset();
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
