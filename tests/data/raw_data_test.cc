#include "data/raw_data.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cmath>
#include <fstream>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "data/temp_files.h"
#include "frame/console.h"
#include "kernels/parallel.h"

namespace vq {
namespace {

const std::string kReadingData = std::string(28, ' ') + "Reading Data\n";
const std::string kPauseAndStop =
    "Pause - Enter command<CR> or <CR> to continue.\n"
    "Stop - Program terminated.\n"
    "Program Terminated with exit code 0\n";

// Reads N subjects from `text` by `format`; returns the severe error number
// of a stop, or 0.
int ReadData(const std::string& text,
             const std::string& format,
             int n,
             int p,
             Matrix& data,
             std::vector<double>& ids) {
  RecordSource source;
  source.OpenText(kRawDataUnit, "items.dat", text);
  try {
    ReadItemData(source, format, n, p, data, ids);
  } catch (const RunStopped& stop) {
    return stop.exit_code;
  }
  return 0;
}

// One read of the raw data per row: the records, the format, the counts of
// subjects and items, and what comes of it: the severe error number of a
// stop with its error text, or the ids and the scores row by row.
TEST(ReadItemData, Table) {
  const std::string eof = "severe (24): end-of-file during read, unit 10, file items.dat\n";
  struct Row {
    std::string text;
    std::string format;
    int n;
    int p;
    int status;
    std::vector<double> ids;
    std::vector<double> scores;
    std::string err = "";
  } rows[] = {
      {"   112345678\n   287654321\n",
       "(F4.0,8F1.0)",
       2,
       8,
       0,
       {1, 2},
       {1, 2, 3, 4, 5, 6, 7, 8, 8, 7, 6, 5, 4, 3, 2, 1}},
      {"00042 10101010101010101010\n", "(F5.0,1X,20F1.0)", 1, 20, 0, {42}, {1, 0, 1, 0, 1, 0, 1,
                                                                            0, 1, 0, 1, 0, 1, 0,
                                                                            1, 0, 1, 0, 1, 0}},
      // A blank line is a subject of zeros and pushes the last record out.
      {"1 12\n\n3 34\n", "(F1.0,1X,2F1.0)", 2, 2, 0, {1, 0}, {1, 2, 0, 0}},
      // The last line may lack its line end; records beyond are left unread,
      // without a word.
      {"1 12\n2 34", "(F1.0,1X,2F1.0)", 2, 2, 0, {1, 2}, {1, 2, 3, 4}},
      {"1 12\n2 34\n3 56\n", "(F1.0,1X,2F1.0)", 1, 2, 0, {1}, {1, 2}},
      // A format without an id field takes the last score from the next record.
      {"123\n456\n", "(3F1.0)", 1, 3, 0, {1}, {2, 3, 4}},
      // With no subject to read, the format is never looked at.
      {"", "F1.0", 0, 2, 0, {}, {}},
      {"1 12\n", "(F1.0,1X,2F1.0)", 2, 2, 24, {}, {}, eof},
      {"1 12\n2 3x\n",
       "(F1.0,1X,2F1.0)",
       2,
       2,
       64,
       {},
       {},
       "severe (64): input conversion error, unit 10, file items.dat\n"},
      {"1 12\n",
       "(F1.0,1X,2F1)",
       1,
       2,
       62,
       {},
       {},
       "format syntax error at or near )\n"
       "severe (62): syntax error in format, unit 10, file items.dat\n"},
  };
  for (const Row& row : rows) {
    ConsoleCapture capture;
    Matrix data;
    std::vector<double> ids;
    ASSERT_EQ(ReadData(row.text, row.format, row.n, row.p, data, ids), row.status) << row.text;
    EXPECT_EQ(capture.Out(), kReadingData) << row.text;
    EXPECT_EQ(capture.Err(), row.err) << row.text;
    if (row.status != 0) continue;
    EXPECT_EQ(ids, row.ids) << row.text;
    ASSERT_EQ(data.rows, row.n);
    ASSERT_EQ(data.cols, row.p);
    std::vector<double> scores;
    for (int i = 0; i < row.n; ++i) {
      for (int j = 0; j < row.p; ++j) scores.push_back(data(i, j));
    }
    EXPECT_EQ(scores, row.scores) << row.text;
  }
}

// Records of 70,000 subjects (more than one batch of the reader): an id,
// then three scores in two-column fields, with a comma now and then, a
// short record, a blank field, a sign and a point.
std::string ManySubjects(int n) {
  std::string text;
  for (int subject = 1; subject <= n; ++subject) {
    std::string record = std::to_string(subject);
    record.insert(0, 6 - record.size(), ' ');
    record += " " + std::to_string(subject % 7) + " " + std::to_string(subject % 3);
    switch (subject % 11) {
      case 3:
        record += "4,";
        break;  // the comma ends the field
      case 5:
        break;  // short: the third field is blank
      case 7:
        record += "-5";
        break;
      case 9:
        record += "2.";
        break;
      default:
        record += " " + std::to_string(subject % 5);
        break;
    }
    text += record + "\n";
  }
  return text;
}

// The plain transcription: one read statement per subject.
Matrix ReadStatementByStatement(const std::string& text, const std::string& format, int n, int p) {
  RecordSource source;
  source.OpenText(kRawDataUnit, "items.dat", text);
  CompiledFormatPtr compiled = CompileFormat(format, nullptr);
  Matrix data(n, p + 1);
  std::vector<double> items(static_cast<std::size_t>(p) + 1);
  for (int subject = 0; subject < n; ++subject) {
    EXPECT_EQ(TryReadRecord(source, *compiled, items), 0);
    for (int k = 0; k <= p; ++k) data(subject, k) = items[static_cast<std::size_t>(k)];
  }
  return data;
}

void ExpectSameData(const Matrix& expected, const Matrix& data, const std::vector<double>& ids) {
  ASSERT_EQ(data.rows, expected.rows);
  ASSERT_EQ(data.cols + 1, expected.cols);
  for (int subject = 0; subject < data.rows; ++subject) {
    ASSERT_EQ(ids[static_cast<std::size_t>(subject)], expected(subject, 0)) << subject;
    for (int j = 0; j < data.cols; ++j) {
      ASSERT_EQ(data(subject, j), expected(subject, j + 1)) << subject << " " << j;
    }
  }
}

// The matrix is the same whether it is filled in place (a file that holds a
// byte per claimed subject) or gathered in blocks (a pipe, whose length is
// not known), on one thread or on three.
TEST(ReadItemData, InPlaceAndThroughAPipeOnAnyThreadsAsStatementByStatement) {
  const int n = 70000;
  const std::string format = "(F6.0,3F2.0)";
  const std::string text = ManySubjects(n);
  const Matrix expected = ReadStatementByStatement(text, format, n, 3);
  ScratchFile file("many.dat", text);
  const std::string fifo = ScratchPath("many.fifo");
  std::remove(fifo.c_str());
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  for (int threads : {1, 3}) {
    SetThreadCount(threads);
    ConsoleCapture capture;
    Matrix data;
    std::vector<double> ids;
    RecordSource source;
    ASSERT_TRUE(source.OpenOld(kRawDataUnit, file.path()));
    EXPECT_EQ(source.RemainingBytes(), static_cast<long long>(text.size()));
    ReadItemData(source, format, n, 3, data, ids);
    ExpectSameData(expected, data, ids);

    std::thread writer([&] { std::ofstream(fifo) << text << "records beyond\n"; });
    RecordSource pipe;
    ASSERT_TRUE(pipe.OpenOld(kRawDataUnit, fifo));
    EXPECT_EQ(pipe.RemainingBytes(), -1);
    Matrix piped;
    ReadItemData(pipe, format, n, 3, piped, ids);
    std::string rest;
    EXPECT_TRUE(pipe.NextRecord(rest));
    EXPECT_EQ(rest, "records beyond");
    pipe.Close();
    writer.join();
    ExpectSameData(expected, piped, ids);
    EXPECT_EQ(capture.Out(), kReadingData + kReadingData);
  }
  SetThreadCount(0);
  std::remove(fifo.c_str());
}

// Faults are met in record order, as statement by statement: a bad field in
// a later batch, and one before the end of a file too short for the count.
TEST(ReadItemData, TheFirstFaultInRecordOrderEndsTheRead) {
  std::string text = ManySubjects(70000);
  text.replace(text.size() - 3, 1, "x");  // last record, last field
  SetThreadCount(2);
  for (const int n : {70000, 80000}) {
    ConsoleCapture capture;
    Matrix data;
    std::vector<double> ids;
    EXPECT_EQ(ReadData(text, "(F6.0,3F2.0)", n, 3, data, ids), 64) << n;
  }
  ConsoleCapture capture;
  Matrix data;
  std::vector<double> ids;
  EXPECT_EQ(ReadData(ManySubjects(70000), "(F6.0,3F2.0)", 80000, 3, data, ids), 24);
  SetThreadCount(0);
}

TEST(IPSAT, StandardisesEachSubjectsScores) {
  Matrix data(2, 3);
  const double rows[2][3] = {{1, 2, 3}, {2, 2, 8}};
  for (int i = 0; i < 2; ++i) {
    for (int j = 0; j < 3; ++j) data(i, j) = rows[i][j];
  }
  IPSAT(2, 3, data);
  EXPECT_DOUBLE_EQ(data(0, 0), -1.0);
  EXPECT_DOUBLE_EQ(data(0, 1), 0.0);
  EXPECT_DOUBLE_EQ(data(0, 2), 1.0);
  // Mean 4, standard deviation sqrt(12) with divisor 2.
  EXPECT_DOUBLE_EQ(data(1, 0), -2.0 / std::sqrt(12.0));
  EXPECT_DOUBLE_EQ(data(1, 2), 4.0 / std::sqrt(12.0));
}

TEST(IPSAT, ASubjectWithoutVarianceStopsTheRun) {
  ConsoleCapture capture;
  Matrix data(3, 2);
  data(0, 0) = 1;
  data(0, 1) = 3;
  data(1, 0) = 5;
  data(1, 1) = 5;
  data(2, 0) = 1;
  data(2, 1) = 2;
  try {
    IPSAT(3, 2, data);
    FAIL() << "no stop";
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kPlainStop);
    EXPECT_EQ(stop.exit_code, 0);
  }
  EXPECT_EQ(capture.Out(),
            "FATAL ERROR IN SUBROUTINE IPSAT\n"
            "NO VARIANCE FOR SUBJECT           2\n"
            "Stop - Program terminated.\n"
            "Program Terminated with exit code 0\n");
  EXPECT_NE(data(0, 0), 1.0);  // the first subject is done
  EXPECT_EQ(data(1, 0), 5.0);
  EXPECT_EQ(data(2, 0), 1.0);  // the third is not reached
}

}  // namespace
}  // namespace vq
