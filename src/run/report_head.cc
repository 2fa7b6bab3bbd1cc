#include "run/report_head.h"

#include <string>
#include <string_view>

#include "frame/console.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

constexpr int kListingWidth = 200;  // each command line is listed in 200 columns
constexpr int kListingLines = 100;  // the listing never runs longer

constexpr char kVersionText[] = "Velquorin 2.0";

// The box of the banner stands in console columns 25 to 98.
constexpr int kBannerColumn = 25;
constexpr int kBannerInside = 72;  // columns 26 to 97
constexpr int kBannerNameColumn = 55;
constexpr int kBannerInnerLines = 8;

void WriteTitleBlock(OutputFile& report) {
  report.EmptyLines(1);
  report.Write(Blanks(34) + kVersionText + " ");
  report.EmptyLines(1);
  report.Write(Blanks(8) + "A Factor Analysis System for Ordered Item Data");
  report.Write(Blanks(27) + "for Problems of Any Size");
  report.EmptyLines(6);
}

// True when the first `count` characters of `line`, in capitals, read `word`.
bool StartsWithWord(const std::string& line, std::string_view word) {
  if (line.size() < word.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    char c = line[i];
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    if (c != word[i]) return false;
  }
  return true;
}

void WriteCommandListing(const RunOptions& options,
                         RecordSource& command_file,
                         OutputFile& report) {
  command_file.Rewind();
  for (int listed = 0; listed < kListingLines; ++listed) {
    std::string line(kListingWidth, ' ');
    const ListItem items[] = {TextItem(line, kListingWidth)};
    if (TryReadColumns(command_file, items) != 0) return;  // end of the file
    if (StartsWithWord(line, ">FORMAT") && options.LabelMode == LabelMode::kNoLabels) {
      report.Write(line);
      return;
    }
    if (StartsWithWord(line, ">LABEL")) {
      report.Write(">LABELS: Label names . . . ");
      return;
    }
    report.Write(line);
  }
}

void WriteModelSection(const RunOptions& options, OutputFile& report) {
  report.Write("0==================MODEL=======================0");
  report.EmptyLines(1);
  if (options.Model == Model::kTriplet)
    report.Write("Model = Test of underlying multivariate normality");
  if (options.FactorCount > 0) {
    if (options.Model == Model::kComponents) report.Write("Model = Principal Components Analysis");
    if (options.Model == Model::kRotate) report.Write("Model = Rotate existing matrix");
    if (options.Model == Model::kPrincipalFactors)
      report.Write("Model = Principal Factor Analysis");
  }

  // The word of the matrix is held in 11 characters and shown in 10, so
  // "Smoothed" keeps two of its three trailing blanks.
  const bool smoothed =
      options.Smoothing == Smoothing::kSmooth || options.Smoothing == Smoothing::kShowOnly;
  const std::string matrix_word = PadRight(smoothed ? "Smoothed" : "Unsmoothed", 11).substr(0, 10);
  report.Write("Number of subjects = " + FormatI(options.SubjectCount, 6));
  report.Write("Number of factors = " + FormatI(options.FactorCount, 3));
  report.Write("Number of variables = " + FormatI(options.VariableCount, 3));
  report.Write("Variables are coded: " + FormatA(PadRight(CodingText(options), 31), 31));
  report.Write("The correlation matrix is: " + FormatA(matrix_word, 10));
  report.Write("The rotation is: " + FormatA(PadRight(options.RotationName, 25), 25));

  if (options.Coding == Coding::kContinuous) {
    std::string method;
    if (options.ScoreMethod == ScoreMethod::kRegression) method = "Regression Method";
    if (options.ScoreMethod == ScoreMethod::kBartlett) method = "Bartlett Method";
    if (options.ScoreMethod == ScoreMethod::kNoScore) method = "None";
    report.Write("Factor Scores are: " + PadRight(method, 20));
  }

  if (options.Coding == Coding::kContinuous || options.Coding == Coding::kIpsatized) {
    report.Write("Correlations are Pearson Product Moments");
  } else if (options.Coding == Coding::kDichotomous || options.Coding == Coding::kMedianSplit) {
    report.Write("Correlations are tetrachorics");
  } else if (options.Coding == Coding::kOrdered) {
    report.Write("Correlations are polychorics");
  } else if (options.Coding == Coding::kGuessing) {
    report.Write("Correlations are tetrachorics corrected for guessing");
  }
  report.EmptyLines(1);
}

void WriteTechnicalParameters(const RunOptions& options, OutputFile& report) {
  report.EmptyLines(3);
  report.Write("0==============TECHNICAL PARAMETERS============0");
  report.EmptyLines(1);
  report.Write("Epsilon for Communality Estimation = " +
               FormatF(options.CommunalityEpsilon, 10, 9));
  report.Write("Maximum Iterations for Communality Estimation =" +
               FormatI(options.CommunalityIterations, 4));
  report.Write("Epsilon for Rotation Accuracy = " + FormatF(options.RotationEpsilon, 10, 9));
  report.Write("Maximum Iterations for Rotation =" + FormatI(options.RotationIterations, 4));
  if (options.RandomStart == RandomStart::kRandom) report.Write("Rotate from Random Orientation");
  if (options.RandomStart == RandomStart::kUnrotated)
    report.Write("Rotate from Unrotated Orientation");
  report.Write("Hyperplane width = " + FormatF(options.HyperplaneWidth, 5, 3));
  report.EmptyLines(1);
  report.EmptyLines(1);
}

}  // namespace

void ShowBanner() {
  const std::string border = "0" + std::string(kBannerInside, '=') + "0";
  const std::string empty_inside = "|" + Blanks(kBannerInside) + "|";
  std::string name_line = empty_inside;
  name_line.replace(kBannerNameColumn - kBannerColumn, sizeof kVersionText - 1, kVersionText);
  ConsoleEmptyLines(8);
  ConsoleLine(kBannerColumn, border);
  for (int line = 1; line <= kBannerInnerLines; ++line) {
    ConsoleLine(kBannerColumn, line == 2 ? name_line : empty_inside);
  }
  ConsoleLine(kBannerColumn, border);
}

std::string CodingText(const RunOptions& options) {
  if (options.Coding == Coding::kContinuous) return "Continuous";
  if (options.Coding == Coding::kIpsatized) return "Ipsatized";
  if (options.Coding == Coding::kDichotomous || options.Coding == Coding::kGuessing)
    return "Dichotomous";
  if (options.Coding == Coding::kMedianSplit) return "Continous -> Dichotomous";
  if (options.Coding == Coding::kOrdered) return "Ordered";
  return "";
}

void WriteReportHead(const RunOptions& options, RecordSource& command_file, OutputFile& report) {
  WriteTitleBlock(report);
  report.Write("0===========COMMAND LISTING====================0");
  report.EmptyLines(1);
  WriteCommandListing(options, command_file, report);
  report.EmptyLines(4);
  WriteModelSection(options, report);
  WriteTechnicalParameters(options, report);
}

}  // namespace vq
