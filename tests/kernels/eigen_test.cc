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

Matrix RandomSymmetric(int n, std::mt19937& generator) {
  std::uniform_real_distribution<double> uniform(-1.0, 1.0);
  Matrix a(n, n);
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i <= j; ++i) a(i, j) = a(j, i) = uniform(generator);
  }
  return a;
}

// An orthogonal matrix: the eigenvectors of a random symmetric matrix.
Matrix RandomOrthogonal(int n, std::mt19937& generator) {
  Matrix a = RandomSymmetric(n, generator);
  std::vector<double> values;
  Matrix q;
  int ifail = 0;
  F02ABF(a, n, values, q, ifail);
  return q;
}

// Q diag(values) Q' for a random orthogonal Q.
Matrix WithEigenvalues(const std::vector<double>& values, std::mt19937& generator) {
  const int n = static_cast<int>(values.size());
  Matrix q = RandomOrthogonal(n, generator);
  Matrix a(n, n);
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < n; ++j) {
      double sum = 0.0;
      for (int k = 0; k < n; ++k) sum += q(i, k) * values[k] * q(j, k);
      a(i, j) = sum;
    }
  }
  for (int i = 0; i < n; ++i) {
    for (int j = 0; j < i; ++j) a(i, j) = a(j, i);
  }
  return a;
}

// Largest |(A V - V L)(i, k)| over the first `count` pairs.
double Residual(
    const Matrix& a, int n, const std::vector<double>& values, const Matrix& v, int count) {
  double worst = 0.0;
  for (int k = 0; k < count; ++k) {
    for (int i = 0; i < n; ++i) {
      double sum = 0.0;
      for (int j = 0; j < n; ++j) sum += a(i, j) * v(j, k);
      worst = std::max(worst, std::fabs(sum - values[k] * v(i, k)));
    }
  }
  return worst;
}

// Largest |(V'V - I)(k, l)|.
double OrthonormalityError(const Matrix& v, int n, int count) {
  double worst = 0.0;
  for (int k = 0; k < count; ++k) {
    for (int l = 0; l < count; ++l) {
      double sum = 0.0;
      for (int i = 0; i < n; ++i) sum += v(i, k) * v(i, l);
      worst = std::max(worst, std::fabs(sum - (k == l ? 1.0 : 0.0)));
    }
  }
  return worst;
}

class EigenTest : public ::testing::Test {
 protected:
  void SetUp() override { ResetImslState(); }
  void TearDown() override { ResetImslState(); }
  std::mt19937 generator_{20240611};
};

TEST_F(EigenTest, PartialFormChoosesByValueAndOrdersByModulus) {
  Matrix a = WithEigenvalues({-0.3, 0.5, 2.0, -0.1}, generator_);
  std::vector<double> values;
  Matrix vectors;
  DEVESF(4, 3, a, false, values, vectors);
  ASSERT_EQ(values.size(), 3u);
  EXPECT_NEAR(values[0], 2.0, 1e-14);
  EXPECT_NEAR(values[1], 0.5, 1e-14);
  EXPECT_NEAR(values[2], -0.1, 1e-14);

  // -0.9 is the larger in modulus but not among the 3 algebraically largest;
  // -0.7 then goes ahead of 0.5.
  Matrix b = WithEigenvalues({0.5, -0.9, -0.7, 2.0}, generator_);
  DEVESF(4, 3, b, false, values, vectors);
  EXPECT_NEAR(values[0], 2.0, 1e-14);
  EXPECT_NEAR(values[1], -0.7, 1e-14);
  EXPECT_NEAR(values[2], 0.5, 1e-14);
  EXPECT_EQ(IERCD(), 0);
  EXPECT_LE(Residual(b, 4, values, vectors, 3), 1e-14);
}

TEST_F(EigenTest, PartialFormSignRule) {
  // Eigenvector (0.6, -0.8) for 3, (0.8, 0.6) for 1.
  Matrix a(2, 2);
  a(0, 0) = 3.0 * 0.36 + 0.64;
  a(1, 1) = 3.0 * 0.64 + 0.36;
  a(0, 1) = a(1, 0) = 3.0 * (-0.48) + 0.48;
  std::vector<double> values;
  Matrix vectors;
  DEVESF(2, 2, a, false, values, vectors);
  EXPECT_NEAR(values[0], 3.0, 1e-15);
  EXPECT_NEAR(vectors(0, 0), -0.6, 1e-15);
  EXPECT_NEAR(vectors(1, 0), 0.8, 1e-15);
  EXPECT_NEAR(vectors(0, 1), 0.8, 1e-15);
  EXPECT_NEAR(vectors(1, 1), 0.6, 1e-15);
}

