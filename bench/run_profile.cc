#include "run_profile.h"

#include <sys/resource.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include "correlation/correlations.h"
#include "correlation/pair_order.h"
#include "correlation/polychoric.h"
#include "correlation/smoothing.h"
#include "data/raw_data.h"
#include "extraction/extraction.h"
#include "frame/console.h"
#include "frame/progress.h"
#include "kernels/bivariate_normal.h"
#include "kernels/failure.h"
#include "kernels/parallel.h"
#include "report/run_outputs.h"
#include "rotation/random_start.h"
#include "rotation/rotation.h"
#include "run/command_file.h"
#include "run/driver.h"
#include "run/phase_options.h"
#include "run/program.h"
#include "run/report_head.h"
#include "scores/score_phase.h"
#include "text/edit_descriptors.h"
#include "writers/correlation_writer.h"
#include "writers/extraction_writer.h"
#include "writers/rotation_writer.h"

namespace vq {
namespace {

// Pairs counted and searched at a time, as the estimator hands them out.
constexpr int kProfileChunk = 16;

double WallSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// User + system CPU time of the whole process (all threads).
double ProcessCpuSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec +
         1e-6 * (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec);
}

double ThreadCpuSeconds() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return now.tv_sec + 1e-9 * now.tv_nsec;
}

double PeakResidentMegabytes() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024.0;
}

std::string LoadAverage() {
  std::ifstream file("/proc/loadavg");
  std::string one, five, fifteen;
  file >> one >> five >> fifteen;
  return one + " " + five + " " + fifteen;
}

// One row of the table: a phase's wall and CPU seconds and a note.
struct PhaseRow {
  std::string name;
  double wall = 0.0;
  double cpu = 0.0;
  std::string note;
};

// A phase between two readings of both clocks.
class Stopwatch {
 public:
  Stopwatch() : wall_(WallSeconds()), cpu_(ProcessCpuSeconds()) {}
  PhaseRow Row(std::string name, std::string note = {}) const {
    return {std::move(name), WallSeconds() - wall_, ProcessCpuSeconds() - cpu_, std::move(note)};
  }

 private:
  double wall_;
  double cpu_;
};

// Passes every console call on, and reads both clocks at each "Iteration:"
// counter of the communality iteration, which the extraction shows at the
// start of each pass.
class IterationClock : public Progress {
 public:
  struct Mark {
    double wall;
    double cpu;
  };
  void Line(int column, std::string_view text) override { ConsoleProgress().Line(column, text); }
  void Overwrite(int column, std::string_view text) override {
    if (text.find("Iteration:") != std::string_view::npos) {
      marks.push_back({WallSeconds(), ProcessCpuSeconds()});
    }
    ConsoleProgress().Overwrite(column, text);
  }
  void FreeForm(std::string_view text) override { ConsoleProgress().FreeForm(text); }
  void EmptyLines(int count) override { ConsoleProgress().EmptyLines(count); }
  std::vector<Mark> marks;
};

// What the profiled pair loop adds up over the threads.
struct PairTally {
  std::atomic<std::int64_t> table_nanoseconds{0};
  std::atomic<std::int64_t> search_nanoseconds{0};
  std::atomic<std::int64_t> points{0};
  std::atomic<std::int64_t> evaluations{0};
  std::atomic<int> fewest_points{1 << 30};
  std::atomic<int> most_points{0};
};

void KeepLeast(std::atomic<int>& slot, int value) {
  int seen = slot.load();
  while (value < seen && !slot.compare_exchange_weak(seen, value)) {
  }
}

void KeepMost(std::atomic<int>& slot, int value) {
  int seen = slot.load();
  while (value > seen && !slot.compare_exchange_weak(seen, value)) {
  }
}

std::int64_t Nanoseconds(double seconds) { return static_cast<std::int64_t>(seconds * 1e9); }

