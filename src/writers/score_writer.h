// The factor scores' part of the report and of the saved files: the weights
// and validity tables, the `fsc` file of the scores and the factor score
// plot.
//
//   ScoreFile file(outputs);  // before the estimation, as the run has it
//   ... EstimateScores(...)
//   WriteScoreTables(result, write_options, outputs);
//   file.Write(result);
//   if (write_options.plot) WriteScorePlot(result, outputs);
#ifndef VELQUORIN_WRITERS_SCORE_WRITER_H_
#define VELQUORIN_WRITERS_SCORE_WRITER_H_

#include <vector>

#include "frame/output_file.h"
#include "kernels/matrix.h"
#include "report/run_outputs.h"
#include "scores/score_phase.h"

namespace vq {

struct ScoreWriteOptions {
  int page_width = 110;
  bool plot = false;  // the factor score plot ("SCORES" or "ALL")
};

// The `fsc` file of a run, opened on stream 16 when the object is made (a
// failed open ends the run as every output file does). Opened before the
// estimation, so that a run that cannot write its scores ends before it
// estimates them; a file that is not finished by Write when the object goes
// (the run stopped in between) is removed, so that no file is left that
// looks complete.
class ScoreFile {
 public:
  explicit ScoreFile(const RunOutputs& outputs);
  ~ScoreFile();
  ScoreFile(const ScoreFile&) = delete;
  ScoreFile& operator=(const ScoreFile&) = delete;

  // The records of `result` (WriteScoreRecords), then the file is closed.
  void Write(const ScoreResult& result);

 private:
  OutputFile file_;
};

// Two empty lines; under "BART" the method line and two empty lines; the
// table of the weights (rows numbered: the weights stand in item order even
// where the loading tables were sorted); then, once the scores were
// standardised, two empty lines and the row of validity coefficients. A
// result without weights writes nothing.
void WriteScoreTables(const ScoreResult& result,
                      const ScoreWriteOptions& options,
                      RunOutputs& outputs);

// The factor score plots of the standardised scores on the report.
void WriteScorePlot(const ScoreResult& result, RunOutputs& outputs);

// The `fsc` records, layout "I15 999( F8.3 )": per subject, in data order,
// the id as a whole number (truncated towards zero) in 15 positions, then
// its m scores; a subject with more than 999 scores goes on in further
// records of scores only. An id that does not fit fills its field with
// asterisks, and so does a score of 10,000 or more.
void WriteScoreRecords(OutputFile& file,
                       const std::vector<double>& SubjectIds,
                       const Matrix& FactorScores,
                       int N,
                       int m);

}  // namespace vq

#endif  // VELQUORIN_WRITERS_SCORE_WRITER_H_
