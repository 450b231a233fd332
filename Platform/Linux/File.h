#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The content of a regular file of at most `largest` bytes; nothing when it is none or cannot be read. Links
/// are followed. Never waits, as opening a pipe would.
std::optional<std::string> readRegularFile(const std::string& path, std::size_t largest);

/// Makes `content` the content of the file at `path`: of a new file with mode 0666 less the umask, or of an
/// existing one, whose mode and owner stay. A link is followed, a dangling one too. False when the file or
/// its folder may not be written, when something else than a file is there, or when the owner cannot be kept.
/// Atomic: the file is replaced whole or left as it was.
bool replaceFile(const std::string& path, std::string_view content);
