#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <functional>
#include <string>
#include <new>
#include <vector>

#include "test_support.h"
#include "zor.h"

namespace {

std::string fatal(const std::string &message) {
  return "Fatal Error:\n" + message + "\nProgram aborted.\n";
}

void expect_fatal(const std::function<void()> &call, const std::string &message) {
  Captured c = capture_output(call);
  EXPECT_EQ(c.exit_status, 1) << message;
  EXPECT_EQ(c.err, fatal(message));
  EXPECT_EQ(c.out, "");
}

// Negative counts. (Whether a count of INT_MAX wide elements fits depends
// on the machine: byte counts are 64-bit.)
template <typename F>
void expect_vector_failures(F allocate, const std::string &message) {
  expect_fatal([&] { allocate(-1); }, message);
  expect_fatal([&] { allocate(INT_MIN); }, message);
}

TEST(Allocators, AllocErrorWritesThreeLinesAndEndsWithOne) {
  expect_fatal([] { alloc_error("Something ran out."); }, "Something ran out.");
}

TEST(Allocators, VectorFailureMessages) {
  // INT_MAX bytes fit in 32 bits for one-byte elements; those are checked
  // with the negative counts only.
  expect_fatal([] { char_vector(-1); }, "Allocation error in char_vector().");
  expect_fatal([] { unsigned_char_vector(-5); }, "Allocation error in char_vector().");
  // Two-byte elements: INT_MAX of them still fit in 32 bits.
  expect_fatal([] { short_vector(-1); }, "Allocation error in short_vector().");
  expect_fatal([] { unsigned_short_vector(INT_MIN); }, "Allocation error in short_vector().");
  expect_vector_failures([](int n) { int_vector(n); }, "Allocation error in int_vector().");
  expect_vector_failures([](int n) { long_vector(n); }, "Allocation error in long_vector().");
  expect_vector_failures([](int n) { float_vector(n); }, "Allocation error in float_vector().");
  expect_vector_failures([](int n) { double_vector(n); }, "Allocation error in double_vector().");
  expect_vector_failures([](int n) { point2d_vector(n); },
                         "Allocation error in point2d_vector().");
  expect_vector_failures([](int n) { ipoint2d_vector(n); },
                         "Allocation error in ipoint2d_vector().");
  expect_vector_failures([](int n) { point3d_vector(n); },
                         "Allocation error in point3d_vector().");
  expect_vector_failures([](int n) { ipoint3d_vector(n); },
                         "Allocation error in ipoint3d_vector().");
  expect_vector_failures([](int n) { fcomplex_vector(n); },
                         "Allocation error in fcomplex_vector().");
  expect_vector_failures([](int n) { dcomplex_vector(n); },
                         "Allocation error in fcomplex_vector().");
  expect_vector_failures([](int n) { lcomplex_vector(n); },
                         "Allocation error in lcomplex_vector().");
  expect_vector_failures([](int n) { scomplex_vector(n); },
                         "Allocation error in scomplex_vector().");
}

TEST(Allocators, ByteCountsAreSixtyFourBit) {
  // Past 4 GiB: one float beyond what a 32-bit byte count describes. The
  // pages are never touched, so nothing is really taken.
  float *f = float_vector_long((INT64_C(1) << 30) + 1);
  ASSERT_NE(f, nullptr);
  free_float_vector(f);
  char *c = char_vector_long((INT64_C(1) << 32) + 3);
  ASSERT_NE(c, nullptr);
  free_char_vector(c);
  // Counts whose byte size does not fit 64 bits, or that are negative.
  expect_fatal([] { float_vector_long(-1); }, "Allocation error in float_vector().");
  expect_fatal([] { float_vector_long(INT64_MAX); }, "Allocation error in float_vector().");
  expect_fatal([] { char_vector_long(-1); }, "Allocation error in char_vector().");
}

TEST(Allocators, FailedNewEndsThroughAllocError) {
  // Far more than any machine has: operator new fails, and the program ends
  // with the allocators' message instead of an uncaught exception.
  std::new_handler handler = std::get_new_handler();
  ASSERT_NE(handler, nullptr);
  expect_fatal([&] { handler(); }, "Allocation error in operator new().");
#if !defined(__SANITIZE_ADDRESS__)  // the sanitizer's own allocator reports and aborts first
  expect_fatal(
      [] {
        std::vector<char> huge(size_t{1} << 50);
        huge[0] = 1;
      },
      "Allocation error in operator new().");
#endif
}

TEST(Allocators, MatrixTableAndRowFailures) {
  const struct {
    const char *name;
    std::function<void(int, int)> allocate;
  } families[] = {
      {"float_matrix", [](int r, int c) { float_matrix(r, c); }},
      {"double_matrix", [](int r, int c) { double_matrix(r, c); }},
      {"integer_matrix", [](int r, int c) { int_matrix(r, c); }},
      {"short_matrix", [](int r, int c) { short_matrix(r, c); }},
      {"long_matrix", [](int r, int c) { long_matrix(r, c); }},
      {"fcomplex_matrix", [](int r, int c) { fcomplex_matrix(r, c); }},
  };
  for (const auto &f : families) {
    const std::string name = f.name;
    expect_fatal([&] { f.allocate(-1, 4); }, "Allocation failure 1 in " + name + "().");
    expect_fatal([&] { f.allocate(INT_MIN, 4); }, "Allocation failure 1 in " + name + "().");
    expect_fatal([&] { f.allocate(1, -4); }, "Allocation failure 2 in " + name + "().");
    expect_fatal([&] { f.allocate(3, INT_MIN); }, "Allocation failure 2 in " + name + "().");
  }
}

TEST(Allocators, VectorsHoldTheirCount) {
  const int n = 1000;
  double *d = double_vector(n);
  for (int i = 0; i < n; i++) d[i] = i * 0.5;
  EXPECT_EQ(d[n - 1], (n - 1) * 0.5);
  free_double_vector(d);
  char *c = char_vector(0);  // an empty vector is still a valid pointer
  EXPECT_NE(c, nullptr);
  free_char_vector(c);
  float *f = float_vector_long(INT64_C(3) << 20);
  f[(3 << 20) - 1] = 2.0f;
  EXPECT_EQ(f[(3 << 20) - 1], 2.0f);
  free_float_vector(f);
}

TEST(Allocators, MatrixRowsAreSeparateAndWritable) {
  const int rows = 7, cols = 5;
  double **m = double_matrix(rows, cols);
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) m[i][j] = 10 * i + j;
  for (int i = 0; i < rows; i++)
    for (int j = 0; j < cols; j++) EXPECT_EQ(m[i][j], 10 * i + j);
  for (int i = 0; i + 1 < rows; i++) EXPECT_NE(m[i], m[i + 1]);
  free_double_matrix(m, rows, cols);
  FCOMPLEX **z = fcomplex_matrix(2, 3);
  z[1][2] = FCOMPLEX{1.0f, -1.0f};
  EXPECT_EQ(z[1][2].imag, -1.0f);
  free_fcomplex_matrix(z, 2, 3);
}

}  // namespace
