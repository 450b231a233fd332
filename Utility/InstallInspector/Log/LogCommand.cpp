#include "Utility/InstallInspector/Log/LogCommand.h"

#include "Utility/InstallInspector/Log/LogReader.h"
#include "Utility/InstallInspector/Log/RunLog.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

std::string textOf(int error) {
    return error == ENOENT || error == ENOTDIR ? " is not an existing file"
           : error == EISDIR                   ? " is a folder"
                                               : std::string(": ") + std::strerror(error);
}

/// 0, or an errno value.
int readInto(LogReader& reader, const std::string& name) {
    FILE* stream = name == "-" ? stdin : std::fopen(name.c_str(), "rb");
    if (stream == nullptr) {
        return errno;
    }
    const int error = reader.read(stream) ? 0 : errno;
    if (stream != stdin) {
        static_cast<void>(std::fclose(stream)); // nothing was written
    }
    return error;
}

} // namespace

int runLog(const LogOptions& options) {
    LogReader reader;
    if (const int error = readInto(reader, options.file); error != 0) {
        return cannotRun(options.bJson, options.file + textOf(error));
    }
    RunLog log = reader.finish();
    log.file = options.file == "-" ? "standard input" : options.file;
    if (log.runs.empty()) {
        return cannotRun(options.bJson, log.file + " holds no line of an install or uninstall");
    }
    Output output;
    if (options.bJson) {
        writeJson(log, output);
    } else {
        writeText(log, Painter::forFile(stdout), output);
    }
    if (!output.finish()) {
        return CannotRun;
    }
    return log.verdict() == Verdict::Safe ? Clean : HasFindings;
}
