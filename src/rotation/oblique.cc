#include "rotation/oblique.h"

#include <string>

#include "kernels/factor_order.h"
#include "rotation/harris_kaiser.h"
#include "rotation/oblimin.h"
#include "rotation/promax.h"
#include "rotation/random_start.h"
#include "rotation/solution.h"

namespace vq {
namespace {

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

// p by m times m by m.
Matrix TimesCorrelations(const Matrix& pattern, const Matrix& phi, int p, int m) {
  Matrix result(p, m);
  for (int j = 0; j < m; ++j) {
    for (int i = 0; i < p; ++i) {
      double sum = 0.0;
      for (int k = 0; k < m; ++k) sum += pattern(i, k) * phi(k, j);
      result(i, j) = sum;
    }
  }
  return result;
}

// A p by m table by the sorted rule under "SORT" and the item rule under
// "NOSORT"; any other word in `SortMode` prints nothing.
void PrintPatternTable(const RunOptions& options,
                       const RotationResults& results,
                       const Matrix& a,
                       int p,
                       int m,
                       std::string_view sorted_title,
                       std::string_view unsorted_title,
                       OutputFile& report) {
  if (options.SortMode == SortMode::kSort) {
    PrintTable(
        report, a, p, m, "F8.3", sorted_title, 'C', &results.SortedLabels, options.PageWidth);
  } else if (options.SortMode == SortMode::kNoSort) {
    const bool labelled = options.LabelMode == LabelMode::kLabels;
    PrintTable(report,
               a,
               p,
               m,
               "F8.3",
               unsorted_title,
               labelled ? 'C' : 'I',
               labelled ? &results.ItemLabels : nullptr,
               options.PageWidth);
  }
}

void StructureTable(const RunOptions& options,
                    const ObliqueSection& section,
                    int p,
                    int m,
                    RotationResults& results,
                    OutputFile& report) {
  results.FactorStructure =
      TimesCorrelations(results.FactorPattern, results.FactorCorrelations, p, m);
  if (options.SortMode == SortMode::kSort) {
    results.ItemOrderStructure =
        TimesCorrelations(results.ItemOrderPattern, results.FactorCorrelations, p, m);
  } else {
    results.ItemOrderStructure = results.FactorStructure;
  }
  PrintPatternTable(options,
                    results,
                    results.FactorStructure,
                    p,
                    m,
                    section.structure_title,
                    section.structure_title,
                    report);
}

// Everything of an oblique section after the rotation itself.
void FinishOblique(const RunOptions& options,
                   const ObliqueSection& section,
                   int p,
                   int m,
                   RotationResults& results,
                   OutputFile& report,
                   std::string_view run_directory,
                   std::string_view run_stem) {
  Matrix& pattern = results.FactorPattern;
  Matrix& phi = results.FactorCorrelations;
  ReflectObliqueFactors(pattern, phi, p, m);
  OrderObliqueFactors(pattern, p, m, phi);

  results.ItemLabels = ItemLabelsFor(options, p);
  results.ItemOrderPattern = pattern;
  if (options.SortMode == SortMode::kSort) {
    SortLoadings(pattern, p, m, results.Order);
    results.SortedLabels = SortedLabelsFor(results.ItemLabels, results.Order);
  }
  PrintPatternTable(
      options, results, pattern, p, m, section.sorted_title, section.unsorted_title, report);

  report.EmptyLines(2);
  PrintTable(report, phi, m, m, "F8.3", section.correlation_title, 'I', nullptr, options.PageWidth);

  SaveFactorFile(options, pattern, run_directory, run_stem);
  SavePhiFile(options, phi, run_directory, run_stem);

  if (section.structure_first) {
    report.EmptyLines(2);
    StructureTable(options, section, p, m, results, report);
    HyperplaneSection(pattern, p, m, options.HyperplaneWidth, report);
  } else {
    HyperplaneSection(pattern, p, m, options.HyperplaneWidth, report);
    StructureTable(options, section, p, m, results, report);
  }

  PatternPlotSection(options, section.plot_title, pattern, p, m, report);
  results.oblique = true;
}

}  // namespace

std::vector<double> UniqueVariances(const RunOptions& options,
                                    const std::vector<double>& communalities,
                                    const Matrix& r,
                                    int p) {
  std::vector<double> d(p, 1.0);
  if (options.Model == Model::kComponents) return d;
  if (options.Model == Model::kPrincipalFactors) {
    for (int item = 0; item < p; ++item) d[item] = 1.0 - r(item, item);
    return d;
  }
  // A given pattern has no working matrix: its own communalities stand in
  // for the final ones of a principal factor solution.
  for (int item = 0; item < p; ++item) d[item] = 1.0 - communalities[item];
  return d;
}

void RunPromax(const RunOptions& options,
               int p,
               int m,
               RotationResults& results,
               OutputFile& report,
               std::string_view run_directory,
               std::string_view run_stem) {
  PROMAX(results.ItemOrderLoadings,
         results.FactorPattern,
         results.FactorCorrelations,
         p,
         m,
         options.PromaxPower);
  FinishOblique(options, kPromaxSection, p, m, results, report, run_directory, run_stem);
}

void RunOblimin(const RunOptions& options,
                Matrix& loadings,
                int p,
                int m,
                RotationResults& results,
                OutputFile& report,
                std::string_view run_directory,
                std::string_view run_stem) {
  if (options.RandomStart == RandomStart::kRandom) RandomOrientation(loadings, p, m);
  DFDOBL(p,
         m,
         loadings,
         1,
         options.ObliminDelta,
         options.RotationIterations,
         options.RotationEpsilon,
         results.FactorPattern,
         results.FactorCorrelations);
  FinishOblique(options, kObliminSection, p, m, results, report, run_directory, run_stem);
}

void RunHarrisKaiser(const RunOptions& options,
                     Matrix& loadings,
                     const std::vector<double>& unique_variances,
                     int p,
                     int m,
                     RotationResults& results,
                     OutputFile& report,
                     std::string_view run_directory,
                     std::string_view run_stem) {
  if (options.RandomStart == RandomStart::kRandom) RandomOrientation(loadings, p, m);
  DFHARR(p,
         m,
         loadings,
         1,
         options.RotationIterations,
         1.0,
         options.HarrisKaiserParameter,
         options.RotationEpsilon,
         unique_variances,
         results.FactorPattern,
         results.FactorCorrelations);
  FinishOblique(options, kHarrisKaiserSection, p, m, results, report, run_directory, run_stem);
}

}  // namespace vq
