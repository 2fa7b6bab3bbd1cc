#include "writers/extraction_writer.h"

#include <algorithm>
#include <string>

#include "frame/console.h"
#include "kernels/failure.h"
#include "report/histogram.h"
#include "report/matrix_table.h"
#include "report/saved_files.h"
#include "report/scatter.h"
#include "text/edit_descriptors.h"

namespace vq {

namespace {

// The plot shows at most this many ranks; the table and the file show all.
constexpr int kMostPlottedRanks = 30;
// Cells of the eigenvalue plot across and down.
constexpr int kPlotStepsAcross = 65;
constexpr int kPlotStepsDown = 20;
// The trace number of the eigenvalue table.
constexpr int kEigenTableTraceNumber = 0;

constexpr char kFailedToConverge[] = " **** Communalities Failed to Converge ****";
constexpr char kFitBanner[] = "0=============Analysis of Model Fit============0";
constexpr char kClosingRule[] = "0=============================================0";
constexpr int kClassesPerBlock = 10;
constexpr char kHistogramTitle[] = "Distribution of Residuals:  R - R^hat";

// One row of numbered columns: `values` (n of them) under `title`.
void WriteRow(const std::vector<double>& values,
              const char* format,
              const char* title,
              int page_width,
              OutputFile& report) {
  int ifail = kIfailHard;
  X04CBF('G',
         'N',
         1,
         static_cast<int>(values.size()),
         values.data(),
         1,
         format,
         title,
         'N',
         nullptr,
         'I',
         nullptr,
         page_width,
         0,
         ifail,
         report);
}

void WriteMomentsBlock(const ModelFit& fit, OutputFile& report) {
  report.EmptyLines(1);
  report.Write("Mean squared residual " + FormatF(fit.MeanSquaredResidual, 8, 4));
  report.Write("Root Mean Squared Residual (RMSR) = " + FormatF(fit.Rmsr, 8, 4));
  report.Write("Mean residual = " + FormatF(fit.Mean, 8, 4));
  report.Write("Standard deviation of residuals = " + FormatF(fit.StandardDeviation, 8, 4));
  report.Write("Coefficient of skewness = " + FormatF(fit.Skewness, 8, 4));
  report.Write("Coefficient of kurtosis = " + FormatF(fit.Kurtosis, 8, 4));
  report.EmptyLines(1);
}

void WriteFivePointSummary(const ModelFit& fit, OutputFile& report) {
  const double minimum = fit.FivePointSummary[0];
  const double lower_hinge = fit.FivePointSummary[1];
  const double median = fit.FivePointSummary[2];
  const double upper_hinge = fit.FivePointSummary[3];
  const double maximum = fit.FivePointSummary[4];

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

int CappedTableWidth(int page_width) { return page_width >= 120 ? 110 : page_width; }

void WriteEigenvalueScreen(const std::vector<double>& eigenvalues,
                           const ExtractionWriteOptions& options,
                           RunOutputs& outputs) {
  OutputFile& report = outputs.report();
  const int p = static_cast<int>(eigenvalues.size());
  // The plot sorts its values in place, and the file takes them as the plot
  // leaves them.
  std::vector<double> plotted_values = eigenvalues;

  report.EmptyLines(3);
  int ifail = kIfailHard;
  X04CBF('G',
         'N',
         1,
         p,
         plotted_values.data(),
         1,
         "F8.3",
         "Eigenvalues of Initial Correlation Matrix",
         'N',
         nullptr,
         'I',
         nullptr,
         CappedTableWidth(options.PageWidth),
         0,
         ifail,
         report);
  TraceLine(ifail, kEigenTableTraceNumber);

  report.EmptyLines(1);
  report.Write(" Eigenvalue Plot");
  const int plotted = std::min(p, kMostPlottedRanks);
  if (plotted >= 1) {
    std::vector<double> ranks(plotted);
    for (int k = 0; k < plotted; ++k) ranks[k] = k + 1.0;
    std::vector<int> sort_index(plotted);
    ifail = kIfailHard;
    G01AGF(ranks.data(),
           plotted_values.data(),
           plotted,
           sort_index.data(),
           kPlotStepsAcross,
           kPlotStepsDown,
           ifail,
           report);
  }
  report.EmptyLines(3);

  if (options.SaveEigenvalues) {
    OutputFile file;
    outputs.OpenSaved(file, kLoadingUnit, "eig");
    Matrix column(p, 1);
    for (int k = 0; k < p; ++k) column(k, 0) = plotted_values[k];
    WriteMatrixRows(file, column, 8, 4, 0);
    file.Close();
  }
}

void WriteResidualTable(const Matrix& residuals,
                        const ExtractionWriteOptions& options,
                        OutputFile& report) {
  if (!options.LongListing) return;
  const int p = residuals.rows;
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
         CappedTableWidth(options.PageWidth),
         0,
         ifail,
         report);
  report.EmptyLines(3);
}

void WriteResidualDistribution(const std::vector<double>& midpoints,
                               const std::vector<double>& counts,
                               OutputFile& report) {
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

void WriteModelFit(const ExtractionResult& result,
                   const ExtractionWriteOptions& options,
                   RunOutputs& outputs) {
  OutputFile& report = outputs.report();
  const ModelFit& fit = result.Fit;
  if (result.PassLimitReached) report.Write(kFailedToConverge);

  report.EmptyLines(3);
  report.Write(kFitBanner);
  report.EmptyLines(1);
  report.Write("Number of iterations during communality estimation: " +
               FormatI(result.IterationCount, 3));
  report.Write("GFI = " + FormatF(fit.Gfi, 6, 4));
  WriteResidualTable(fit.Residuals, options, report);
  WriteMomentsBlock(fit, report);
  if (!fit.HasFivePointSummary) return;
  WriteFivePointSummary(fit, report);
  WriteResidualDistribution(fit.ClassMidpoints, fit.ClassCounts, report);

  if (options.LongListing && options.SaveResiduals) {
    OutputFile file;
    outputs.OpenSaved(file, kResidualUnit, "rsd");
    WriteMatrixRows(file, fit.Residuals, 12, 9, 1);
    file.Close();
  }
}

void WriteHeywoodWarnings(const std::vector<bool>& heywood_cases, OutputFile& report) {
  for (std::size_t variable = 0; variable < heywood_cases.size(); ++variable) {
    if (!heywood_cases[variable]) continue;
    report.EmptyLines(1);
    report.Write(Blanks(10) + "****WARNING !!! HEYWOOD CASE FOR VARIABLE  " +
                 FormatI(static_cast<int>(variable) + 1, 4) + " ****");
  }
}

void WriteUnrotatedResults(const ExtractionResult& result,
                           const ExtractionWriteOptions& options,
                           RunOutputs& outputs) {
  OutputFile& report = outputs.report();
  const int p = result.Loadings.rows;
  const int m = result.Loadings.cols;
  if (options.SaveUnrotatedLoadings) {
    OutputFile file;
    outputs.OpenSaved(file, kLoadingUnit, "fac");
    WriteLoadingRows(file, result.Loadings);
    file.Close();
  }

  if (options.LabelMode == LabelMode::kLabels || options.LabelMode == LabelMode::kNoLabels) {
    const bool labelled = options.LabelMode == LabelMode::kLabels;
    std::vector<std::string> labels;
    if (labelled) {
      labels = options.Labels;
      labels.resize(p, std::string(kLabelWidth, ' '));
    }
    int ifail = kIfailHard;
    X04CBF('G',
           'N',
           p,
           m,
           result.Loadings.data(),
           p,
           "F8.3",
           "Unrotated Factor Loadings",
           labelled ? 'C' : 'I',
           labelled ? &labels : nullptr,
           'I',
           nullptr,
           options.PageWidth,
           0,
           ifail,
           report);
  }

  report.EmptyLines(1);
  WriteRow(result.FactorVariance,
           "F10.3",
           "Variance explained by each factor",
           options.PageWidth,
           report);

  WriteHeywoodWarnings(result.HeywoodCases, report);

  report.EmptyLines(1);
  WriteRow(result.Communalities, "F8.2", "Final communality estimates", options.PageWidth, report);
  report.EmptyLines(1);
}

}  // namespace vq
