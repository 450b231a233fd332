#pragma once

#include <string>

/// What the operating system does for the program beyond the C library: the same outcomes on every platform.
///
/// Paths are UTF-8; a slash at their end counts for nothing. A text ends at its first zero byte. Every
/// operation fails, and changes nothing, for an empty path and for text that is not UTF-8. None prints,
/// except for the question in a terminal.
namespace PlatformServices {

/// The application bundle that contains the running program: "X.app" when the program is in
/// "X.app/Contents/MacOS", otherwise the folder that holds it. Absolute, links resolved. Empty when unknown.
std::string MainBundlePath();

/// `component` below `folder`, with one slash between them, none at the end and no double ones. Empty when
/// either is not UTF-8.
std::string AppendPathComponent(const std::string& folder, const std::string& component);

/// Removes a file, a folder with all it holds, or a link (its target stays). False when nothing is there,
/// when the path is "/", and when something could not be removed; part of a folder may be gone then.
bool RemoveItem(const std::string& path);

/// Makes the folder and the missing ones above it, with mode 0777 less the umask. True when it is there
/// already, also through a link; false over anything else that exists.
bool CreateFolder(const std::string& path);

/// Copies a file, a folder with all it holds, or a link as a link, to a path where nothing is yet. Permission
/// bits and modification times are kept, owners are not. False when `source` is missing or neither of the
/// three, when anything is at `destination`, a dangling link included, or its folder is missing, when a
/// folder is copied into itself, and when something in it could not be copied; part of the copy may be there
/// then.
bool CopyItem(const std::string& source, const std::string& destination);

/// Makes a symbolic link at `link` with the text `target`, which need not exist. False when anything is at
/// `link`, a dangling link included, or its folder is missing. A slash at the end of `target` is kept.
bool CreateSymbolicLink(const std::string& link, const std::string& target);

enum class AlertAnswer { Retry, Cancel, NobodyToAsk };

/// Shows `text` under `title` with the buttons "Retry", the default, and "Cancel", and waits for the answer.
/// Both texts are shown as they are, whatever they hold.
///
/// On macOS there is nobody to ask without a window session. Elsewhere zenity asks when there is a display
/// and the program. Otherwise, or when it fails, the terminal does when standard input and output are one and
/// this process may read from it; the end of input is Cancel. Otherwise there is nobody to ask.
AlertAnswer ShowRetryCancelAlert(const std::string& title, const std::string& text);

} // namespace PlatformServices
