#include "kernels/eigen.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "frame/console.h"
#include "kernels/failure.h"

namespace vq {
namespace {

const double kNaN = std::numeric_limits<double>::quiet_NaN();

Matrix RandomSymmetric(int n, std::mt19937& generator) {
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  Matrix a(n, n);
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i <= j; ++i) a(i, j) = a(j, i) = uniform(generator);
  }
  return a;
}

// Q diag(values) Q' for Q the eigenvectors of a random symmetric matrix.
Matrix WithEigenvalues(const std::vector<double>& values, std::mt19937& generator) {
  const int n = static_cast<int>(values.size());
  std::vector<double> unused;
  Matrix q;
  int ifail = 0;
  F02ABF(RandomSymmetric(n, generator), n, unused, q, ifail);
  Matrix a(n, n);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j <= i; ++j) {
      for (int k = 0; k < n; ++k) a(i, j) += q(i, k) * values[k] * q(j, k);
      a(j, i) = a(i, j);
    }
  }
  return a;
}

// The larger of the largest |(A V - V L)(i, k)| and the largest
// |(V'V - I)(k, l)| over the first `count` pairs.
double PairError(const Matrix& a, const std::vector<double>& values, const Matrix& v, int count) {
  double worst = 0.0;
  for (int k = 0; k < count; ++k) {
    for (int i = 0; i < a.rows; ++i) {
      double sum = -values[k] * v(i, k);
      for (int j = 0; j < a.rows; ++j) sum += a(i, j) * v(j, k);
      worst = std::max(worst, std::fabs(sum));
    }
    for (int l = 0; l < count; ++l) {
      double sum = k == l ? -1.0 : 0.0;
      for (int i = 0; i < a.rows; ++i) sum += v(i, k) * v(i, l);
      worst = std::max(worst, std::fabs(sum));
    }
  }
  return worst;
}

class EigenTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetImslState(); }
  void TearDown() override { ResetImslState(); }
  std::mt19937 generator_{20240611};
  std::vector<double> values_;
  Matrix vectors_;
};

TEST_F(EigenTest, PartialFormChoosesByValueAndOrdersByModulus) {
  // -0.9 is the larger in modulus but not among the 3 algebraically largest;
  // -0.7 then goes ahead of 0.5.
  const struct {
    std::vector<double> eigenvalues, expected;
  } cases[] = {{{-0.3, 0.5, 2.0, -0.1}, {2.0, 0.5, -0.1}},
               {{0.5, -0.9, -0.7, 2.0}, {2.0, -0.7, 0.5}}};
  for (const auto& c : cases) {
    Matrix a = WithEigenvalues(c.eigenvalues, generator_);
    DEVESF(4, 3, a, false, values_, vectors_);
    ASSERT_EQ(values_.size(), 3u);
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(values_[k], c.expected[k], 1e-14);
    EXPECT_LE(PairError(a, values_, vectors_, 3), 1e-14);
    EXPECT_EQ(IERCD(), 0);
  }
}

TEST_F(EigenTest, SignRuleTiesAndTheMatrixOfOnes) {
  // Eigenvector (0.6, -0.8) for 3 comes back as (-0.6, 0.8); (0.8, 0.6) for 1.
  Matrix a(2, 2);
  a(0, 0) = 3.0 * 0.36 + 0.64;
  a(1, 1) = 3.0 * 0.64 + 0.36;
  a(0, 1) = a(1, 0) = 3.0 * (-0.48) + 0.48;
  DEVESF(2, 2, a, false, values_, vectors_);
  EXPECT_NEAR(values_[0], 3.0, 1e-15);
  const double expected[] = {-0.6, 0.8, 0.8, 0.6};
  for (int k = 0; k < 4; ++k) EXPECT_NEAR(vectors_.values[k], expected[k], 1e-15);

  // [[0, 1], [1, 0]]: eigenvalues 1 and -1 (+1 first), vector (1, -1) / sqrt 2
  // with components equal in size: the first is the positive one.
  Matrix swap(2, 2);
  swap(0, 1) = swap(1, 0) = 1.0;
  DEVESF(2, 2, swap, false, values_, vectors_);
  EXPECT_EQ(values_, (std::vector<double>{1.0, -1.0}));
  ASSERT_EQ(std::fabs(vectors_(0, 1)), std::fabs(vectors_(1, 1)));
  EXPECT_GT(vectors_(0, 1), 0.0);

  // Ones of order 6: eigenvalue 6 with the equal positive vector, five zeros.
  Matrix ones(6, 6, 1.0);
  DEVESF(6, 1, ones, false, values_, vectors_);
  EXPECT_NEAR(values_[0], 6.0, 1e-14);
  for (int i = 0; i < 6; ++i) EXPECT_NEAR(vectors_(i, 0), 1.0 / std::sqrt(6.0), 1e-15);
  std::vector<double> real, imaginary;
  DEVLRG(6, ones, real, imaginary);
  EXPECT_NEAR(real[0], 6.0, 1e-14);
  for (int k = 1; k < 6; ++k) EXPECT_NEAR(real[k], 0.0, 1e-14);
  EXPECT_EQ(imaginary, std::vector<double>(6, 0.0));

  // Equal moduli in the general form: +t before -t.
  Matrix diagonal(3, 3);
  diagonal(0, 0) = -1.0;
  diagonal(1, 1) = 1.0;
  diagonal(2, 2) = 2.0;
  DEVLRG(3, diagonal, real, imaginary);
  EXPECT_EQ(real, (std::vector<double>{2.0, 1.0, -1.0}));
}

