#include "writers/rotation_writer.h"

#include <cmath>
#include <string>
#include <string_view>

#include "frame/console.h"
#include "report/matrix_table.h"
#include "report/plots.h"
#include "report/saved_files.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

constexpr std::string_view kHyperplaneBanner = "0===========HYPERPLANE COUNT====================0";
constexpr std::string_view kClosingBanner = "0==============================================0";

// Titles and trace numbers of the two orthogonal sections.
struct OrthogonalSection {
  bool weighted;
  int sorted_trace;
  int labelled_trace;
  int numbered_trace;
  int variance_trace;
  std::string_view sorted_title;
  std::string_view unsorted_title;
  std::string_view plot_title;
};

constexpr OrthogonalSection kVarimaxSection = {
    false,
    1502,
    1516,
    1520,
    1558,
    "VARIMAX: Sorted Factor Loadings ",
    "Varimax Rotated Factor Loadings",
    "Factor Pattern Plots:  Varimax Rotation",
};

constexpr OrthogonalSection kWeightedSection = {
    true,
    1329,
    1343,
    1347,
    1384,
    "VARIMAX: Sorted Factor Loadings  (Cureton - Mulaik Weights)",
    "Varimax Rotated Factor Loadings  (Cureton - Mulaik Weights)",
    "Factor Pattern Plots:  Weighted Varimax Rotation",
};

// Titles and the order of the parts of one oblique section.
struct ObliqueSection {
  std::string_view sorted_title;
  std::string_view unsorted_title;
  std::string_view correlation_title;
  std::string_view structure_title;
  std::string_view plot_title;
  // Promax counts the hyperplanes before its structure matrix; the others
  // print the structure matrix first, after two empty lines.
  bool structure_first;
};

constexpr ObliqueSection kPromaxSection = {
    "PROMAX Sorted Factor Loadings",
    "PROMAX Rotated Factor Loadings",
    "PROMAX: Inter-factor Correlations",
    "Promax Factor Structure Matrix",
    "Factor Pattern Plots:  Promax Rotation",
    false,
};

constexpr ObliqueSection kObliminSection = {
    "Oblimin Sorted Factor Loadings",
    "Oblimin Rotated Factor Loadings",
    "Oblimin: Inter-factor Correlations",
    "Oblimin Factor Structure Matrix",
    "Factor Pattern Plots:  Oblimin Rotation",
    true,
};

constexpr ObliqueSection kHarrisKaiserSection = {
    "Harris-Kaiser Sorted Factor Loadings",
    "Harris-Kaiser Rotated Factor Loadings",
    "Hairrs-Kaiser: Inter-factor Correlations",
    "Harris-Kaiser Factor Structure Matrix",
    "Factor Pattern Plots:  Harris-Kaiser Rotation",
    true,
};

// Prints the rows by cols matrix `a` by X04CBF with the report's choices
// (general matrix, column numbers, no indent) and, with a `trace_number` of
// 0 or more, the trace line of that number on a non-zero result. `labrow`
// 'C' takes `labels`, 'I' row numbers, 'N' none.
void PrintTable(OutputFile& report,
                const Matrix& a,
                std::string_view format,
                std::string_view title,
                char labrow,
                const std::vector<std::string>* labels,
                int page_width,
                int trace_number = -1) {
  int ifail = 0;
  X04CBF('G',
         'N',
         a.rows,
         a.cols,
         a.data(),
         a.rows,
         format,
         title,
         labrow,
         labrow == 'C' ? labels : nullptr,
         'I',
         nullptr,
         page_width,
         0,
         ifail,
         report);
  if (trace_number >= 0) TraceLine(ifail, trace_number);
}

