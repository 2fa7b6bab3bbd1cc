#include "writers/correlation_writer.h"

#include <algorithm>
#include <chrono>
#include <cstdint>

#include "correlation/pair_order.h"
#include "kernels/parallel.h"
#include "report/matrix_table.h"
#include "report/saved_files.h"
#include "text/edit_descriptors.h"

namespace vq {
namespace {

// Pairs of the frq file formatted at a time: enough for the threads to share,
// few enough for the console to move between blocks.
constexpr std::int64_t kTableBlock = 16384;

void OpenIfClosed(OutputFile& file,
                  int unit,
                  const RunOutputs& outputs,
                  std::string_view extension) {
  if (!file.is_open()) outputs.OpenSaved(file, unit, extension);
}

void WriteBoundaryWarning(int i, int j, OutputFile& report) {
  report.Write(Blanks(16) + "!!!WARNING: CORRELATION " + FormatI(i + 1, 3) + " " +
               FormatI(j + 1, 3) + FormatA("   AT BOUNDARY!!!", 18));
  report.EmptyLines(1);
}

}  // namespace

void WriteCorrelationFile(const CorrelationWriteOptions& options,
                          const Matrix& correlations,
                          OutputFile& file) {
  if (options.ipsatized_layout) {
    WriteMatrixRows(file, correlations, 8, 3, 0);
  } else {
    WriteMatrixRows(file, correlations, 12, 9, 1);
  }
}

void SaveCorrelationMatrix(const CorrelationWriteOptions& options,
                           const Matrix& correlations,
                           const RunOutputs& outputs,
                           OutputFile& file) {
  if (!options.save_matrix) return;
  outputs.OpenSaved(file, kCorrelationUnit, "cor");
  WriteCorrelationFile(options, correlations, file);
}

void SaveSmoothedMatrix(const CorrelationWriteOptions& options,
                        const Matrix& smoothed,
                        const RunOutputs& outputs) {
  if (!options.save_smoothed) return;
  OutputFile file;
  outputs.OpenSaved(file, kSmoothedUnit, "smo");
  WriteMatrixRows(file, smoothed, 12, 9, 1);
  file.Close();
}

void WriteCorrelationTable(const CorrelationWriteOptions& options,
                           const Matrix& correlations,
                           const std::vector<std::string>& labels,
                           RunOutputs& outputs) {
  const int p = correlations.rows;
  const std::vector<std::string>* names = options.labels ? &labels : nullptr;
  const char label_kind = options.labels ? 'C' : 'I';
  int ifail = 0;
  X04CBF('G',
         'N',
         p,
         p,
         correlations.data(),
         p,
         options.labels ? "F15.3" : "F8.3",
         "CORRELATION MATRIX",
         label_kind,
         names,
         label_kind,
         names,
         options.table_width,
         0,
         ifail,
         outputs.report());
}

void BeginFrequencyFile(TetrachoricFiles& files, const RunOutputs& outputs) {
  OpenIfClosed(files.frq, kFrequencyUnit, outputs, "frq");
  files.frq.EmptyLines(2);
  files.frq.Write("         Bias Corrected Cell Frequencies and Correlations");
  files.frq.EmptyLines(2);
}

void WriteItemProportions(const TetrachoricItems& items,
                          TetrachoricFiles& files,
                          const RunOutputs& outputs) {
  OpenIfClosed(files.dff, kProportionUnit, outputs, "dff");
  const int p = static_cast<int>(items.proportions.size());
  for (int variable = 0; variable < p; ++variable) {
    files.dff.Write(FormatI(variable + 1, 4) + "  " + FormatF(items.proportions[variable], 6, 4));
  }
}

void WriteFallBackWarnings(const TetrachoricResult& result, RunOutputs& outputs) {
  for (const TetrachoricFallBack& fall_back : result.fall_backs) {
    if (fall_back.at_boundary) WriteBoundaryWarning(1, 0, outputs.report());
  }
}

std::string FrequencyTableText(int j, int i, double r, const TetrachoricPairTable& table) {
  std::string text;
  if (table.small_cells) text = "WARNING! Small cell frequencies. Tetrachoric r may be biased\n";
  text += "Variables " + FormatI(j, 3) + " and " + FormatI(i, 3) + "\n" +
          "--------------------\n"
          "      0         1\n"
          "1 " +
          FormatF(table.a, 8, 2) + "  " + FormatF(table.b, 8, 2) + "  " +
          "     r(tet) = " + FormatF(r, 5, 3) + "     std err  " +
          FormatF(table.standard_error, 5, 3) + "\n" + "0 " + FormatF(table.c, 8, 2) + "  " +
          FormatF(table.d, 8, 2) + "  " + "     r(phi) = " + FormatF(table.phi, 5, 3) + "\n\n\n";
  return text;
}

void WriteTetrachoricTables(const TetrachoricResult& result,
                            TetrachoricFiles& files,
                            const RunOutputs& outputs,
                            Progress& progress) {
  // The tables of a block of pairs are formatted on all threads, then
  // written in pair order. Between blocks the console shows the pair
  // reached, and at the end the line that stood last is shown once more, so
  // that the last line is as it was.
  const int p = result.correlations.rows;
  const std::int64_t pairs = static_cast<std::int64_t>(result.tables.size());
  std::vector<std::string> texts;
  auto last_shown = std::chrono::steady_clock::now();
  bool shown = false;
  for (std::int64_t block = 0; block < pairs; block += kTableBlock) {
    const std::int64_t block_end = std::min(pairs, block + kTableBlock);
    texts.assign(static_cast<std::size_t>(block_end - block), std::string());
    ParallelChunks(
        block_end - block,
        256,
        [&](std::int64_t begin, std::int64_t end) {
          PairPosition pair = PairAt(block + begin);
          for (std::int64_t slot = begin; slot < end; ++slot, pair = NextPair(pair)) {
            texts[slot] = FrequencyTableText(pair.j + 1,
                                             pair.i + 1,
                                             result.correlations(pair.i, pair.j),
                                             result.tables[block + slot]);
          }
        },
        [](std::int64_t) {});
    for (const std::string& text : texts) files.frq.WriteLines(text);
    const auto now = std::chrono::steady_clock::now();
    if (block_end < pairs && now - last_shown >= std::chrono::milliseconds(250)) {
      const PairPosition pair = PairAt(block_end);
      ShowTetrachoricPair(pair.i, pair.j, progress);
      last_shown = now;
      shown = true;
    }
  }
  if (shown) {
    if (result.last_fell_back) {
      ShowPolychoricPair(1, 0, progress);
    } else {
      ShowTetrachoricPair(p - 1, p - 2, progress);
    }
  }
  OpenIfClosed(files.ser, kStandardErrorUnit, outputs, "ser");
  WriteMatrixRows(files.ser, result.standard_errors, 12, 9, 1, 999);
  files.frq.Close();
  files.ser.Close();
  files.dff.Close();
}

void WriteBoundaryWarnings(const std::vector<BoundaryPair>& pairs, RunOutputs& outputs) {
  for (const BoundaryPair& pair : pairs) WriteBoundaryWarning(pair.i, pair.j, outputs.report());
}

}  // namespace vq
