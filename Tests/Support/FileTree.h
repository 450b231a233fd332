#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// What lies below a folder as sorted lines of text, complete enough that two equal descriptions mean two
/// equal trees, and short enough to stand in a test:
///
///     a/notes.txt: its content     a file
///     a/tool 0755: #!/bin/sh       permission bits, where they are not 0644
///     a/link -> its target         a symbolic link
///     a/empty/                     a folder, if it is empty or its permission bits are not 0755
///     a/private/ 0700
///
/// The content of a large file, or of one that is not a line of text, is told as its size and a number made
/// from its bytes.
namespace FileTree {

using Lines = std::vector<std::string>;

/// Paths are relative to `folder`, after `prefix`. `bSkip` tells what is left out, with all it holds.
Lines describe(const std::filesystem::path& folder, const std::string& prefix = "",
               const std::function<bool(const std::filesystem::path&)>& bSkip = nullptr);

/// What distinguishes two sets of lines, for a failure message; empty when they are the same.
std::string difference(Lines expected, Lines actual);

/// Writes a file and the folders above it.
void write(const std::filesystem::path& file, const std::string& content, unsigned mode = 0644);
/// The whole file; throws when it cannot be read.
std::string read(const std::filesystem::path& file);

} // namespace FileTree
