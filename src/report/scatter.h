// G01AGF: the scatter plot of the report (the eigenvalue plot), a grid of
// characters whose scales follow the data.
#ifndef VELQUORIN_REPORT_SCATTER_H_
#define VELQUORIN_REPORT_SCATTER_H_

#include "frame/output_file.h"

namespace vq {

// Plots the n points (x[i], y[i]) in nstepx by nstepy cells on `out`. y comes
// back sorted in descending order of value, in place; isort[k] is then the
// 1-based index of the point of the k-th sorted value. IFAIL protocol: n
// below 1 is failure 1 (no explanation lines, nothing plotted). Points with
// a coordinate that is not a finite number take no part in the limits and
// are not drawn.
void G01AGF(const double* x,
            double* y,
            int n,
            int* isort,
            int nstepx,
            int nstepy,
            int& ifail,
            OutputFile& out);

}  // namespace vq

#endif  // VELQUORIN_REPORT_SCATTER_H_
