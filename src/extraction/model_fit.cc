#include "extraction/model_fit.h"

#include <cmath>
#include <string>

#include "extraction/eigenvalue_screen.h"
#include "kernels/failure.h"
#include "kernels/moments.h"
#include "report/histogram.h"
#include "report/matrix_table.h"
#include "report/saved_files.h"
#include "text/edit_descriptors.h"

namespace vq {

namespace {

constexpr char kFitBanner[] = "0=============Analysis of Model Fit============0";
constexpr char kClosingRule[] = "0=============================================0";

// Classes of the residual histogram: 39 of width 0.05 between the limits and
// one open class on either side.
constexpr int kResidualClasses = 41;
constexpr int kClassesPerBlock = 10;
constexpr char kHistogramTitle[] = "Distribution of Residuals:  R - R^hat";

// residuals = r0 - rhat, all p by p elements.
void Subtract(const Matrix& r0, const Matrix& rhat, int p, Matrix& residuals) {
  for (int j = 0; j < p; ++j) {
    for (int i = 0; i < p; ++i) residuals(i, j) = r0(i, j) - rhat(i, j);
  }
}

// Mean of the squares of all p^2 elements, row by row.
double MeanSquare(const Matrix& a, int p) {
  double sum = 0.0;
  for (int i = 0; i < p; ++i) {
    for (int j = 0; j < p; ++j) sum += a(i, j) * a(i, j);
  }
  const double elements = static_cast<double>(p) * p;
  return sum / elements;
}

void WriteMomentsBlock(const std::vector<double>& residuals,
                       int k,
                       double squared_residual_sum,
                       OutputFile& report) {
  const double msr = squared_residual_sum / k;
  double mean = 0.0;
  double sd = 0.0;
  double skewness = 0.0;
  double kurtosis = 0.0;
  double smallest = 0.0;
  double largest = 0.0;
  // Quiet: with fewer than two residuals the failure number is not read and
  // the block shows what G01AAF left.
  int ifail = kIfailQuiet;
  G01AAF(k, residuals.data(), mean, sd, skewness, kurtosis, smallest, largest, ifail);

  report.EmptyLines(1);
  report.Write("Mean squared residual " + FormatF(msr, 8, 4));
  report.Write("Root Mean Squared Residual (RMSR) = " + FormatF(std::sqrt(msr), 8, 4));
  report.Write("Mean residual = " + FormatF(mean, 8, 4));
  report.Write("Standard deviation of residuals = " + FormatF(sd, 8, 4));
  report.Write("Coefficient of skewness = " + FormatF(skewness, 8, 4));
  report.Write("Coefficient of kurtosis = " + FormatF(kurtosis, 8, 4));
  report.EmptyLines(1);
}

void WriteFivePointSummary(const std::vector<double>& residuals, int k, OutputFile& report) {
  double summary[5] = {0.0, 0.0, 0.0, 0.0, 0.0};
  int ifail = kIfailHard;
  G01ALF(k, residuals.data(), summary, ifail);
  const double minimum = summary[0];
  const double lower_hinge = summary[1];
  const double median = summary[2];
  const double upper_hinge = summary[3];
  const double maximum = summary[4];

  report.EmptyLines(1);
  report.Write(Blanks(10) + "Five point summary of residuals ");
  report.EmptyLines(1);
  report.Write(Blanks(20) + "Median");
  report.Write(Blanks(20) + FormatF(median, 6, 4));
  report.Write(Blanks(10) + "25%" + Blanks(2) + FormatF(lower_hinge, 6, 4) + Blanks(5) +
               FormatF(upper_hinge, 6, 4) + Blanks(2) + "75%");
  report.Write(Blanks(10) + "MIN" + Blanks(2) + FormatF(minimum, 6, 4) + Blanks(5) +
               FormatF(maximum, 6, 4) + Blanks(2) + "MAX");
  report.EmptyLines(1);
  report.Write(kClosingRule);
  report.EmptyLines(4);
}

// One block of the class table: classes first..last (1-based), three records.
void WriteClassBlock(const std::vector<double>& midpoints,
                     const std::vector<double>& counts,
                     int first,
                     int last,
                     OutputFile& report) {
  std::string classes = "     Class:" + Blanks(6);
  std::string midpoint_line = "  Midpoints:  ";
  std::string count_line = "     Counts:  ";
  for (int c = first; c <= last; ++c) {
    classes += FormatI(c, 2) + Blanks(4);
    midpoint_line += FormatF(midpoints[c - 1], 6, 2);
    count_line += FormatF(counts[c - 1], 6, 0);
  }
  report.Write(classes);
  report.Write(midpoint_line);
  report.Write(count_line);
}

}  // namespace

double GoodnessOfFit(const Matrix& residuals, const Matrix& r0, int p) {
  const double a = MeanSquare(residuals, p);
  const double b = MeanSquare(r0, p);
  return 1.0 - a / b;
}

void ResidualTable(
    const Matrix& residuals, int p, Verbosity verbosity, int page_width, OutputFile& report) {
  if (verbosity != Verbosity::kLong) return;
  report.EmptyLines(3);
  int ifail = kIfailHard;
  X04CBF('G',
         'N',
         p,
         p,
         residuals.data(),
         p,
         "F8.3",
         "Residual Covariances (1-h^2 on diagonal)",
         'I',
         nullptr,
         'I',
         nullptr,
         CappedTableWidth(page_width),
         0,
         ifail,
         report);
  report.EmptyLines(3);
}

void ResidualDistribution(const std::vector<double>& residuals, int k, OutputFile& report) {
  // The class limits are single-precision values held in double precision,
  // so -0.975 itself lies just above the lower limit and counts in class 2.
  const double lower_limit = static_cast<double>(static_cast<float>(-0.975));
  const double upper_limit = static_cast<double>(static_cast<float>(0.975));
  std::vector<double> midpoints;
  std::vector<double> counts;
  DOWFRQ(k, residuals.data(), kResidualClasses, 1, lower_limit, upper_limit, midpoints, counts);
  midpoints.resize(kResidualClasses, 0.0);
  counts.resize(kResidualClasses, 0.0);
  DVHSTP(kResidualClasses, counts, 1, kHistogramTitle, report);
  report.EmptyLines(3);

  for (int block = 0; block < kResidualClasses / kClassesPerBlock; ++block) {
    const int first = block * kClassesPerBlock + 1;
    WriteClassBlock(midpoints, counts, first, first + kClassesPerBlock - 1, report);
    report.EmptyLines(1);
  }
  WriteClassBlock(midpoints, counts, kResidualClasses, kResidualClasses, report);
  report.EmptyLines(1);
  report.Write(kClosingRule);
  report.EmptyLines(3);
}

void ModelFitAnalysis(const RunOptions& options,
                      const Matrix& r0,
                      const Matrix& r,
                      Matrix& rhat,
                      int p,
                      int iteration,
                      OutputFile& report,
                      std::string_view run_directory,
                      std::string_view run_stem) {
  report.EmptyLines(3);
  report.Write(kFitBanner);
  report.EmptyLines(1);
  report.Write("Number of iterations during communality estimation: " + FormatI(iteration - 1, 3));

  // Off-diagonal residuals, upper triangle by rows: (1,2), (1,3), ..., (2,3).
  const int k = p * (p - 1) / 2;
  std::vector<double> residual_list;
  residual_list.reserve(k);
  double squared_residual_sum = 0.0;
  for (int i = 0; i < p; ++i) {
    for (int j = i + 1; j < p; ++j) {
      const double residual = r(i, j) - rhat(i, j);
      residual_list.push_back(residual);
      squared_residual_sum += residual * residual;
    }
  }

  // The index compares with a unit diagonal: only the off-diagonal misfit
  // (and a given matrix's own departure from 1) counts.
  Matrix residuals(p, p);
  for (int i = 0; i < p; ++i) rhat(i, i) = 1.0;
  Subtract(r0, rhat, p, residuals);
  report.Write("GFI = " + FormatF(GoodnessOfFit(residuals, r0, p), 6, 4));

  // From here on the diagonal shows the uniqueness 1 - h^2.
  for (int i = 0; i < p; ++i) rhat(i, i) = r(i, i);
  Subtract(r0, rhat, p, residuals);
  ResidualTable(residuals, p, options.Print_Verbosity, options.PageWidth, report);

  WriteMomentsBlock(residual_list, k, squared_residual_sum, report);
  WriteFivePointSummary(residual_list, k, report);
  ResidualDistribution(residual_list, k, report);

  if (options.Print_Verbosity == Verbosity::kLong && Saves(options, SaveCode::kRsd)) {
    OutputFile file;
    OpenSavedFile(file, kResidualUnit, run_directory, run_stem, "rsd");
    WriteMatrixRows(file, residuals, 12, 9, 1);
    file.Close();
  }
}

}  // namespace vq
