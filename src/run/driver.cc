#include "run/driver.h"

#include <unistd.h>

#include <new>
#include <stdexcept>
#include <string>

#include "data/given_matrices.h"
#include "data/raw_data.h"
#include "frame/console.h"
#include "report/matrix_table.h"
#include "report/edit_descriptors.h"
#include "run/command_file.h"
#include "run/report_head.h"
#include "run/saved_matrices.h"

namespace vq {
namespace {

// Everything one run holds, so that the steps below can be plain functions.
struct Run {
  RunOptions options;
  RunContext context;
  ParsedInputs inputs;
  RunFiles files;
  RunArrays arrays;
};

bool IsOneOf(const std::string& field, std::initializer_list<std::string_view> words) {
  for (std::string_view word : words) {
    if (Is(field, word)) return true;
  }
  return false;
}

// --- Allocation ------------------------------------------------------------------

[[noreturn]] void AllocationFault(std::string_view message) {
  ConsoleLine(30, message);
  ConsoleEmptyLines(2);
  PauseAndStop();
}

[[noreturn]] void OutOfMemory() {
  AllocationFault("FATAL ERROR: Not enough memory for the arrays of this run");
}

// The arrays are zero-filled when they are made, so a request beyond the
// machine's memory would not fail cleanly but drive it into swapping or end
// the process from outside. Sizes are added up in doubles, which cannot
// overflow here, and held against the physical memory.
void CheckMemory(double doubles) {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long page_size = sysconf(_SC_PAGE_SIZE);
  if (pages <= 0 || page_size <= 0) return;
  const double physical = static_cast<double>(pages) * static_cast<double>(page_size);
  if (doubles * sizeof(double) > physical) OutOfMemory();
}

void CheckCounts(const RunOptions& options) {
  if (options.VariableCount < 1) {
    AllocationFault("FATAL ERROR: Number of variables on >DATA: line must be at least 1");
  }
  if (Is(options.InputForm, "RAW") && options.SubjectCount < 1) {
    AllocationFault("FATAL ERROR: Number of subjects on >DATA: line must be at least 1");
  }
}

}  // namespace

void StopAtUnbuiltPhase(std::string_view phase) {
  ConsoleLine(30, "FATAL ERROR: " + std::string(phase) + " is not built yet");
  PlainStop();
}

RunContext MakeRunContext(const ProgramArguments& arguments, std::string_view full_name) {
  RunContext context;
  SplitRunName(full_name, context.RunStem, context.RunDirectory);
  context.Seed.fixed = arguments.has_seed;
  context.Seed.value = arguments.seed;
  return context;
}

int CorrelationTableWidth(int page_width) { return page_width < 120 ? page_width : 110; }

void AllocateCorrelationArrays(const RunOptions& options, RunArrays& arrays) {
  CheckCounts(options);
  const int p = options.VariableCount;
  const int n = Is(options.InputForm, "RAW") ? options.SubjectCount : 0;
  const int m = options.FactorCount > 0 ? options.FactorCount : 0;
  const bool pearson = IsOneOf(options.Coding, {"CO", "IP"});
  const double pd = p, nd = n, md = m;
  CheckMemory(nd * pd + nd + (pearson ? 3.0 : 2.0) * pd * pd + pd * (pd - 1.0) / 2.0 +
              9.0 * pd * md + md * md);
  try {
    if (n > 0) {
      arrays.ItemData.Reset(n, p);
      arrays.SubjectIds.assign(static_cast<std::size_t>(n), 0.0);
    }
    arrays.CorrelationMatrix.Reset(p, p);
    arrays.R.Reset(p, p);
    if (pearson) {
      arrays.Means.assign(static_cast<std::size_t>(p), 0.0);
      arrays.StandardDeviations.assign(static_cast<std::size_t>(p), 0.0);
      arrays.SumsOfProducts.Reset(p, p);
    }
    arrays.Residuals.assign(static_cast<std::size_t>(p) * (p - 1) / 2, 0.0);
    arrays.FactorEigenvalues.assign(static_cast<std::size_t>(m), 0.0);
    if (m > 0) {
      arrays.Loadings.Reset(p, m);
      arrays.Communalities.assign(static_cast<std::size_t>(p), 0.0);
    }
  } catch (const std::bad_alloc&) {
    OutOfMemory();
  } catch (const std::length_error&) {
    OutOfMemory();
  }
}

void AllocateRotationArrays(const RunOptions& options, RunArrays& arrays) {
  CheckCounts(options);
  const int p = options.VariableCount;
  const int m = options.FactorCount > 0 ? options.FactorCount : 0;
  const double pd = p, md = m;
  CheckMemory(9.0 * pd * md + 2.0 * md * md + pd);
  try {
    arrays.Loadings.Reset(p, m);
    arrays.Communalities.assign(static_cast<std::size_t>(p), 0.0);
    arrays.FactorCorrelations.Reset(m, m);
  } catch (const std::bad_alloc&) {
    OutOfMemory();
  } catch (const std::length_error&) {
    OutOfMemory();
  }
}

bool FactorScoresRun(const RunOptions& options) {
  return IsOneOf(options.Coding, {"CO", "IP"}) && IsOneOf(options.ScoreMethod, {"REG", "BART"}) &&
         !Is(options.Model, "ROT");
}

void WarnAboutUnmetRequests(const RunOptions& options) {
  // Only a run that gets as far as the factor scores can miss them.
  if (IsOneOf(options.Model, {"TRP", "CMT"}) || options.FactorCount <= 0) return;
  if (Is(options.Model, "ROT") && IsOneOf(options.ScoreMethod, {"REG", "BART"})) {
    ConsoleLine(30, "WARNING: A given factor pattern has no data for factor scores;");
    ConsoleLine(30, "no factor scores are computed.");
    ConsoleEmptyLines(2);
  }
  const bool plot_asked =
      IsOneOf(options.PlotMode, {"SCORES", "ALL"}) && IsOneOf(options.Coding, {"CO", "IP"});
  if (plot_asked && !FactorScoresRun(options)) {
    ConsoleLine(30, "WARNING: No factor scores are computed, so there is no");
    ConsoleLine(30, "factor score plot.");
    ConsoleEmptyLines(2);
  }
}

namespace {

// --- The correlation road -----------------------------------------------------------

void ReadRawData(Run& run) {
  ReadItemData(run.inputs.DataFile,
               run.options.RecordFormat,
               run.options.SubjectCount,
               run.options.VariableCount,
               run.arrays.ItemData,
               run.arrays.SubjectIds);
}

// Fills CorrelationMatrix by the first branch that fits Coding and InputForm.
void ComputeCorrelationMatrix(Run& run) {
  const RunOptions& options = run.options;
  const bool raw = Is(options.InputForm, "RAW");
  if (Is(options.Coding, "CD") && raw) {
    ReadRawData(run);
    SplitAtMedians(run.arrays.ItemData, options.SubjectCount, options.VariableCount);
    // Phase: tetrachorics of the split scores (no console line of their own).
    StopAtUnbuiltPhase("ComputeTetrachorics");
    SaveCorrelationMatrix(
        run.options, run.context, run.arrays.CorrelationMatrix, run.files.Correlations);
  } else if (IsOneOf(options.Coding, {"DI", "DC"}) && raw) {
    ReadRawData(run);
    ConsoleLine(30, "Computing tetrachoric correlations");
    // Phase: tetrachorics, with the guessing vector for "DC".
    StopAtUnbuiltPhase("ComputeTetrachorics");
    SaveCorrelationMatrix(
        run.options, run.context, run.arrays.CorrelationMatrix, run.files.Correlations);
  } else if (Is(options.Coding, "OR") && raw) {
    ReadRawData(run);
    ConsoleLine(30, "Computing polychoric correlations");
    // Phase: polychorics.
    StopAtUnbuiltPhase("ComputePolychorics");
    SaveCorrelationMatrix(
        run.options, run.context, run.arrays.CorrelationMatrix, run.files.Correlations);
  } else if (Is(options.Coding, "CO") && raw) {
    ReadRawData(run);
    ConsoleLine(30, "Computing correlations");
    // Phase: Pearson correlations.
    StopAtUnbuiltPhase("G02BAF");
    SaveCorrelationMatrix(
        run.options, run.context, run.arrays.CorrelationMatrix, run.files.Correlations);
  } else if (Is(options.Coding, "IP") && raw) {
    ReadRawData(run);
    IPSAT(options.SubjectCount, options.VariableCount, run.arrays.ItemData);
    // Phase: Pearson correlations of the ipsatised scores (no console line).
    StopAtUnbuiltPhase("G02BAF");
    run.inputs.DataFile.Close();
    SaveCorrelationMatrix(
        run.options, run.context, run.arrays.CorrelationMatrix, run.files.Correlations);
  } else if (IsOneOf(options.Coding, {"DI", "OR", "CO"}) && Is(options.InputForm, "COR")) {
    ReadCorrelations(run.inputs.DataFile,
                     options.DataFile,
                     options.Coding,
                     options.VariableCount,
                     run.arrays.CorrelationMatrix);
  }
}

void SmoothIfAsked(Run& run) {
  if (!SmoothingRuns(run.options)) return;
  ConsoleLine(30, "Smoothing Correlations");
  // Phase: smoothing; the smoothed matrix takes the place of CorrelationMatrix.
  StopAtUnbuiltPhase("SmoothCorrelations");
  SaveSmoothedMatrix(run.options, run.context, run.arrays.CorrelationMatrix);
}

void ReadLabelsIfAsked(Run& run) {
  if (!Is(run.options.LabelMode, "LABELS")) return;
  ParseLabelsLine(run.files.CommandFile, run.options);
  run.arrays.ItemLabels = run.options.Labels;
}

// The table "CORRELATION MATRIX": rows and columns bear the labels under
// "LABELS" (with fields wide enough for them), numbers otherwise.
void PrintCorrelationMatrix(Run& run, int table_width) {
  const int p = run.options.VariableCount;
  const bool labels = Is(run.options.LabelMode, "LABELS");
  const std::vector<std::string>* names = labels ? &run.arrays.ItemLabels : nullptr;
  const char label_kind = labels ? 'C' : 'I';
  int ifail = 0;
  X04CBF('G',
         'N',
         p,
         p,
         run.arrays.CorrelationMatrix.data(),
         p,
         labels ? "F15.3" : "F8.3",
         "CORRELATION MATRIX",
         label_kind,
         names,
         label_kind,
         names,
         table_width,
         0,
         ifail,
         run.files.Report);
}

// Steps 1 to 7 of the correlation road.
void CorrelationRoad(Run& run) {
  AllocateCorrelationArrays(run.options, run.arrays);
  ComputeCorrelationMatrix(run);
  SmoothIfAsked(run);
  const int table_width = CorrelationTableWidth(run.options.PageWidth);
  ReadLabelsIfAsked(run);
  WriteReportHead(run.options, run.files.CommandFile, run.files.Report);
  if (Is(run.options.Print_Verbosity, "LONG")) PrintCorrelationMatrix(run, table_width);
}

void RunTripletTest(Run& run) {
  (void)run;
  // Phase: triplet test of multivariate normality and its `mvn` file.
  StopAtUnbuiltPhase("TripletTest");
}

// Step 10: eigenvalue screen, communalities, fit and unrotated tables.
void FactorAnalysis(Run& run) {
  if (Is(run.options.Model, "PFA")) {
    ConsoleLine(30, "Performing factor analysis");
    ConsoleEmptyLines(1);
  } else if (Is(run.options.Model, "PCA")) {
    ConsoleLine(30, "Performing principal components analysis");
    ConsoleEmptyLines(1);
  }
  // Phase: eigenvalue screen, communality iteration, fit analysis, unrotated results.
  StopAtUnbuiltPhase("RunExtraction");
}

// --- The rotation road ------------------------------------------------------------

void RotationRoad(Run& run) {
  const RunOptions& options = run.options;
  AllocateRotationArrays(options, run.arrays);
  ReadPattern(run.inputs.DataFile,
              options.DataFile,
              options.RecordFormat,
              options.VariableCount,
              options.FactorCount,
              run.arrays.Loadings);
  if (Is(options.InputForm, "FLD2")) {
    ReadPhi(run.files.FactorCorrelations,
            options.PhiFile,
            options.FactorCount,
            run.arrays.FactorCorrelations);
  }
  // Phase: the pattern turned by the eigenvectors of the factor correlations
  // ("FLD2"), then communalities and factor variances from the pattern.
  StopAtUnbuiltPhase("RotateGivenPattern");
  ReadLabelsIfAsked(run);
  WriteReportHead(run.options, run.files.CommandFile, run.files.Report);
}

// --- Common end of both roads ----------------------------------------------------

void CloseRunFiles(Run& run) {
  run.inputs.DataFile.Close();
  run.files.Report.Close();
}

// The normal end: the report is complete once stream 11 is closed.
void EndOfRun(Run& run) {
  CloseRunFiles(run);
  ConsoleLine(30, "Finished");
}

bool RotationRuns(const RunOptions& options) {
  return options.FactorCount > 1 &&
         IsOneOf(options.Rotation, {"WVARIMAX", "VARIMAX", "PROMAX", "OBLIMIN", "HK"});
}

// Steps 11 to 17, where both roads meet.
void RotateAndFinish(Run& run) {
  const RunOptions& options = run.options;
  if (Is(options.Rotation, "NONE") && Is(options.ScoreMethod, "NONE")) {
    CloseRunFiles(run);
    ConsoleLine(30, "Finished");
    PlainStop();
  }
  if (RotationRuns(options)) {
    // Phase: Weighted Varimax, Varimax, Promax, direct oblimin or Harris-Kaiser,
    // with the seed of the random start from run.context.Seed.
    StopAtUnbuiltPhase("RunRotation");
  }
  if (options.HasItemFile && Is(options.SortMode, "SORT")) {
    // Phase: the list of sorted items.
    StopAtUnbuiltPhase("ListSortedItems");
  }
  if (FactorScoresRun(options)) {
    // Phase: factor scores and their `fsc` file.
    StopAtUnbuiltPhase("FactorScores");
    if (IsOneOf(options.PlotMode, {"SCORES", "ALL"})) {
      // Phase: the factor score plot.
      StopAtUnbuiltPhase("FactorScorePlots");
    }
  }
  EndOfRun(run);
}

}  // namespace

void RunAnalysis(const ProgramArguments& arguments) {
  ShowBanner();
  Run run;
  OpenCommandFile(arguments, run.files.CommandFile);
  run.context = MakeRunContext(arguments, run.files.CommandFile.FullName());

  ParseCommandFile(run.files.CommandFile, run.options, run.inputs);
  run.files.Report.Open(kReportUnit, std::string(TrimRight(run.options.OutFile)));
  WarnAboutUnmetRequests(run.options);

  if (Is(run.options.Model, "ROT")) {
    RotationRoad(run);
  } else {
    CorrelationRoad(run);
    if (Is(run.options.Model, "TRP")) {
      RunTripletTest(run);
      EndOfRun(run);
      return;
    }
    if (run.options.FactorCount <= 0 || Is(run.options.Model, "CMT")) {
      EndOfRun(run);
      return;
    }
    FactorAnalysis(run);
  }
  RotateAndFinish(run);
}

}  // namespace vq
