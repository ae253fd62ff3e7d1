#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"

namespace {

struct Decoded {
  int result;
  std::vector<int> values;
  std::string printed;
};

Decoded decode(const std::string &list, int max_number, int default_all = 0) {
  std::vector<int> selection(max_number > 0 ? max_number : 1, -12345);
  int number = -1;
  Decoded d{};
  Captured c = capture_output([&] {
    d.result = decode_selection_list(list.c_str(), max_number, default_all, &number, selection.data());
  });
  d.printed = c.out;
  d.values.assign(selection.begin(), selection.begin() + number);
  return d;
}

TEST(SelectionList, EmptyListWithDefaultAllSelectsEverything) {
  Decoded d = decode("", 10, 1);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values, (std::vector<int>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST(SelectionList, EmptyListWithoutDefaultSelectsNothing) {
  Decoded d = decode("", 10, 0);
  EXPECT_EQ(d.result, 0);
  EXPECT_TRUE(d.values.empty());
}

TEST(SelectionList, DescendingRangeKeepsItsOrder) {
  Decoded d = decode("3-1", 10);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values, (std::vector<int>{3, 2, 1}));
}

TEST(SelectionList, FullListFailsWithInvalidSet) {
  Decoded d = decode("0-9", 10);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.printed, "Error: invalid set\n");
}

TEST(SelectionList, OneShortOfFullPasses) {
  Decoded d = decode("0-8", 10);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values.size(), 9u);
}

TEST(SelectionList, LettersCountFromTheEnd) {
  Decoded d = decode("z,y,x,N,Y,X", 10);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values, (std::vector<int>{9, 8, 7, 9, 8, 7}));
}

TEST(SelectionList, NumberAtMaximumIsOutOfRange) {
  Decoded d = decode("10", 10);
  EXPECT_EQ(d.result, 1);
  EXPECT_EQ(d.printed, "The list contains a number which is out of range.");
}

TEST(SelectionList, LeadingDashStopsSilently) {
  Decoded d = decode("-5", 10);
  EXPECT_EQ(d.result, 0);
  EXPECT_TRUE(d.values.empty());
  EXPECT_EQ(d.printed, "");
}

TEST(SelectionList, ChainedRangesContinueFromTheirEnd) {
  Decoded d = decode("1-3-5", 10);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values, (std::vector<int>{1, 2, 3, 4, 5}));
}

TEST(SelectionList, DuplicatesAndOrderAreKept) {
  Decoded d = decode("5,0,3-4,5", 10);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values, (std::vector<int>{5, 0, 3, 4, 5}));
}

TEST(SelectionList, UndecodableTokenReturnsWhatCameBefore) {
  Decoded d = decode("1,2,abc,4", 10);
  EXPECT_EQ(d.result, 0);
  EXPECT_EQ(d.values, (std::vector<int>{1, 2}));
}

}  // namespace
