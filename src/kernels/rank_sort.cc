#include "kernels/rank_sort.h"

#include <algorithm>
#include <numeric>
#include <string>
#include <vector>

#include "kernels/failure.h"

namespace vq {
namespace {

// Checks the arguments; returns 0, or the failure number after reporting it.
int CheckArguments(std::string_view routine, int m1, int m2, char order, int ifail) {
  if (m2 < m1 || m1 < 1 || m2 < 1) {
    return NagFailure(routine,
                      ifail,
                      1,
                      {" ** On entry, M2.lt.M1 or M1.lt.1 or M2.lt.1 : M1 = " + std::to_string(m1) +
                       " M2 = " + std::to_string(m2)});
  }
  if (order != 'A' && order != 'a' && order != 'D' && order != 'd') {
    return NagFailure(
        routine, ifail, 2, {std::string(" ** On entry, ORDER is not valid : ORDER = ") + order});
  }
  return 0;
}

// Positions m1-1 .. m2-1 in stable sorted order of their values.
std::vector<int> StableOrder(const double* rv, int m1, int m2, bool descending) {
  std::vector<int> positions(m2 - m1 + 1);
  std::iota(positions.begin(), positions.end(), m1 - 1);
  if (descending) {
    std::stable_sort(
        positions.begin(), positions.end(), [rv](int a, int b) { return rv[a] > rv[b]; });
  } else {
    std::stable_sort(
        positions.begin(), positions.end(), [rv](int a, int b) { return rv[a] < rv[b]; });
  }
  return positions;
}

}  // namespace

void M01DAF(const double* rv, int m1, int m2, std::string_view order, int* irank, int& ifail) {
  const char first = order.empty() ? ' ' : order[0];
  const int code = CheckArguments("M01DAF", m1, m2, first, ifail);
  if (code != 0) {
    ifail = code;
    return;
  }
  const bool descending = first == 'D' || first == 'd';
  std::vector<int> positions = StableOrder(rv, m1, m2, descending);
  for (std::size_t place = 0; place < positions.size(); ++place) {
    irank[positions[place]] = m1 + static_cast<int>(place);
  }
  ifail = 0;
}

void M01CAF(double* rv, int m1, int m2, char order, int& ifail) {
  const int code = CheckArguments("M01CAF", m1, m2, order, ifail);
  if (code != 0) {
    ifail = code;
    return;
  }
  const bool descending = order == 'D' || order == 'd';
  if (descending) {
    std::stable_sort(rv + m1 - 1, rv + m2, [](double a, double b) { return a > b; });
  } else {
    std::stable_sort(rv + m1 - 1, rv + m2, [](double a, double b) { return a < b; });
  }
  ifail = 0;
}

}  // namespace vq
