#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "test_support.h"
#include "zor.h"

namespace {

XD_HEADER fresh_header() {
  XD_HEADER h;
  memset(&h, 0, sizeof h);
  h.resolution = POINT3D{1, 1, 1};
  h.direction = POINT3D{1, 1, 1};
  return h;
}

struct Decoded {
  int result;
  std::string printed;
};

Decoded decode(const std::string &line, XD_HEADER *h) {
  std::string copy = line;
  Decoded d{0, ""};
  Captured c = capture_output([&] { d.result = decode_vistrel_header_keyword(copy.data(), h); });
  d.printed = c.out;
  return d;
}

TEST(NativeKeywords, DimensionsOneByOne) {
  XD_HEADER h = fresh_header();
  EXPECT_EQ(decode("x 64\n", &h).result, 0);
  EXPECT_EQ(decode("  y\t32\n", &h).result, 0);
  EXPECT_EQ(decode("z 8", &h).result, 0);
  EXPECT_EQ(decode("t 120\n", &h).result, 0);
  EXPECT_EQ(h.dim.x, 64);
  EXPECT_EQ(h.dim.y, 32);
  EXPECT_EQ(h.dim.z, 8);
  EXPECT_EQ(h.nt, 120);
}

TEST(NativeKeywords, MatrixWithFourValuesSetsTime) {
  XD_HEADER h = fresh_header();
  EXPECT_EQ(decode("matrix 4 5 6 7\n", &h).result, 0);
  EXPECT_EQ(h.dim.x, 4);
  EXPECT_EQ(h.dim.y, 5);
  EXPECT_EQ(h.dim.z, 6);
  EXPECT_EQ(h.nt, 7);
}

TEST(NativeKeywords, MatrixWithThreeValuesLeavesTime) {
  XD_HEADER h = fresh_header();
  EXPECT_EQ(decode("matrix 4 5 6\n", &h).result, 0);
  EXPECT_EQ(h.dim.z, 6);
  EXPECT_EQ(h.nt, 0);
}

TEST(NativeKeywords, MatrixWithTwoValuesIsAnError) {
  XD_HEADER h = fresh_header();
  Decoded d = decode("matrix 4 5\n", &h);
  EXPECT_GT(d.result, 0);
  EXPECT_EQ(d.printed, "");
}

TEST(NativeKeywords, ByteOrderAndDegreesOfFreedom) {
  XD_HEADER h = fresh_header();
  h.byte_order = 1;
  EXPECT_EQ(decode("byte-order 0\n", &h).result, 0);
  EXPECT_EQ(h.byte_order, 0);
  EXPECT_EQ(decode("degrees-of-freedom 37\n", &h).result, 0);
  EXPECT_EQ(h.lDOF, 37);
}

TEST(NativeKeywords, ResolutionWithFourValues) {
  XD_HEADER h = fresh_header();
  EXPECT_EQ(decode("resolution 3.125 3.125 5 2.5\n", &h).result, 0);
  EXPECT_FLOAT_EQ(h.resolution.x, 3.125f);
  EXPECT_FLOAT_EQ(h.resolution.z, 5.0f);
  EXPECT_FLOAT_EQ(h.resolution_t, 2.5f);
}

TEST(NativeKeywords, ResolutionWithThreeValuesClearsTimeStep) {
  XD_HEADER h = fresh_header();
  h.resolution_t = 2.0f;
  EXPECT_EQ(decode("resolution 2 2 4\n", &h).result, 0);
  EXPECT_FLOAT_EQ(h.resolution.y, 2.0f);
  EXPECT_EQ(h.resolution_t, 0.0f);
}

TEST(NativeKeywords, Origin) {
  XD_HEADER h = fresh_header();
  EXPECT_EQ(decode("origin -90 -126.5 72\n", &h).result, 0);
  EXPECT_FLOAT_EQ(h.origin.x, -90.0f);
  EXPECT_FLOAT_EQ(h.origin.y, -126.5f);
  EXPECT_FLOAT_EQ(h.origin.z, 72.0f);
  EXPECT_GT(decode("origin 1 2\n", &h).result, 0);
}

TEST(NativeKeywords, DirectionOfUnitValues) {
  XD_HEADER h = fresh_header();
  EXPECT_EQ(decode("direction 1 -1 -1\n", &h).result, 0);
  EXPECT_EQ(h.direction.x, 1.0f);
  EXPECT_EQ(h.direction.y, -1.0f);
  EXPECT_EQ(h.direction.z, -1.0f);
}

TEST(NativeKeywords, DirectionOtherThanUnitIsRefused) {
  XD_HEADER h = fresh_header();
  Decoded d = decode("direction 1 -1 2\n", &h);
  EXPECT_GT(d.result, 0);
  EXPECT_EQ(d.printed, "Error: allowed values for direction (1,-1,2) are 1 and -1.\n");
  d = decode("direction 1 0.5 1\n", &h);
  EXPECT_EQ(d.printed, "Error: allowed values for direction (1,0.5,1) are 1 and -1.\n");
}

TEST(NativeKeywords, ZeroDirectionIsRefused) {
  XD_HEADER h = fresh_header();
  Decoded d = decode("direction 0 1 1\n", &h);
  EXPECT_GT(d.result, 0);
  EXPECT_EQ(d.printed, "Error: allowed values for direction (0,1,1) are 1 and -1.\n");
  EXPECT_EQ(h.direction.x, 1.0f);
}

TEST(NativeKeywords, IntegersAreReadAsTheCScannersReadThem) {
  XD_HEADER h = fresh_header();
  EXPECT_EQ(decode("x 4.7\n", &h).result, 0);
  EXPECT_EQ(h.dim.x, 4);
  EXPECT_EQ(decode("y +12abc\n", &h).result, 0);
  EXPECT_EQ(h.dim.y, 12);
}

TEST(NativeKeywords, DataTypeWords) {
  XD_HEADER h = fresh_header();
  EXPECT_EQ(decode("data-type complex\n", &h).result, 0);
  EXPECT_EQ(h.data_type, 1);
  EXPECT_EQ(decode("data-type real-imaginary\n", &h).result, 0);
  EXPECT_EQ(h.data_type, 1);
  EXPECT_EQ(decode("data-type magnitude-phase\n", &h).result, 0);
  EXPECT_EQ(h.data_type, 2);
  EXPECT_EQ(decode("data-type vector\n", &h).result, 0);
  EXPECT_EQ(h.data_type, 3);
  EXPECT_EQ(decode("data-type magnitude\n", &h).result, 0);
  EXPECT_EQ(h.data_type, 0);
}

TEST(NativeKeywords, UnknownDataTypeListsTheChoices) {
  XD_HEADER h = fresh_header();
  Decoded d = decode("data-type phase\n", &h);
  EXPECT_GT(d.result, 0);
  EXPECT_EQ(d.printed,
            "Error: arguments for data-type are\n"
            "1) magnitude (this is the default),\n"
            "2) complex (or real-imaginary),\n"
            "3) magnitude-phase\n");
}

TEST(NativeKeywords, StorageTypeWords) {
  XD_HEADER h = fresh_header();
  const std::pair<const char *, int> cases[] = {{"short", BSHORT},
                                                {"float", BFLOAT},
                                                {"long", BLONG},
                                                {"unsigned-short", USHORT},
                                                {"unsigned-char", UINT8}};
  for (const auto &c : cases) {
    EXPECT_EQ(decode(std::string("storage-type ") + c.first + "\n", &h).result, 0) << c.first;
    EXPECT_EQ(h.storage_type, c.second) << c.first;
  }
}

TEST(NativeKeywords, UnknownStorageTypeListsTheChoices) {
  XD_HEADER h = fresh_header();
  Decoded d = decode("storage-type double\n", &h);
  EXPECT_GT(d.result, 0);
  EXPECT_EQ(d.printed,
            "Error: arguments for storage-type are ...\n"
            "    short, float, long, unsigned-short, unsigned-char\n");
}

TEST(NativeKeywords, RegistrationWordsResetTheDataType) {
  XD_HEADER h = fresh_header();
  h.data_type = 2;
  EXPECT_EQ(decode("registration paxinos-rat\n", &h).result, 0);
  EXPECT_EQ(h.registration, REG_PW_RAT_OLD);
  EXPECT_EQ(h.data_type, 0);
  h.data_type = 1;
  EXPECT_EQ(decode("registration PW-rat\n", &h).result, 0);
  EXPECT_EQ(h.registration, REG_PW_RAT);
  EXPECT_EQ(h.data_type, 0);
}

TEST(NativeKeywords, DataTypeAfterRegistrationSurvives) {
  XD_HEADER h = fresh_header();
  decode("registration PW-rat\n", &h);
  decode("data-type complex\n", &h);
  EXPECT_EQ(h.data_type, 1);
}

TEST(NativeKeywords, UnknownRegistrationListsTheChoices) {
  XD_HEADER h = fresh_header();
  Decoded d = decode("registration paxinos-monkey\n", &h);
  EXPECT_GT(d.result, 0);
  EXPECT_EQ(d.printed,
            "Error: arguments for registration are\n"
            "1) paxinos-rat, and\n"
            "2) nothing else (paxinos-monkey later?)\n");
}

TEST(NativeKeywords, InfoWordsEndTheKeywords) {
  for (const char *w : {"info", "info:", "information", "information:"}) {
    XD_HEADER h = fresh_header();
    EXPECT_EQ(decode(std::string(w) + " scanner 3T, session 2\n", &h).result, -1) << w;
  }
}

TEST(NativeKeywords, KeywordsAreCaseSensitive) {
  XD_HEADER h = fresh_header();
  EXPECT_GT(decode("X 64\n", &h).result, 0);
  EXPECT_GT(decode("Info\n", &h).result, 0);
  EXPECT_EQ(h.dim.x, 0);
}

TEST(NativeKeywords, UnknownKeywordOrBadValueIsASilentError) {
  XD_HEADER h = fresh_header();
  for (const char *line : {"colour red\n", "x\n", "x sixty\n", "resolution a b c\n",
                           "data-type\n", "t 99999999999\n", "byte-order -\n"}) {
    Decoded d = decode(line, &h);
    EXPECT_GT(d.result, 0) << line;
    EXPECT_EQ(d.printed, "") << line;
  }
  EXPECT_EQ(h.dim.x, 0);
  EXPECT_EQ(h.nt, 0);
}

TEST(NativeKeywords, InfiniteOrNanValuesDoNotScan) {
  XD_HEADER h = fresh_header();
  EXPECT_GT(decode("resolution inf 1 1\n", &h).result, 0);
  EXPECT_GT(decode("origin nan 0 0\n", &h).result, 0);
  EXPECT_EQ(h.resolution.x, 1.0f);
}

// ---- whole header files ----

struct Read {
  int result;
  std::string printed;
  XD_HEADER header;
};

Read read_header_file(const std::string &dir, const std::string &data_name,
                      const std::string &header_name, const std::string &content) {
  write_text_file(dir, header_name, content);
  Read r{};
  r.header = fresh_header();
  const std::string path = dir + "/" + data_name;
  Captured c = capture_output([&] { r.result = read_vistrel_header(path.c_str(), &r.header); });
  r.printed = c.out;
  return r;
}

TEST(NativeHeaderFile, FourDimensionLinesMakeACompleteHeader) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "run.bshort", "run.hdr", "x 4\ny 3\nz 2\nt 5\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.printed, "");
  EXPECT_EQ(r.header.dim.x, 4);
  EXPECT_EQ(r.header.nt, 5);
  EXPECT_EQ(r.header.file_type, BSHORT);
  EXPECT_EQ(r.header.ijk_to_xyz.m[0][0], 1.0f);
  EXPECT_EQ(r.header.ijk_to_xyz.m[3][3], 1.0f);
}

