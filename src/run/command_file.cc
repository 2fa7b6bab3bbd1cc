#include "run/command_file.h"

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "data/raw_data.h"
#include "frame/console.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Widths of the keyword fields, each the length of its keyword.
constexpr int kTitleKeyWidth = 7;       // ">TITLE:"
constexpr int kDataKeyWidth = 6;        // ">DATA:"
constexpr int kItemsKeyWidth = 7;       // ">ITEMS:"
constexpr int kOutFileKeyWidth = 9;     // ">OUTFILE:"
constexpr int kMetricKeyWidth = 8;      // ">METRIC:"
constexpr int kPhiKeyWidth = 5;         // ">PHI:"
constexpr int kGuessKeyWidth = 8;       // first word of the guessing line
constexpr int kModelKeyWidth = 7;       // ">MODEL:"
constexpr int kRotateKeyWidth = 8;      // ">ROTATE:"
constexpr int kScoreKeyWidth = 7;       // ">SCORE:"
constexpr int kPlotKeyWidth = 6;        // ">PLOT:"
constexpr int kTechnicalKeyWidth = 11;  // ">TECHNICAL:"
constexpr int kOutputKeyWidth = 8;      // ">OUTPUT:"
constexpr int kFormatKeyWidth = 8;      // ">FORMAT:"
constexpr int kLabelsKeyWidth = 8;      // ">LABELS:"

// --- Messages ----------------------------------------------------------------
// Every fatal message of the parse goes out through one of these two. The
// words and columns stand at the place of each fault; the column differs
// from keyword to keyword and is part of what users see.

// A keyword or value fault: the message from `column`, two empty lines, then
// the pause prompt and the stop.
[[noreturn]] void ParseFault(int column, std::string_view message) {
  ConsoleLine(column, message);
  ConsoleEmptyLines(2);
  PauseAndStop();
}

// The one fault found before anything else: no pause, no empty lines.
[[noreturn]] void TitleMissing() {
  ConsoleLine(2, "FATAL ERROR: Keyword  >TITLE:   missing");
  PlainStop();
}

// --- Reading helpers ------------------------------------------------------------

std::string Field(int width) { return std::string(static_cast<std::size_t>(width), ' '); }

// A list read of one keyword field, which is then raised to capitals.
std::string ReadKeyword(RecordSource& source, int width) {
  std::string keyword = Field(width);
  const ListItem items[] = {TextItem(keyword, width)};
  ReadList(source, items);
  UpcaseToken(keyword);
  return keyword;
}

std::string Trimmed(const std::string& field) { return std::string(Trim(field)); }

// True when the fixed-width `field` holds exactly `word` followed by blanks.
bool Holds(const std::string& field, std::string_view word) { return TrimRight(field) == word; }

// --- Steps of the main part ------------------------------------------------------

// Comment lines: dropped while column 1 holds "*", only at the top of the file.
void SkipComments(RecordSource& source) {
  for (;;) {
    std::string first = Field(1);
    const ListItem items[] = {TextItem(first, 1)};
    ReadColumns(source, items);
    if (first != "*") break;
  }
  source.StepBack();
}

void ReadTitleLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kTitleKeyWidth);
  options.Title = Field(kTitleWidth);
  const ListItem items[] = {TextItem(keyword, kTitleKeyWidth),
                            TextItem(options.Title, kTitleWidth)};
  ReadColumns(source, items);
  UpcaseToken(keyword);
  if (!Holds(keyword, ">TITLE:")) TitleMissing();
}

void ReadDataLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kDataKeyWidth);
  options.DataFile = Field(kDataFileWidth);
  const ListItem items[] = {TextItem(keyword, kDataKeyWidth),
                            TextItem(options.DataFile, kDataFileWidth),
                            IntegerItem(options.VariableCount),
                            IntegerItem(options.SubjectCount)};
  ReadList(source, items);
  UpcaseToken(keyword);
  if (!Holds(keyword, ">DATA:")) ParseFault(30, "FATAL ERROR: Keyword  >DATA:   missing");
}

