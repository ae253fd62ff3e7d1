#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "test_support.h"
#include "zor.h"

namespace {

struct Extension {
  int result;
  int file_type;
  std::string name_after;
  std::string printed;
};

Extension extension_of(const std::string &name) {
  char buffer[1024];
  snprintf(buffer, sizeof buffer, "%s", name.c_str());
  Extension e{0, -99, "", ""};
  Captured c = capture_output([&] { e.result = get_extension(buffer, &e.file_type, 0); });
  e.name_after = buffer;
  e.printed = c.out;
  return e;
}

TEST(FileNames, EachKnownExtensionGivesItsType) {
  EXPECT_EQ(extension_of("a.bshort").file_type, BSHORT);
  EXPECT_EQ(extension_of("a.blong").file_type, BLONG);
  EXPECT_EQ(extension_of("a.bfloat").file_type, BFLOAT);
  EXPECT_EQ(extension_of("a.bdouble").file_type, BDOUBLE);
  EXPECT_EQ(extension_of("a.ushort").file_type, USHORT);
  EXPECT_EQ(extension_of("a.nii").file_type, NIFTI_NII);
  EXPECT_EQ(extension_of("a.img").file_type, NIFTI_IMG);
}

TEST(FileNames, UnknownExtensionGivesMinusOne) {
  Extension e = extension_of("a.xyz");
  EXPECT_EQ(e.result, 0);
  EXPECT_EQ(e.file_type, -1);
  EXPECT_EQ(e.printed, "");
}

TEST(FileNames, ExtensionMatchIsCaseSensitive) {
  EXPECT_EQ(extension_of("a.BSHORT").file_type, -1);
  EXPECT_EQ(extension_of("a.Nii").file_type, -1);
}

TEST(FileNames, OnlyTheTextAfterTheLastDotCounts) {
  EXPECT_EQ(extension_of("run.nii.bshort").file_type, BSHORT);
  EXPECT_EQ(extension_of("run.bshort.gz").file_type, -1);
}

TEST(FileNames, NameWithoutDotIsReported) {
  Extension e = extension_of("volume");
  EXPECT_EQ(e.result, 1);
  EXPECT_EQ(e.printed, "The file name has no extension!\n");
}

TEST(FileNames, TrailingNewlineIsCutInPlace) {
  Extension e = extension_of("a.bfloat\n");
  EXPECT_EQ(e.result, 0);
  EXPECT_EQ(e.file_type, BFLOAT);
  EXPECT_EQ(e.name_after, "a.bfloat");
}

TEST(FileNames, ReplaceExtensionReplacesAfterTheLastDot) {
  char name[1024] = "dir.d/a.b.xyz";
  char result[1024] = "";
  int type = -99;
  EXPECT_EQ(replace_extension(name, &type, "hdr", result), 0);
  EXPECT_STREQ(result, "dir.d/a.b.hdr");
  EXPECT_EQ(type, -1);
}

TEST(FileNames, ReplaceExtensionSetsTheTypeOfTheOldName) {
  char name[1024] = "run1.bshort\n";
  char result[1024] = "";
  int type = -99;
  EXPECT_EQ(replace_extension(name, &type, "hdr", result), 0);
  EXPECT_STREQ(result, "run1.hdr");
  EXPECT_STREQ(name, "run1.bshort");
  EXPECT_EQ(type, BSHORT);
}

TEST(FileNames, ReplaceExtensionRefusesANameWithoutExtension) {
  char name[1024] = "volume";
  char result[1024] = "untouched";
  int type = -99;
  int r = 0;
  Captured c = capture_output([&] { r = replace_extension(name, &type, "hdr", result); });
  EXPECT_EQ(r, 1);
  EXPECT_EQ(c.out, "The file name has no extension!\n");
  EXPECT_STREQ(result, "untouched");
}

TEST(FileNames, ReplaceExtensionNeverWritesBeyondALineBuffer) {
  std::string longname(1500, 'a');
  longname += ".bshort";
  std::string name = longname;
  char result[1024 + 16];
  memset(result, 'Z', sizeof result);
  int type = 0;
  EXPECT_EQ(replace_extension(name.data(), &type, "hdr", result), 0);
  EXPECT_EQ(strlen(result), 1023u);
  for (size_t i = 1024; i < sizeof result; i++) EXPECT_EQ(result[i], 'Z');
}

TEST(FileNames, StrcpyWithoutExtensionCutsAtTheLastDot) {
  char out[1024];
  strcpy_without_extension(out, "maps/P-task.1.nii");
  EXPECT_STREQ(out, "maps/P-task.1");
  strcpy_without_extension(out, "plain");
  EXPECT_STREQ(out, "plain");
  strcpy_without_extension(out, ".hidden");
  EXPECT_STREQ(out, "");
}

TEST(ByteOrder, MachineOrderMatchesTheCompiler) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
  EXPECT_EQ(machine_byte_order(), 1);
#else
  EXPECT_EQ(machine_byte_order(), 0);
#endif
}

TEST(ByteOrder, Swap16ReversesTwoBytes) {
  unsigned char b[3] = {0x12, 0x34, 0x56};
  swap_16(b);
  EXPECT_EQ(b[0], 0x34);
  EXPECT_EQ(b[1], 0x12);
  EXPECT_EQ(b[2], 0x56);
  int16_t v = 0x0102;
  swap_16(&v);
  EXPECT_EQ(v, 0x0201);
}

TEST(ByteOrder, Swap32ReversesFourBytes) {
  unsigned char b[5] = {1, 2, 3, 4, 5};
  swap_32(b);
  EXPECT_EQ(b[0], 4);
  EXPECT_EQ(b[1], 3);
  EXPECT_EQ(b[2], 2);
  EXPECT_EQ(b[3], 1);
  EXPECT_EQ(b[4], 5);
  float f = 1.5f;
  swap_32(&f);
  swap_32(&f);
  EXPECT_EQ(f, 1.5f);
}

}  // namespace
