// A dense matrix of doubles stored by columns, the one matrix type of the
// program. Element (i, j) is at values[i + j * rows], with 0-based indices;
// `Column(j)` gives the start of column j for routines that take a leading
// dimension (LAPACK and the program's own kernels).
#ifndef VELQUORIN_KERNELS_MATRIX_H_
#define VELQUORIN_KERNELS_MATRIX_H_

#include <cassert>
#include <cstddef>
#include <vector>

namespace vq {

// Makes the pages of a fresh allocation present and writable in one request
// to the system, ahead of their first writes: a matrix of millions of
// elements would otherwise take a page fault every 512 of them.
void PrefaultForWriting(void* data, std::size_t bytes);

// True when `bytes` are at most the machine's physical memory (or when that
// is not known).
bool FitsInMemory(double bytes);

// Matrices from this size (1 MB) on are made with their pages prefaulted.
constexpr std::size_t kPrefaultDoubles = std::size_t{1} << 17;

struct Matrix {
  int rows = 0;
  int cols = 0;
  std::vector<double> values;

  Matrix() = default;
  Matrix(int row_count, int col_count, double fill = 0.0)
      : rows(row_count),
        cols(col_count),
        values(static_cast<std::size_t>(row_count) * col_count, fill) {}

  double& operator()(int i, int j) {
    assert(i >= 0 && i < rows && j >= 0 && j < cols);
    return values[static_cast<std::size_t>(i) + static_cast<std::size_t>(j) * rows];
  }
  double operator()(int i, int j) const {
    assert(i >= 0 && i < rows && j >= 0 && j < cols);
    return values[static_cast<std::size_t>(i) + static_cast<std::size_t>(j) * rows];
  }

  double* Column(int j) { return values.data() + static_cast<std::size_t>(j) * rows; }
  const double* Column(int j) const { return values.data() + static_cast<std::size_t>(j) * rows; }
  double* data() { return values.data(); }
  const double* data() const { return values.data(); }

  bool empty() const { return values.empty(); }
  void Fill(double value) { values.assign(values.size(), value); }
  // Reshapes to rows x cols and sets every element to `fill`.
  void Reset(int row_count, int col_count, double fill = 0.0) {
    rows = row_count;
    cols = col_count;
    const std::size_t count = static_cast<std::size_t>(row_count) * col_count;
    if (count > values.capacity() && count >= kPrefaultDoubles) {
      std::vector<double>().swap(values);
      values.reserve(count);
      PrefaultForWriting(values.data(), count * sizeof(double));
    }
    values.assign(count, fill);
  }
};

}  // namespace vq

#endif  // VELQUORIN_KERNELS_MATRIX_H_
