// Pieces that every rotation uses to finish and print its solution: the
// default item labels, the row sort that groups items by their main factor,
// the hyperplane counts, the variance of squared loadings, the pattern plot
// section and the list of sorted items at the end of the rotation phase.
#ifndef VELQUORIN_ROTATION_SOLUTION_H_
#define VELQUORIN_ROTATION_SOLUTION_H_

#include <string>
#include <string_view>
#include <vector>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "options/run_options.h"

namespace vq {

// Banners around the hyperplane counts.
inline constexpr std::string_view kHyperplaneBanner =
    "0===========HYPERPLANE COUNT====================0";
inline constexpr std::string_view kClosingBanner =
    "0==============================================0";

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

// Writes the line "Hyperplane Count (%) for Factor" I3 " = " I3 " (" F3.2 ")"
// for `factor` (1-based) of the p by m matrix `a`: the items whose absolute
// loading is not above `width`, and their share of p.
void HyperplaneCount(const Matrix& a, int p, int m, int factor, OutputFile& stream, double width);

// The hyperplane section: two empty lines, the banner, one empty line, the
// count for each factor, two empty lines, the closing banner, one empty line.
void HyperplaneSection(const Matrix& a, int p, int m, double width, OutputFile& report);

// `variance` gets the variance of the n values of `data`, with the
// correction term (sum of deviations) squared over 2. With n below 2 the
// pause text "n must be at least 2 in subroutine moment" is shown, and after
// the pause the variance is 0.
void moment(const double* data, int n, double& variance);

// The sum over the m factors of the variance of the squared loadings.
double ObjectiveFunction(const Matrix& a, int p, int m);

// Under `PlotMode` "LOADINGS" or "ALL": `title_line` in a record of 80
// characters, then the factor pattern plots of the p by m matrix `a`.
void PatternPlotSection(const RunOptions& options,
                        std::string_view title_line,
                        const Matrix& a,
                        int p,
                        int m,
                        OutputFile& report);

// The list of sorted items: the rows of the sorted p by m matrix `a` under
// "FACTOR: " headers, each "TRUE" or "FALSE" by the sign of its loading on
// the header's factor, the loading as F8.3, "  ITEM:", a blank and the 200
// characters of the item's text (`item_texts`, in item order, through
// `order`).
void ListSortedItems(const Matrix& a,
                     int p,
                     int m,
                     const std::vector<int>& order,
                     const std::vector<std::string>& item_texts,
                     OutputFile& report);

// Prints the rows by cols matrix `a` by X04CBF with the report's choices
// (general matrix, column numbers, no indent, hard failure) and, with a
// `trace_number` of 0 or more, the trace line of that number on a non-zero
// result. `labrow` 'C' takes `labels`, 'I' row numbers, 'N' none.
void PrintTable(OutputFile& report,
                const Matrix& a,
                int rows,
                int cols,
                std::string_view format,
                std::string_view title,
                char labrow,
                const std::vector<std::string>* labels,
                int page_width,
                int trace_number = -1);

// Writes the p by m loadings to the `fac` file, when it is asked for.
void SaveFactorFile(const RunOptions& options,
                    const Matrix& loadings,
                    std::string_view run_directory,
                    std::string_view run_stem);

// Writes the m by m factor correlations to the `phi` file, when the `fac`
// file is asked for.
void SavePhiFile(const RunOptions& options,
                 const Matrix& correlations,
                 std::string_view run_directory,
                 std::string_view run_stem);

}  // namespace vq

#endif  // VELQUORIN_ROTATION_SOLUTION_H_
