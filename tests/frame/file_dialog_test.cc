#include "frame/file_dialog.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdio>
#include <string>

#include "frame/console.h"

namespace vq {
namespace {

// The words of the box after a cancel, under its title.
const char kCancelBox[] = "File Open Error\nA File Must be Selected\nTerminate Program?\n";

struct DialogOutcome {
  bool cancelled = false;
  int exit_code = 0;
  std::string name;
  std::string out;
};

DialogOutcome Dialog(const std::string& input, bool interactive = true) {
  DialogOutcome outcome;
  ConsoleCapture capture(input);
  try {
    outcome.name = ChooseFileToOpen("Open: Select File for Unit 12", interactive);
  } catch (const RunStopped& stop) {
    outcome.cancelled = stop.kind == RunStopped::Kind::kCancelled;
    outcome.exit_code = stop.exit_code;
  }
  outcome.out = capture.Out();
  return outcome;
}

class FileDialog : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/vq_dialog_XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    folder_ = pattern;
    file_ = folder_ + "/run.in";
    std::FILE* f = std::fopen(file_.c_str(), "w");
    ASSERT_NE(f, nullptr);
    std::fclose(f);
  }
  void TearDown() override {
    std::remove(file_.c_str());
    std::remove(folder_.c_str());
  }
  std::string folder_;
  std::string file_;
};

TEST_F(FileDialog, AnswersToThePromptAndToTheCancelBox) {
  // The prompt shows the dialog's title and its filter.
  const std::string open = "Open: Select File for Unit 12\nVQ INPUT *.in, *.in; All Files, *.*\n";
  // An empty answer or the end of the input cancels; at the box yes or the
  // end of the input ends the run with status 1, no shows the dialog again,
  // and any other answer asks the question again.
  struct Case {
    std::string input;
    bool cancelled;
    std::string out;
  } cases[] = {
      {"  " + file_ + "  \n", false, open},
      {"\ny\n", true, open + kCancelBox},
      {"\nno\n" + file_ + "\n", false, open + kCancelBox + open},
      {"\nmaybe\nY\n", true, open + kCancelBox + "Terminate Program?\n"},
      {"", true, open + kCancelBox},
      {"\n", true, open + kCancelBox},
  };
  for (const Case& c : cases) {
    DialogOutcome outcome = Dialog(c.input);
    EXPECT_EQ(outcome.cancelled, c.cancelled) << c.input;
    EXPECT_EQ(outcome.exit_code, c.cancelled ? 1 : 0) << c.input;
    EXPECT_EQ(outcome.name, c.cancelled ? "" : file_) << c.input;
    EXPECT_EQ(outcome.out, c.out) << c.input;
  }
}

}  // namespace
}  // namespace vq
