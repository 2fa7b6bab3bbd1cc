// The file dialog of the console frame. The program's one question to the
// user before a run is which command file to open; on a text console the
// dialog is a prompt with its title, and the answer is a file name.
//
// Cancelling (an empty answer, or the end of the input) brings up the
// frame's question box, titled "File Open Error", with "A File Must be
// Selected" / "Terminate Program?":
// yes, or the end of the input, ends the run with status 1; no shows the
// dialog again. A name that does not lead to an existing file is not
// accepted, as a dialog for an existing file would not accept it.
#ifndef VELQUORIN_FRAME_FILE_DIALOG_H_
#define VELQUORIN_FRAME_FILE_DIALOG_H_

#include <string>
#include <string_view>

namespace vq {

// The dialog's filter: pairs of a shown name and a pattern, separated by a
// comma, the pairs by a semicolon. Shown under the title; every file is
// accepted, as "All Files" is one of its choices.
constexpr char kFileDialogFilter[] = "VQ INPUT *.in, *.in; All Files, *.*";

// The title of the box that comes up when the choice is cancelled.
constexpr char kCancelBoxTitle[] = "File Open Error";

// True when both the console's input and its output are a terminal (never
// under a ConsoleCapture), so that there is someone to see the prompt and
// answer it.
bool ConsoleInputIsTerminal();

// True when `name` names an existing plain file (a link to one included):
// not a folder, a pipe or a device.
bool IsExistingFile(const std::string& name);

// Asks for an existing file with `title` as the prompt and returns its name.
// With `interactive` false nobody can answer: the dialog counts as cancelled
// at once, and the run ends with status 1 (CancelRun) after the box's words.
std::string ChooseFileToOpen(std::string_view title, bool interactive);

}  // namespace vq

#endif  // VELQUORIN_FRAME_FILE_DIALOG_H_
