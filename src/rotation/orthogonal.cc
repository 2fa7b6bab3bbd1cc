#include "rotation/orthogonal.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "frame/console.h"
#include "kernels/factor_order.h"
#include "rotation/orthomax.h"
#include "rotation/random_start.h"
#include "rotation/solution.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Trace numbers and titles of the two branches.
struct OrthogonalSection {
  bool weighted;
  int rotation_trace;
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
    1448,
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
    1258,
    1329,
    1343,
    1347,
    1384,
    "VARIMAX: Sorted Factor Loadings  (Cureton - Mulaik Weights)",
    "Varimax Rotated Factor Loadings  (Cureton - Mulaik Weights)",
    "Factor Pattern Plots:  Weighted Varimax Rotation",
};

double Acosd(double x) { return std::acos(x) * (180.0 / std::numbers::pi); }

// Cosine of an angle in degrees, exact at 0 and 90.
double Cosd(double degrees) {
  if (degrees == 0.0) return 1.0;
  if (degrees == 90.0) return 0.0;
  return std::cos(degrees * (std::numbers::pi / 180.0));
}

// The common end of both branches: order and signs of the factors, the row
// sort, the tables, the objective function, the hyperplane counts, the plots
// and the `fac` file.
void FinishOrthogonal(const RunOptions& options,
                      const OrthogonalSection& section,
                      int p,
                      int m,
                      RotationResults& results,
                      OutputFile& report,
                      std::string_view run_directory,
                      std::string_view run_stem) {
  Matrix& rotated = results.RotatedLoadings;
  OrderFactors(rotated, p, m);
  ReflectFactors(rotated, p, m);
  report.EmptyLines(2);

  results.ItemLabels = ItemLabelsFor(options, p);
  results.ItemOrderLoadings = rotated;
  const bool sorted = options.SortMode == SortMode::kSort;
  if (sorted) {
    SortLoadings(rotated, p, m, results.Order);
    results.SortedLabels = SortedLabelsFor(results.ItemLabels, results.Order);
  }

  if (sorted) {
    PrintTable(report,
               rotated,
               p,
               m,
               "F8.3",
               section.sorted_title,
               'C',
               &results.SortedLabels,
               options.PageWidth,
               section.sorted_trace);
  } else if (options.SortMode == SortMode::kNoSort && options.LabelMode == LabelMode::kLabels) {
    PrintTable(report,
               rotated,
               p,
               m,
               "F8.3",
               section.unsorted_title,
               'C',
               &results.ItemLabels,
               options.PageWidth,
               section.labelled_trace);
  } else if (options.SortMode == SortMode::kNoSort && options.LabelMode == LabelMode::kNoLabels) {
    PrintTable(report,
               rotated,
               p,
               m,
               "F8.3",
               section.unsorted_title,
               'I',
               nullptr,
               options.PageWidth,
               section.numbered_trace);
  }

  if (!section.weighted) SaveFactorFile(options, rotated, run_directory, run_stem);

  report.EmptyLines(1);
  Matrix variance(1, m);
  for (int factor = 0; factor < m; ++factor) {
    double sum = 0.0;
    for (int item = 0; item < p; ++item) sum += rotated(item, factor) * rotated(item, factor);
    variance(0, factor) = sum;
  }
  report.EmptyLines(1);
  PrintTable(report,
             variance,
             1,
             m,
             "F8.3",
             "Variance explained by each rotated factor",
             'N',
             nullptr,
             options.PageWidth,
             section.variance_trace);
  report.EmptyLines(1);

  if (!section.weighted) {
    report.Write("Varimax Objective function = " + FormatF(ObjectiveFunction(rotated, p, m), 6, 4));
  }

  HyperplaneSection(rotated, p, m, options.HyperplaneWidth, report);
  PatternPlotSection(options, section.plot_title, rotated, p, m, report);

  if (section.weighted) SaveFactorFile(options, rotated, run_directory, run_stem);
  results.orthogonal = true;
}

}  // namespace