TEST_F(EigenTest, RandomMatricesAllForms) {
  for (int trial = 0; trial < 12; ++trial) {
    const int n = 1 + 4 * trial;
    const int m = (n + 1) / 2;
    Matrix a = RandomSymmetric(n, generator_);
    const Matrix before = a;
    DEVESF(n, m, a, false, values_, vectors_);
    EXPECT_EQ(IERCD(), 0);
    EXPECT_EQ(a.values, before.values);
    EXPECT_LE(PairError(a, values_, vectors_, m), 1e-12) << n;
    for (int k = 0; k < m; ++k) {
      if (k > 0) {
        EXPECT_GE(std::fabs(values_[k - 1]), std::fabs(values_[k]));
      }
      // The sign rule: the component of largest size is positive.
      const double* column = vectors_.Column(k);
      const double* largest = std::max_element(
          column, column + n, [](double x, double y) { return std::fabs(x) < std::fabs(y); });
      EXPECT_GT(*largest, 0.0);
    }

    std::vector<double> ascending;
    Matrix full;
    int ifail = 0;
    F02ABF(a, n, ascending, full, ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_LE(PairError(a, ascending, full, n), 1e-12);
    EXPECT_TRUE(std::is_sorted(ascending.begin(), ascending.end()));

    // The partial form's values are the full form's m largest, and the
    // general form's are all of them by decreasing modulus.
    std::vector<double> partial = values_;
    std::sort(partial.begin(), partial.end());
    for (int k = 0; k < m; ++k) EXPECT_NEAR(partial[k], ascending[n - m + k], 1e-13);
    std::vector<double> real, imaginary;
    DEVLRG(n, a, real, imaginary);
    for (int k = 1; k < n; ++k) EXPECT_GE(std::fabs(real[k - 1]), std::fabs(real[k]));
    std::sort(real.begin(), real.end());
    for (int k = 0; k < n; ++k) EXPECT_NEAR(real[k], ascending[k], 1e-13);
  }
}

TEST_F(EigenTest, PartialFormCountAboveOrderIsATerminalError) {
  Matrix a = RandomSymmetric(3, generator_);
  ConsoleCapture capture;
  EXPECT_THROW(DEVESF(3, 4, a, false, values_, vectors_), RunStopped);
  EXPECT_EQ(capture.Out(),
            "*** TERMINAL ERROR 5 from DEVESF.  The argument NEVEC = 4.  The number of\n"
            "***          largest/smallest eigenvalues to be calculated must be greater\n"
            "***          than 0 and less than or equal to N = 3.\n"
            "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

TEST_F(EigenTest, NotANumberGivesAWarningNotAHang) {
  Matrix a = RandomSymmetric(5, generator_);
  a(1, 2) = a(2, 1) = kNaN;
  ERSET(0, 0, 0);
  DEVESF(5, 2, a, false, values_, vectors_);
  EXPECT_EQ(values_.size(), 2u);
  int ifail = kIfailQuiet;
  F02ABF(a, 5, values_, vectors_, ifail);
  EXPECT_EQ(values_.size(), 5u);
}

}  // namespace
}  // namespace vq
