#include "rotation/solution.h"

#include <cmath>
#include <string>
#include <vector>

#include "frame/console.h"
#include "kernels/rank_sort.h"
#include "text/edit_descriptors.h"

namespace vq {

void DefaultLabels(int p, std::vector<std::string>& item_labels) {
  item_labels.assign(p, std::string());
  for (int item = 0; item < p; ++item) {
    item_labels[item] = PadRight("V" + FormatI(item + 1, 3, 3), kLabelWidth);
  }
}

std::vector<std::string> ItemLabelsFor(const RunOptions& options, int p) {
  std::vector<std::string> labels;
  if (options.LabelMode == LabelMode::kLabels) {
    labels.assign(p, Blanks(kLabelWidth));
    for (int item = 0; item < p && item < static_cast<int>(options.Labels.size()); ++item) {
      labels[item] = PadRight(options.Labels[item], kLabelWidth);
    }
  } else if (options.LabelMode == LabelMode::kNoLabels) {
    DefaultLabels(p, labels);
  } else {
    labels.assign(p, Blanks(kLabelWidth));
  }
  return labels;
}

void SortLoadings(Matrix& a, int p, int m, std::vector<int>& order) {
  // The main factor of each row: rank 1 of its absolute loadings; the stable
  // rank gives a tie to the lower factor.
  std::vector<int> main_factor(p);
  std::vector<double> row(m);
  std::vector<int> ranks(m);
  for (int item = 0; item < p; ++item) {
    for (int factor = 0; factor < m; ++factor) row[factor] = std::fabs(a(item, factor));
    int ifail = 0;
    M01DAF(row.data(), 1, m, "D", ranks.data(), ifail);
    for (int factor = 0; factor < m; ++factor) {
      if (ranks[factor] == 1) main_factor[item] = factor;
    }
  }

  // Groups in factor order; inside a group, descending absolute loading on
  // the group's factor, item order on ties.
  std::vector<int> sorted_items;
  sorted_items.reserve(p);
  for (int factor = 0; factor < m; ++factor) {
    std::vector<int> group;
    for (int item = 0; item < p; ++item) {
      if (main_factor[item] == factor) group.push_back(item);
    }
    if (group.empty()) continue;
    const int size = static_cast<int>(group.size());
    std::vector<double> values(size);
    for (int member = 0; member < size; ++member) {
      values[member] = std::fabs(a(group[member], factor));
    }
    std::vector<int> group_ranks(size);
    int ifail = 0;
    M01DAF(values.data(), 1, size, "D", group_ranks.data(), ifail);
    std::vector<int> placed(size);
    for (int member = 0; member < size; ++member) placed[group_ranks[member] - 1] = group[member];
    sorted_items.insert(sorted_items.end(), placed.begin(), placed.end());
  }

  const Matrix original = a;
  order.assign(p, 0);
  for (int place = 0; place < p; ++place) {
    const int item = sorted_items[place];
    for (int factor = 0; factor < m; ++factor) a(place, factor) = original(item, factor);
    order[place] = item + 1;
  }
}

std::vector<std::string> SortedLabelsFor(const std::vector<std::string>& item_labels,
                                         const std::vector<int>& order) {
  std::vector<std::string> sorted(order.size());
  for (std::size_t place = 0; place < order.size(); ++place) {
    sorted[place] = item_labels[order[place] - 1];
  }
  return sorted;
}

std::vector<int> HyperplaneCounts(const Matrix& a, double width) {
  std::vector<int> counts(a.cols, 0);
  for (int factor = 0; factor < a.cols; ++factor) {
    for (int item = 0; item < a.rows; ++item) {
      if (std::fabs(a(item, factor)) <= width) ++counts[factor];
    }
  }
  return counts;
}

void moment(const double* data, int n, double& variance) {
  if (n < 2) {
    Pause("n must be at least 2 in subroutine moment");
    // Fewer than two values have no spread to measure.
    variance = 0.0;
    return;
  }
  double sum = 0.0;
  for (int i = 0; i < n; ++i) sum += data[i];
  const double mean = sum / n;
  double ep = 0.0;
  double ss = 0.0;
  for (int i = 0; i < n; ++i) {
    const double deviation = data[i] - mean;
    ep += deviation;
    ss += deviation * deviation;
  }
  variance = (ss - ep * ep / 2.0) / (n - 1);
}

double ObjectiveFunction(const Matrix& a, int p, int m) {
  std::vector<double> squares(p);
  double objective = 0.0;
  for (int factor = 0; factor < m; ++factor) {
    for (int item = 0; item < p; ++item) squares[item] = a(item, factor) * a(item, factor);
    double variance = 0.0;
    moment(squares.data(), p, variance);
    objective += variance;
  }
  return objective;
}

}  // namespace vq
