#include "extraction/eigenvalue_screen.h"

#include <algorithm>
#include <vector>

#include "frame/console.h"
#include "kernels/eigen.h"
#include "kernels/failure.h"
#include "report/matrix_table.h"
#include "report/saved_files.h"
#include "report/scatter.h"

namespace vq {

namespace {

// The plot shows at most this many ranks; the table and the file show all.
constexpr int kMostPlottedRanks = 30;
// Cells of the eigenvalue plot across and down.
constexpr int kPlotStepsAcross = 65;
constexpr int kPlotStepsDown = 20;
// The trace number of the eigenvalue table.
constexpr int kEigenTableTraceNumber = 0;

}  // namespace

int CappedTableWidth(int page_width) { return page_width >= 120 ? 110 : page_width; }

void EigenvalueScreen(const Matrix& r,
                      int p,
                      OutputFile& report,
                      int page_width,
                      const RunOptions& options,
                      std::string_view run_directory,
                      std::string_view run_stem) {
  const int width = CappedTableWidth(page_width);

  std::vector<double> eigenvalues;
  std::vector<double> imaginary_parts;
  DEVLRG(p, r, eigenvalues, imaginary_parts);
  // The plot sorts what it is given in place; a short answer of the solver
  // must not make it read past the end.
  eigenvalues.resize(std::max(p, 0), 0.0);

  report.EmptyLines(3);
  int ifail = kIfailHard;
  X04CBF('G',
         'N',
         1,
         p,
         eigenvalues.data(),
         1,
         "F8.3",
         "Eigenvalues of Initial Correlation Matrix",
         'N',
         nullptr,
         'I',
         nullptr,
         width,
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
           eigenvalues.data(),
           plotted,
           sort_index.data(),
           kPlotStepsAcross,
           kPlotStepsDown,
           ifail,
           report);
  }
  report.EmptyLines(3);

  if (Saves(options, SaveCode::kEig)) {
    OutputFile file;
    OpenSavedFile(file, kLoadingUnit, run_directory, run_stem, "eig");
    Matrix column(p, 1);
    for (int k = 0; k < p; ++k) column(k, 0) = eigenvalues[k];
    WriteMatrixRows(file, column, 8, 4, 0);
    file.Close();
  }
}

}  // namespace vq