// The line after ">DATA:" is probed by its first seven columns: an ">ITEMS:"
// line is read again as a list and its file read at once; a line that opens
// with ">OUTFIL" is left for the next step; any other line is dropped.
void ReadItemsLine(RecordSource& source, RunOptions& options) {
  std::string probe = Field(kItemsKeyWidth);
  const ListItem probe_items[] = {TextItem(probe, kItemsKeyWidth)};
  ReadColumns(source, probe_items);
  UpcaseToken(probe);
  if (Holds(probe, ">ITEMS:")) {
    source.StepBack();
    std::string keyword = Field(kItemsKeyWidth);
    const ListItem items[] = {TextItem(keyword, kItemsKeyWidth),
                              TextItem(options.ItemFile, kItemFileWidth)};
    ReadList(source, items);
    options.HasItemFile = true;
    ReadItemTexts(options.ItemFile, options.VariableCount, options.ItemTexts);
  } else if (Holds(probe, ">OUTFIL")) {
    source.StepBack();
  }
}

void ReadOutFileLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kOutFileKeyWidth);
  options.OutFile = Field(kOutFileWidth);
  std::string verbosity = Field(kVerbosityWidth);
  const ListItem items[] = {TextItem(keyword, kOutFileKeyWidth),
                            TextItem(options.OutFile, kOutFileWidth),
                            TextItem(verbosity, kVerbosityWidth)};
  ReadList(source, items);
  UpcaseToken(keyword);
  UpcaseToken(verbosity);
  options.Print_Verbosity = ParseVerbosity(verbosity);
  if (!Holds(keyword, ">OUTFILE:")) ParseFault(30, "FATAL ERROR: Keyword  >OUTFILE:   missing");
  if (options.Print_Verbosity == Verbosity::kOther) {
    ParseFault(30, "FATAL ERROR: Keyword  Print_Verbosity missing");
  }
}

void ReadMetricLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kMetricKeyWidth);
  std::string coding = Field(kCodingWidth);
  std::string input_form = Field(kInputFormWidth);
  std::string smoothing = Field(kSmoothingWidth);
  const ListItem items[] = {TextItem(keyword, kMetricKeyWidth),
                            TextItem(coding, kCodingWidth),
                            TextItem(input_form, kInputFormWidth),
                            TextItem(smoothing, kSmoothingWidth)};
  ReadList(source, items);
  UpcaseToken(keyword);
  UpcaseToken(coding);
  UpcaseToken(input_form);
  UpcaseToken(smoothing);
  options.Coding = ParseCoding(coding);
  options.InputForm = ParseInputForm(input_form);
  options.Smoothing = ParseSmoothing(smoothing);
  if (!Holds(keyword, ">METRIC:")) ParseFault(40, "FATAL ERROR: Keyword  >METRIC:   missing");
  if (options.Coding == Coding::kOther || options.InputForm == InputForm::kOther) {
    ParseFault(30, "FATAL ERROR: Unrecognized keyword on >METRIC: line");
  }
  // A given correlation matrix holds no scores: only the codings whose
  // estimator it can stand in for may go with it. Anything else would leave
  // the later phases without a matrix.
  if (options.InputForm == InputForm::kCorrelations && options.Coding != Coding::kContinuous &&
      options.Coding != Coding::kDichotomous && options.Coding != Coding::kOrdered) {
    ParseFault(
        30, "FATAL ERROR: Coding " + Trimmed(coding) + " cannot be used with COR on >METRIC: line");
  }
}

void ReadPhiLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kPhiKeyWidth);
  const ListItem items[] = {TextItem(keyword, kPhiKeyWidth),
                            TextItem(options.PhiFile, kPhiFileWidth)};
  ReadList(source, items);
  UpcaseToken(keyword);
  if (!Holds(keyword, ">PHI:")) ParseFault(43, "FATAL ERROR: Keyword  >PHI:   missing");
  options.HasPhiFile = true;
}

// The guessing line: its first word is not looked at; the file it names is
// read at once.
void ReadGuessingLine(RecordSource& source, RunOptions& options, ParsedInputs& inputs) {
  std::string first_word = Field(kGuessKeyWidth);
  const ListItem items[] = {TextItem(first_word, kGuessKeyWidth),
                            TextItem(options.GuessFile, kGuessFileWidth)};
  ReadList(source, items);
  options.HasGuessFile = true;
  ReadGuessing(inputs.GuessFile,
               options.GuessFile,
               options.VariableCount,
               inputs.Guessing,
               inputs.HasGuessing);
}

void ReadModelLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kModelKeyWidth);
  std::string model = Field(kModelWidth);
  std::string label_mode = Field(kLabelModeWidth);
  std::string sort_mode = Field(kSortModeWidth);
  const ListItem items[] = {TextItem(keyword, kModelKeyWidth),
                            TextItem(model, kModelWidth),
                            IntegerItem(options.FactorCount),
                            TextItem(label_mode, kLabelModeWidth),
                            TextItem(sort_mode, kSortModeWidth)};
  ReadList(source, items);
  UpcaseToken(keyword);
  UpcaseToken(model);
  UpcaseToken(label_mode);
  UpcaseToken(sort_mode);
  options.Model = ParseModel(model);
  options.LabelMode = ParseLabelMode(label_mode);
  options.SortMode = ParseSortMode(sort_mode);
  if (!Holds(keyword, ">MODEL:")) ParseFault(30, "FATAL ERROR: Keyword  >MODEL:   missing");
  // A given factor pattern is only ever rotated, and rotation needs one: a
  // model and an input form that do not meet here establish no matrix.
  const bool given_pattern = IsGivenPattern(options.InputForm);
  const bool rotate_given = options.Model == Model::kRotate;
  if (given_pattern && !rotate_given) {
    ParseFault(30,
               "FATAL ERROR: Input " +
                   std::string(options.InputForm == InputForm::kPattern ? "FLD1" : "FLD2") +
                   " on >METRIC: line requires model ROT");
  }
  if (rotate_given && !given_pattern) {
    ParseFault(30, "FATAL ERROR: Model ROT requires input FLD1 or FLD2 on >METRIC: line");
  }
  // The triplet test counts the response patterns of the subjects' scores,
  // which a given correlation matrix does not have.
  if (options.Model == Model::kTriplet && options.InputForm != InputForm::kRaw) {
    ParseFault(30, "FATAL ERROR: Model TRP requires input RAW on >METRIC: line");
  }
  if (rotate_given && options.FactorCount < 1) {
    ParseFault(30, "FATAL ERROR: Model ROT requires at least one factor on >MODEL: line");
  }
}

// The third field of the ">ROTATE:" line is read by a second read of the same
// line, with a scratch keyword and word so that the fields read first stay.
void ReadRotateLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kRotateKeyWidth);
  std::string rotation = Field(kRotationWidth);
  const ListItem items[] = {TextItem(keyword, kRotateKeyWidth), TextItem(rotation, kRotationWidth)};
  ReadList(source, items);
  UpcaseToken(keyword);
  UpcaseToken(rotation);
  options.Rotation = ParseRotation(rotation);
  options.RotationAsked = options.Rotation;
  if (!Holds(keyword, ">ROTATE:")) ParseFault(30, "FATAL ERROR: Keyword >ROTATE:    missing");

  std::string again_keyword = Field(kRotateKeyWidth);
  std::string again_word = Field(kRotationWidth);
  options.RotationName = Field(kRotationNameWidth);
  if (options.Rotation == Rotation::kVarimax) {
    options.RotationName = PadRight("Varimax", kRotationNameWidth);
  } else if (options.Rotation == Rotation::kWeightedVarimax) {
    options.RotationName = PadRight("Weighted Varimax", kRotationNameWidth);
  } else if (options.Rotation == Rotation::kNone) {
    options.RotationName = PadRight("None", kRotationNameWidth);
  } else if (options.Rotation == Rotation::kOblimin) {
    options.RotationName = PadRight("Oblimin", kRotationNameWidth);
    source.StepBack();
    const ListItem again[] = {TextItem(again_keyword, kRotateKeyWidth),
                              TextItem(again_word, kRotationWidth),
                              RealItem(options.ObliminDelta)};
    ReadList(source, again);
    if (options.ObliminDelta > 0.0) {
      StopWithText(
          "*********FATAL ERROR: The Oblimin Delta parameter must be less than 0.0*********");
    }
  } else if (options.Rotation == Rotation::kPromax) {
    options.RotationName = PadRight("Promax", kRotationNameWidth);
    source.StepBack();
    const ListItem again[] = {TextItem(again_keyword, kRotateKeyWidth),
                              TextItem(again_word, kRotationWidth),
                              IntegerItem(options.PromaxPower)};
    // The one read of the file whose fault is handled here: whatever stops
    // the power from being read gets the Promax message.
    if (TryReadList(source, again) != 0) {
      ParseFault(30, "FATAL ERROR: Promax requires a power");
    }
  } else if (options.Rotation == Rotation::kHarrisKaiser) {
    options.RotationName = PadRight("Harris-Kaiser", kRotationNameWidth);
    source.StepBack();
    const ListItem again[] = {TextItem(again_keyword, kRotateKeyWidth),
                              TextItem(again_word, kRotationWidth),
                              RealItem(options.HarrisKaiserParameter)};
    ReadList(source, again);
  }

  // An unrotated solution has no factor order worth sorting by.
  if (options.SortMode == SortMode::kSort && options.Rotation == Rotation::kNone) {
    ConsoleLine(30, "WARNING: Velquorin does not sort unrotated solutions");
    ConsoleEmptyLines(2);
    options.SortMode = SortMode::kNoSort;
  }
  // One factor cannot be rotated: no rotation and no rotated table runs, and
  // the run does not end after extraction as "NONE" would have it, while the
  // report keeps the name that was asked for.
  if (options.FactorCount == 1) options.Rotation = Rotation::kOneFactor;
}

void ReadScoreLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kScoreKeyWidth);
  std::string method = Field(kScoreMethodWidth);
  const ListItem items[] = {TextItem(keyword, kScoreKeyWidth), TextItem(method, kScoreMethodWidth)};
  ReadList(source, items);
  UpcaseToken(keyword);
  UpcaseToken(method);
  options.ScoreMethod = ParseScoreMethod(method);
  if (!Holds(keyword, ">SCORE:")) ParseFault(30, "FATAL ERROR: Keyword >SCORE:    missing");
  // A given correlation matrix has no scores to estimate factor scores from.
  if (options.InputForm == InputForm::kCorrelations) options.ScoreMethod = ScoreMethod::kNoScore;
}

void ReadPlotLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kPlotKeyWidth);
  std::string plot_mode = Field(kPlotModeWidth);
  const ListItem items[] = {TextItem(keyword, kPlotKeyWidth), TextItem(plot_mode, kPlotModeWidth)};
  ReadList(source, items);
  UpcaseToken(keyword);
  UpcaseToken(plot_mode);
  options.PlotMode = ParsePlotMode(plot_mode);
  if (!Holds(keyword, ">PLOT:")) ParseFault(30, "FATAL ERROR: Keyword >PLOT:    missing");
  if (options.PlotMode == PlotMode::kAll && options.ScoreMethod == ScoreMethod::kNoScore) {
    ConsoleLine(30, "FATAL ERROR: You have requested factor score plots");
    ParseFault(30, "without computing factor scores.");
  }
}

// ">TECHNICAL:" may be left out as a whole; the probe's line is then read
// again by the next step. The nine values start at their defaults, which
// also stay for the values behind a slash on the line.
void ReadTechnicalLine(RecordSource& source, RunOptions& options) {
  options.CommunalityEpsilon = 0.0001;
  options.CommunalityIterations = 200;
  options.RotationEpsilon = 0.0001;
  options.RotationIterations = 200;
  std::string random_start = "T";
  options.HyperplaneWidth = 0.2;
  std::string initial_communality = "ONE";
  options.PageWidth = 130;
  std::string save_results = "F";
  options.RandomStart = RandomStart::kRandom;
  options.InitialCommunality = InitialCommunality::kOne;
  options.SaveResults = false;
  const std::string probe = ReadKeyword(source, kTechnicalKeyWidth);
  source.StepBack();
  if (!Holds(probe, ">TECHNICAL:")) return;
  std::string keyword = Field(kTechnicalKeyWidth);
  const ListItem items[] = {TextItem(keyword, kTechnicalKeyWidth),
                            RealItem(options.CommunalityEpsilon),
                            IntegerItem(options.CommunalityIterations),
                            RealItem(options.RotationEpsilon),
                            IntegerItem(options.RotationIterations),
                            TextItem(random_start, kRandomStartWidth),
                            RealItem(options.HyperplaneWidth),
                            TextItem(initial_communality, kInitialCommunalityWidth),
                            IntegerItem(options.PageWidth),
                            TextItem(save_results, kSaveResultsWidth)};
  ReadList(source, items);
  UpcaseToken(random_start);
  UpcaseToken(initial_communality);
  UpcaseToken(save_results);
  options.RandomStart = ParseRandomStart(random_start);
  options.InitialCommunality = ParseInitialCommunality(initial_communality);
  options.SaveResults = Holds(save_results, "T");
}

