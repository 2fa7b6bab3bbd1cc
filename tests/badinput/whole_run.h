// Whole runs of the built program on inputs made by a test: a scratch folder
// per run, the program started there with its input at end of input and a
// time limit, and everything a run leaves behind read back (exit status or
// signal, console text, error text, files).
//
// Broken inputs are run in a separate process rather than through the
// driver in-process, so that a crash, a hang or an allocation of absurd
// size shows up as such (a signal or the time limit) instead of taking the
// test executable down with it.
#ifndef VELQUORIN_TESTS_BADINPUT_WHOLE_RUN_H_
#define VELQUORIN_TESTS_BADINPUT_WHOLE_RUN_H_

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace vq::badinput {

// How a run ended: `signal` is 0 for a run that exited (then `status` is its
// exit status), `timed_out` when the limit killed it.
struct RunResult {
  int status = -1;
  int signal = 0;
  bool timed_out = false;
  std::string console;  // stdout
  std::string errors;   // stderr
};

inline std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

inline void WriteWholeFile(const std::filesystem::path& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

// A fresh, empty scratch folder named after `name` under the system's
// temporary folder (unique per process).
inline std::filesystem::path ScratchFolder(const std::string& name) {
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("vq_badinput_" + std::to_string(getpid())) / name;
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  return folder;
}

// Copies the files of the repository's example folder `example` (such as
// "demo") into `folder`.
inline void CopyExample(const std::string& example, const std::filesystem::path& folder) {
  const std::filesystem::path source =
      std::filesystem::path(VELQUORIN_SOURCE_DIR) / "examples" / example;
  for (const auto& entry : std::filesystem::directory_iterator(source)) {
    if (entry.is_regular_file()) {
      std::filesystem::copy_file(entry.path(),
                                 folder / entry.path().filename(),
                                 std::filesystem::copy_options::overwrite_existing);
    }
  }
}

// Runs the program in `folder` with `arguments` (the command file among
// them), stdin from /dev/null, stdout and stderr to console.txt and
// stderr.txt there. Kills the run after `limit_seconds`.
inline RunResult RunProgram(const std::filesystem::path& folder,
                            const std::vector<std::string>& arguments,
                            double limit_seconds = 20.0) {
  RunResult result;
  const std::string out_path = (folder / "console.txt").string();
  const std::string err_path = (folder / "stderr.txt").string();
  std::vector<std::string> argv_text = {VELQUORIN_BINARY};
  argv_text.insert(argv_text.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& text : argv_text) argv.push_back(text.data());
  argv.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    if (chdir(folder.c_str()) != 0) _exit(127);
    const int in = open("/dev/null", O_RDONLY);
    const int out = open(out_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int err = open(err_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || out < 0 || err < 0) _exit(127);
    dup2(in, 0);
    dup2(out, 1);
    dup2(err, 2);
    execv(argv[0], argv.data());
    _exit(127);
  }
  int wait_status = 0;
  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::milliseconds(static_cast<long>(limit_seconds * 1000));
  for (;;) {
    const pid_t done = waitpid(child, &wait_status, WNOHANG);
    if (done == child) break;
    if (std::chrono::steady_clock::now() > deadline) {
      kill(child, SIGKILL);
      waitpid(child, &wait_status, 0);
      result.timed_out = true;
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  if (WIFEXITED(wait_status)) result.status = WEXITSTATUS(wait_status);
  if (WIFSIGNALED(wait_status)) result.signal = WTERMSIG(wait_status);
  result.console = ReadWholeFile(out_path);
  result.errors = ReadWholeFile(err_path);
  return result;
}

inline constexpr char kPlainStop[] =
    "Stop - Program terminated.\nProgram Terminated with exit code 0\nExit Window?\n";

}  // namespace vq::badinput

#endif  // VELQUORIN_TESTS_BADINPUT_WHOLE_RUN_H_
