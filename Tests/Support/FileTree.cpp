#include "Tests/Support/FileTree.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace {

constexpr std::size_t longestPrintedContent = 120;

std::string modeText(fs::perms permissions, unsigned usual) {
    const auto mode = static_cast<unsigned>(permissions);
    std::array<char, 16> text{};
    if (mode != usual) {
        static_cast<void>(std::snprintf(text.data(), text.size(), " %04o", mode));
    }
    return text.data();
}

std::string contentText(const fs::path& file) {
    std::string content = FileTree::read(file);
    if (content.size() <= longestPrintedContent &&
        content.find_first_of(std::string("\n\0", 2)) == std::string::npos) {
        return content;
    }
    std::ostringstream text;
    text << "<" << content.size() << " bytes, " << std::hex << std::hash<std::string>()(content) << ">";
    return text.str();
}

void describeInto(const fs::path& folder, const std::string& prefix,
                  const std::function<bool(const fs::path&)>& bSkip, FileTree::Lines& lines) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (bSkip && bSkip(entry.path())) {
            continue;
        }
        const std::string name = prefix + entry.path().filename().string();
        const fs::file_status status = entry.symlink_status();
        if (fs::is_symlink(status)) {
            lines.push_back(name + " -> " + fs::read_symlink(entry.path()).string());
        } else if (fs::is_directory(status)) {
            const std::string mode = modeText(status.permissions(), 0755);
            if (!mode.empty() || fs::is_empty(entry.path())) {
                lines.push_back(std::string(name).append("/").append(mode));
            }
            describeInto(entry.path(), name + "/", bSkip, lines);
        } else if (fs::is_regular_file(status)) {
            lines.push_back(name + modeText(status.permissions(), 0644) + ": " + contentText(entry.path()));
        } else {
            lines.push_back(name + " (neither file, folder nor link)");
        }
    }
}

} // namespace

FileTree::Lines FileTree::describe(const fs::path& folder, const std::string& prefix,
                                   const std::function<bool(const fs::path&)>& bSkip) {
    Lines lines;
    describeInto(folder, prefix, bSkip, lines);
    std::sort(lines.begin(), lines.end());
    return lines;
}

std::string FileTree::difference(Lines expected, Lines actual) {
    std::sort(expected.begin(), expected.end());
    std::sort(actual.begin(), actual.end());
    std::string text;
    const auto list = [&text](const char* heading, const Lines& some, const Lines& others) {
        Lines only;
        std::set_difference(some.begin(), some.end(), others.begin(), others.end(), std::back_inserter(only));
        for (const std::string& line : only) {
            text.append(heading).append(line).append("\n");
        }
    };
    list("  missing:    ", expected, actual);
    list("  unexpected: ", actual, expected);
    return text;
}

void FileTree::write(const fs::path& file, const std::string& content, unsigned mode) {
    fs::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << content;
    stream.close();
    if (!stream) {
        throw std::runtime_error("cannot write " + file.string());
    }
    fs::permissions(file, static_cast<fs::perms>(mode));
}

std::string FileTree::read(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error("cannot read " + file.string());
    }
    // In large pieces: the programs in uninstallers are read again for each look at a machine.
    std::string content;
    std::array<char, 16384> piece{};
    while (stream) {
        stream.read(piece.data(), piece.size());
        content.append(piece.data(), static_cast<std::size_t>(stream.gcount()));
    }
    return content;
}
