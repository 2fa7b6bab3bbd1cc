// Our side of the peer check of the aids (psych_peer.R): reads a correlation
// matrix, a solution and optionally item scores written by the R script,
// computes the likelihood fit, the MAP test and a parallel analysis, and
// writes the figures as "name value value ..." lines for the script to
// compare. The permuted data sets are correlated with the program's own
// polychoric estimator (dichotomous items included), one data set per
// thread, so that the seconds it reports are those of the analysis itself.
//
// Usage: aids_peer_tool DIR DATA_SETS SEED THREADS
//   DIR/input.txt  "N p m oblique", then S (p rows), the pattern (p rows of
//                  m), and with oblique 1 the factor correlations (m rows)
//   DIR/data.txt   "N p", then N rows of p scores (optional: without it no
//                  parallel analysis is made)
// writes DIR/ours.txt and DIR/aids.txt (the text of the aids file).
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "aids/aids_report.h"
#include "aids/likelihood_fit.h"
#include "aids/parallel_analysis.h"
#include "aids/velicer_map.h"
#include "correlation/pair_order.h"
#include "correlation/polychoric.h"
#include "kernels/failure.h"
#include "kernels/parallel.h"

namespace {

using vq::Matrix;

bool ReadMatrix(std::istream& in, int rows, int cols, Matrix& m) {
  m.Reset(rows, cols);
  for (int i = 0; i < rows; ++i) {
    for (int j = 0; j < cols; ++j) {
      if (!(in >> m(i, j))) return false;
    }
  }
  return true;
}

// Polychoric correlations of the columns of `data`, serially and without
// console lines; a pair whose search fails gives NaN, which the parallel
// analysis reports.
Matrix Polychorics(const Matrix& data) {
  const int n = data.rows;
  const int p = data.cols;
  vq::PolychoricCategories categories;
  vq::FindPolychoricCategories(data, n, p, categories);
  Matrix r(p, p);
  vq::PolychoricTable table;
  for (int i = 1; i < p; ++i) {
    for (int j = 0; j < i; ++j) {
      vq::CountPolychoricTable(categories, i, j, table);
      const vq::PolychoricEstimate estimate =
          vq::SearchPolychoricPair(table,
                                   categories.category_count[i],
                                   categories.category_count[j],
                                   categories.thresholds.Column(i),
                                   categories.thresholds.Column(j),
                                   vq::kIfailQuiet);
      r(i, j) = r(j, i) = estimate.failed ? NAN : estimate.r;
    }
    r(i, i) = 1.0;
  }
  r(0, 0) = 1.0;
  return r;
}

void WriteLine(std::ostream& out, const std::string& name, const std::vector<double>& values) {
  out << name;
  char buffer[32];
  for (double value : values) {
    std::snprintf(buffer, sizeof buffer, " %.17g", value);
    out << buffer;
  }
  out << "\n";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 5) {
    std::cerr << "usage: aids_peer_tool DIR DATA_SETS SEED THREADS\n";
    return 2;
  }
  const std::string dir = argv[1];
  std::ifstream input(dir + "/input.txt");
  int n = 0, p = 0, m = 0, oblique = 0;
  Matrix s, loadings, phi;
  if (!(input >> n >> p >> m >> oblique) || !ReadMatrix(input, p, p, s) ||
      !ReadMatrix(input, p, m, loadings) || (oblique && !ReadMatrix(input, m, m, phi))) {
    std::cerr << "aids_peer_tool: cannot read " << dir << "/input.txt\n";
    return 2;
  }

  vq::AidsFigures figures;
  figures.fit = vq::FitLikelihood(s, loadings, n, phi);
  figures.map = vq::VelicerMap(s);

  std::ifstream data_file(dir + "/data.txt");
  double seconds = 0.0;
  if (data_file) {
    int rows = 0, cols = 0;
    Matrix data;
    if (!(data_file >> rows >> cols) || cols != p || !ReadMatrix(data_file, rows, cols, data)) {
      std::cerr << "aids_peer_tool: cannot read " << dir << "/data.txt\n";
      return 2;
    }
    vq::ParallelAnalysisOptions options;
    options.data_sets = std::atoi(argv[2]);
    options.seed = std::strtoull(argv[3], nullptr, 10);
    options.threads = std::atoi(argv[4]);
    vq::SetThreadCount(1);  // the pairs of one data set run serially
    const auto start = std::chrono::steady_clock::now();
    int shown = 0;
    figures.parallel = vq::RunParallelAnalysis(data, s, Polychorics, options, [&](int done) {
      if (done < shown + 10 && done < options.data_sets) return;
      shown = done;
      std::cerr << "\r Parallel analysis: data set " << done << " of " << options.data_sets;
    });
    seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    std::cerr << "\n";
  }

  std::ofstream out(dir + "/ours.txt");
  const vq::LikelihoodFit& fit = *figures.fit;
  WriteLine(out,
            "fit",
            {fit.objective,
             fit.chi_square,
             static_cast<double>(fit.df),
             fit.p_value,
             fit.rmsea,
             fit.rmsea_lower,
             fit.rmsea_upper,
             fit.tli,
             fit.bic,
             fit.null_chi_square,
             static_cast<double>(fit.null_df)});
  WriteLine(out, "ss_loadings", fit.variance.ss_loadings);
  WriteLine(out, "proportion", fit.variance.proportion);
  WriteLine(out, "map_squared", figures.map->squared);
  WriteLine(out,
            "map_suggested",
            {static_cast<double>(figures.map->suggested_squared),
             static_cast<double>(figures.map->suggested_fourth)});
  if (figures.parallel) {
    const vq::ParallelAnalysisResult& parallel = *figures.parallel;
    WriteLine(out, "pc_observed", parallel.components.observed);
    WriteLine(out, "pc_percentile", parallel.components.percentile);
    WriteLine(out, "fa_observed", parallel.factors.observed);
    WriteLine(out, "fa_percentile", parallel.factors.percentile);
    WriteLine(out,
              "suggested",
              {static_cast<double>(parallel.components.suggested),
               static_cast<double>(parallel.factors.suggested)});
    WriteLine(out, "seconds", {seconds});
  }
  std::ofstream(dir + "/aids.txt") << vq::FormatAidsReport(figures);
  return out ? 0 : 1;
}
