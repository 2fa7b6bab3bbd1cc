// Report models for the HTML tests: the demo's run (eight items, two
// factors, promax) with every part of the page filled, a large one (1,000
// items) and a stopped run. The demo's numbers are those of its text report;
// the parts the demo does not compute (parallel analysis, scores, triplet
// test) hold numbers of the same kind from other example runs.
#ifndef VELQUORIN_TESTS_HTML_SAMPLE_MODEL_H_
#define VELQUORIN_TESTS_HTML_SAMPLE_MODEL_H_

#include "html/html_report.h"

namespace vq::html {

HtmlReportModel DemoModel();

// `items` x 4 factors, scores of 20,000 subjects, a triplet summary of all
// the items: the page must stay usable at this size.
HtmlReportModel LargeModel(int items);

// A run that stopped after the eigenvalues: settings, scree, notes, stop.
HtmlReportModel StoppedModel();

}  // namespace vq::html

#endif  // VELQUORIN_TESTS_HTML_SAMPLE_MODEL_H_
