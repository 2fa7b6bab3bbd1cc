#include "report/saved_files.h"

#include <string>

#include "text/edit_descriptors.h"

namespace vq {

std::string BuildResultName(std::string_view run_stem, std::string_view extension) {
  std::string_view stem = Trim(run_stem);
  std::string name;
  const std::size_t dot = stem.rfind('.');
  if (dot != std::string_view::npos) {
    name = std::string(stem.substr(0, dot + 1));
  } else {
    name = std::string(stem.substr(0, 8)) + ".";
  }
  name += extension;
  if (name.size() > 15) name.resize(15);
  return name;
}

std::string SavedFilePath(std::string_view run_directory,
                          std::string_view run_stem,
                          std::string_view extension) {
  return std::string(Trim(run_directory)) + BuildResultName(run_stem, extension);
}

void OpenSavedFile(OutputFile& file,
                   int unit,
                   std::string_view run_directory,
                   std::string_view run_stem,
                   std::string_view extension) {
  file.Open(unit, SavedFilePath(run_directory, run_stem, extension));
}

void WriteMatrixRows(
    OutputFile& file, const Matrix& matrix, int w, int d, int gap, int per_record) {
  // An X edit on output only moves the position: its blanks are written when
  // a value follows, so the gap behind the last value of a record is not.
  for (int row = 0; row < matrix.rows; ++row) {
    std::string record;
    for (int col = 0; col < matrix.cols; ++col) {
      if (col > 0 && col % per_record == 0) {
        file.Write(record);
        record.clear();
      }
      if (!record.empty()) record += Blanks(gap);
      record += FormatF(matrix(row, col), w, d);
    }
    file.Write(record);
  }
}

void WriteLoadingRows(OutputFile& file, const Matrix& loadings) {
  for (int row = 0; row < loadings.rows; ++row) {
    std::string record = FormatI(row + 1, 4) + " ";
    for (int col = 0; col < loadings.cols; ++col) {
      if (col > 0 && col % 999 == 0) {
        file.Write(record);
        record.clear();
      }
      record += FormatF(loadings(row, col), 8, 4);
    }
    file.Write(record);
  }
}

}  // namespace vq