TEST_F(EigenTest, PartialFormSignRuleOnRandomMatrices) {
  for (int trial = 0; trial < 20; ++trial) {
    const int n = 2 + trial % 7;
    Matrix a = RandomSymmetric(n, generator_);
    std::vector<double> values;
    Matrix vectors;
    DEVESF(n, n, a, false, values, vectors);
    for (int k = 0; k < n; ++k) {
      int largest = 0;
      for (int i = 1; i < n; ++i) {
        if (std::fabs(vectors(i, k)) > std::fabs(vectors(largest, k))) largest = i;
      }
      EXPECT_GT(vectors(largest, k), 0.0);
    }
  }
}

TEST_F(EigenTest, TieOfComponentsKeepsTheFirstPositive) {
  // [[0, 1], [1, 0]]: eigenvalues 1 and -1, vectors (1, 1) and (1, -1) over
  // sqrt 2, whose components are equal in size. +1 goes before -1.
  Matrix a(2, 2);
  a(0, 1) = a(1, 0) = 1.0;
  std::vector<double> values;
  Matrix vectors;
  DEVESF(2, 2, a, false, values, vectors);
  EXPECT_EQ(values[0], 1.0);
  EXPECT_EQ(values[1], -1.0);
  ASSERT_EQ(std::fabs(vectors(0, 1)), std::fabs(vectors(1, 1)));
  EXPECT_GT(vectors(0, 1), 0.0);
  EXPECT_LT(vectors(1, 1), 0.0);
}

TEST_F(EigenTest, AllOnesMatrix) {
  const int n = 6;
  Matrix ones(n, n, 1.0);
  std::vector<double> values;
  Matrix vectors;
  DEVESF(n, 1, ones, false, values, vectors);
  EXPECT_NEAR(values[0], 6.0, 1e-14);
  for (int i = 0; i < n; ++i) EXPECT_NEAR(vectors(i, 0), 1.0 / std::sqrt(6.0), 1e-15);

  std::vector<double> real, imaginary;
  DEVLRG(n, ones, real, imaginary);
  ASSERT_EQ(real.size(), 6u);
  EXPECT_NEAR(real[0], 6.0, 1e-14);
  for (int k = 1; k < n; ++k) {
    EXPECT_NEAR(real[k], 0.0, 1e-14);
    EXPECT_EQ(imaginary[k], 0.0);
  }
}

TEST_F(EigenTest, PartialFormLeavesTheMatrixAlone) {
  Matrix a = RandomSymmetric(7, generator_);
  const Matrix before = a;
  std::vector<double> values;
  Matrix vectors;
  DEVESF(7, 3, a, false, values, vectors);
  EXPECT_EQ(a.values, before.values);
}

TEST_F(EigenTest, RandomMatricesAllForms) {
  for (int trial = 0; trial < 12; ++trial) {
    const int n = 1 + 4 * trial;
    Matrix a = RandomSymmetric(n, generator_);
    const int m = (n + 1) / 2;
    std::vector<double> values;
    Matrix vectors;
    DEVESF(n, m, a, false, values, vectors);
    EXPECT_EQ(IERCD(), 0);
    EXPECT_LE(Residual(a, n, values, vectors, m), 1e-12) << n;
    EXPECT_LE(OrthonormalityError(vectors, n, m), 1e-13) << n;
    for (int k = 1; k < m; ++k) EXPECT_GE(std::fabs(values[k - 1]), std::fabs(values[k]));

    std::vector<double> ascending;
    Matrix full;
    int ifail = 0;
    F02ABF(a, n, ascending, full, ifail);
    EXPECT_EQ(ifail, 0);
    EXPECT_LE(Residual(a, n, ascending, full, n), 1e-12);
    EXPECT_LE(OrthonormalityError(full, n, n), 1e-13);
    for (int k = 1; k < n; ++k) EXPECT_LE(ascending[k - 1], ascending[k]);

    // The algebraically largest values of the full form are the partial
    // form's values, up to their order.
    std::vector<double> largest(ascending.end() - m, ascending.end());
    std::vector<double> partial = values;
    std::sort(partial.begin(), partial.end());
    for (int k = 0; k < m; ++k) EXPECT_NEAR(partial[k], largest[k], 1e-13);

    std::vector<double> real, imaginary;
    DEVLRG(n, a, real, imaginary);
    for (int k = 1; k < n; ++k) EXPECT_GE(std::fabs(real[k - 1]), std::fabs(real[k]));
    std::vector<double> sorted_real = real;
    std::sort(sorted_real.begin(), sorted_real.end());
    for (int k = 0; k < n; ++k) EXPECT_NEAR(sorted_real[k], ascending[k], 1e-13);
  }
}

