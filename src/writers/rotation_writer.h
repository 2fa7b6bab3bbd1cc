// The rotation's part of the report and of the saved files: one section per
// rotated solution (loading or pattern table, factor correlations, structure
// matrix, variance explained, objective function, hyperplane counts, pattern
// plots), the `fac` and `phi` files, and the list of sorted items that ends
// the rotation phase.
//
//   WriteRotatedSolution(result.solutions.back(), write_options, outputs);
//   if (write_options.list_sorted_items && result.rotated())
//     WriteSortedItems(*result.final_solution(), write_options, outputs);
#ifndef VELQUORIN_WRITERS_ROTATION_WRITER_H_
#define VELQUORIN_WRITERS_ROTATION_WRITER_H_

#include <string>
#include <vector>

#include "options/run_options.h"
#include "report/run_outputs.h"
#include "rotation/rotation_results.h"

namespace vq {

// The choices of what the rotation sections print and save.
struct RotationWriteOptions {
  // "SORT" prints the sorted tables with the sorted labels; "NOSORT" the
  // tables in item order, labelled under "LABELS" and numbered otherwise
  // (an orthogonal table only under "NOLABELS"); any other sort word prints
  // no loading table.
  SortMode sort_mode = SortMode::kSort;
  LabelMode label_mode = LabelMode::kNoLabels;
  int page_width = 110;
  bool plot_loadings = false;  // "LOADINGS" or "ALL": the pattern plots
  bool save_fac = false;       // "FAC": the `fac` file, and `phi` when oblique
  // The list of sorted items: ">ITEMS:" given and "SORT".
  bool list_sorted_items = false;
  std::vector<std::string> item_texts;  // p texts, item order
};

// The section of `solution` on the report, and its saved files. A Varimax
// solution that is not a number gets only its two failure lines.
void WriteRotatedSolution(const RotatedSolution& solution,
                          const RotationWriteOptions& options,
                          RunOutputs& outputs);

// The list of sorted items from the sorted `solution`: its rows under
// "FACTOR: " headers, each "TRUE" or "FALSE" by the sign of its loading on
// the header's factor, the loading as F8.3, "  ITEM:", a blank and the 200
// characters of the item's text (through `order`).
void WriteSortedItems(const RotatedSolution& solution,
                      const RotationWriteOptions& options,
                      RunOutputs& outputs);

}  // namespace vq

#endif  // VELQUORIN_WRITERS_ROTATION_WRITER_H_
