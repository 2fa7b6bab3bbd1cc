#include "writers/triplet_writer.h"

#include <array>
#include <cstddef>

#include "kernels/matrix.h"
#include "report/saved_files.h"
#include "text/edit_descriptors.h"

namespace vq {

void WriteTripletReport(const TripletSummary& summary, RunOutputs& outputs) {
  OutputFile& report = outputs.report();
  report.EmptyLines(2);
  report.Write("0==============Triplet Test of Multivariate Normality============0");
  report.EmptyLines(1);
  report.Write("   Triplet    LR Chi-Square");
  report.EmptyLines(1);
  for (std::size_t index = 0; index < summary.tested; ++index) {
    const std::array<int, 3>& triplet = summary.triplets[index];
    report.Write(TripletLine(triplet[0], triplet[1], triplet[2], summary.chi_squares[index]));
  }
  if (!summary.complete) return;

  report.EmptyLines(1);
  report.Write("Number of triplets tested = " + FormatI(summary.triplet_count, 8));
  report.EmptyLines(1);
  report.Write("Variable         # of times                    % of times ");
  report.Write("            in a suspicious triplet       in a suspicious triplet");
  report.Write("                                               (1.00 = 1%)            ");
  report.Write("--------   ------------------------       ------------------------");
  const int p = static_cast<int>(summary.suspicious.size());
  for (int variable = 0; variable < p; ++variable) {
    report.Write(FormatI(variable + 1, 3) + Blanks(13) + FormatI(summary.suspicious[variable], 8) +
                 Blanks(23) + FormatF(summary.percentages[variable], 8, 2));
  }
}

void WriteTripletFile(OutputFile& mvn, const TripletSummary& summary) {
  Matrix chi_squares(1, static_cast<int>(summary.chi_squares.size()));
  for (std::size_t t = 0; t < summary.chi_squares.size(); ++t) {
    chi_squares(0, static_cast<int>(t)) = summary.chi_squares[t];
  }
  WriteMatrixRows(mvn, chi_squares, 9, 3, 2, 9999);
  Matrix percentages(1, static_cast<int>(summary.percentages.size()));
  for (std::size_t i = 0; i < summary.percentages.size(); ++i) {
    percentages(0, static_cast<int>(i)) = summary.percentages[i];
  }
  WriteMatrixRows(mvn, percentages, 9, 3, 2, 9999);
}

void SaveTripletFile(const TripletSummary& summary, const RunOutputs& outputs) {
  OutputFile mvn;
  outputs.OpenSaved(mvn, kTripletUnit, "mvn");
  WriteTripletFile(mvn, summary);
  mvn.Close();
}

}  // namespace vq
