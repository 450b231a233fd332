#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// The content of a folder as sorted lines of text. Equal lines mean equal trees:
///
///     a/notes.txt: its content     a file
///     a/tool 0755: #!/bin/sh       permission bits, if they are not 0644
///     a/link -> its target         a symbolic link
///     a/empty/                     a folder, if it is empty or its permission bits are not 0755
///     a/private/ 0700
///
/// In place of content that is long or not a line of text, the line has its size and a hash of its bytes.
namespace FileTree {

using Lines = std::vector<std::string>;

/// Paths are relative to `folder` and begin with `prefix`. Paths for which `bSkip` is true are left out with
/// everything in them.
Lines describe(const std::filesystem::path& folder, const std::string& prefix = "",
               const std::function<bool(const std::filesystem::path&)>& bSkip = nullptr);

/// The differences between two sets of lines, for a failure message. Empty if they are equal.
std::string difference(Lines expected, Lines actual);

/// Writes a file and the folders above it.
void write(const std::filesystem::path& file, const std::string& content, unsigned mode = 0644);
/// The whole file. Throws if it cannot be read.
std::string read(const std::filesystem::path& file);

} // namespace FileTree
