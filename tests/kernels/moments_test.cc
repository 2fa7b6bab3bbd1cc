#include "kernels/moments.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

TEST(G01AAF, MomentsWithDivisorNMinusOneAndTheDegenerateCases) {
  // Deviations -3, -2, -1, 0, 6: S2 = 50, S3 = 180, S4 = 1394. No spread
  // gives zero moments; fewer than two values are quiet failures 2 and 1.
  const struct {
    std::vector<double> x;
    int n, ifail;
    double mean, sd, skewness, kurtosis;
  } cases[] = {
      {{1, 2, 3, 4, 10},
       5,
       0,
       4.0,
       std::sqrt(12.5),
       180.0 / (4.0 * std::pow(12.5, 1.5)),
       1394.0 / (4.0 * 12.5 * 12.5) - 3.0},
      {{0.25, 0.25, 0.25}, 3, 0, 0.25, 0, 0, 0},
      {{-0.125}, 1, 2, -0.125, 0, 0, 0},
      {{-0.125}, 0, 1, 0, 0, 0, 0},
  };
  ConsoleCapture capture;
  for (const auto& c : cases) {
    double mean = 0, sd = 0, skewness = 0, kurtosis = 0, xmin = 0, xmax = 0;
    int ifail = kIfailQuiet;
    G01AAF(c.n, c.x.data(), mean, sd, skewness, kurtosis, xmin, xmax, ifail);
    EXPECT_EQ(ifail, c.ifail) << c.n;
    EXPECT_NEAR(mean, c.mean, 1e-15) << c.n;
    EXPECT_NEAR(sd, c.sd, 1e-15) << c.n;
    EXPECT_NEAR(skewness, c.skewness, 1e-14) << c.n;
    EXPECT_NEAR(kurtosis, c.kurtosis, 1e-14) << c.n;
    if (c.n == 5) {
      EXPECT_EQ(xmin, 1.0);
      EXPECT_EQ(xmax, 10.0);
    }
  }
  EXPECT_EQ(capture.Out(), "");
}

TEST(G01ALF, MedianAndHingesForEachParity) {
  // {minimum, lower hinge, median, upper hinge, maximum} of 1..k shuffled.
  const struct {
    std::vector<double> x;
    std::vector<double> summary;
  } cases[] = {
      // k = 5, h = 3, q = 2: hinges y(2) and y(4).
      {{5, 1, 4, 2, 3}, {1, 2, 3, 4, 5}},
      // k = 6, h = 3, q = 2: median (y3 + y4) / 2, hinges y(2) and y(5).
      {{6, 5, 4, 3, 2, 1}, {1, 2, 3.5, 5, 6}},
      // k = 7, h = 4, q = 2: median y(4), hinges (y2 + y3) / 2, (y5 + y6) / 2.
      {{70, 10, 20, 40, 30, 60, 50}, {10, 25, 40, 55, 70}},
      // k = 8, h = 4, q = 2: median (y4 + y5) / 2, hinges as for k = 7.
      {{1, 2, 3, 4, 5, 6, 7, 8}, {1, 2.5, 4.5, 6.5, 8}},
      // k = 10, h = 5, q = 3: hinges y(3) and y(8).
      {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {1, 3, 5.5, 8, 10}},
  };
  for (const auto& c : cases) {
    std::vector<double> res(5);
    int ifail = kIfailHard;
    G01ALF(static_cast<int>(c.x.size()), c.x.data(), res.data(), ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_EQ(res, c.summary) << c.x.size();
  }
}

TEST(G01ALF, FewerThanFiveValuesIsAHardFailure) {
  // The leading blank of each record is its control position, not shown.
  ConsoleCapture capture;
  const std::vector<double> x{0.1, 0.2, 0.3};
  double res[5];
  int ifail = kIfailHard;
  try {
    G01ALF(3, x.data(), res, ifail);
    FAIL() << "the run should have stopped";
  } catch (const RunStopped& stop) {
    EXPECT_EQ(stop.kind, RunStopped::Kind::kPlainStop);
  }
  const std::string out = capture.Out();
  EXPECT_EQ(out.substr(0, out.find("Stop")),
            "** On entry N.lt.5 : N =                3\n"
            "** ABNORMAL EXIT from NAG Library routine G01ALF: IFAIL =     1\n"
            "** NAG hard failure - execution terminated\n");
}

}  // namespace
}  // namespace vq
