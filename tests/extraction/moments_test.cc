#include "extraction/moments.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

TEST(G01AAF, MomentsWithDivisorNMinusOne) {
  // Deviations -3, -2, -1, 0, 6: S2 = 50, S3 = 180, S4 = 1394.
  const std::vector<double> x{1, 2, 3, 4, 10};
  double mean, sd, skewness, kurtosis, xmin, xmax;
  int ifail = kIfailHard;
  G01AAF(5, x.data(), mean, sd, skewness, kurtosis, xmin, xmax, ifail);
  EXPECT_EQ(ifail, 0);
  EXPECT_DOUBLE_EQ(mean, 4.0);
  EXPECT_DOUBLE_EQ(sd, std::sqrt(12.5));
  EXPECT_NEAR(skewness, 180.0 / (4.0 * std::pow(12.5, 1.5)), 1e-14);
  EXPECT_NEAR(kurtosis, 1394.0 / (4.0 * 12.5 * 12.5) - 3.0, 1e-14);
  EXPECT_EQ(xmin, 1.0);
  EXPECT_EQ(xmax, 10.0);
}

TEST(G01AAF, NoSpreadGivesZeroMoments) {
  const std::vector<double> x{0.25, 0.25, 0.25};
  double mean, sd, skewness, kurtosis, xmin, xmax;
  int ifail = kIfailHard;
  G01AAF(3, x.data(), mean, sd, skewness, kurtosis, xmin, xmax, ifail);
  EXPECT_EQ(ifail, 0);
  EXPECT_EQ(mean, 0.25);
  EXPECT_EQ(sd, 0.0);
  EXPECT_EQ(skewness, 0.0);
  EXPECT_EQ(kurtosis, 0.0);
}

TEST(G01AAF, QuietFailuresForFewerThanTwoValues) {
  ConsoleCapture capture;
  const std::vector<double> x{-0.125};
  double mean, sd, skewness, kurtosis, xmin, xmax;
  int ifail = kIfailQuiet;
  G01AAF(1, x.data(), mean, sd, skewness, kurtosis, xmin, xmax, ifail);
  EXPECT_EQ(ifail, 2);
  EXPECT_EQ(mean, -0.125);
  EXPECT_EQ(sd, 0.0);
  EXPECT_EQ(skewness, 0.0);
  EXPECT_EQ(kurtosis, 0.0);
  ifail = kIfailQuiet;
  G01AAF(0, x.data(), mean, sd, skewness, kurtosis, xmin, xmax, ifail);
  EXPECT_EQ(ifail, 1);
  EXPECT_EQ(mean, 0.0);
  EXPECT_EQ(capture.Out(), "");
}

struct Summary {
  double minimum, lower, median, upper, maximum;
};

Summary FivePoints(const std::vector<double>& x) {
  double res[5];
  int ifail = kIfailHard;
  G01ALF(static_cast<int>(x.size()), x.data(), res, ifail);
  EXPECT_EQ(ifail, 0);
  return {res[0], res[1], res[2], res[3], res[4]};
}

TEST(G01ALF, OddCountOddHalf) {
  // k = 5, h = 3, q = 2: hinges y(2) and y(4).
  const Summary s = FivePoints({5, 1, 4, 2, 3});
  EXPECT_EQ(s.minimum, 1);
  EXPECT_EQ(s.lower, 2);
  EXPECT_EQ(s.median, 3);
  EXPECT_EQ(s.upper, 4);
  EXPECT_EQ(s.maximum, 5);
}

TEST(G01ALF, EvenCountOddHalf) {
  // k = 6, h = 3, q = 2: median (y3 + y4) / 2, hinges y(2) and y(5).
  const Summary s = FivePoints({6, 5, 4, 3, 2, 1});
  EXPECT_EQ(s.median, 3.5);
  EXPECT_EQ(s.lower, 2);
  EXPECT_EQ(s.upper, 5);
  EXPECT_EQ(s.minimum, 1);
  EXPECT_EQ(s.maximum, 6);
}

TEST(G01ALF, OddCountEvenHalf) {
  // k = 7, h = 4, q = 2: median y(4), hinges (y2 + y3) / 2 and (y5 + y6) / 2.
  const Summary s = FivePoints({70, 10, 20, 40, 30, 60, 50});
  EXPECT_EQ(s.median, 40);
  EXPECT_EQ(s.lower, 25);
  EXPECT_EQ(s.upper, 55);
}

TEST(G01ALF, EvenCountEvenHalf) {
  // k = 8, h = 4, q = 2: median (y4 + y5) / 2, hinges (y2 + y3) / 2 and
  // (y6 + y7) / 2.
  const Summary s = FivePoints({1, 2, 3, 4, 5, 6, 7, 8});
  EXPECT_EQ(s.median, 4.5);
  EXPECT_EQ(s.lower, 2.5);
  EXPECT_EQ(s.upper, 6.5);
  // k = 10, h = 5, q = 3: hinges y(3) and y(8).
  const Summary t = FivePoints({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
  EXPECT_EQ(t.median, 5.5);
  EXPECT_EQ(t.lower, 3);
  EXPECT_EQ(t.upper, 8);
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
