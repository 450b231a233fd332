#pragma once

#include <string>

/// Services of the operating system beyond the C library, with the same results on every platform.
///
/// Paths are UTF-8. A slash at their end has no meaning. A text ends at its first zero byte. For an empty
/// path, or a text that is not UTF-8, every operation fails and changes nothing. Only the question in a
/// terminal prints.
namespace PlatformServices {

/// The application bundle of the running program: "X.app" if the program is in "X.app/Contents/MacOS",
/// otherwise the folder of the program. Absolute, with links resolved. Empty if unknown.
std::string MainBundlePath();

/// `folder` and `component` with one slash between them, without double slashes and without a slash at the
/// end. Empty if one of them is not UTF-8.
std::string AppendPathComponent(const std::string& folder, const std::string& component);

/// Removes a file, a folder with everything in it, or a link (its target stays). Returns false if nothing is
/// there, if the path is "/", or if something could not be removed. A part of a folder may then be removed.
bool RemoveItem(const std::string& path);

/// Makes the folder and missing folders above it, with mode 0777 less the umask. Returns true if the folder
/// already exists, also through a link. Returns false if something else is there.
bool CreateFolder(const std::string& path);

/// Copies a file, a folder with everything in it, or a link as a link. Keeps permission bits and modification
/// times, but not owners. Nothing may exist at `destination`, not even a dangling link, and its folder must
/// exist. Returns false if this is not so, if `source` does not exist or is of another type, if a folder
/// would be copied into itself, or if something could not be copied. A part of the copy may then exist.
bool CopyItem(const std::string& source, const std::string& destination);

/// Makes a symbolic link at `link` with the text `target`. `target` need not exist, and a slash at its end is
/// kept. Returns false if anything is at `link`, also a dangling link, or if its folder does not exist.
bool CreateSymbolicLink(const std::string& link, const std::string& target);

enum class AlertAnswer { Retry, Cancel, NobodyToAsk };

/// Shows an alert with the buttons "Retry" (the default) and "Cancel", and waits for the answer. Markup and
/// directives in both texts have no effect.
///
/// macOS: without a window session, the answer is NobodyToAsk. Other systems: asks with zenity if there is a
/// display and zenity is installed. If there is not, or zenity fails, asks in the terminal if standard input
/// and output are a terminal and this process may read from it. End of input is Cancel. Otherwise, the answer
/// is NobodyToAsk.
AlertAnswer ShowRetryCancelAlert(const std::string& title, const std::string& text);

} // namespace PlatformServices
