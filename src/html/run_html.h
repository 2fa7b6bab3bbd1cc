// The HTML page of a run (--html FILE): HtmlReportModel filled from the
// record the driver kept, then rendered by RenderHtml. A run that stopped
// gets a page with the stop and the sections it finished.
#ifndef VELQUORIN_HTML_RUN_HTML_H_
#define VELQUORIN_HTML_RUN_HTML_H_

#include <string>

#include "html/html_report.h"
#include "run/run_record.h"

namespace vq {

// The view model of `record`: settings and input files; the scree of the
// initial eigenvalues; the loadings of the last rotation (or the unrotated
// ones), in the report's row order, with its factor correlations and
// structure when oblique; the residuals and fit figures; score plots of
// each pair of factors; the triplet test; the run's notes and warnings; the
// stop.
html::HtmlReportModel MakeRunHtmlModel(const RunRecord& record);

// RenderHtml(MakeRunHtmlModel(record)).
std::string RenderRunHtml(const RunRecord& record);

}  // namespace vq

#endif  // VELQUORIN_HTML_RUN_HTML_H_
