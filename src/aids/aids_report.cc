#include "aids/aids_report.h"

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace vq {
namespace {

// `value` with `decimals` decimals right-aligned in `width`; "--" when NaN.
std::string Fixed(double value, int width, int decimals) {
  if (std::isnan(value)) return std::string(width > 2 ? width - 2 : 0, ' ') + "--";
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%*.*f", width, decimals, value);
  // A value that rounds to zero shows no sign (a zero eigenvalue of a
  // singular matrix comes out of the solver as +-1e-16).
  std::string text = buffer;
  const std::size_t minus = text.find('-');
  if (minus != std::string::npos && text.find_first_of("123456789") == std::string::npos) {
    text[minus] = ' ';
  }
  return text;
}

std::string Integer(long long value, int width) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%*lld", width, value);
  return buffer;
}

// A p-value: four decimals, or "< 0.0001" below that.
std::string Probability(double value, int width) {
  if (!std::isnan(value) && value < 0.00005) {
    const std::string text = "< 0.0001";
    return std::string(width > 8 ? width - 8 : 0, ' ') + text;
  }
  return Fixed(value, width, 4);
}

std::string TrimRight(std::string line) {
  while (!line.empty() && line.back() == ' ') line.pop_back();
  return line + "\n";
}

void WriteParallel(const ParallelAnalysisResult& parallel, std::string& text) {
  const int level = static_cast<int>(std::lround(parallel.percentile * 100.0));
  text += "Parallel analysis: " + std::to_string(parallel.data_sets) +
          " data sets of permuted item scores, seed " + std::to_string(parallel.seed) + "\n";
  text += "(columns shuffled independently; " + std::to_string(parallel.observations) +
          " subjects, " + std::to_string(parallel.variables) + " variables; percentile " +
          std::to_string(level) + ", type 7)\n\n";
  text += "          Components (full matrix)       Factors (SMC-reduced matrix)\n";
  std::string percentile_name = "Pctl " + std::to_string(level);
  percentile_name.insert(0, 10 - std::min<std::size_t>(10, percentile_name.size()), ' ');
  text += TrimRight("Position  Observed      Mean" + percentile_name + "    Observed      Mean" +
                    percentile_name);
  for (int position = 0; position < parallel.variables; ++position) {
    std::string line = Integer(position + 1, 8);
    line += Fixed(parallel.components.observed[position], 10, 4);
    line += Fixed(parallel.components.mean[position], 10, 4);
    line += Fixed(parallel.components.percentile[position], 10, 4);
    line += "  ";
    line += Fixed(parallel.factors.observed[position], 10, 4);
    line += Fixed(parallel.factors.mean[position], 10, 4);
    line += Fixed(parallel.factors.percentile[position], 10, 4);
    text += TrimRight(line);
  }
  text += "\nSuggested number of components: " + Integer(parallel.components.suggested, 4) + "\n";
  text += "Suggested number of factors:    " + Integer(parallel.factors.suggested, 4) + "\n";
}

void WriteMap(const MapResult& map, std::string& text) {
  text += "Velicer's minimum average partial (MAP) test\n";
  text += "(average squared and fourth-power partial correlations after removing m components)\n\n";
  text += "       m  Mean r^2  Mean r^4\n";
  for (std::size_t m = 0; m < map.squared.size(); ++m) {
    text += TrimRight(Integer(static_cast<long long>(m), 8) + Fixed(map.squared[m], 10, 6) +
                      Fixed(map.fourth[m], 10, 6));
  }
  text += "\nSuggested by the squared averages:      " + Integer(map.suggested_squared, 4) + "\n";
  text += "Suggested by the fourth-power averages: " + Integer(map.suggested_fourth, 4) + "\n";
}

void WriteFit(const LikelihoodFit& fit, std::string& text) {
  text += "Likelihood fit of the solution (factors " + std::to_string(fit.factors) +
          ", variables " + std::to_string(fit.variables) + ", subjects " +
          std::to_string(fit.observations) + ")\n";
  if (fit.smoothed_correlations) {
    text += "(the correlation matrix was smoothed to be positive definite)\n";
  }
  if (fit.smoothed_model) {
    text += "(the reproduced matrix was smoothed to be positive definite)\n";
  }
  text += "\n";
  text += "Figure                               Value      df   p-value\n";
  text += TrimRight("Discrepancy F                   " + Fixed(fit.objective, 10, 5));
  text += "Chi-square (Bartlett corrected) " + Fixed(fit.chi_square, 10, 3) + Integer(fit.df, 8) +
          Probability(fit.p_value, 10) + "\n";
  text += "Null model chi-square           " + Fixed(fit.null_chi_square, 10, 3) +
          Integer(fit.null_df, 8) + "\n";
  text += TrimRight("RMSEA                           " + Fixed(fit.rmsea, 10, 4));
  text += TrimRight("RMSEA 90% interval, lower       " + Fixed(fit.rmsea_lower, 10, 4));
  text += TrimRight("RMSEA 90% interval, upper       " + Fixed(fit.rmsea_upper, 10, 4));
  text += TrimRight("Tucker-Lewis index              " + Fixed(fit.tli, 10, 4));
  text += TrimRight("BIC                             " + Fixed(fit.bic, 10, 3));

  text += "\nVariance accounted for\n\n";
  text += "  Factor  SS loadings  Proportion  Cumulative   Explained  Cumulative\n";
  const FactorVariance& variance = fit.variance;
  for (std::size_t factor = 0; factor < variance.ss_loadings.size(); ++factor) {
    text += Integer(static_cast<long long>(factor + 1), 8) +
            Fixed(variance.ss_loadings[factor], 13, 4) + Fixed(variance.proportion[factor], 12, 4) +
            Fixed(variance.cumulative[factor], 12, 4) +
            Fixed(variance.proportion_explained[factor], 12, 4) +
            Fixed(variance.cumulative_explained[factor], 12, 4) + "\n";
  }
}

}  // namespace

std::string FormatAidsReport(const AidsFigures& figures) {
  std::string text;
  auto separate = [&]() {
    if (!text.empty()) text += "\n\n";
  };
  if (figures.parallel) {
    separate();
    WriteParallel(*figures.parallel, text);
  }
  if (figures.map) {
    separate();
    WriteMap(*figures.map, text);
  }
  if (figures.fit) {
    separate();
    WriteFit(*figures.fit, text);
  }
  return text;
}

}  // namespace vq
