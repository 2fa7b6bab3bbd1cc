// RunOptions: everything the command file settled for one run. The parser
// fills it once (and makes the few adjustments it is told to make); every
// phase reads it and changes none of it.
//
// Text fields are fixed-width and blank-padded: each std::string below holds
// exactly the width named in its comment. Keywords and word fields are
// left-justified and in capitals; comparisons take the whole field, padding
// included, so use `Is(field, "WORD")`, which pads the word to the field's
// width. File names, the title, labels and the record format keep their case.
#ifndef VELQUORIN_OPTIONS_RUN_OPTIONS_H_
#define VELQUORIN_OPTIONS_RUN_OPTIONS_H_

#include <string>
#include <string_view>
#include <vector>

namespace vq {

// Widths of the text fields.
constexpr int kTitleWidth = 80;
constexpr int kDataFileWidth = 50;
constexpr int kItemFileWidth = 50;
constexpr int kItemTextWidth = 200;
constexpr int kOutFileWidth = 35;
constexpr int kVerbosityWidth = 5;
constexpr int kCodingWidth = 2;
constexpr int kInputFormWidth = 4;
constexpr int kSmoothingWidth = 2;
constexpr int kPhiFileWidth = 50;
constexpr int kGuessFileWidth = 80;
constexpr int kModelWidth = 4;
constexpr int kLabelModeWidth = 15;
constexpr int kSortModeWidth = 15;
constexpr int kRotationWidth = 8;
constexpr int kRotationNameWidth = 25;
constexpr int kScoreMethodWidth = 8;
constexpr int kPlotModeWidth = 8;
constexpr int kRandomStartWidth = 1;
constexpr int kInitialCommunalityWidth = 3;
constexpr int kSaveResultsWidth = 1;
constexpr int kSaveCodeWidth = 3;
constexpr int kSaveCodeCount = 7;
constexpr int kRecordFormatWidth = 80;
constexpr int kLabelWidth = 15;

struct RunOptions {
  std::string Title;                   // 80
  std::string DataFile;                // 50
  int VariableCount = 0;               // p
  int SubjectCount = 0;                // N
  bool HasItemFile = false;            // an ">ITEMS:" line was given
  std::string ItemFile;                // 50
  std::vector<std::string> ItemTexts;  // p texts of 200, with ">ITEMS:"
  std::string OutFile;                 // 35
  std::string Print_Verbosity;         // 5: "SHORT" or "LONG "
  std::string Coding;                  // 2: "CO", "IP", "DI", "DC", "CD", "OR"
  std::string InputForm;               // 4: "RAW ", "COR ", "FLD1", "FLD2"
  std::string Smoothing;               // 2: "SM" smooths; "PS" only shows "Smoothed"
  bool HasPhiFile = false;
  std::string PhiFile;  // 50, with "FLD2"
  bool HasGuessFile = false;
  std::string GuessFile;               // 80, with "DC"
  std::string Model;                   // 4: "PCA ", "PFA ", "ROT ", "TRP ", "CMT "
  int FactorCount = 0;                 // m
  std::string LabelMode;               // 15: "LABELS", "NOLABELS"
  std::string SortMode;                // 15: "SORT", "NOSORT"
  std::string Rotation;                // 8: "VARIMAX", "WVARIMAX", "NONE", "OBLIMIN",
                                       //    "PROMAX", "HK"; "None" for one factor
  std::string RotationName;            // 25: the name the report shows
  double ObliminDelta = 0.0;           // with "OBLIMIN"
  int PromaxPower = 0;                 // with "PROMAX"
  double HarrisKaiserParameter = 0.0;  // with "HK"
  std::string ScoreMethod;             // 8: "REG", "BART", "NOSCORE", "NONE"
  std::string PlotMode;                // 8: "ALL", "LOADINGS", "SCORES"
  double CommunalityEpsilon = 0.0001;
  int CommunalityIterations = 200;
  double RotationEpsilon = 0.0001;
  int RotationIterations = 200;
  std::string RandomStart = "T";  // 1
  double HyperplaneWidth = 0.2;
  std::string InitialCommunality = "ONE";  // 3: "ONE", "SMC", "HIR"
  int PageWidth = 130;
  std::string SaveResults = "F";       // 1
  std::vector<std::string> SaveCodes;  // up to 7 codes of 3
  std::string RecordFormat;            // 80
  std::vector<std::string> Labels;     // p texts of 15, with "LABELS"
};

// True when the fixed-width `field` holds exactly `word` followed by blanks
// up to its width. A word longer than the field never matches.
inline bool Is(const std::string& field, std::string_view word) {
  if (word.size() > field.size()) return false;
  if (field.compare(0, word.size(), word) != 0) return false;
  for (std::size_t i = word.size(); i < field.size(); ++i) {
    if (field[i] != ' ') return false;
  }
  return true;
}

}  // namespace vq

#endif  // VELQUORIN_OPTIONS_RUN_OPTIONS_H_
