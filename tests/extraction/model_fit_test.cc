#include "extraction/model_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "extraction_test_support.h"
#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

using testing_support::Equicorrelation;
using testing_support::FourVariableFit;

TEST(ComputeModelFit, KnownResidualsGiveKnownFigures) {
  const FourVariableFit four;
  ModelFit fit;
  ComputeModelFit(four.r0, four.rhat, four.communalities, fit);
  const std::vector<double> residuals = {-0.1234, 0.05, 0.2, -0.3, 0.1, 0.0};
  ASSERT_EQ(fit.OffDiagonalResiduals.size(), 6u);
  for (int k = 0; k < 6; ++k) EXPECT_NEAR(fit.OffDiagonalResiduals[k], residuals[k], 1e-15);

  // a = 2 * 0.15772756 / 16 against a unit diagonal, b = (4 + 12 * 0.25) / 16.
  EXPECT_NEAR(fit.Gfi, 1.0 - 2.0 * 0.15772756 / 7.0, 1e-14);
  EXPECT_NEAR(fit.MeanSquaredResidual, 0.15772756 / 6.0, 1e-15);
  EXPECT_NEAR(fit.Rmsr, std::sqrt(0.15772756 / 6.0), 1e-15);
  EXPECT_NEAR(fit.Mean, -0.0734 / 6.0, 1e-15);
  EXPECT_EQ(fit.Smallest, fit.OffDiagonalResiduals[3]);
  EXPECT_EQ(fit.Largest, fit.OffDiagonalResiduals[2]);
  EXPECT_NEAR(fit.StandardDeviation, 0.17710, 1e-4);

  // k = 6 (even), h = 3 (odd): median (0 + 0.05) / 2, hinges y(2) and y(5).
  ASSERT_TRUE(fit.HasFivePointSummary);
  EXPECT_NEAR(fit.FivePointSummary[0], -0.3, 1e-15);
  EXPECT_NEAR(fit.FivePointSummary[1], -0.1234, 1e-15);
  EXPECT_NEAR(fit.FivePointSummary[2], 0.025, 1e-15);
  EXPECT_NEAR(fit.FivePointSummary[3], 0.1, 1e-15);
  EXPECT_NEAR(fit.FivePointSummary[4], 0.2, 1e-15);

  // The residual matrix shows 1 - h^2 on its diagonal.
  ASSERT_EQ(fit.Residuals.rows, 4);
  for (int i = 0; i < 4; ++i) EXPECT_NEAR(fit.Residuals(i, i), 0.4, 1e-15);
  EXPECT_NEAR(fit.Residuals(1, 2), -0.3, 1e-15);
  EXPECT_EQ(fit.Residuals(2, 1), fit.Residuals(1, 2));

  // -0.3 in class 15, -0.1234 in 19, 0 in 21, 0.05 in 22, 0.1 in 23, 0.2 in 25.
  std::vector<double> counts(kResidualClasses, 0.0);
  for (int c : {15, 19, 21, 22, 23, 25}) counts[c - 1] = 1.0;
  EXPECT_EQ(fit.ClassCounts, counts);
  ASSERT_EQ(fit.ClassMidpoints.size(), static_cast<std::size_t>(kResidualClasses));
  EXPECT_NEAR(fit.ClassMidpoints[0], -1.0, 1e-6);
  EXPECT_NEAR(fit.ClassMidpoints[20], 0.0, 1e-6);
  EXPECT_NEAR(fit.ClassMidpoints[40], 1.0, 1e-6);
}

TEST(ComputeModelFit, PerfectFitGivesGfiOneAndAllResidualsInClass21) {
  const int p = 11;
  const Matrix r0 = Equicorrelation(p, 0.3);
  ModelFit fit;
  ComputeModelFit(r0, r0, std::vector<double>(p, 0.3), fit);
  EXPECT_EQ(fit.Gfi, 1.0);
  EXPECT_EQ(fit.MeanSquaredResidual, 0.0);
  EXPECT_EQ(fit.OffDiagonalResiduals.size(), 55u);
  EXPECT_EQ(fit.ClassCounts[20], 55.0);
  EXPECT_NEAR(fit.Residuals(4, 4), 0.7, 1e-15);
}

TEST(ComputeModelFit, ThreeVariablesStopAtTheFivePointSummary) {
  // Three residuals are too few for the summary: the stop leaves the fit
  // with everything before it, so that the report can show that much.
  const int p = 3;
  const Matrix r0 = Equicorrelation(p, 0.4);
  Matrix rhat = Equicorrelation(p, 0.3);
  ModelFit fit;
  ConsoleCapture capture;
  ResetImslState();
  EXPECT_THROW(ComputeModelFit(r0, rhat, std::vector<double>(p, 0.3), fit), RunStopped);
  ResetImslState();
  EXPECT_NE(capture.Out().find("** On entry N.lt.5 : N =                3\n"), std::string::npos);
  EXPECT_FALSE(fit.HasFivePointSummary);
  EXPECT_NEAR(fit.Mean, 0.1, 1e-15);
  EXPECT_NEAR(fit.MeanSquaredResidual, 0.01, 1e-15);
  EXPECT_TRUE(fit.ClassCounts.empty());
}

}  // namespace
}  // namespace vq
