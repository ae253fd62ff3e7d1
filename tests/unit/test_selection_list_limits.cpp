#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"

namespace {

const int kGuard = 64;
const int kSentinel = -777777;

struct Result {
  int result;
  int number;
  std::string printed;
  bool guard_intact;
};

// The selection array is followed by a guard zone that must stay untouched.
Result decode_guarded(const std::string &list, int max_number) {
  std::vector<int> buffer(static_cast<size_t>(max_number + kGuard), kSentinel);
  Result r{0, -1, "", true};
  Captured c = capture_output(
      [&] { r.result = decode_selection_list(list.c_str(), max_number, 0, &r.number, buffer.data()); });
  r.printed = c.out;
  for (int i = max_number; i < max_number + kGuard; i++)
    if (buffer[static_cast<size_t>(i)] != kSentinel) r.guard_intact = false;
  return r;
}

TEST(SelectionListLimits, ThousandsOfEntriesStopAtTheLimit) {
  std::string list = "1";
  for (int i = 0; i < 5000; i++) list += ",1";
  Result r = decode_guarded(list, 10);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: invalid set\n");
  EXPECT_TRUE(r.guard_intact);
  EXPECT_LE(r.number, 10);
}

TEST(SelectionListLimits, ThousandsOfEntriesWithinTheLimitPass) {
  std::string list;
  for (int i = 0; i < 3000; i++) list += (i ? "," : "") + std::to_string(i % 7);
  Result r = decode_guarded(list, 3001);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.number, 3000);
  EXPECT_TRUE(r.guard_intact);
}

TEST(SelectionListLimits, HugeRangeStopsAtTheLimit) {
  Result r = decode_guarded("0-2000000000", 10);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: invalid set\n");
  EXPECT_TRUE(r.guard_intact);
  r = decode_guarded("5-99999999999999999999", 10);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: invalid set\n");
  EXPECT_TRUE(r.guard_intact);
}

TEST(SelectionListLimits, HugeNumberIsOutOfRange) {
  Result r = decode_guarded("3,99999999999999999999999", 10);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "The list contains a number which is out of range.");
  EXPECT_TRUE(r.guard_intact);
  r = decode_guarded("2147483647-2147483646", 10);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "The list contains a number which is out of range.");
}

TEST(SelectionListLimits, RangeThatWouldFillTheListFails) {
  Result r = decode_guarded("0,1,2,3,4,5,6,7,8-9", 10);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: invalid set\n");
  EXPECT_TRUE(r.guard_intact);
}

TEST(SelectionListLimits, TenthSingleEntryFails) {
  Result r = decode_guarded("0,1,2,3,4,5,6,7,8,9", 10);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: invalid set\n");
  EXPECT_TRUE(r.guard_intact);
}

TEST(SelectionListLimits, ListLongerThanALine) {
  std::string list;
  for (int i = 0; i < 600; i++) list += (i ? "," : "") + std::to_string(i);
  ASSERT_GT(list.size(), 1024u);
  Result r = decode_guarded(list, 601);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.number, 600);
  EXPECT_TRUE(r.guard_intact);
}

TEST(SelectionListLimits, TinyLimits) {
  Result r = decode_guarded("0", 1);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: invalid set\n");
  EXPECT_TRUE(r.guard_intact);
  r = decode_guarded("z", 0);
  EXPECT_EQ(r.result, 1);
  EXPECT_TRUE(r.guard_intact);
}

}  // namespace