double CuretonMulaikWeight(double x, int m) {
  const double s = std::sqrt(1.0 / m);
  // Rounding can lift a normalised loading just above 1, outside the domain
  // of the arc cosine; 1 gives the weight of the limit.
  x = std::min(x, 1.0);
  const double acosd_s = Acosd(s);
  double e;
  if (!(x < s)) {
    e = 90.0 * (acosd_s - Acosd(x)) / acosd_s;
  } else {
    e = 90.0 * (Acosd(x) - acosd_s) / (90.0 - acosd_s);
  }
  const double cosine = Cosd(e);
  return cosine * cosine + 0.001;
}

void RunVarimax(const RunOptions& options,
                Matrix& loadings,
                int p,
                int m,
                RotationResults& results,
                OutputFile& report,
                std::string_view run_directory,
                std::string_view run_stem) {
  if (options.RandomStart == RandomStart::kRandom) RandomOrientation(loadings, p, m);

  int iterations = 0;
  int ifail = 0;
  G03BAF('S',
         1.0,
         p,
         m,
         loadings,
         results.RotatedLoadings,
         results.RotationMatrix,
         options.RotationEpsilon,
         options.RotationIterations,
         iterations,
         ifail);
  TraceLine(ifail, kVarimaxSection.rotation_trace);

  if (std::isnan(results.RotatedLoadings(0, 0))) {
    ConsoleEmptyLines(3);
    ConsoleLine(30, "Fatal Error: Serious problems occured during Varimax Rotation");
    ConsoleEmptyLines(3);
    Pause();
    report.EmptyLines(3);
    report.Write("****Serious problems occured during Varimax Rotation****");
    report.Write(Blanks(18) + " Execution Terminated");
    PlainStop();
  }
  if (ifail == 3) {
    ConsoleFreeForm("Rotation Failed to Converge");
    Pause();
  }

  report.EmptyLines(2);
  FinishOrthogonal(options, kVarimaxSection, p, m, results, report, run_directory, run_stem);
}

void RunWeightedVarimax(const RunOptions& options,
                        Matrix& loadings,
                        const std::vector<double>& communalities,
                        int p,
                        int m,
                        RotationResults& results,
                        OutputFile& report,
                        std::string_view run_directory,
                        std::string_view run_stem) {
  // Row lengths from the communalities. A communality of 0 or below belongs
  // to a row without direction: it is left unscaled, gets the floor weight
  // and comes back as it went in.
  std::vector<double> length(p, 1.0);
  std::vector<double> weight(p);
  std::vector<bool> flipped(p, false);
  for (int item = 0; item < p; ++item) {
    if (communalities[item] > 0.0) length[item] = std::sqrt(communalities[item]);
    for (int factor = 0; factor < m; ++factor) {
      loadings(item, factor) = loadings(item, factor) / length[item];
    }
    if (loadings(item, 0) < 0.0) {
      flipped[item] = true;
      for (int factor = 0; factor < m; ++factor) loadings(item, factor) = -loadings(item, factor);
    }
    weight[item] = CuretonMulaikWeight(loadings(item, 0), m);
    for (int factor = 0; factor < m; ++factor) {
      loadings(item, factor) = loadings(item, factor) * weight[item];
    }
  }

  if (options.RandomStart == RandomStart::kRandom) RandomOrientation(loadings, p, m);

  int iterations = 0;
  int ifail = 0;
  G03BAF('U',
         1.0,
         p,
         m,
         loadings,
         results.RotatedLoadings,
         results.RotationMatrix,
         options.RotationEpsilon,
         options.RotationIterations,
         iterations,
         ifail);
  TraceLine(ifail, kWeightedSection.rotation_trace);
  report.EmptyLines(2);

  Matrix& rotated = results.RotatedLoadings;
  for (int item = 0; item < p; ++item) {
    for (int factor = 0; factor < m; ++factor) {
      rotated(item, factor) = rotated(item, factor) / weight[item];
      if (flipped[item]) rotated(item, factor) = -rotated(item, factor);
    }
    for (int factor = 0; factor < m; ++factor) {
      rotated(item, factor) = rotated(item, factor) * length[item];
    }
  }
  FinishOrthogonal(options, kWeightedSection, p, m, results, report, run_directory, run_stem);
}

}  // namespace vq
