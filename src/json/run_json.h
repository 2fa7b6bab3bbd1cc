// The JSON document of a run (--json FILE): everything the run computed,
// with every number at full double precision (the shortest decimal that
// reads back as the same double), so that a script can go on from the
// results rather than from the printed digits.
//
// The document is described by docs/run.schema.json. A run that stopped
// still gives a document: "stop" says how, and the sections hold what was
// finished before the stop. Numbers that are not finite are written as
// null.
#ifndef VELQUORIN_JSON_RUN_JSON_H_
#define VELQUORIN_JSON_RUN_JSON_H_

#include <nlohmann/json.hpp>
#include <string>

#include "run/run_record.h"

namespace vq {

// The version of the document's layout; raised when a field changes its
// meaning or goes away.
constexpr int kRunJsonFormat = 1;

// The document of `record`. `program_version` is the program's version.
nlohmann::json RunRecordToJson(const RunRecord& record, const std::string& program_version);

// Writes `text` to `path` whole: to a temporary file beside it, then renamed
// over it, so that a reader never finds a half-written file. Returns an
// empty string, or the reason it failed (nothing is left behind then).
std::string WriteFileWhole(const std::string& path, const std::string& text);

}  // namespace vq

#endif  // VELQUORIN_JSON_RUN_JSON_H_