TEST_F(EigenTest, GeneralFormOrderByModulus) {
  generator_.seed(7);
  Matrix a = WithEigenvalues({1.0, -2.0, 5.0}, generator_);
  std::vector<double> real, imaginary;
  DEVLRG(3, a, real, imaginary);
  EXPECT_NEAR(real[0], 5.0, 1e-14);
  EXPECT_NEAR(real[1], -2.0, 1e-14);
  EXPECT_NEAR(real[2], 1.0, 1e-14);
  // Equal moduli: +t before -t.
  Matrix d(3, 3);
  d(0, 0) = -1.0;
  d(1, 1) = 1.0;
  d(2, 2) = 2.0;
  DEVLRG(3, d, real, imaginary);
  EXPECT_EQ(real, (std::vector<double>{2.0, 1.0, -1.0}));
}

TEST_F(EigenTest, F02FAFReadsOnlyTheUpperTriangle) {
  const int n = 9;
  Matrix a = RandomSymmetric(n, generator_);
  Matrix expected_vectors;
  std::vector<double> expected_values;
  int ifail = 0;
  F02ABF(a, n, expected_values, expected_vectors, ifail);

  Matrix upper = a;
  for (int j = 0; j < n; ++j) {
    for (int i = j + 1; i < n; ++i) upper(i, j) = std::numeric_limits<double>::quiet_NaN();
  }
  std::vector<double> values;
  F02FAF('V', 'U', n, upper, values, ifail);
  EXPECT_EQ(ifail, 0);
  EXPECT_EQ(values, expected_values);
  EXPECT_LE(Residual(a, n, values, upper, n), 1e-12);
  EXPECT_LE(OrthonormalityError(upper, n, n), 1e-13);
}

TEST_F(EigenTest, PartialFormCountAboveOrderIsATerminalError) {
  Matrix a = RandomSymmetric(3, generator_);
  std::vector<double> values;
  Matrix vectors;
  ConsoleCapture capture;
  EXPECT_THROW(DEVESF(3, 4, a, false, values, vectors), RunStopped);
  EXPECT_EQ(capture.Out(),
            "*** TERMINAL ERROR 5 from DEVESF.  The argument NEVEC = 4.  The number of\n"
            "***          largest/smallest eigenvalues to be calculated must be greater\n"
            "***          than 0 and less than or equal to N = 3.\n"
            "Stop - Program terminated.\nProgram Terminated with exit code 0\n");
}

TEST_F(EigenTest, PartialFormGoesOnWhenStoppingIsOff) {
  ERSET(0, 1, 0);
  Matrix a = RandomSymmetric(3, generator_);
  std::vector<double> values;
  Matrix vectors;
  ConsoleCapture capture;
  DEVESF(3, 0, a, false, values, vectors);
  EXPECT_EQ(IERCD(), 5);
  EXPECT_NE(capture.Out().find("The argument NEVEC = 0."), std::string::npos);
  DEVESF(3, 5, a, false, values, vectors);
  EXPECT_EQ(values, std::vector<double>(5, 0.0));
  EXPECT_EQ(vectors.rows, 3);
  EXPECT_EQ(vectors.cols, 5);
  DEVESF(0, 1, a, false, values, vectors);
  EXPECT_EQ(IERCD(), 4);
  // A good call clears the code.
  DEVESF(3, 2, a, false, values, vectors);
  EXPECT_EQ(IERCD(), 0);
}

TEST_F(EigenTest, F02FAFBadArgumentsAreFailureOne) {
  Matrix a(2, 2);
  std::vector<double> values;
  ConsoleCapture capture;
  int ifail = kIfailQuiet;
  F02FAF('X', 'U', 2, a, values, ifail);
  EXPECT_EQ(ifail, 1);
  ifail = kIfailQuiet;
  F02FAF('V', 'Q', 2, a, values, ifail);
  EXPECT_EQ(ifail, 1);
  ifail = kIfailQuiet;
  F02FAF('V', 'U', 3, a, values, ifail);
  EXPECT_EQ(ifail, 1);
  EXPECT_EQ(capture.Out(), "");
}

TEST_F(EigenTest, NotANumberDoesNotHang) {
  // A matrix spoilt by a NaN gives a warning or a failure, never a hang or
  // a crash; the caller's own checks catch the NaN values.
  Matrix a = RandomSymmetric(5, generator_);
  a(1, 2) = a(2, 1) = std::numeric_limits<double>::quiet_NaN();
  ERSET(0, 0, 0);
  std::vector<double> values;
  Matrix vectors;
  DEVESF(5, 2, a, false, values, vectors);
  EXPECT_EQ(values.size(), 2u);
  int ifail = kIfailQuiet;
  std::vector<double> all;
  F02ABF(a, 5, all, vectors, ifail);
  EXPECT_EQ(all.size(), 5u);
}

}  // namespace
}  // namespace vq