TEST(NativeHeaderFile, TransformFollowsResolutionOriginDirection) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bfloat", "a.hdr",
                            "x 4\ny 4\nz 4\nt 1\nresolution 2 3 4\norigin 10 20 30\n"
                            "direction 1 -1 -1\n");
  ASSERT_EQ(r.result, 0);
  const mat44 &m = r.header.ijk_to_xyz;
  EXPECT_EQ(m.m[0][0], 2.0f);
  EXPECT_EQ(m.m[1][1], -3.0f);
  EXPECT_EQ(m.m[2][2], -4.0f);
  EXPECT_EQ(m.m[0][3], 10.0f);
  EXPECT_EQ(m.m[1][3], 20.0f);
  EXPECT_EQ(m.m[2][3], 30.0f);
  EXPECT_EQ(m.m[0][1], 0.0f);
}

TEST(NativeHeaderFile, MissingFileIsReported) {
  std::string dir = make_temp_dir();
  XD_HEADER h = fresh_header();
  const std::string path = dir + "/none.bshort";
  int result = 0;
  Captured c = capture_output([&] { result = read_vistrel_header(path.c_str(), &h); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: cannot open vistrel file " + dir + "/none.hdr.\n");
}

TEST(NativeHeaderFile, ADirectoryIsNoHeader) {
  std::string dir = make_temp_dir();
  std::filesystem::create_directory(dir + "/d.hdr");
  XD_HEADER h = fresh_header();
  const std::string path = dir + "/d.bshort";
  int result = 0;
  Captured c = capture_output([&] { result = read_vistrel_header(path.c_str(), &h); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: cannot open vistrel file " + dir + "/d.hdr.\n");
}

TEST(NativeHeaderFile, ADeviceIsNoHeader) {
  std::string dir = make_temp_dir();
  std::filesystem::create_symlink("/dev/zero", dir + "/z.hdr");
  XD_HEADER h = fresh_header();
  const std::string path = dir + "/z.bshort";
  int result = 0;
  Captured c = capture_output([&] { result = read_vistrel_header(path.c_str(), &h); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: cannot open vistrel file " + dir + "/z.hdr.\n");
}

TEST(NativeHeaderFile, APipeIsNoHeader) {
  std::string dir = make_temp_dir();
  ASSERT_EQ(mkfifo((dir + "/p.hdr").c_str(), 0600), 0);
  XD_HEADER h = fresh_header();
  const std::string path = dir + "/p.bshort";
  int result = 0;
  Captured c = capture_output([&] { result = read_vistrel_header(path.c_str(), &h); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: cannot open vistrel file " + dir + "/p.hdr.\n");
}

TEST(NativeHeaderFile, OldLayoutFirstLineOfFourIntegersIsAccepted) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "64 64 20 1\nx 4\ny 4\nz 2\nt 3\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.header.dim.x, 4);  // the four values themselves are ignored
  EXPECT_EQ(r.header.nt, 3);
}

TEST(NativeHeaderFile, FirstLineOfInfoIsRefused) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "info\nx 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error reading the 1st line of the vsl header file '" + dir + "/a.hdr'.\n");
}

TEST(NativeHeaderFile, FirstLineOfThreeIntegersIsRefused) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "64 64 20\nx 4\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error reading the 1st line of the vsl header file '" + dir + "/a.hdr'.\n");
}

TEST(NativeHeaderFile, DecoderMessageComesBeforeTheFirstLineMessage) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "storage-type double\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed,
            "Error: arguments for storage-type are ...\n"
            "    short, float, long, unsigned-short, unsigned-char\n"
            "Error reading the 1st line of the vsl header file '" + dir + "/a.hdr'.\n");
}

TEST(NativeHeaderFile, LineNumbersCountFromTheSecondKeywordLine) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "x 4\nbogus 1\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error reading line 1 of file '" + dir + "/a.hdr'\n");

  r = read_header_file(dir, "a.bshort", "a.hdr", "x 4\n\n# note\ny 4\n   \nz 2\nt\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error reading line 3 of file '" + dir + "/a.hdr'\n");
}

