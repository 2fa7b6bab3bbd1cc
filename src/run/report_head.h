// The frame of a run's output: the banner on the console and the head of the
// report (title block, listing of the command file, model section and
// technical parameters). The head is written once, after the last command
// line has been read, so that a report with a head always lists a command
// file that was read whole.
#ifndef VELQUORIN_RUN_REPORT_HEAD_H_
#define VELQUORIN_RUN_REPORT_HEAD_H_

#include <string>

#include "data/record_reader.h"
#include "frame/output_file.h"
#include "options/run_options.h"

namespace vq {

// The console banner: eight empty lines, then a box from column 25 to 98
// with the program's name and version in its second line.
void ShowBanner();

// Writes the head of the report on `report`. Rewinds `command_file` and lists
// at most 100 of its lines, each 200 columns wide with its trailing blanks;
// the listing stops after ">FORMAT" under "NOLABELS", and at ">LABEL", which
// is replaced by a fixed line. `command_file` is left wherever the listing
// stopped.
void WriteReportHead(const RunOptions& options, RecordSource& command_file, OutputFile& report);

// The report's words for `Coding` ("Ordered" for "OR" and so on).
std::string CodingText(const RunOptions& options);

}  // namespace vq

#endif  // VELQUORIN_RUN_REPORT_HEAD_H_
