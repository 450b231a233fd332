#pragma once

#include "Utility/InstallInspector/Log/RunLog.h"

#include <cstddef>
#include <cstdio>
#include <map>
#include <string>
#include <string_view>

struct LogEvent;

/// Reads a log line by line and finds the runs in it. Lines of several writers may be mixed, as in
/// /var/log/install.log: each writer has its own runs.
class LogReader {
public:
    /// No line of the engine is so long. The rest of a longer line is ignored.
    static constexpr std::size_t longestLine = 64 << 10;
    /// The most bytes of names and texts of all runs that are kept. If there are more, drops the oldest run.
    static constexpr std::size_t usualRoom = 64 << 20;

    explicit LogReader(std::size_t bytes = usualRoom);
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    /// Reads the whole stream. If it cannot be read to its end, returns false and sets errno.
    bool read(FILE* stream);

    /// Reads the next line, without its line feed. `bEnded` is false if it had none.
    void take(std::string_view line, bool bEnded = true);
    /// Returns what has been read. Call it once, after the last line.
    RunLog finish();

private:
    struct Writer;
    struct Closed {
        LoggedRun run;
        std::size_t size;
    };

    void takeParsed(const LogLine& line, bool bEnded);
    void takeTool(const LogLine& line);
    void takeEvent(const LogEvent& event, Writer* writer, bool bEnded);
    void begin(Writer& writer, const LogEvent& event);
    Writer& writerOf(const std::string& name);
    void close(Writer& writer);

    std::size_t room;
    std::size_t used = 0;
    RunLog log;
    std::string lastWriter; ///< the writer of a text that may continue in a line without a writer
    std::map<std::string, Writer> writers;
    std::size_t opened = 0;
    std::map<std::size_t, Closed> closed; ///< by the order of their beginnings
};
