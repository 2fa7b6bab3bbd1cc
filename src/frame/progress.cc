#include "frame/progress.h"

#include "frame/console.h"

namespace vq {
namespace {

class ConsoleSink final : public Progress {
 public:
  void Line(int column, std::string_view text) override { ConsoleLine(column, text); }
  void Overwrite(int column, std::string_view text) override { ConsoleOverwrite(column, text); }
  void FreeForm(std::string_view text) override { ConsoleFreeForm(text); }
  void EmptyLines(int count) override { ConsoleEmptyLines(count); }
};

class SilentSink final : public Progress {
 public:
  void Line(int, std::string_view) override {}
  void Overwrite(int, std::string_view) override {}
  void FreeForm(std::string_view) override {}
  void EmptyLines(int) override {}
};

}  // namespace

Progress& ConsoleProgress() {
  static ConsoleSink sink;
  return sink;
}

Progress& SilentProgress() {
  static SilentSink sink;
  return sink;
}

}  // namespace vq
