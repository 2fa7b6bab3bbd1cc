// RunOptions: everything the command file settled for one run. The parser
// fills it once (and makes the few adjustments it is told to make); every
// phase reads it, or the small options struct the driver makes from it, and
// changes none of it.
//
// The option words of the command file are read as fixed-width text, raised
// to capitals and turned into the enums below at once, here and nowhere
// else; no phase compares option text. Each enum has `kOther` for a word
// that is none of its known ones: the parse lets some of those through (an
// unknown rotation word rotates nothing, an unknown label mode prints no
// loading table), and such a word must keep behaving as no known one.
//
// Text fields that are shown or used as names (the title, file names, item
// texts, the rotation's report name, labels, the record format) keep their
// case and their fixed width, blank-padded, as given in their comment.
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

enum class Verbosity { kShort, kLong, kOther };  // "SHORT", "LONG"

// ">METRIC:" first word: how the item scores are coded.
enum class Coding {
  kContinuous,   // "CO": Pearson correlations
  kIpsatized,    // "IP": Pearson correlations of ipsatized scores
  kDichotomous,  // "DI": tetrachorics
  kGuessing,     // "DC": tetrachorics corrected for guessing
  kMedianSplit,  // "CD": continuous scores split at their medians
  kOrdered,      // "OR": polychorics
  kOther,
};

// ">METRIC:" second word: what the data file holds.
enum class InputForm {
  kRaw,                // "RAW":  item scores
  kCorrelations,       // "COR":  a correlation matrix
  kPattern,            // "FLD1": a factor pattern
  kCorrelatedPattern,  // "FLD2": a pattern with factor correlations (">PHI:")
  kOther,
};

// ">METRIC:" third word.
enum class Smoothing {
  kSmooth,    // "SM": the matrix is smoothed where the pair allows it
  kShowOnly,  // "PS": the report calls it smoothed; nothing is smoothed
  kOther,
};

enum class Model {
  kComponents,        // "PCA"
  kPrincipalFactors,  // "PFA"
  kRotate,            // "ROT": rotate a given pattern
  kTriplet,           // "TRP": the triplet test only
  kCorrelations,      // "CMT": the correlation matrix only
  kOther,             // extracted as "PFA" from the unit diagonal, silently
};

enum class LabelMode { kLabels, kNoLabels, kOther };  // "LABELS", "NOLABELS"
enum class SortMode { kSort, kNoSort, kOther };       // "SORT", "NOSORT"

enum class Rotation {
  kVarimax,          // "VARIMAX"
  kWeightedVarimax,  // "WVARIMAX"
  kNone,             // "NONE"
  kOblimin,          // "OBLIMIN"
  kPromax,           // "PROMAX": Varimax, then Promax from it
  kHarrisKaiser,     // "HK"
  kOneFactor,        // put in by the parse for one factor: nothing rotates
  kOther,            // a word that rotates nothing
};

enum class ScoreMethod {
  kRegression,  // "REG"
  kBartlett,    // "BART"
  kNoScore,     // "NOSCORE" (also forced for a given correlation matrix)
  kNone,        // "NONE"
  kOther,
};

enum class PlotMode { kAll, kLoadings, kScores, kOther };  // "ALL", "LOADINGS", "SCORES"

// ">TECHNICAL:" fifth value.
enum class RandomStart { kRandom, kUnrotated, kOther };  // "T", "F"

// ">TECHNICAL:" seventh value: the diagonal principal factors start from.
enum class InitialCommunality { kOne, kSmc, kHir, kOther };  // "ONE", "SMC", "HIR"

// Codes of the ">OUTPUT:" line: which optional files are saved.
enum class SaveCode { kCor, kSmo, kEig, kRsd, kFac, kMvn, kOther };