// The cost of one bivariate normal evaluation on the grids of the run: the
// inner corners of the first `sample` pairs at 41 values of r from -0.9 to
// 0.9, on the calling thread alone, the fastest of three rounds. With
// `one_at_a_time` each corner by its own G01HAF call, else each pair's
// corners as one set (BivariateNormalCorners), as the search makes them.
double SecondsPerEvaluation(const PolychoricCategories& categories,
                            int p,
                            int sample,
                            bool one_at_a_time) {
  std::vector<double> rs;
  for (int k = 0; k <= 40; ++k) rs.push_back(-0.9 + 0.045 * k);
  double best = 1e30;
  double sink = 0.0;
  for (int round = 0; round < 3; ++round) {
    std::int64_t calls = 0;
    const double start = ThreadCpuSeconds();
    PairPosition pair = PairAt(0);
    for (int q = 0; q < sample && q < PairCount(p); ++q, pair = NextPair(pair)) {
      const double* t = categories.thresholds.Column(pair.j);
      const double* u = categories.thresholds.Column(pair.i);
      const int k_j = categories.category_count[pair.j];
      const int k_i = categories.category_count[pair.i];
      BivariateNormalCorners corners;
      for (int a = 1; a < k_j; ++a) {
        for (int b = 1; b < k_i; ++b) corners.Add(t[a], u[b]);
      }
      double values[BivariateNormalCorners::kCapacity];
      for (double r : rs) {
        if (one_at_a_time) {
          for (int a = 1; a < k_j; ++a) {
            for (int b = 1; b < k_i; ++b) {
              int ifail = kIfailQuiet;
              sink += G01HAF(t[a], u[b], r, ifail);
            }
          }
        } else {
          int ifail = kIfailQuiet;
          corners.Evaluate(r, ifail, values);
          sink += values[0];
        }
        calls += corners.size();
      }
    }
    const double seconds = ThreadCpuSeconds() - start;
    if (calls > 0) best = std::min(best, seconds / calls);
  }
  if (sink == -1.0) std::puts("");  // keeps the calls from being dropped
  return best;
}