// Two empty lines, the banner, one empty line, "Hyperplane Count (%) for
// Factor" I3 " = " I3 " (" F3.2 ")" for each factor, two empty lines, the
// closing banner, one empty line.
void HyperplaneSection(const RotatedSolution& solution, OutputFile& report) {
  report.EmptyLines(2);
  report.Write(kHyperplaneBanner);
  report.EmptyLines(1);
  const int p = solution.rows();
  for (int factor = 0; factor < static_cast<int>(solution.hyperplane_counts.size()); ++factor) {
    const int count = solution.hyperplane_counts[factor];
    const double share = static_cast<double>(count) / static_cast<double>(p);
    report.Write("Hyperplane Count (%) for Factor" + FormatI(factor + 1, 3) + " = " +
                 FormatI(count, 3) + " (" + FormatF(share, 3, 2) + ")");
  }
  report.EmptyLines(2);
  report.Write(kClosingBanner);
  report.EmptyLines(1);
}

// `title_line` in a record of 80 characters, then the factor pattern plots.
void PatternPlotSection(const RotationWriteOptions& options,
                        std::string_view title_line,
                        const Matrix& a,
                        OutputFile& report) {
  if (!options.plot_loadings) return;
  report.Write(PadRight(title_line, 80));
  FactorPatternPlots(a, a.rows, a.cols, report);
}

void SaveFactorFile(const RotationWriteOptions& options,
                    const Matrix& loadings,
                    RunOutputs& outputs) {
  if (!options.save_fac) return;
  OutputFile file;
  outputs.OpenSaved(file, kLoadingUnit, "fac");
  WriteLoadingRows(file, loadings);
  file.Close();
}

void SavePhiFile(const RotationWriteOptions& options,
                 const Matrix& correlations,
                 RunOutputs& outputs) {
  if (!options.save_fac) return;
  OutputFile file;
  outputs.OpenSaved(file, kPhiUnit, "phi");
  WriteMatrixRows(file, correlations, 12, 9, 1, 999);
  file.Close();
}

void WriteNotANumber(OutputFile& report) {
  report.EmptyLines(3);
  report.Write("****Serious problems occured during Varimax Rotation****");
  report.Write(Blanks(18) + " Execution Terminated");
}

void WriteOrthogonal(const RotatedSolution& solution,
                     const OrthogonalSection& section,
                     const RotationWriteOptions& options,
                     RunOutputs& outputs) {
  OutputFile& report = outputs.report();
  const Matrix& rotated = solution.loadings;
  report.EmptyLines(2);
  report.EmptyLines(2);
  if (options.sort_mode == SortMode::kSort) {
    PrintTable(report,
               rotated,
               "F8.3",
               section.sorted_title,
               'C',
               &solution.sorted_labels,
               options.page_width,
               section.sorted_trace);
  } else if (options.sort_mode == SortMode::kNoSort && options.label_mode == LabelMode::kLabels) {
    PrintTable(report,
               rotated,
               "F8.3",
               section.unsorted_title,
               'C',
               &solution.item_labels,
               options.page_width,
               section.labelled_trace);
  } else if (options.sort_mode == SortMode::kNoSort && options.label_mode == LabelMode::kNoLabels) {
    PrintTable(report,
               rotated,
               "F8.3",
               section.unsorted_title,
               'I',
               nullptr,
               options.page_width,
               section.numbered_trace);
  }

  if (!section.weighted) SaveFactorFile(options, rotated, outputs);

  report.EmptyLines(1);
  const int m = solution.factors();
  Matrix variance(1, m);
  for (int factor = 0; factor < m; ++factor) {
    variance(0, factor) = solution.variance_explained[factor];
  }
  report.EmptyLines(1);
  PrintTable(report,
             variance,
             "F8.3",
             "Variance explained by each rotated factor",
             'N',
             nullptr,
             options.page_width,
             section.variance_trace);
  report.EmptyLines(1);

  if (!section.weighted) {
    report.Write("Varimax Objective function = " + FormatF(solution.objective, 6, 4));
  }

  HyperplaneSection(solution, report);
  PatternPlotSection(options, section.plot_title, rotated, report);

  if (section.weighted) SaveFactorFile(options, rotated, outputs);
}