TEST(NativeHeaderFile, CarriageReturnsAreWhiteSpace) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr",
                            "x 4\r\ny 4\r\nz 2\r\nt 3\r\nstorage-type float\r\n");
  EXPECT_EQ(r.result, 0) << r.printed;
  EXPECT_EQ(r.header.storage_type, BFLOAT);
}

TEST(NativeHeaderFile, BlankFirstLineIsSkipped) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "\nx 4\ny 4\nz 2\nt 3\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.header.dim.x, 4);
}

TEST(NativeHeaderFile, InfoEndsTheKeywordPart) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr",
                            "x 4\ny 4\nz 2\nt 3\ninformation:\nthis is free text 1 2 3\nx 99\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.header.dim.x, 4);
}

TEST(NativeHeaderFile, CommentsAreCutEvenInsideQuotes) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr",
                            "x 4 # columns\n# whole line\ny 4\nz 2\nt 3\ndata-type \"complex#\"\n");
  EXPECT_EQ(r.result, 1);  // the word left is "complex, with its opening quote
  EXPECT_NE(r.printed.find("Error: arguments for data-type are\n"), std::string::npos);
}

TEST(NativeHeaderFile, MissingDimensionsAreReportedInOrder) {
  std::string dir = make_temp_dir();
  const std::string name = "'" + dir + "/a.hdr'\n";
  EXPECT_EQ(read_header_file(dir, "a.bshort", "a.hdr", "t 3\n").printed,
            "Error: Value for x dimension not found in header file " + name);
  EXPECT_EQ(read_header_file(dir, "a.bshort", "a.hdr", "x 3\nz 3\n").printed,
            "Error: Value for y dimension not found in header file " + name);
  EXPECT_EQ(read_header_file(dir, "a.bshort", "a.hdr", "x 3\ny 3\nt 3\n").printed,
            "Error: Value for z dimension not found in header file " + name);
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "matrix 3 3 3\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: Value for t dimension not found in header file " + name);
}

