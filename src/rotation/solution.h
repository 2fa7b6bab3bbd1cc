// Pieces that every rotation uses to finish its solution: the item labels,
// the row sort that groups items by their main factor, the hyperplane
// counts and the variance of squared loadings.
#ifndef VELQUORIN_ROTATION_SOLUTION_H_
#define VELQUORIN_ROTATION_SOLUTION_H_

#include <string>
#include <vector>

#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// Fills `item_labels` with p labels of 15 characters: "V" and the item
// number as I3.3 ("V001"; "V***" above 999).
void DefaultLabels(int p, std::vector<std::string>& item_labels);

// The item labels of a run: `Labels` under "LABELS", the default labels
// under "NOLABELS", blank labels under any other word. Each 15 characters.
std::vector<std::string> ItemLabelsFor(const RunOptions& options, int p);

// Sorts the rows of the p by m matrix `a` in place: items are grouped by
// the factor of their largest absolute loading (the lower factor on a tie),
// groups in factor order, and within a group by descending absolute loading
// on the group's factor (item order on ties). `order` gets p item numbers,
// 1-based: order[k] is the item now in row k.
void SortLoadings(Matrix& a, int p, int m, std::vector<int>& order);

// labels[order[k] - 1] for each place k.
std::vector<std::string> SortedLabelsFor(const std::vector<std::string>& item_labels,
                                         const std::vector<int>& order);

// For each factor of the p by m matrix `a`, the items whose absolute
// loading is not above `width`.
std::vector<int> HyperplaneCounts(const Matrix& a, double width);

// `variance` gets the variance of the n values of `data`, with the
// correction term (sum of deviations) squared over 2. With n below 2 the
// pause text "n must be at least 2 in subroutine moment" is shown, and after
// the pause the variance is 0.
void moment(const double* data, int n, double& variance);

// The sum over the m factors of the variance of the squared loadings.
double ObjectiveFunction(const Matrix& a, int p, int m);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_SOLUTION_H_
