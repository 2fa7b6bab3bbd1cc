#include "writers/correlation_writer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "frame/console.h"
#include "frame/progress.h"
#include "report/run_outputs.h"

namespace vq {
namespace {

std::string ReadWhole(const std::string& name) {
  std::ifstream in(name, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A scratch folder for the saved files, removed at the end.
class CorrelationFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vq_corr_writer_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }
  std::string folder_;
};

TEST_F(CorrelationFiles, SavedMatricesGoBesideTheCommandFileWhenAsked) {
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, folder_ + "/", "wave1.in");
  Matrix r(2, 2, 0.5);
  CorrelationWriteOptions options;
  OutputFile file;
  SaveCorrelationMatrix(options, r, outputs, file);
  EXPECT_FALSE(file.is_open());
  EXPECT_FALSE(std::filesystem::exists(folder_ + "/wave1.cor"));
  options.save_matrix = true;
  SaveCorrelationMatrix(options, r, outputs, file);
  EXPECT_TRUE(file.is_open());  // kept open to the end of the run
  EXPECT_EQ(file.unit(), 15);
  file.Close();
  EXPECT_EQ(ReadWhole(folder_ + "/wave1.cor"),
            " 0.500000000  0.500000000\n 0.500000000  0.500000000\n");

  SaveSmoothedMatrix(options, r, outputs);
  EXPECT_FALSE(std::filesystem::exists(folder_ + "/wave1.smo"));
  options.save_smoothed = true;
  SaveSmoothedMatrix(options, r, outputs);
  EXPECT_EQ(ReadWhole(folder_ + "/wave1.smo"),
            " 0.500000000  0.500000000\n 0.500000000  0.500000000\n");
  EXPECT_EQ(report.Text(), "");
}

TEST(CorrelationWriter, CorrelationFileLayouts) {
  Matrix r(2, 2);
  r(0, 0) = 1.0;
  r(1, 1) = 1.0;
  r(0, 1) = r(1, 0) = 0.123456789012;
  CorrelationWriteOptions options;
  OutputFile file;
  file.OpenInMemory(15);
  WriteCorrelationFile(options, r, file);
  EXPECT_EQ(file.Text(),
            " 1.000000000  0.123456789\n"
            " 0.123456789  1.000000000\n");
  options.ipsatized_layout = true;
  file.OpenInMemory(15);
  WriteCorrelationFile(options, r, file);
  EXPECT_EQ(file.Text(),
            "   1.000   0.123\n"
            "   0.123   1.000\n");
}

TEST(CorrelationWriter, FrequencyTableWithAndWithoutTheSmallCellWarning) {
  TetrachoricPairTable table;
  table.a = 5.0;
  table.b = 11.0;
  table.c = 28.0;
  table.d = 20.0;
  table.phi = 0.2354;
  table.standard_error = 0.190330855;
  table.small_cells = true;
  EXPECT_EQ(FrequencyTableText(1, 2, 0.3934, table),
            "WARNING! Small cell frequencies. Tetrachoric r may be biased\n"
            "Variables   1 and   2\n"
            "--------------------\n"
            "      0         1\n"
            "1     5.00     11.00       r(tet) = 0.393     std err  0.190\n"
            "0    28.00     20.00       r(phi) = 0.235\n"
            "\n\n");
  table.small_cells = false;
  EXPECT_EQ(FrequencyTableText(1, 2, 0.3934, table).substr(0, 10), "Variables ");
}

// A complete result of two items, as the estimator leaves it.
TetrachoricResult TwoItemResult() {
  TetrachoricResult result;
  result.items.proportions = {0.25, 31.0 / 64};
  result.correlations = Matrix(2, 2, 1.0);
  result.correlations(1, 0) = result.correlations(0, 1) = -0.9;
  TetrachoricPairTable table;
  table.a = 10.0;
  table.b = 6.0;
  table.c = 25.0;
  table.d = 23.0;
  table.phi = -0.25;
  table.standard_error = 0.2;
  result.tables = {table};
  result.standard_errors = Matrix(2, 2, 0.0);
  result.standard_errors(1, 0) = result.standard_errors(0, 1) = 0.2;
  result.fall_backs = {{1, 0, true}};
  result.last_fell_back = true;
  result.complete = true;
  return result;
}

TEST(CorrelationWriter, TetrachoricFilesAndTheFallBackWarning) {
  const TetrachoricResult result = TwoItemResult();
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "t.in");
  TetrachoricFiles files;
  files.frq.OpenInMemory(23);
  files.dff.OpenInMemory(25);
  files.ser.OpenInMemory(24);
  BeginFrequencyFile(files, outputs);
  WriteItemProportions(result.items, files, outputs);
  WriteFallBackWarnings(result, outputs);
  ConsoleCapture capture;
  WriteTetrachoricTables(result, files, outputs, ConsoleProgress());
  // Too few tables for a progress line between blocks.
  EXPECT_EQ(capture.Out(), "");
  EXPECT_EQ(files.frq.Text(),
            "\n\n         Bias Corrected Cell Frequencies and Correlations\n\n\n"
            "Variables   1 and   2\n"
            "--------------------\n"
            "      0         1\n"
            "1    10.00      6.00       r(tet) = -.900     std err  0.200\n"
            "0    25.00     23.00       r(phi) = -.250\n"
            "\n\n");
  EXPECT_EQ(files.dff.Text(), "   1  0.2500\n   2  0.4844\n");
  EXPECT_EQ(files.ser.Text(), " 0.000000000  0.200000000\n 0.200000000  0.000000000\n");
  EXPECT_FALSE(files.frq.is_open());
  EXPECT_FALSE(files.dff.is_open());
  EXPECT_FALSE(files.ser.is_open());
  EXPECT_EQ(report.Text(), "                !!!WARNING: CORRELATION   2   1    AT BOUNDARY!!!\n\n");
}

TEST(CorrelationWriter, FallBackWarningNamesTheTwoVariableMatrix) {
  // The fall-back of the pair (5, 3) estimates a matrix of two variables.
  TetrachoricResult result;
  result.fall_backs = {{4, 2, true}, {6, 1, false}};
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "t.in");
  WriteFallBackWarnings(result, outputs);
  EXPECT_EQ(report.Text(), "                !!!WARNING: CORRELATION   2   1    AT BOUNDARY!!!\n\n");
}

TEST(CorrelationWriter, BoundaryWarningsInPairOrder) {
  OutputFile report;
  report.OpenInMemory(11);
  RunOutputs outputs(report, "", "t.in");
  WriteBoundaryWarnings({{2, 0}, {11, 9}}, outputs);
  EXPECT_EQ(report.Text(),
            "                !!!WARNING: CORRELATION   3   1    AT BOUNDARY!!!\n\n"
            "                !!!WARNING: CORRELATION  12  10    AT BOUNDARY!!!\n\n");
}

}  // namespace
}  // namespace vq
