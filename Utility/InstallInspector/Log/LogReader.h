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
    /// More than the engine puts into a line. What a longer one has behind it is not looked at.
    static constexpr std::size_t longestLine = 64 << 10;
    /// How many bytes of names and texts of all runs are kept at most. Beyond them the oldest run goes.
    static constexpr std::size_t usualRoom = 64 << 20;

    explicit LogReader(std::size_t bytes = usualRoom);
    ~LogReader();
    LogReader(const LogReader&) = delete;
    LogReader& operator=(const LogReader&) = delete;

    /// The whole stream. False, and errno says why, when it cannot be read to its end.
    bool read(FILE* stream);

    /// The next line, without its end. `bEnded`: there was a line feed.
    void take(std::string_view line, bool bEnded = true);
    /// What has been read. To be called once, after the last line.
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
    std::string lastWriter; ///< whose text may go on in a line without a beginning
    std::map<std::string, Writer> writers;
    std::size_t opened = 0;
    std::map<std::size_t, Closed> closed; ///< by the order of their beginnings
};
