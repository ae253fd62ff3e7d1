#include <cstdint>

#include "overlay_fixture.h"

namespace {

struct Result {
  int value;
  std::string out;
};

using TractFile = OverlayFiles;

std::string write_words(const std::string &dir, const std::vector<int32_t> &w) {
  return write_binary_file(dir, "t.trk", w.data(), w.size() * sizeof(int32_t));
}

Result read_tracts(const std::string &path) {
  Result r{};
  Captured c = capture_output([&] { r.value = read_DTI_tract_file(path.c_str()); });
  EXPECT_EQ(c.exit_status, -1);
  r.out = c.out;
  return r;
}

// The walk over the stored words that marks the voxels of each tract: from
// word 3 to length_array, a length then that many indices. Returns the
// tracts met and fails the test on any word outside the array.
int walk(std::vector<int> *lengths) {
  int k = 3, tracts = 0;
  while (k < DTI_tracts.length_array) {
    int L = DTI_tracts.array[k++];
    EXPECT_LE(k + L, DTI_tracts.length_array);
    for (int i = 0; i < L && k < DTI_tracts.length_array; i++, k++) {
      EXPECT_GE(DTI_tracts.array[k], 0);
      EXPECT_LT(DTI_tracts.array[k], 24);
    }
    lengths->push_back(L);
    tracts++;
  }
  return tracts;
}

TEST_F(TractFile, ThreeTractsAreCountedAsFour) {
  std::vector<int32_t> w = {4, 3, 2, 2, 0, 1, 3, 5, 6, 7, 1, 23};
  Result r = read_tracts(write_words(dir, w));
  EXPECT_EQ(r.value, 0);
  // 12 words in the file, and 1 + 1 more for the tract counted past the end.
  EXPECT_EQ(r.out, "volume dimensions: 4 x 3 x 2\ntracts = 4, words = 14\n");
  EXPECT_EQ(DTI_tracts.ntracts, 4);
  EXPECT_EQ(DTI_tracts.length_array, 14);
  EXPECT_EQ(DTI_tracts.dim.x, 4);
  EXPECT_EQ(DTI_tracts.dim.y, 3);
  EXPECT_EQ(DTI_tracts.dim.z, 2);
  for (size_t i = 0; i < w.size(); i++) EXPECT_EQ(DTI_tracts.array[i], w[i]) << i;
  EXPECT_EQ(DTI_tracts.array[12], 0);
  EXPECT_EQ(DTI_tracts.array[13], 0);
  std::vector<int> lengths;
  EXPECT_EQ(walk(&lengths), 5);
  EXPECT_EQ(lengths, (std::vector<int>{2, 3, 1, 0, 0}));
}

TEST_F(TractFile, StaleLengthOfTheLastTractIsAddedAgain) {
  std::vector<int32_t> w = {4, 3, 2, 5, 0, 1, 2, 3, 4};
  Result r = read_tracts(write_words(dir, w));
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "volume dimensions: 4 x 3 x 2\ntracts = 2, words = 15\n");
  for (int i = 9; i < 15; i++) EXPECT_EQ(DTI_tracts.array[i], 0);
  std::vector<int> lengths;
  walk(&lengths);
  EXPECT_EQ(lengths.front(), 5);
}

TEST_F(TractFile, FileOfOnlyDimensionsCountsOneEmptyTract) {
  Result r = read_tracts(write_words(dir, {4, 3, 2}));
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "volume dimensions: 4 x 3 x 2\ntracts = 1, words = 4\n");
  EXPECT_EQ(DTI_tracts.array[3], 0);
}

TEST_F(TractFile, LengthOf2999Loads) {
  mosaic.stack = nullptr;  // tract volume of 3000 voxels, no image bound
  std::vector<int32_t> w = {10, 10, 30, 2999};
  for (int i = 0; i < 2999; i++) w.push_back(i);
  Result r = read_tracts(write_words(dir, w));
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "volume dimensions: 10 x 10 x 30\ntracts = 2, words = 6003\n");
  EXPECT_EQ(DTI_tracts.array[3 + 2999], 2998);
}

TEST_F(TractFile, LengthOf3000Fails) {
  mosaic.stack = nullptr;
  std::vector<int32_t> w = {10, 10, 30, 3000};
  for (int i = 0; i < 3000; i++) w.push_back(i);
  Result r = read_tracts(write_words(dir, w));
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out,
            "volume dimensions: 10 x 10 x 30\n"
            "Error: increase the dimension for the tract length to > 3000\n");
  EXPECT_EQ(DTI_tracts.array, nullptr);
}

TEST_F(TractFile, AbsurdLengthIsRefusedBeforeAnythingIsRead) {
  Result r = read_tracts(write_words(dir, {4, 3, 2, 2000000000, 1}));
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out,
            "volume dimensions: 4 x 3 x 2\n"
            "Error: increase the dimension for the tract length to > 2000000000\n");
}

TEST_F(TractFile, NegativeLengthIsRefused) {
  std::string path = write_words(dir, {4, 3, 2, 1, 5, -7, 1});
  Result r = read_tracts(path);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "volume dimensions: 4 x 3 x 2\nError: tract 1 in file " + path +
                       " has a negative length (-7)\n");
}

TEST_F(TractFile, IndexAtTheVolumeSizeIsOutOfBounds) {
  Result r = read_tracts(write_words(dir, {4, 3, 2, 1, 5, 2, 23, 24}));
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out,
            "volume dimensions: 4 x 3 x 2\n\nError: voxel index 24 in tract 1 is out of bounds\n");
}

