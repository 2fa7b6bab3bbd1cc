#include "run/driver.h"

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "aids/aids_report.h"
#include "aids/likelihood_fit.h"
#include "aids/parallel_analysis.h"
#include "aids/velicer_map.h"
#include "correlation/correlations.h"
#include "correlation/pair_order.h"
#include "correlation/polychoric.h"
#include "correlation/smoothing.h"
#include "correlation/tetrachoric.h"
#include "correlation/triplet.h"
#include "data/given_matrices.h"
#include "data/raw_data.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/failure.h"
#include "kernels/parallel.h"
#include "kernels/pearson.h"
#include "report/run_outputs.h"
#include "rotation/random_start.h"
#include "rotation/rotation.h"
#include "run/command_file.h"
#include "run/phase_options.h"
#include "run/report_head.h"
#include "run/run_record.h"
#include "scores/score_phase.h"
#include "text/edit_descriptors.h"
#include "writers/correlation_writer.h"
#include "writers/extraction_writer.h"
#include "writers/rotation_writer.h"
#include "writers/score_writer.h"
#include "writers/triplet_writer.h"

namespace vq {
namespace {

// Everything one run holds, so that the steps below can be plain functions.
struct Run {
  RunOptions options;
  RunContext context;
  ParsedInputs inputs;
  RunFiles files;
  RunArrays arrays;
  CorrelationOptions correlation;
  CorrelationWriteOptions correlation_output;
  int aids_data_sets = 0;  // --aids[=N]; 0: no aids
  // Where the whole-run outputs (--json, --html) collect the results; null
  // when none was asked for.
  RunRecord* record = nullptr;
};

// The report and the saved-file namer of the run.
RunOutputs OutputsOf(Run& run) {
  return RunOutputs(run.files.Report, run.context.RunDirectory, run.context.RunStem);
}

// The estimator's figures that only the report shows otherwise: item
// proportions, thresholds and the pairs the report warns about.
void RecordTetrachorics(Run& run, const TetrachoricResult& result) {
  if (run.record == nullptr) return;
  RunRecord& record = *run.record;
  record.tetrachoric = true;
  record.proportions = result.items.proportions;
  record.tetrachoric_thresholds = result.thresholds;
  record.fall_backs = result.fall_backs;
  record.small_cell_pairs.clear();
  for (std::size_t q = 0; q < result.tables.size(); ++q) {
    if (!result.tables[q].small_cells) continue;
    const PairPosition pair = PairAt(static_cast<std::int64_t>(q));
    record.small_cell_pairs.push_back({pair.i, pair.j});
  }
}

void RecordPolychorics(Run& run, const PolychoricResult& result) {
  if (run.record == nullptr) return;
  run.record->polychoric = true;
  run.record->category_counts = result.category_count;
  run.record->polychoric_thresholds = result.thresholds;
  run.record->boundary = result.boundary;
}

// What the run holds in its arrays, copied at its end or at a stop.
void RecordArrays(Run& run) {
  if (run.record == nullptr) return;
  RunRecord& record = *run.record;
  if (record.parsed) record.options = run.options;
  record.labels = run.arrays.ItemLabels;
  record.means = run.arrays.Means;
  record.standard_deviations = run.arrays.StandardDeviations;
  record.rotation = run.arrays.Rotation;
  record.scores = run.arrays.Scores;
  if (record.scores.estimated) record.score_file = OutputsOf(run).SavedPath("fsc");
}

// --- Allocation ------------------------------------------------------------------

[[noreturn]] void AllocationFault(std::string_view message) {
  ConsoleLine(30, message);
  ConsoleEmptyLines(2);
  PauseAndStop();
}

// The arrays are zero-filled when they are made, so a request beyond the
// machine's memory would not fail cleanly but drive it into swapping or end
// the process from outside. Sizes are added up in doubles, which cannot
// overflow here, and held against the physical memory.
void CheckMemory(double doubles) {
  if (!FitsInMemory(doubles * sizeof(double))) OutOfMemory();
}

// The report is written over from its start as soon as it is opened. A
// report named like a file the run reads (in any spelling of its path)
// would destroy that file: the command file, the data or given matrix, the
// item texts, the guessing vector or the factor correlations.
bool NamesAnInput(const std::filesystem::path& output,
                  const RunOptions& options,
                  const RecordSource& command_file) {
  std::vector<std::string> inputs = {command_file.FullName(),
                                     std::string(TrimRight(options.DataFile))};
  if (options.HasItemFile) inputs.emplace_back(TrimRight(options.ItemFile));
  if (options.HasGuessFile) inputs.emplace_back(TrimRight(options.GuessFile));
  if (options.HasPhiFile) inputs.emplace_back(TrimRight(options.PhiFile));
  for (const std::string& input : inputs) {
    std::error_code error;
    if (!input.empty() && std::filesystem::equivalent(output, input, error) && !error) return true;
  }
  return false;
}

void CheckReportIsNoInput(const RunOptions& options, const RecordSource& command_file) {
  const std::filesystem::path report{std::string(TrimRight(options.OutFile))};
  if (NamesAnInput(report, options, command_file)) {
    ConsoleLine(30, "FATAL ERROR: >OUTFILE: names an input file of this run");
    ConsoleEmptyLines(2);
    PauseAndStop();
  }
}

// The aids file is written over as the report is, so the same guard holds
// for its name (a data file called like the report with ".aids").
void CheckAidsFileIsNoInput(const RunOptions& options, const RecordSource& command_file) {
  const std::filesystem::path aids{AidsFilePath(TrimRight(options.OutFile))};
  if (NamesAnInput(aids, options, command_file)) {
    ConsoleLine(30, "FATAL ERROR: the aids file of >OUTFILE: names an input file of this run");
    ConsoleEmptyLines(2);
    PauseAndStop();
  }
}

void CheckCounts(const RunOptions& options) {
  if (options.VariableCount < 1) {
    AllocationFault("FATAL ERROR: Number of variables on >DATA: line must be at least 1");
  }
  if (options.InputForm == InputForm::kRaw && options.SubjectCount < 1) {
    AllocationFault("FATAL ERROR: Number of subjects on >DATA: line must be at least 1");
  }
}

}  // namespace

std::string AidsFilePath(std::string_view report_path) {
  const std::filesystem::path report{std::string(report_path)};
  std::filesystem::path aids = report;
  aids.replace_extension(".aids");
  if (aids == report) aids += ".aids";
  return aids.string();
}

void OutOfMemory() { AllocationFault("FATAL ERROR: Not enough memory for the arrays of this run"); }

RunContext MakeRunContext(const ProgramArguments& arguments, std::string_view full_name) {
  RunContext context;
  SplitRunName(full_name, context.RunStem, context.RunDirectory);
  context.Seed.fixed = arguments.has_seed;
  context.Seed.value = arguments.seed;
  return context;
}

int CorrelationTableWidth(int page_width) { return page_width < 120 ? page_width : 110; }

void CheckCorrelationArrays(const RunOptions& options) {
  CheckCounts(options);
  const int p = options.VariableCount;
  const int m = options.FactorCount > 0 ? options.FactorCount : 0;
  const bool pearson = IsPearsonCoding(options.Coding);
  const double pd = p, md = m;
  CheckMemory((pearson ? 3.0 : 2.0) * pd * pd + pd * (pd - 1.0) / 2.0 + 9.0 * pd * md + md * md);
}

void AllocateRotationArrays(const RunOptions& options, RunArrays& arrays) {
  CheckCounts(options);
  const int p = options.VariableCount;
  const int m = options.FactorCount > 0 ? options.FactorCount : 0;
  const double pd = p, md = m;
  CheckMemory(9.0 * pd * md + 2.0 * md * md + pd);
  try {
    arrays.Extraction.Loadings.Reset(p, m);
    arrays.Extraction.Communalities.assign(static_cast<std::size_t>(p), 0.0);
    arrays.Extraction.FactorVariance.assign(static_cast<std::size_t>(m), 0.0);
    arrays.GivenFactorCorrelations.Reset(m, m);
  } catch (const std::bad_alloc&) {
    OutOfMemory();
  } catch (const std::length_error&) {
    OutOfMemory();
  }
}

namespace {

// --- The correlation road -----------------------------------------------------------

// Runs `compute`, then `keep` (which writes and records what `compute` left
// in its result). `keep` runs at a stop inside `compute` as well, before the
// stop goes on, so that the report and the record hold what was computed up
// to it.
template <typename Compute, typename Keep>
void ComputeThenKeep(Compute compute, Keep keep) {
  try {
    compute();
  } catch (const RunStopped&) {
    keep();
    throw;
  }
  keep();
}

void ReadRawData(Run& run) {
  ReadItemData(run.inputs.DataFile,
               run.options.RecordFormat,
               run.options.SubjectCount,
               run.options.VariableCount,
               run.arrays.ItemData,
               run.arrays.SubjectIds);
}

// The tetrachoric matrix and its three files, each file written at the
// step it belongs to, so that a stop leaves them (and the report's warnings)
// as far as the estimator got.
void Tetrachorics(Run& run) {
  const int n = run.options.SubjectCount;
  RunOutputs outputs = OutputsOf(run);
  TetrachoricFiles files;
  BeginFrequencyFile(files, outputs);
  TetrachoricResult result;
  result.items = FindTetrachoricItems(run.arrays.ItemData, n, run.options.VariableCount);
  WriteItemProportions(result.items, files, outputs);
  ComputeThenKeep(
      [&] {
        EstimateTetrachoricPairs(run.arrays.ItemData,
                                 n,
                                 result.items,
                                 run.correlation.tetrachoric,
                                 run.inputs.Guessing,
                                 ConsoleProgress(),
                                 result);
      },
      [&] {
        WriteFallBackWarnings(result, outputs);
        RecordTetrachorics(run, result);
      });
  WriteTetrachoricTables(result, files, outputs, ConsoleProgress());
  run.arrays.CorrelationMatrix = std::move(result.correlations);
}

// The polychoric matrix; the report warns of the pairs on a bound, up to a
// stop.
void Polychorics(Run& run) {
  RunOutputs outputs = OutputsOf(run);
  PolychoricResult result;
  ComputeThenKeep(
      [&] {
        EstimatePolychorics(run.arrays.ItemData,
                            run.options.SubjectCount,
                            run.options.VariableCount,
                            run.correlation.polychoric,
                            ConsoleProgress(),
                            result);
      },
      [&] {
        WriteBoundaryWarnings(result.boundary, outputs);
        RecordPolychorics(run, result);
      });
  run.arrays.CorrelationMatrix = std::move(result.correlations);
}

void Pearson(Run& run) {
  int ifail = kIfailHard;
  G02BAF(run.options.SubjectCount,
         run.options.VariableCount,
         run.arrays.ItemData,
         run.arrays.Means,
         run.arrays.StandardDeviations,
         run.arrays.SumsOfProducts,
         run.arrays.CorrelationMatrix,
         ifail);
}

void SaveRawCorrelations(Run& run) {
  SaveCorrelationMatrix(
      run.correlation_output, run.arrays.CorrelationMatrix, OutputsOf(run), run.files.Correlations);
}

// Fills CorrelationMatrix by the first branch that fits Coding and InputForm.
void ComputeCorrelationMatrix(Run& run) {
  const RunOptions& options = run.options;
  const CorrelationOptions& correlation = run.correlation;
  const bool raw = correlation.from_raw_data;
  if (correlation.coding == Coding::kMedianSplit && raw) {
    ReadRawData(run);
    // The later phases read the split scores too, so the run's own data are
    // split (and the estimator is not asked to split a copy).
    SplitAtMedians(run.arrays.ItemData, options.SubjectCount, options.VariableCount);
    Tetrachorics(run);
    SaveRawCorrelations(run);
  } else if ((correlation.coding == Coding::kDichotomous ||
              correlation.coding == Coding::kGuessing) &&
             raw) {
    ReadRawData(run);
    ConsoleLine(30, "Computing tetrachoric correlations");
    Tetrachorics(run);
    SaveRawCorrelations(run);
  } else if (correlation.coding == Coding::kOrdered && raw) {
    ReadRawData(run);
    ConsoleLine(30, "Computing polychoric correlations");
    Polychorics(run);
    SaveRawCorrelations(run);
  } else if (correlation.coding == Coding::kContinuous && raw) {
    ReadRawData(run);
    ConsoleLine(30, "Computing correlations");
    Pearson(run);
    SaveRawCorrelations(run);
  } else if (correlation.coding == Coding::kIpsatized && raw) {
    ReadRawData(run);
    IPSAT(options.SubjectCount, options.VariableCount, run.arrays.ItemData);
    Pearson(run);
    run.inputs.DataFile.Close();
    SaveRawCorrelations(run);
  } else if (options.InputForm == InputForm::kCorrelations) {
    ReadCorrelations(run.inputs.DataFile,
                     options.DataFile,
                     options.Coding,
                     options.VariableCount,
                     run.arrays.CorrelationMatrix);
  }
}

// The smoothed matrix takes the place of CorrelationMatrix.
void SmoothIfAsked(Run& run) {
  if (!run.correlation.smooth) return;
  ConsoleLine(30, "Smoothing Correlations");
  const int p = run.options.VariableCount;
  Matrix smoothed(p, p);
  // The smoothing leaves its eigenvectors in the matrix it is given.
  if (run.record != nullptr) run.record->raw_correlations = run.arrays.CorrelationMatrix;
  SmoothCorrelations(run.arrays.CorrelationMatrix, p, smoothed);
  if (run.record != nullptr) run.record->smoothed = true;
  run.arrays.CorrelationMatrix = std::move(smoothed);
  SaveSmoothedMatrix(run.correlation_output, run.arrays.CorrelationMatrix, OutputsOf(run));
}

void ReadLabelsIfAsked(Run& run) {
  if (run.options.LabelMode != LabelMode::kLabels) return;
  ParseLabelsLine(run.files.CommandFile, run.options);
  run.arrays.ItemLabels = run.options.Labels;
}

// The correlation road up to the report head: the matrix from the data or
// the given file, smoothed when asked, the labels, the head and (under
// "LONG") the matrix itself.
void CorrelationRoad(Run& run) {
  // The counts are checked first, as the order of the run's messages has
  // it; no array is made ahead of its phase (each phase sizes what it
  // returns), so that a count far beyond a small file ends at the file's
  // end, not in arrays of the size it claims.
  CheckCorrelationArrays(run.options);
  ComputeCorrelationMatrix(run);
  SmoothIfAsked(run);
  ReadLabelsIfAsked(run);
  if (run.record != nullptr) {
    run.record->has_correlations = true;
    run.record->correlations = run.arrays.CorrelationMatrix;
  }
  WriteReportHead(run.options, run.files.CommandFile, run.files.Report);
  if (run.correlation_output.print_matrix) {
    RunOutputs outputs = OutputsOf(run);
    WriteCorrelationTable(
        run.correlation_output, run.arrays.CorrelationMatrix, run.arrays.ItemLabels, outputs);
  }
}

// The triplet test; at a stop the report holds the triplets before it.
void TripletTestOfTheRun(Run& run) {
  RunOutputs outputs = OutputsOf(run);
  TripletSummary summary;
  ComputeThenKeep(
      [&] {
        TestAllTriplets(run.arrays.ItemData,
                        run.options.SubjectCount,
                        run.options.VariableCount,
                        run.arrays.CorrelationMatrix,
                        ConsoleProgress(),
                        summary);
      },
      [&] {
        WriteTripletReport(summary, outputs);
        if (run.record != nullptr) {
          run.record->has_triplets = true;
          run.record->triplets = summary;
        }
      });
  if (run.correlation_output.save_triplets) SaveTripletFile(summary, outputs);
}

// Extraction: eigenvalue screen, communalities, fit and unrotated tables.
// Each section is written as soon as it is computed, so that a stop in the
// iteration leaves the screen in the report and a stop in the fit leaves
// the part of the fit before it. The working matrix of the result (final
// communalities on its diagonal) is the R of the rotations and the scores.
void FactorAnalysis(Run& run) {
  const ExtractionOptions options = MakeExtractionOptions(run.options);
  const ExtractionWriteOptions write_options = MakeExtractionWriteOptions(run.options);
  RunOutputs outputs(run.files.Report, run.context.RunDirectory, run.context.RunStem);
  const Matrix& correlations = run.arrays.CorrelationMatrix;
  Progress& progress = ConsoleProgress();

  ExtractionResult result;
  AnnounceExtraction(options, progress);
  result.InitialEigenvalues = ScreenEigenvalues(correlations);
  WriteEigenvalueScreen(result.InitialEigenvalues, write_options, outputs);
  ExtractFactors(correlations, options, progress, result);
  ComputeThenKeep([&] { FitModel(correlations, result); },
                  [&] {
                    WriteModelFit(result, write_options, outputs);
                    if (run.record != nullptr) {
                      run.record->has_extraction = true;
                      run.record->extraction = result;
                    }
                  });
  WriteUnrotatedResults(result, write_options, outputs);
  run.arrays.R = result.WorkingMatrix;
  run.arrays.Extraction = std::move(result);
}

// --- The aids (--aids) ----------------------------------------------------------------

// The run's own estimator for the permuted data sets. The scores are the
// run's as they were estimated: already split at the medians under "MD"
// (so the copy is not split again), the run's guessing vector under "DC",
// ipsatized under "IP" (and ipsatized again once permuted). Each call is
// held to one thread: the data sets are what is spread over the threads
// here.
CorrelationFunction AidsEstimator(const Run& run) {
  const int n = run.options.SubjectCount;
  const int p = run.options.VariableCount;
  const Coding coding = run.correlation.coding;
  if (coding == Coding::kMedianSplit || coding == Coding::kDichotomous ||
      coding == Coding::kGuessing) {
    TetrachoricOptions options = run.correlation.tetrachoric;
    options.median_split = false;
    const std::vector<double> guessing = run.inputs.Guessing;
    return [n, p, options, guessing](const Matrix& data) {
      ScopedThreadCount one_thread(1);
      return EstimateTetrachorics(data, n, p, options, guessing, SilentProgress()).correlations;
    };
  }
  if (coding == Coding::kOrdered) {
    const PolychoricSearch search = run.correlation.polychoric;
    return [n, p, search](const Matrix& data) {
      ScopedThreadCount one_thread(1);
      return EstimatePolychorics(data, n, p, search, SilentProgress()).correlations;
    };
  }
  const bool ipsatized = coding == Coding::kIpsatized;
  return [n, p, ipsatized](const Matrix& data) {
    std::vector<double> means, deviations;
    Matrix products, correlations;
    Matrix scores = data;
    if (ipsatized) IpsatizeRows(scores);
    int ifail = kIfailHard;
    G02BAF(n, p, scores, means, deviations, products, correlations, ifail);
    return correlations;
  };
}

// One part of the aids; a part that cannot be computed for this run's
// matrix (too few variables or subjects, an eigensolution that fails) is
// left out of the file with a console line saying why, and the others stay.
template <typename Compute>
auto AidsPart(std::string_view name, Compute compute) -> std::optional<decltype(compute())> {
  try {
    return compute();
  } catch (const std::invalid_argument& error) {
    ConsoleLine(30, std::string(name) + " left out: " + error.what());
  } catch (const std::runtime_error& error) {
    ConsoleLine(30, std::string(name) + " left out: " + error.what());
  }
  return std::nullopt;
}

// Writes the whole text at once, so that the file exists only once every
// figure is in; a write that fails removes it rather than leave part of it.
void WriteAidsFile(const std::string& path, const std::string& text) {
  OutputFile file;
  file.Open(kAidsUnit, path);
  try {
    file.WriteLines(text);
    file.Close();
  } catch (const RunStopped&) {
    std::error_code error;
    std::filesystem::remove(path, error);
    throw;
  }
}

// The aids on the run's final matrix (smoothed when the run smoothed it):
// parallel analysis where there are scores to permute, MAP, and with
// `with_fit` the likelihood fit of the extracted solution. Only under
// --aids; nothing of the run's other output changes.
void AidsOfTheRun(Run& run, bool with_fit) {
  if (run.aids_data_sets <= 0) return;
  const Matrix& r = run.arrays.CorrelationMatrix;
  AidsFigures figures;
  // A line of its own, so that the counter below does not overwrite the
  // extraction's last counter line.
  ConsoleLine(30, "Computing the aids");
  if (run.correlation.from_raw_data) {
    ParallelAnalysisOptions options;
    options.data_sets = run.aids_data_sets;
    options.seed = static_cast<std::uint64_t>(run.context.Seed.fixed ? run.context.Seed.value
                                                                     : kDefaultAidsSeed);
    options.threads = ThreadCount();
    const std::string total = std::to_string(options.data_sets);
    auto progress = [&total](int done) {
      ConsoleOverwrite(30, "Parallel analysis: data set " + std::to_string(done) + " of " + total);
    };
    const CorrelationFunction estimator = AidsEstimator(run);
    figures.parallel = AidsPart("Parallel analysis", [&] {
      return RunParallelAnalysis(run.arrays.ItemData, r, estimator, options, progress);
    });
  } else {
    ConsoleLine(30, "Parallel analysis left out: a given matrix has no scores to permute");
  }
  figures.map = AidsPart("MAP", [&] { return VelicerMap(r); });
  if (with_fit) {
    figures.fit = AidsPart("Likelihood fit", [&] {
      return FitLikelihood(r, run.arrays.Extraction.Loadings, run.options.SubjectCount);
    });
  }
  if (run.record != nullptr) run.record->aids = figures;
  WriteAidsFile(AidsFilePath(TrimRight(run.options.OutFile)), FormatAidsReport(figures));
}

// --- The rotation road ------------------------------------------------------------

void RotationRoad(Run& run) {
  const RunOptions& options = run.options;
  AllocateRotationArrays(options, run.arrays);
  ExtractionResult& given = run.arrays.Extraction;
  ReadPattern(run.inputs.DataFile,
              options.DataFile,
              options.RecordFormat,
              options.VariableCount,
              options.FactorCount,
              given.Loadings);
  const bool correlated = options.InputForm == InputForm::kCorrelatedPattern;
  if (correlated) {
    ReadPhi(run.files.FactorCorrelations,
            options.PhiFile,
            options.FactorCount,
            run.arrays.GivenFactorCorrelations);
  }
  PrepareGivenPattern(correlated ? &run.arrays.GivenFactorCorrelations : nullptr,
                      given.Loadings,
                      given.Communalities,
                      given.FactorVariance);
  ReadLabelsIfAsked(run);
  if (run.record != nullptr) {
    run.record->has_extraction = true;
    run.record->extraction = given;
  }
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

// The rotation that `Rotation` names, stage by stage: each solution is
// written (report section, `fac` and `phi`) before the next stage is
// computed, so that a stop in Promax leaves the Varimax section in place.
// A Varimax solution that is not a number ends the run after its failure
// lines. Then, under "SORT" with ">ITEMS:", the list of sorted items.
void RunRotation(Run& run) {
  const RotationOptions options = MakeRotationOptions(run.options);
  const RotationWriteOptions write_options = MakeRotationWriteOptions(run.options);
  RunOutputs outputs(run.files.Report, run.context.RunDirectory, run.context.RunStem);
  RotationResult& result = run.arrays.Rotation;
  const ExtractionResult& unrotated = run.arrays.Extraction;
  for (Rotation stage : RotationStages(options.rotation, unrotated.Loadings.cols)) {
    RotatedSolution solution = RotateStage(stage,
                                           unrotated.Loadings,
                                           unrotated.Communalities,
                                           run.arrays.R,
                                           result.final_solution(),
                                           options,
                                           ConsoleProgress());
    result.solutions.push_back(std::move(solution));
    WriteRotatedSolution(result.solutions.back(), write_options, outputs);
    if (result.solutions.back().not_a_number) PlainStop();
  }
  if (write_options.list_sorted_items && result.rotated()) {
    WriteSortedItems(*result.final_solution(), write_options, outputs);
  }
}

// Factor scores, their tables, the `fsc` file and the plot, where the run
// asks for them. The checks come before the `fsc` file is opened, so that a
// run that stops on them leaves an earlier file alone; a stop in the
// estimation leaves the tables made so far and removes the unfinished file.
void FactorScoresOfTheRun(Run& run) {
  const ScoreOptions options = MakeScoreOptions(run.options);
  if (!options.estimate) return;
  const ScoreWriteOptions write_options = MakeScoreWriteOptions(run.options);
  const ScoreData data{run.arrays.ItemData,
                       run.arrays.SubjectIds,
                       run.arrays.Means,
                       run.arrays.StandardDeviations,
                       run.arrays.R};
  const ScoreLoadingChoice choice =
      ChooseScoreLoadings(options, run.arrays.Extraction.Loadings, run.arrays.Rotation);
  CheckScoreInputs(data, options);
  RunOutputs outputs(run.files.Report, run.context.RunDirectory, run.context.RunStem);
  ScoreFile file(outputs);
  ScoreResult& result = run.arrays.Scores;
  ComputeThenKeep([&] { EstimateScores(data, choice, options, ConsoleProgress(), result); },
                  [&] { WriteScoreTables(result, write_options, outputs); });
  file.Write(result);
  if (write_options.plot) WriteScorePlot(result, outputs);
}

// Where both roads meet: rotation, sorted items, factor scores, the end.
void RotateAndFinish(Run& run) {
  const RunOptions& options = run.options;
  if (EndsAfterExtraction(options)) {
    CloseRunFiles(run);
    ConsoleLine(30, "Finished");
    PlainStop();
  }
  RunRotation(run);
  FactorScoresOfTheRun(run);
  EndOfRun(run);
}

// The run proper; RunAnalysis below keeps the record up to date around it.
void AnalyseRun(const ProgramArguments& arguments, Run& run) {
  OpenCommandFile(arguments, run.files.CommandFile);
  if (run.record != nullptr) run.record->command_file = run.files.CommandFile.FullName();
  // From here on a long step shows its time on a terminal.
  ConsoleHeartbeat heartbeat;
  run.context = MakeRunContext(arguments, run.files.CommandFile.FullName());
  if (run.context.Seed.fixed) SetRandomSeed(run.context.Seed.value);

  ParseCommandFile(run.files.CommandFile, run.options, run.inputs);
  if (run.record != nullptr) {
    run.record->parsed = true;
    run.record->options = run.options;
    const RunOptions& options = run.options;
    std::vector<std::string>& files = run.record->input_files;
    files = {run.files.CommandFile.FullName()};
    if (!TrimRight(options.DataFile).empty()) files.emplace_back(TrimRight(options.DataFile));
    if (options.HasItemFile) files.emplace_back(TrimRight(options.ItemFile));
    if (options.HasGuessFile) files.emplace_back(TrimRight(options.GuessFile));
    if (options.HasPhiFile) files.emplace_back(TrimRight(options.PhiFile));
  }
  run.correlation = MakeCorrelationOptions(run.options);
  run.correlation_output = MakeCorrelationWriteOptions(run.options);
  CheckReportIsNoInput(run.options, run.files.CommandFile);
  run.aids_data_sets = arguments.aids_data_sets;
  if (run.aids_data_sets > 0) {
    // A given pattern has no correlation matrix, and the triplet test asks
    // a question of its own.
    if (run.options.Model == Model::kRotate || run.options.Model == Model::kTriplet) {
      ConsoleLine(30, "No aids for this model: they come with a factor analysis");
      run.aids_data_sets = 0;
    } else {
      CheckAidsFileIsNoInput(run.options, run.files.CommandFile);
    }
  }
  // Counts that can give no arrays stop the run before the report exists,
  // so that such a run leaves no empty report behind.
  CheckCounts(run.options);
  run.files.Report.Open(kReportUnit, std::string(TrimRight(run.options.OutFile)));
  if (run.aids_data_sets > 0) {
    // An aids file of an earlier run goes with the report it belonged to,
    // so that a run that stops before its aids leaves none behind.
    std::error_code error;
    std::filesystem::remove(AidsFilePath(TrimRight(run.options.OutFile)), error);
  }
  NoteUnmetScoreRequests(run.options, ConsoleProgress(), run.arrays.Scores.notes);

  if (run.options.Model == Model::kRotate) {
    RotationRoad(run);
  } else {
    CorrelationRoad(run);
    if (run.options.Model == Model::kTriplet) {
      TripletTestOfTheRun(run);
      EndOfRun(run);
      return;
    }
    if (run.options.FactorCount <= 0 || run.options.Model == Model::kCorrelations) {
      AidsOfTheRun(run, false);
      EndOfRun(run);
      return;
    }
    FactorAnalysis(run);
    AidsOfTheRun(run, true);
  }
  RotateAndFinish(run);
}

}  // namespace

void RunAnalysis(const ProgramArguments& arguments, RunRecord* record) {
  ShowBanner();
  Run run;
  run.record = record;
  try {
    AnalyseRun(arguments, run);
  } catch (const RunStopped&) {
    RecordArrays(run);
    throw;
  }
  RecordArrays(run);
}

}  // namespace vq