std::string Fixed(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

// The polychoric phase as EstimatePolychorics makes it, with clocks: the
// category scan, then the pairs (table and search of each, timed per chunk
// on the thread that works it), then the matrix in pair order.
void ProfiledPolychorics(const Matrix& item_data,
                         int n,
                         int p,
                         const PolychoricSearch& search,
                         PolychoricResult& result,
                         std::vector<PhaseRow>& rows) {
  Progress& progress = ConsoleProgress();
  Stopwatch scan_clock;
  PolychoricCategories categories;
  FindPolychoricCategories(item_data, n, p, categories);
  rows.push_back(scan_clock.Row("category scan, codes, bit columns, thresholds"));
  result.category_count = categories.category_count;
  result.thresholds = categories.thresholds;
  result.correlations.Reset(p, p);

  const std::int64_t pairs = PairCount(p);
  std::vector<PolychoricEstimate> estimates(static_cast<std::size_t>(pairs));
  PairTally tally;
  Stopwatch pair_clock;
  ParallelChunks(
      pairs,
      kProfileChunk,
      [&](std::int64_t begin, std::int64_t end) {
        static thread_local std::vector<PolychoricTable> tables(kProfileChunk);
        const double start = ThreadCpuSeconds();
        PairPosition pair = PairAt(begin);
        for (std::int64_t q = begin; q < end; ++q, pair = NextPair(pair)) {
          CountPolychoricTable(categories, pair.i, pair.j, tables[q - begin]);
        }
        const double counted = ThreadCpuSeconds();
        std::int64_t points = 0, evaluations = 0;
        pair = PairAt(begin);
        for (std::int64_t q = begin; q < end; ++q, pair = NextPair(pair)) {
          estimates[q] = SearchPolychoricPair(tables[q - begin],
                                              categories.category_count[pair.i],
                                              categories.category_count[pair.j],
                                              categories.thresholds.Column(pair.i),
                                              categories.thresholds.Column(pair.j),
                                              kIfailQuiet,
                                              search);
          points += estimates[q].points;
          evaluations += estimates[q].evaluations;
          KeepLeast(tally.fewest_points, estimates[q].points);
          KeepMost(tally.most_points, estimates[q].points);
        }
        const double searched = ThreadCpuSeconds();
        tally.table_nanoseconds += Nanoseconds(counted - start);
        tally.search_nanoseconds += Nanoseconds(searched - counted);
        tally.points += points;
        tally.evaluations += evaluations;
      },
      [&](std::int64_t next) {
        const PairPosition pair = PairAt(next);
        ShowPolychoricPair(pair.i, pair.j, progress);
      });
  const PhaseRow pair_row = pair_clock.Row("");

  Stopwatch order_clock;
  FinishPolychoricMatrix(categories, p, search, progress, estimates, result);
  const PhaseRow order_row = order_clock.Row("matrix in pair order (failed searches again)");

  // The pair phase's wall time is split between tables and searches in
  // proportion to their CPU time on the threads.
  const double table_cpu = tally.table_nanoseconds * 1e-9;
  const double search_cpu = tally.search_nanoseconds * 1e-9;
  const double share = table_cpu + search_cpu > 0 ? table_cpu / (table_cpu + search_cpu) : 0.0;
  const double per_pair = pairs > 0 ? static_cast<double>(tally.evaluations) / pairs : 0.0;
  Stopwatch measure_clock;
  const double one_call = SecondsPerEvaluation(categories, p, 2000, true);
  const double in_sets = SecondsPerEvaluation(categories, p, 2000, false);
  const PhaseRow measure_row =
      measure_clock.Row("(the profile's own: measuring one evaluation)", "not in a run");
  const int threads = static_cast<int>(
      std::min<std::int64_t>(ThreadCount(), (pairs + kProfileChunk - 1) / kProfileChunk));
  rows.push_back({"pair tables from bit columns (CPU on the threads)",
                  pair_row.wall * share,
                  table_cpu,
                  Fixed(pairs > 0 ? 1e6 * table_cpu / pairs : 0.0, 2) + " us CPU per pair"});
  rows.push_back({"polychoric searches (CPU on the threads)",
                  pair_row.wall * (1.0 - share),
                  search_cpu,
                  Fixed(pairs > 0 ? 1e6 * search_cpu / pairs : 0.0, 2) + " us CPU per pair"});
  rows.push_back({"  (tables + searches together, process clocks)",
                  pair_row.wall,
                  pair_row.cpu,
                  std::to_string(threads) + " thread(s)"});
  rows.push_back({"  points of r per pair",
                  0.0,
                  0.0,
                  Fixed(pairs > 0 ? static_cast<double>(tally.points) / pairs : 0.0, 2) +
                      " mean, " + std::to_string(tally.fewest_points.load()) + " to " +
                      std::to_string(tally.most_points.load())});
  rows.push_back(
      {"  bivariate normal evaluations per pair",
       0.0,
       0.0,
       Fixed(per_pair, 1) + " (" + std::to_string(tally.evaluations.load()) + " in all)"});
  for (const double cost : {one_call, in_sets}) {
    const double bound_cpu = tally.evaluations * cost;
    rows.push_back({"  bound: evaluations x " + Fixed(1e9 * cost, 1) + " ns (" +
                        (cost == one_call ? "one G01HAF call)" : "one corner of a set)"),
                    bound_cpu / std::max(threads, 1),
                    bound_cpu,
                    "searches at " + Fixed(bound_cpu > 0 ? search_cpu / bound_cpu : 0.0, 2) +
                        " x bound (CPU)"});
  }
  rows.push_back(order_row);
  rows.push_back(measure_row);
}

void PrintRows(const std::vector<PhaseRow>& rows) {
  std::printf("\n%-58s %10s %10s  %s\n", "phase", "wall s", "CPU s", "note");
  for (const PhaseRow& row : rows) {
    const bool timed = row.wall != 0.0 || row.cpu != 0.0;
    std::printf("%-58s %10s %10s  %s\n",
                row.name.c_str(),
                timed ? Fixed(row.wall, 3).c_str() : "",
                timed ? Fixed(row.cpu, 3).c_str() : "",
                row.note.c_str());
  }
}

int Profile(const ProfileRequest& request, std::vector<PhaseRow>& rows) {
  if (request.threads > 0) SetThreadCount(request.threads);
  ShowBanner();
  ProgramArguments arguments;
  arguments.command_file = request.command_file;
  arguments.has_seed = request.has_seed;
  arguments.seed = request.seed;

  Stopwatch parse_clock;
  RunFiles files;
  OpenCommandFile(arguments, files.CommandFile);
  const RunContext context = MakeRunContext(arguments, files.CommandFile.FullName());
  if (context.Seed.fixed) SetRandomSeed(context.Seed.value);
  RunOptions options;
  ParsedInputs inputs;
  ParseCommandFile(files.CommandFile, options, inputs);
  const CorrelationOptions correlation = MakeCorrelationOptions(options);
  const CorrelationWriteOptions correlation_output = MakeCorrelationWriteOptions(options);
  if (correlation.coding != Coding::kOrdered || !correlation.from_raw_data ||
      options.Model == Model::kRotate || options.Model == Model::kTriplet ||
      MakeScoreOptions(options).estimate) {
    std::fprintf(stderr,
                 "profile: only runs of polychorics (\"OR\") on raw data without the triplet "
                 "test and without factor scores are profiled\n");
    return 2;
  }
  CheckCorrelationArrays(options);
  files.Report.Open(kReportUnit, std::string(TrimRight(options.OutFile)));
  RunOutputs outputs(files.Report, context.RunDirectory, context.RunStem);
  std::vector<std::string> notes;
  NoteUnmetScoreRequests(options, ConsoleProgress(), notes);
  rows.push_back(parse_clock.Row("command file, report opened"));

  const int n = options.SubjectCount;
  const int p = options.VariableCount;
  RunArrays arrays;
  Stopwatch read_clock;
  ReadItemData(inputs.DataFile, options.RecordFormat, n, p, arrays.ItemData, arrays.SubjectIds);
  rows.push_back(read_clock.Row("reading the data", std::to_string(n) + " x " + std::to_string(p)));

  ConsoleLine(30, "Computing polychoric correlations");
  PolychoricResult polychorics;
  ProfiledPolychorics(arrays.ItemData, n, p, correlation.polychoric, polychorics, rows);
  arrays.CorrelationMatrix = std::move(polychorics.correlations);

  PhaseRow writing{"writing (report and saved files, all sections)", 0.0, 0.0, ""};
  auto written = [&writing](const Stopwatch& clock) {
    const PhaseRow row = clock.Row("");
    writing.wall += row.wall;
    writing.cpu += row.cpu;
  };
  {
    Stopwatch clock;
    WriteBoundaryWarnings(polychorics.boundary, outputs);
    SaveCorrelationMatrix(
        correlation_output, arrays.CorrelationMatrix, outputs, files.Correlations);
    written(clock);
  }
  if (correlation.smooth) {
    Stopwatch clock;
    ConsoleLine(30, "Smoothing Correlations");
    Matrix smoothed(p, p);
    SmoothCorrelations(arrays.CorrelationMatrix, p, smoothed);
    arrays.CorrelationMatrix = std::move(smoothed);
    rows.push_back(clock.Row("smoothing"));
    Stopwatch write_clock;
    SaveSmoothedMatrix(correlation_output, arrays.CorrelationMatrix, outputs);
    written(write_clock);
  }
  if (options.LabelMode == LabelMode::kLabels) {
    ParseLabelsLine(files.CommandFile, options);
    arrays.ItemLabels = options.Labels;
  }
  {
    Stopwatch clock;
    WriteReportHead(options, files.CommandFile, files.Report);
    if (correlation_output.print_matrix) {
      WriteCorrelationTable(
          correlation_output, arrays.CorrelationMatrix, arrays.ItemLabels, outputs);
    }
    written(clock);
  }

  auto finish = [&] {
    Stopwatch clock;
    inputs.DataFile.Close();
    files.Report.Close();
    files.Correlations.Close();
    written(clock);
    ConsoleLine(30, "Finished");
    rows.push_back(writing);
  };
  if (options.FactorCount <= 0 || options.Model == Model::kCorrelations) {
    finish();
    return 0;
  }

  const ExtractionOptions extraction_options = MakeExtractionOptions(options);
  const ExtractionWriteOptions extraction_output = MakeExtractionWriteOptions(options);
  ExtractionResult extraction;
  AnnounceExtraction(extraction_options, ConsoleProgress());
  {
    Stopwatch clock;
    extraction.InitialEigenvalues = ScreenEigenvalues(arrays.CorrelationMatrix);
    rows.push_back(clock.Row("eigenvalue screen (all eigenvalues, DEVLRG)"));
  }
  {
    Stopwatch clock;
    WriteEigenvalueScreen(extraction.InitialEigenvalues, extraction_output, outputs);
    written(clock);
  }
  {
    IterationClock clock;
    const double wall = WallSeconds();
    const double cpu = ProcessCpuSeconds();
    ExtractFactors(arrays.CorrelationMatrix, extraction_options, clock, extraction);
    const double end_wall = WallSeconds();
    const double end_cpu = ProcessCpuSeconds();
    if (!clock.marks.empty()) {
      rows.push_back({"starting communalities",
                      clock.marks.front().wall - wall,
                      clock.marks.front().cpu - cpu,
                      ""});
    }
    double pass_wall = 0.0, pass_cpu = 0.0;
    for (std::size_t k = 0; k < clock.marks.size(); ++k) {
      const double next_wall = k + 1 < clock.marks.size() ? clock.marks[k + 1].wall : end_wall;
      const double next_cpu = k + 1 < clock.marks.size() ? clock.marks[k + 1].cpu : end_cpu;
      pass_wall += next_wall - clock.marks[k].wall;
      pass_cpu += next_cpu - clock.marks[k].cpu;
      rows.push_back(
          {"communality pass " + std::to_string(k + 1) + " (eigen solution DEVESF, loadings)",
           next_wall - clock.marks[k].wall,
           next_cpu - clock.marks[k].cpu,
           ""});
    }
    rows.push_back(
        {"  (all " + std::to_string(clock.marks.size()) + " passes)", pass_wall, pass_cpu, ""});
  }
  {
    Stopwatch clock;
    FitModel(arrays.CorrelationMatrix, extraction);
    rows.push_back(clock.Row("model fit"));
  }
  {
    Stopwatch clock;
    WriteModelFit(extraction, extraction_output, outputs);
    WriteUnrotatedResults(extraction, extraction_output, outputs);
    written(clock);
  }
  arrays.R = extraction.WorkingMatrix;
  arrays.Extraction = std::move(extraction);
  if (EndsAfterExtraction(options)) {
    finish();
    return 0;
  }

  const RotationOptions rotation_options = MakeRotationOptions(options);
  const RotationWriteOptions rotation_output = MakeRotationWriteOptions(options);
  RotationResult& rotation = arrays.Rotation;
  PhaseRow rotating{"rotation", 0.0, 0.0, ""};
  for (Rotation stage :
       RotationStages(rotation_options.rotation, arrays.Extraction.Loadings.cols)) {
    Stopwatch clock;
    RotatedSolution solution = RotateStage(stage,
                                           arrays.Extraction.Loadings,
                                           arrays.Extraction.Communalities,
                                           arrays.R,
                                           rotation.final_solution(),
                                           rotation_options,
                                           ConsoleProgress());
    const PhaseRow row = clock.Row("");
    rotating.wall += row.wall;
    rotating.cpu += row.cpu;
    rotation.solutions.push_back(std::move(solution));
    Stopwatch write_clock;
    WriteRotatedSolution(rotation.solutions.back(), rotation_output, outputs);
    written(write_clock);
    if (rotation.solutions.back().not_a_number) PlainStop();
  }
  rows.push_back(rotating);
  if (rotation_output.list_sorted_items && rotation.rotated()) {
    Stopwatch clock;
    WriteSortedItems(*rotation.final_solution(), rotation_output, outputs);
    written(clock);
  }
  finish();
  return 0;
}

}  // namespace

int RunProfile(const ProfileRequest& request) {
  const std::string load_before = LoadAverage();
  Stopwatch whole;
  std::vector<PhaseRow> rows;
  int status = 0;
  try {
    status = Profile(request, rows);
  } catch (const RunStopped& stop) {
    ConsoleFlush();
    std::fprintf(stderr, "profile: the run stopped (exit status %d)\n", stop.exit_code);
    return stop.exit_code != 0 ? stop.exit_code : 1;
  }
  ConsoleFlush();
  if (status != 0) return status;
  rows.push_back(
      whole.Row("whole run", "peak resident " + Fixed(PeakResidentMegabytes(), 0) + " MB"));
  PrintRows(rows);
  std::printf("\nthreads %d; load average before %s, after %s\n",
              ThreadCount(),
              load_before.c_str(),
              LoadAverage().c_str());
  return 0;
}

}  // namespace vq