TEST(NativeHeaderFile, EmptyFileMissesTheXDimension) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error: Value for x dimension not found in header file '" + dir + "/a.hdr'\n");
}

TEST(NativeHeaderFile, RepeatedKeywordTakesTheLastValue) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "x 4\nx 7\ny 1\nz 1\nt 1\nx 9\n");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.header.dim.x, 9);
}

TEST(NativeHeaderFile, BinaryContentEndsWithAMessage) {
  std::string dir = make_temp_dir();
  std::vector<unsigned char> junk(5000);
  unsigned state = 12345;
  for (auto &b : junk) {
    state = state * 1103515245u + 12345u;
    b = static_cast<unsigned char>(state >> 16);
  }
  junk[0] = 0x7f;  // not blank, not a keyword
  write_binary_file(dir, "b.hdr", junk.data(), junk.size());
  XD_HEADER h = fresh_header();
  const std::string path = dir + "/b.bshort";
  int result = 0;
  Captured c = capture_output([&] { result = read_vistrel_header(path.c_str(), &h); });
  EXPECT_EQ(result, 1);
  EXPECT_NE(c.out.find("Error reading"), std::string::npos);
}

TEST(NativeHeaderFile, LineBeyondTheLineLimitArrivesInPieces) {
  std::string dir = make_temp_dir();
  // The first 1023 characters are a good line; the rest becomes a line of
  // its own, which is no keyword.
  std::string first = "x 4" + std::string(1020, ' ') + "junk 1\n";
  Read r = read_header_file(dir, "a.bshort", "a.hdr", first + "y 1\nz 1\nt 1\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error reading line 1 of file '" + dir + "/a.hdr'\n");
  EXPECT_EQ(r.header.dim.x, 4);
}

TEST(NativeHeaderFile, VeryLongGarbageLineIsRefused) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", std::string(100000, 'q') + "\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error reading the 1st line of the vsl header file '" + dir + "/a.hdr'.\n");
}

TEST(NativeHeaderFile, HugeValueIsAnErrorLine) {
  std::string dir = make_temp_dir();
  Read r = read_header_file(dir, "a.bshort", "a.hdr", "x 4\ny 123456789012345678901234567890\n");
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.printed, "Error reading line 1 of file '" + dir + "/a.hdr'\n");
}

TEST(NativeHeaderFile, OverlongNameIsRefused) {
  std::string name(1100, 'n');
  name += ".bshort";
  XD_HEADER h = fresh_header();
  int result = 0;
  Captured c = capture_output([&] { result = read_vistrel_header(name.c_str(), &h); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(c.out, "Error: cannot open vistrel file " + name + ".\n");
}

}  // namespace
