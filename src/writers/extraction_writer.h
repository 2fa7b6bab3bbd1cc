// The report sections and saved files of the extraction phase, written from
// what the phase computed (extraction/extraction.h): the eigenvalue screen
// and its `eig` file, the fit analysis and its `rsd` file, the tables of the
// unrotated solution and its `fac` file.
//
// The driver calls the three writers at the places of the run where the
// sections belong: the screen before the communality iteration, the fit
// after it (also with the part of the fit computed before a stop), the
// unrotated tables last.
#ifndef VELQUORIN_WRITERS_EXTRACTION_WRITER_H_
#define VELQUORIN_WRITERS_EXTRACTION_WRITER_H_

#include <string>
#include <vector>

#include "extraction/extraction.h"
#include "options/run_options.h"
#include "report/run_outputs.h"

namespace vq {

// What chooses the printed parts of the phase, made once from the command
// file (MakeExtractionWriteOptions in run/phase_options.h).
struct ExtractionWriteOptions {
  int PageWidth = 130;
  // "LONG": the residual table, and the `rsd` file when it is asked for.
  bool LongListing = false;
  // The rows of the unrotated table: labels ("LABELS"), numbers
  // ("NOLABELS"), or no table at all (any other word).
  vq::LabelMode LabelMode = vq::LabelMode::kNoLabels;
  std::vector<std::string> Labels;  // p texts of 15 with kLabels
  bool SaveEigenvalues = false;     // the `eig` file
  bool SaveResiduals = false;       // the `rsd` file (under LongListing only)
  // The `fac` file: principal factors left unrotated ("NONE").
  bool SaveUnrotatedLoadings = false;
};

// Width of the tables of the correlation phase (eigenvalues, residual
// covariances): 110 for a page of 120 or more, else the page.
int CappedTableWidth(int page_width);

// Three empty lines, the table "Eigenvalues of Initial Correlation Matrix"
// (all p `eigenvalues` as given, by decreasing modulus), an empty line,
// " Eigenvalue Plot", the scatter plot of the first min(p, 30) eigenvalues
// against their ranks, three empty lines. With SaveEigenvalues the `eig`
// file gets the p values as the plot leaves them: the plotted ones in
// descending order of value, the others in the order of the table.
void WriteEigenvalueScreen(const std::vector<double>& eigenvalues,
                           const ExtractionWriteOptions& options,
                           RunOutputs& outputs);

// " **** Communalities Failed to Converge ****" when result.PassLimitReached,
// then the fit section: the number of iterations, GFI, the residual table
// (LongListing), the moments block, the five-point summary, the histogram
// and class table of the residuals; with LongListing and SaveResiduals the
// residual matrix in the `rsd` file. A fit without its five-point summary
// (the run stopped there) is written up to the moments block only.
void WriteModelFit(const ExtractionResult& result,
                   const ExtractionWriteOptions& options,
                   RunOutputs& outputs);

// Under LongListing only: three empty lines, the table "Residual
// Covariances (1-h^2 on diagonal)" of the p by p `residuals` with row and
// column numbers, three empty lines.
void WriteResidualTable(const Matrix& residuals,
                        const ExtractionWriteOptions& options,
                        OutputFile& report);

// The vertical histogram of the class `counts` (DVHSTP) and the class table
// with `midpoints` and counts, kResidualClasses of each.
void WriteResidualDistribution(const std::vector<double>& midpoints,
                               const std::vector<double>& counts,
                               OutputFile& report);

// The `fac` file (SaveUnrotatedLoadings), the table "Unrotated Factor
// Loadings" (as LabelMode says), "Variance explained by each factor", a
// Heywood warning per flagged variable and "Final communality estimates".
void WriteUnrotatedResults(const ExtractionResult& result,
                           const ExtractionWriteOptions& options,
                           RunOutputs& outputs);

// For each flagged variable an empty line and
// "          ****WARNING !!! HEYWOOD CASE FOR VARIABLE  " I4 " ****".
void WriteHeywoodWarnings(const std::vector<bool>& heywood_cases, OutputFile& report);

}  // namespace vq

#endif  // VELQUORIN_WRITERS_EXTRACTION_WRITER_H_
