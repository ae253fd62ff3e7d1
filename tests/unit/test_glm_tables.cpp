#include <gtest/gtest.h>

#include <string>

#include "glm_test_files.h"

namespace {

class TableFiles : public ::testing::Test {
 protected:
  GlmStudy s;
  void SetUp() override { GLM_engine_reset(); }

  struct Read {
    int result = -99;
    std::string out;
    int exit_status = -1;
    std::string file;
  };
  Read read(const std::string &content, int irun, int ntime, const std::string &name = "t.dat") {
    Read r;
    r.file = s.text(name, content);
    std::vector<char> buffer(r.file.begin(), r.file.end());
    buffer.push_back('\0');
    Captured c = capture_output([&] { r.result = GLM_read_table_file(buffer.data(), irun, ntime); });
    r.out = c.out;
    r.exit_status = c.exit_status;
    return r;
  }
};

TEST_F(TableFiles, EmptyNameDoesNothing) {
  char empty[1] = "";
  Captured c = capture_output([&] { EXPECT_EQ(GLM_read_table_file(empty, 0, 10), 0); });
  EXPECT_EQ(c.out, "");
  EXPECT_EQ(GLM.table_ncolumns[0], 0);
  EXPECT_EQ(GLM.table_value[0], nullptr);
}

TEST_F(TableFiles, MissingAndEmptyFiles) {
  std::string missing = s.path("none.dat");
  Captured c = capture_output([&] { EXPECT_EQ(GLM_read_table_file(missing.data(), 0, 10), 1); });
  EXPECT_EQ(c.out, "Error attempting to open the TABLE file " + missing + ".\n");
  Read r = read("", 0, 3);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading line 1 of TABLE file " + r.file + "\n");
  r = read("# only a comment\n", 0, 3);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: the number of time points in the table (0) does not match the data file (3).\n");
}

TEST_F(TableFiles, ColumnsAndValues) {
  Read r = read("motion  heart\tresp\n1 2 3\n4 5 6 # note\n7 8 9\n", 0, 3);
  EXPECT_EQ(r.result, 0) << r.out;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(GLM.table_ncolumns[0], 3);
  EXPECT_EQ(GLM.table_ntime[0], 3);
  EXPECT_STREQ(GLM.table_column_name[0], "motion");
  EXPECT_STREQ(GLM.table_column_name[2], "resp");
  EXPECT_STREQ(GLM.table_column_name[3], "undefined");
  EXPECT_FLOAT_EQ(GLM.table_value[0][0][0], 1.0f);
  EXPECT_FLOAT_EQ(GLM.table_value[0][1][1], 5.0f);
  EXPECT_FLOAT_EQ(GLM.table_value[0][2][2], 9.0f);
}

TEST_F(TableFiles, LaterRunsWarnAboutNamesAndCounts) {
  read("a b\n1 2\n", 0, 1, "t1.dat");
  Read r = read("a c d\n1 2 3\n3 4 5\n", 1, 2, "t2.dat");
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(r.out,
            "Warning: runs 1 & 2 have mismatched names (b & c) in column 1.\n"
            "Warning: runs 1 & 2 have mismatched names (undefined & d) in column 2.\n"
            "Warning: the tables for runs 1/2 have different numbers of columns (2/3)\n");
  EXPECT_STREQ(GLM.table_column_name[1], "b");
  EXPECT_EQ(GLM.table_ncolumns[1], 3);
}

TEST_F(TableFiles, BlankLinesCountAsTimePoints) {
  Read r = read("a\n1\n\n3\n", 0, 2);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: the number of time points in the table (3) does not match the data file (2).\n");
  r = read("a\n1\n\n3\n", 0, 3);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error reading line 3 of TABLE file " + r.file + "\n");
}

TEST_F(TableFiles, WordThatIsNoNumberLeavesZero) {
  Read r = read("a b\n1 x\n2 3\n", 0, 2);
  EXPECT_EQ(r.result, 0);
  EXPECT_FLOAT_EQ(GLM.table_value[0][1][0], 0.0f);
  EXPECT_FLOAT_EQ(GLM.table_value[0][1][1], 3.0f);
}

TEST_F(TableFiles, NotANumberEndsTheProcess) {
  Read r = read("a b\n1 2\n2 nan\n", 0, 2);
  EXPECT_EQ(r.exit_status, 1);
  EXPECT_EQ(r.out, "Error: table entry 1 in column 1 of run 1 is not a number.\n");
}

TEST_F(TableFiles, InfinityEndsTheProcessAsNotANumberDoes) {
  Read r = read("a b\n1 inf\n2 3\n", 0, 2);
  EXPECT_EQ(r.exit_status, 1);
  EXPECT_EQ(r.out, "Error: table entry 0 in column 1 of run 1 is not a number.\n");
  GLM_engine_reset();
  r = read("a b\n1 2\n-inf 3\n", 0, 2);
  EXPECT_EQ(r.exit_status, 1);
  EXPECT_EQ(r.out, "Error: table entry 1 in column 0 of run 1 is not a number.\n");
}

TEST_F(TableFiles, TooManyColumnsRefusedBeforeStoring) {
  std::string names, values;
  for (int c = 0; c < GLM_MAX_TABLE_COLUMNS + 1; c++) {
    names += "c" + std::to_string(c) + " ";
    values += "1 ";
  }
  Read r = read(names + "\n" + values + "\n", 0, 1);
  EXPECT_EQ(r.result, 1);
  EXPECT_EQ(r.out, "Error: the TABLE file " + r.file + " has 51 columns, more than the 50 allowed.\n");
  EXPECT_STREQ(GLM.table_column_name[0], "undefined");
}

TEST_F(TableFiles, ReadingARunAgainReplacesItsValues) {
  read("a\n1\n2\n", 0, 2);
  Read r = read("a\n5\n6\n7\n", 0, 3);
  EXPECT_EQ(r.result, 0);
  EXPECT_EQ(GLM.table_ntime[0], 3);
  EXPECT_FLOAT_EQ(GLM.table_value[0][0][2], 7.0f);
}

}  // namespace
