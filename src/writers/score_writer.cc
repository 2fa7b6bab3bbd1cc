#include "writers/score_writer.h"

#include <cmath>
#include <cstdio>
#include <string>

#include "kernels/failure.h"
#include "report/matrix_table.h"
#include "report/plots.h"
#include "report/saved_files.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

constexpr int kIdWidth = 15;
constexpr int kScoresPerRecord = 999;

constexpr char kWeightsTitle[] = "Standardized regression weights for estimating the factors";
constexpr char kValidityTitle[] = "Correlations of Factors with Factor Score Estimates";
constexpr char kBartlettLine[] = "Bartlett method, Maximum Likelihood, and Weighted Least Squares";

// I15 of an id held as a double: the whole number towards zero. Ids too
// large for any integer (or not numbers at all) cannot fit 15 positions and
// print as asterisks, as a too-large integer would.
std::string FormatId(double id) {
  if (!std::isfinite(id) || std::fabs(id) >= 1e18) return std::string(kIdWidth, '*');
  return FormatI(static_cast<long long>(id), kIdWidth);
}

void PrintWeights(const Matrix& weights, int page_width, OutputFile& report) {
  const int p = weights.rows;
  int ifail = kIfailHard;
  X04CBF('G',
         'N',
         p,
         weights.cols,
         weights.data(),
         p > 0 ? p : 1,
         "F8.3",
         kWeightsTitle,
         'I',
         nullptr,
         'I',
         nullptr,
         page_width,
         0,
         ifail,
         report);
}

// The validity row carries one blank row label, which moves its fields one
// position to the right of a table without row labels.
void PrintValidity(const std::vector<double>& validity, int page_width, OutputFile& report) {
  const std::vector<std::string> blank_label(1, std::string(15, ' '));
  int ifail = kIfailHard;
  X04CBF('G',
         'N',
         1,
         static_cast<int>(validity.size()),
         validity.data(),
         1,
         "F8.3",
         kValidityTitle,
         'C',
         &blank_label,
         'I',
         nullptr,
         page_width,
         0,
         ifail,
         report);
}

}  // namespace

ScoreFile::ScoreFile(const RunOutputs& outputs) { outputs.OpenSaved(file_, kScoreUnit, "fsc"); }

ScoreFile::~ScoreFile() {
  if (!file_.is_open()) return;
  const std::string path = file_.path();
  file_.Close();
  if (!path.empty()) std::remove(path.c_str());
}

void ScoreFile::Write(const ScoreResult& result) {
  WriteScoreRecords(file_,
                    result.subject_ids,
                    result.scores,
                    static_cast<int>(result.subject_ids.size()),
                    result.scores.cols);
  file_.Close();
}

void WriteScoreTables(const ScoreResult& result,
                      const ScoreWriteOptions& options,
                      RunOutputs& outputs) {
  if (result.weights.empty()) return;
  OutputFile& report = outputs.report();
  report.EmptyLines(2);
  if (result.method == ScoreMethod::kBartlett) {
    report.Write(kBartlettLine);
    report.EmptyLines(2);
  }
  PrintWeights(result.weights, options.page_width, report);
  if (result.validity.empty()) return;
  report.EmptyLines(2);
  PrintValidity(result.validity, options.page_width, report);
}

void WriteScorePlot(const ScoreResult& result, RunOutputs& outputs) {
  FactorScorePlots(result.scores, result.scores.rows, result.scores.cols, outputs.report());
}

void WriteScoreRecords(OutputFile& file,
                       const std::vector<double>& SubjectIds,
                       const Matrix& FactorScores,
                       int N,
                       int m) {
  for (int subject = 0; subject < N; ++subject) {
    std::string record = FormatId(SubjectIds[subject]);
    for (int factor = 0; factor < m; ++factor) {
      if (factor > 0 && factor % kScoresPerRecord == 0) {
        file.Write(record);
        record.clear();
      }
      record += FormatF(FactorScores(subject, factor), 8, 3);
    }
    file.Write(record);
  }
}

}  // namespace vq
