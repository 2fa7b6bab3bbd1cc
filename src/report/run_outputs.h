// RunOutputs: where a run's writers put what the phases computed.
//
// One object holds the report stream and the names of the saved result
// files, so that a writer takes `RunOutputs&` instead of the report, the
// command file's directory and the run's stem one by one. The driver makes
// it once the report is open; phases that only compute never see it.
//
//   RunOutputs outputs(report, context.RunDirectory, context.RunStem);
//   WriteEigenvalueScreen(screen, options, outputs);  // report + `eig`
//
// Saved files are named as BuildResultName says (report/saved_files.h) and
// opened with status unknown: an earlier file of the same name is replaced.
#ifndef VELQUORIN_REPORT_RUN_OUTPUTS_H_
#define VELQUORIN_REPORT_RUN_OUTPUTS_H_

#include <string>
#include <string_view>

#include "frame/output_file.h"

namespace vq {

class RunOutputs {
 public:
  // `report` must outlive this object; it may be opened later than this
  // object is made.
  RunOutputs(OutputFile& report, std::string run_directory, std::string run_stem);

  OutputFile& report() const { return report_; }
  const std::string& run_directory() const { return run_directory_; }
  const std::string& run_stem() const { return run_stem_; }

  // The path of the saved file of `extension` ("cor", "fac", ...).
  std::string SavedPath(std::string_view extension) const;

  // Opens `file` as the saved file of `extension` on stream `unit`; a
  // failed open ends the run with a severe error, as for every output file.
  void OpenSaved(OutputFile& file, int unit, std::string_view extension) const;

 private:
  OutputFile& report_;
  std::string run_directory_;
  std::string run_stem_;
};

}  // namespace vq

#endif  // VELQUORIN_REPORT_RUN_OUTPUTS_H_