TEST_F(TractFile, NegativeIndexIsOutOfBounds) {
  Result r = read_tracts(write_words(dir, {4, 3, 2, 2, -1, 0}));
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out,
            "volume dimensions: 4 x 3 x 2\n\nError: voxel index -1 in tract 0 is out of bounds\n");
}

TEST_F(TractFile, IndexOutsideTheShownImageIsRefusedEvenInsideTheTractVolume) {
  // The tract volume is larger than the 24-voxel image.
  Result r = read_tracts(write_words(dir, {8, 8, 8, 2, 3, 100}));
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out,
            "volume dimensions: 8 x 8 x 8\n\nError: voxel index 100 in tract 0 is out of bounds\n");
}

TEST_F(TractFile, DimensionsNeedNotMatchTheImage) {
  Result r = read_tracts(write_words(dir, {8, 8, 8, 2, 3, 20}));
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(DTI_tracts.dim.x, 8);
}

TEST_F(TractFile, NegativeDimensionsLeaveNoValidIndex) {
  mosaic.stack = nullptr;
  Result r = read_tracts(write_words(dir, {-2, -2, 1, 1, 0}));
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out,
            "volume dimensions: -2 x -2 x 1\n\nError: voxel index 0 in tract 0 is out of bounds\n");
}

TEST_F(TractFile, JunkDimensionsDoNotOverflowTheIndexBound) {
  // 2^90 voxels: the bound is the image's (or 2^31 without one), not a wrapped product.
  Result r = read_tracts(write_words(dir, {1 << 30, 1 << 30, 1 << 30, 1, 5}));
  EXPECT_EQ(r.value, 0) << r.out;
  mosaic.stack = nullptr;
  r = read_tracts(write_words(dir, {1 << 30, 1 << 30, 1 << 30, 2, 5, 2000000000}));
  EXPECT_EQ(r.value, 0) << r.out;
  EXPECT_EQ(DTI_tracts.array[5], 2000000000);
}

TEST_F(TractFile, DeviceIsNoTractFile) {
  // /dev/zero would feed words for ever.
  ChildRun run = run_in_child([] { return read_DTI_tract_file("/dev/zero"); }, 20, size_t{1} << 30);
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exit_status, -1);
  EXPECT_EQ(run.result, 1);
  EXPECT_EQ(run.out, "Error: cannot open the DTI tract file /dev/zero\n");
}

TEST_F(TractFile, FileWithMoreWordsThanAnIntCountsIsRefusedBeforeReading) {
  std::string path = write_words(dir, {4, 3, 2, 1, 5});
  // A sparse file of 2^31 words: nothing of it may be read into memory.
  ASSERT_EQ(truncate(path.c_str(), (INT64_C(1) << 31) * 4), 0);
  ChildRun run = run_in_child([&] { return read_DTI_tract_file(path.c_str()); }, 20, size_t{1} << 30);
  ASSERT_TRUE(run.finished);
  EXPECT_EQ(run.exit_status, -1);
  EXPECT_EQ(run.result, 1);
  EXPECT_EQ(run.out, "volume dimensions: 4 x 3 x 2\nError: the DTI tract file " + path + " is too large\n");
}

TEST_F(TractFile, TruncatedLastTractIsPaddedWithZeros) {
  std::vector<int32_t> w = {4, 3, 2, 1, 7, 4, 9, 10};
  Result r = read_tracts(write_words(dir, w));
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "volume dimensions: 4 x 3 x 2\ntracts = 2, words = 10\n");
  EXPECT_EQ(DTI_tracts.array[7], 10);
  EXPECT_EQ(DTI_tracts.array[8], 0);
  EXPECT_EQ(DTI_tracts.array[9], 0);
  std::vector<int> lengths;
  EXPECT_EQ(walk(&lengths), 2);
}

TEST_F(TractFile, PartialTrailingWordIsIgnored) {
  std::vector<int32_t> w = {4, 3, 2, 1, 7};
  std::string bytes(reinterpret_cast<const char *>(w.data()), w.size() * 4);
  bytes += "\x01\x02";
  std::string path = write_text_file(dir, "t.trk", bytes);
  Result r = read_tracts(path);
  EXPECT_EQ(r.value, 0);
  EXPECT_EQ(r.out, "volume dimensions: 4 x 3 x 2\ntracts = 2, words = 7\n");
  EXPECT_EQ(DTI_tracts.array[5], 0);
}

TEST_F(TractFile, ShortHeaderIsReported) {
  std::string path = write_words(dir, {4, 3});
  Result r = read_tracts(path);
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error on 1st read from file " + path + "\n");
}

TEST_F(TractFile, MissingFileIsReported) {
  Result r = read_tracts("no-such.trk");
  EXPECT_EQ(r.value, 1);
  EXPECT_EQ(r.out, "Error: cannot open the DTI tract file no-such.trk\n");
}

TEST_F(TractFile, SecondReadReplacesTheFirst) {
  ASSERT_EQ(read_tracts(write_words(dir, {4, 3, 2, 1, 7})).value, 0);
  ASSERT_EQ(read_tracts(write_words(dir, {4, 3, 2, 2, 1, 2, 1, 3})).value, 0);
  EXPECT_EQ(DTI_tracts.ntracts, 3);
  EXPECT_EQ(DTI_tracts.length_array, 10);
  EXPECT_EQ(DTI_tracts.array[4], 1);
}

}  // namespace
