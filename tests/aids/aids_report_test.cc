#include "aids/aids_report.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vq {
namespace {

TEST(AidsReportTest, FixedColumnsWithNamedFigures) {
  AidsFigures figures;
  ParallelAnalysisResult parallel;
  parallel.variables = 2;
  parallel.observations = 300;
  parallel.data_sets = 100;
  parallel.seed = 7;
  parallel.components = {{1.6, 0.4}, {1.1, 0.9}, {1.15, 0.95}, 1};
  // A zero from the solver as -1e-17 shows no sign.
  parallel.factors = {{0.9, -1e-17}, {0.1, -0.1}, {0.15, -0.05}, 1};
  figures.parallel = parallel;
  MapResult map;
  map.squared = {0.36, NAN};
  map.fourth = {0.1296, NAN};
  figures.map = map;
  LikelihoodFit fit;
  fit.variables = 5;
  fit.factors = 1;
  fit.observations = 1000;
  fit.objective = 0.0555575;
  fit.chi_square = 55.326007;
  fit.df = 5;
  fit.p_value = 1.1e-10;
  fit.rmsea = 0.1003205;
  fit.rmsea_lower = 0.0775404;
  fit.rmsea_upper = NAN;
  fit.tli = 0.8218112;
  fit.bic = 20.78723;
  fit.null_chi_square = 575.246482;
  fit.null_df = 10;
  fit.variance = {{1.342009}, {0.268402}, {0.268402}, {1.0}, {1.0}};
  figures.fit = fit;
  EXPECT_EQ(FormatAidsReport(figures),
            R"(Parallel analysis: 100 data sets of permuted item scores, seed 7
(columns shuffled independently; 300 subjects, 2 variables; percentile 95, type 7)

          Components (full matrix)       Factors (SMC-reduced matrix)
Position  Observed      Mean   Pctl 95    Observed      Mean   Pctl 95
       1    1.6000    1.1000    1.1500      0.9000    0.1000    0.1500
       2    0.4000    0.9000    0.9500      0.0000   -0.1000   -0.0500

Suggested number of components:    1
Suggested number of factors:       1


Velicer's minimum average partial (MAP) test
(average squared and fourth-power partial correlations after removing m components)

       m  Mean r^2  Mean r^4
       0  0.360000  0.129600
       1        --        --

Suggested by the squared averages:         0
Suggested by the fourth-power averages:    0


Likelihood fit of the solution (factors 1, variables 5, subjects 1000)

Figure                               Value      df   p-value
Discrepancy F                      0.05556
Chi-square (Bartlett corrected)     55.326       5  < 0.0001
Null model chi-square              575.246      10
RMSEA                               0.1003
RMSEA 90% interval, lower           0.0775
RMSEA 90% interval, upper               --
Tucker-Lewis index                  0.8218
BIC                                 20.787

Variance accounted for

  Factor  SS loadings  Proportion  Cumulative   Explained  Cumulative
       1       1.3420      0.2684      0.2684      1.0000      1.0000
)");
}

}  // namespace
}  // namespace vq