// Fields are named as the command file's documentation names them; a field
// that holds an enum bears the enum's name, so the type is written in full.
struct RunOptions {
  std::string Title;                   // 80
  std::string DataFile;                // 50
  int VariableCount = 0;               // p
  int SubjectCount = 0;                // N
  bool HasItemFile = false;            // an ">ITEMS:" line was given
  std::string ItemFile;                // 50
  std::vector<std::string> ItemTexts;  // p texts of 200, with ">ITEMS:"
  std::string OutFile;                 // 35
  vq::Verbosity Print_Verbosity = vq::Verbosity::kOther;
  vq::Coding Coding = vq::Coding::kOther;
  vq::InputForm InputForm = vq::InputForm::kOther;
  vq::Smoothing Smoothing = vq::Smoothing::kOther;
  bool HasPhiFile = false;
  std::string PhiFile;  // 50, with "FLD2"
  bool HasGuessFile = false;
  std::string GuessFile;  // 80, with "DC"
  vq::Model Model = vq::Model::kOther;
  int FactorCount = 0;  // m
  vq::LabelMode LabelMode = vq::LabelMode::kOther;
  vq::SortMode SortMode = vq::SortMode::kOther;
  vq::Rotation Rotation = vq::Rotation::kOther;       // the one that runs
  vq::Rotation RotationAsked = vq::Rotation::kOther;  // the word, before one factor's kOneFactor
  std::string RotationName;                           // 25: the name the report shows
  double ObliminDelta = 0.0;                          // with "OBLIMIN"
  int PromaxPower = 0;                                // with "PROMAX"
  double HarrisKaiserParameter = 0.0;                 // with "HK"
  vq::ScoreMethod ScoreMethod = vq::ScoreMethod::kOther;
  vq::PlotMode PlotMode = vq::PlotMode::kOther;
  double CommunalityEpsilon = 0.0001;
  int CommunalityIterations = 200;
  double RotationEpsilon = 0.0001;
  int RotationIterations = 200;
  vq::RandomStart RandomStart = vq::RandomStart::kRandom;
  double HyperplaneWidth = 0.2;
  vq::InitialCommunality InitialCommunality = vq::InitialCommunality::kOne;
  int PageWidth = 130;
  bool SaveResults = false;             // "T"
  std::vector<vq::SaveCode> SaveCodes;  // up to 7
  std::string RecordFormat;             // 80
  std::vector<std::string> Labels;      // p texts of 15, with "LABELS"
};

// The enum of an option word: `word` in capitals, trailing blanks ignored
// (the fixed-width fields of the parse hold them). Any other word is kOther.
Verbosity ParseVerbosity(std::string_view word);
Coding ParseCoding(std::string_view word);
InputForm ParseInputForm(std::string_view word);
Smoothing ParseSmoothing(std::string_view word);
Model ParseModel(std::string_view word);
LabelMode ParseLabelMode(std::string_view word);
SortMode ParseSortMode(std::string_view word);
Rotation ParseRotation(std::string_view word);
ScoreMethod ParseScoreMethod(std::string_view word);
PlotMode ParsePlotMode(std::string_view word);
RandomStart ParseRandomStart(std::string_view word);
InitialCommunality ParseInitialCommunality(std::string_view word);
SaveCode ParseSaveCode(std::string_view word);

// --- Decisions taken from the options, each in one place ---------------------

// True for the codings whose correlations are Pearson's ("CO", "IP"): the
// only ones with means and deviations, and so with factor scores.
bool IsPearsonCoding(Coding coding);

// True for a given pattern ("FLD1", "FLD2"), which only model "ROT" takes.
bool IsGivenPattern(InputForm form);

// True when the ">OUTPUT:" line asks for `code` (and the save flag is on).
bool Saves(const RunOptions& options, SaveCode code);

// True when smoothing runs: "SM" with raw data coded "DI", "DC", "OR" or
// "CD", or with a given matrix coded "DI", "OR" or "CO".
bool SmoothingRuns(const RunOptions& options);

// True when the smoothed matrix is saved under "SMO": every pair that is
// smoothed but a given matrix coded "CO".
bool SavesSmoothedMatrix(const RunOptions& options);

// True when nothing follows the unrotated tables: rotation "NONE" with
// score method "NONE" (the "None" of one factor does not count).
bool EndsAfterExtraction(const RunOptions& options);

// True for the rotations that end in an orthogonal (Varimax) solution, and
// for those that end in an oblique one (pattern, structure, correlations).
bool IsOrthogonalRotation(Rotation rotation);
bool IsObliqueRotation(Rotation rotation);

// True for the score methods that estimate scores ("REG", "BART"), and for
// the plot modes that ask for the factor score plot ("SCORES", "ALL") and
// for the loading plots ("LOADINGS", "ALL").
bool EstimatesScores(ScoreMethod method);
bool PlotsScores(PlotMode mode);
bool PlotsLoadings(PlotMode mode);

}  // namespace vq

#endif  // VELQUORIN_OPTIONS_RUN_OPTIONS_H_
