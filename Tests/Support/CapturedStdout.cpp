#include "Tests/Support/CapturedStdout.h"

#include "Tests/Support/Checked.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace {

void flushAll() {
    std::cout.flush();
    static_cast<void>(std::fflush(stdout));
}

struct Ends {
    int read;
    int write;
};

Ends openEnds() {
    std::array<int, 2> ends{};
    checked(pipe(ends.data()), "pipe");
    checked(fcntl(ends[0], F_SETFL, O_NONBLOCK), "fcntl");
    return {ends[0], ends[1]};
}

/// A file without a name, opened twice so that reading does not move the place where is written.
Ends openFile() {
    std::string path = (std::filesystem::temp_directory_path() / "CapturedStdout.XXXXXX").string();
    const int writeEnd = checked(mkstemp(path.data()), "mkstemp");
    checked(fcntl(writeEnd, F_SETFL, O_APPEND), "fcntl");
    const int readEnd = checked(open(path.c_str(), O_RDONLY), "open");
    unlink(path.c_str());
    return {readEnd, writeEnd};
}

} // namespace

CapturedStdout::CapturedStdout(Into into) {
    flushAll();
    const Ends ends = into == Into::Pipe ? openEnds() : openFile();
    readEnd = ends.read;
    oldOutput = checked(dup(STDOUT_FILENO), "dup");
    for (const int ours : {readEnd, oldOutput}) {
        checked(fcntl(ours, F_SETFD, FD_CLOEXEC), "fcntl");
    }
    checked(dup2(ends.write, STDOUT_FILENO), "dup2");
    close(ends.write);
}

CapturedStdout::~CapturedStdout() {
    flushAll();
    dup2(oldOutput, STDOUT_FILENO);
    close(oldOutput);
    close(readEnd);
}

std::string CapturedStdout::text() {
    flushAll();
    return unbufferedText();
}

std::string CapturedStdout::unbufferedText() {
    std::array<char, 65536> buffer{};
    for (ssize_t count = 0; (count = read(readEnd, buffer.data(), buffer.size())) > 0;) {
        collected.append(buffer.data(), static_cast<std::size_t>(count));
    }
    return collected;
}
