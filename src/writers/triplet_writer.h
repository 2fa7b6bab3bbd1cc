// The triplet test's writer: the report section of the test (model "TRP")
// and the mvn file of its statistics and percentages.
#ifndef VELQUORIN_WRITERS_TRIPLET_WRITER_H_
#define VELQUORIN_WRITERS_TRIPLET_WRITER_H_

#include "correlation/triplet.h"
#include "frame/output_file.h"
#include "report/run_outputs.h"

namespace vq {

// The section of the test: its head, the line of each triplet tested, and,
// once `summary` is complete, the count and the table of the variables in
// suspicious triplets. At a stop the section holds the triplets before it.
void WriteTripletReport(const TripletSummary& summary, RunOutputs& outputs);

// The mvn file: the chi-squares, then the percentages, "9999( F9.3 2X )".
void WriteTripletFile(OutputFile& mvn, const TripletSummary& summary);

// Opens the mvn file beside the command file (stream 22), writes it and
// closes it.
void SaveTripletFile(const TripletSummary& summary, const RunOutputs& outputs);

}  // namespace vq

#endif  // VELQUORIN_WRITERS_TRIPLET_WRITER_H_