// A p by m table by the sorted rule under "SORT" and the item rule under
// "NOSORT"; any other sort word prints nothing.
void PrintPatternTable(const RotationWriteOptions& options,
                       const RotatedSolution& solution,
                       const Matrix& a,
                       std::string_view sorted_title,
                       std::string_view unsorted_title,
                       OutputFile& report) {
  if (options.sort_mode == SortMode::kSort) {
    PrintTable(report, a, "F8.3", sorted_title, 'C', &solution.sorted_labels, options.page_width);
  } else if (options.sort_mode == SortMode::kNoSort) {
    const bool labelled = options.label_mode == LabelMode::kLabels;
    PrintTable(report,
               a,
               "F8.3",
               unsorted_title,
               labelled ? 'C' : 'I',
               labelled ? &solution.item_labels : nullptr,
               options.page_width);
  }
}

void WriteOblique(const RotatedSolution& solution,
                  const ObliqueSection& section,
                  const RotationWriteOptions& options,
                  RunOutputs& outputs) {
  OutputFile& report = outputs.report();
  const Matrix& pattern = solution.loadings;
  PrintPatternTable(
      options, solution, pattern, section.sorted_title, section.unsorted_title, report);

  report.EmptyLines(2);
  PrintTable(report,
             solution.factor_correlations,
             "F8.3",
             section.correlation_title,
             'I',
             nullptr,
             options.page_width);

  SaveFactorFile(options, pattern, outputs);
  SavePhiFile(options, solution.factor_correlations, outputs);

  auto structure_table = [&] {
    PrintPatternTable(options,
                      solution,
                      solution.structure,
                      section.structure_title,
                      section.structure_title,
                      report);
  };
  if (section.structure_first) {
    report.EmptyLines(2);
    structure_table();
    HyperplaneSection(solution, report);
  } else {
    HyperplaneSection(solution, report);
    structure_table();
  }

  PatternPlotSection(options, section.plot_title, pattern, report);
}

}  // namespace

void WriteRotatedSolution(const RotatedSolution& solution,
                          const RotationWriteOptions& options,
                          RunOutputs& outputs) {
  if (solution.not_a_number) {
    WriteNotANumber(outputs.report());
    return;
  }
  switch (solution.method) {
    case Rotation::kVarimax:
      WriteOrthogonal(solution, kVarimaxSection, options, outputs);
      break;
    case Rotation::kWeightedVarimax:
      WriteOrthogonal(solution, kWeightedSection, options, outputs);
      break;
    case Rotation::kPromax:
      WriteOblique(solution, kPromaxSection, options, outputs);
      break;
    case Rotation::kOblimin:
      WriteOblique(solution, kObliminSection, options, outputs);
      break;
    case Rotation::kHarrisKaiser:
      WriteOblique(solution, kHarrisKaiserSection, options, outputs);
      break;
    default:
      InternalError("WriteRotatedSolution", "not a rotated solution");
  }
}

void WriteSortedItems(const RotatedSolution& solution,
                      const RotationWriteOptions& options,
                      RunOutputs& outputs) {
  OutputFile& report = outputs.report();
  const Matrix& a = solution.loadings;
  const int p = a.rows;
  const int m = a.cols;
  const std::vector<std::string>& item_texts = options.item_texts;
  report.EmptyLines(2);
  report.Write(" SORTED ITEMS");
  report.EmptyLines(1);
  int factor = 0;  // 0-based factor of the current header
  int row = 0;
  bool new_header = true;
  while (row < p) {
    if (new_header) {
      report.Write("FACTOR: " + FormatI(factor + 1, 4));
      new_header = false;
    }
    if (factor + 1 < m && std::fabs(a(row, factor + 1)) > std::fabs(a(row, factor))) {
      report.EmptyLines(1);
      ++factor;
      new_header = true;
      continue;
    }
    const double loading = a(row, factor);
    const int item = solution.sorted() ? solution.order[row] - 1 : row;
    const std::string text =
        item >= 0 && item < static_cast<int>(item_texts.size()) ? item_texts[item] : std::string();
    report.Write(std::string(loading > 0.0 ? "TRUE" : "FALSE") + FormatF(loading, 8, 3) +
                 "  ITEM:" + " " + PadRight(text, kItemTextWidth));
    ++row;
  }
  report.EmptyLines(2);
}

}  // namespace vq