// The count of codes is read as a real and truncated; the codes follow on the
// same line, so the line is read a second time with as many code fields as
// the count asks for.
void ReadOutputLine(RecordSource& source, RunOptions& options) {
  const std::string probe = ReadKeyword(source, kOutputKeyWidth);
  if (!Holds(probe, ">OUTPUT:")) ParseFault(31, "FATAL ERROR: Keyword >OUTPUT: missing");
  source.StepBack();
  std::string keyword = Field(kOutputKeyWidth);
  double count = 0.0;
  const ListItem head[] = {TextItem(keyword, kOutputKeyWidth), RealItem(count)};
  ReadList(source, head);
  // SaveCodes has room for seven codes; the test is on the real value so
  // that no count, however large, is converted out of the range of an int.
  if (!(count < kSaveCodeCount + 1.0)) {
    ParseFault(30, "FATAL ERROR: At most 7 codes fit on the >OUTPUT: line");
  }
  const int code_count = count > 0.0 ? static_cast<int>(count) : 0;
  std::vector<std::string> codes(static_cast<std::size_t>(code_count), Field(kSaveCodeWidth));
  std::vector<ListItem> items = {TextItem(keyword, kOutputKeyWidth), RealItem(count)};
  for (std::string& code : codes) items.push_back(TextItem(code, kSaveCodeWidth));
  source.StepBack();
  ReadList(source, items);
  options.SaveCodes.clear();
  for (std::string& code : codes) {
    UpcaseToken(code);
    options.SaveCodes.push_back(ParseSaveCode(code));
  }
}

void ReadFormatLine(RecordSource& source, RunOptions& options) {
  std::string keyword = Field(kFormatKeyWidth);
  options.RecordFormat = Field(kRecordFormatWidth);
  const ListItem items[] = {TextItem(keyword, kFormatKeyWidth),
                            TextItem(options.RecordFormat, kRecordFormatWidth)};
  ReadColumns(source, items);
  UpcaseToken(keyword);
  if (!Holds(keyword, ">FORMAT:")) ParseFault(30, "FATAL ERROR: Keyword  >FORMAT:   missing");
}

// Fields that a file may leave out hold blanks of their width, so that every
// text field of RunOptions has its full width whatever the file said.
void ClearOptionalFields(RunOptions& options) {
  options.HasItemFile = false;
  options.ItemFile = Field(kItemFileWidth);
  options.ItemTexts.clear();
  options.HasPhiFile = false;
  options.PhiFile = Field(kPhiFileWidth);
  options.HasGuessFile = false;
  options.GuessFile = Field(kGuessFileWidth);
  options.RotationName = Field(kRotationNameWidth);
  options.SaveCodes.clear();
  options.Labels.clear();
}

}  // namespace

void UpcaseToken(std::string& field) {
  const std::size_t width = field.size();
  const std::size_t first = field.find_first_not_of(' ');
  if (first == std::string::npos) return;
  field.erase(0, first);
  field.append(width - field.size(), ' ');
  for (char& c : field) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
}

void ParseCommandFile(RecordSource& command_file, RunOptions& options, ParsedInputs& inputs) {
  ClearOptionalFields(options);
  SkipComments(command_file);
  ReadTitleLine(command_file, options);
  ReadDataLine(command_file, options);
  ReadItemsLine(command_file, options);
  ReadOutFileLine(command_file, options);
  ReadMetricLine(command_file, options);
  if (options.InputForm == InputForm::kCorrelatedPattern) ReadPhiLine(command_file, options);
  if (options.InputForm == InputForm::kRaw) OpenRawData(inputs.DataFile, options.DataFile);
  if (options.Coding == Coding::kGuessing) ReadGuessingLine(command_file, options, inputs);
  ReadModelLine(command_file, options);
  ReadRotateLine(command_file, options);
  ReadScoreLine(command_file, options);
  ReadPlotLine(command_file, options);
  ReadTechnicalLine(command_file, options);
  if (options.SaveResults) ReadOutputLine(command_file, options);
  ReadFormatLine(command_file, options);
}

void ParseLabelsLine(RecordSource& command_file, RunOptions& options) {
  const std::string probe = ReadKeyword(command_file, kLabelsKeyWidth);
  if (!Holds(probe, ">LABELS:")) ParseFault(30, "FATAL ERROR: Keyword  >LABELS:   missing");
  command_file.StepBack();
  const int p = options.VariableCount > 0 ? options.VariableCount : 0;
  options.Labels.assign(static_cast<std::size_t>(p), Field(kLabelWidth));
  std::string keyword = Field(kLabelsKeyWidth);
  std::vector<ListItem> items = {TextItem(keyword, kLabelsKeyWidth)};
  for (std::string& label : options.Labels) items.push_back(TextItem(label, kLabelWidth));
  ReadList(command_file, items);
}

}  // namespace vq
