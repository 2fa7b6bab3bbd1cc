// Frequency tables and vertical histograms of the report (the distribution
// of residuals).
#ifndef VELQUORIN_REPORT_HISTOGRAM_H_
#define VELQUORIN_REPORT_HISTOGRAM_H_

#include <string_view>
#include <vector>

#include "frame/output_file.h"

namespace vq {

// Tallies the nobs values of x in k classes (iopt 1: equal classes between
// xlo and xhi, one open class on either side). div gets the k midpoints,
// table the k counts (both resized to k). ERSET protocol: nobs < 1 is
// terminal error 1 "NOBS = n.  There must be at least one observation.";
// where the setting lets the run go on, all counts are 0. A value that is
// not a number falls in no class.
void DOWFRQ(int nobs,
            const double* x,
            int k,
            int iopt,
            double xlo,
            double xhi,
            std::vector<double>& div,
            std::vector<double>& table);

// Prints the vertical histogram of the nbar counts frq with isp blanks
// between bars and `title` on `out`. ERSET protocol: a largest count below 1
// is warning 1 (on the console) and then nothing is printed. isp must be 0,
// 1 or 4 and the counts whole numbers of at least 0 (a programming error
// otherwise).
void DVHSTP(
    int nbar, const std::vector<double>& frq, int isp, std::string_view title, OutputFile& out);

}  // namespace vq

#endif  // VELQUORIN_REPORT_HISTOGRAM_H_
