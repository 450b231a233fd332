#include "Utility/InstallInspector/Log/LogReader.h"

#include "Utility/InstallInspector/Log/RunReader.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <utility>

namespace {

/// How many writers are followed at a time.
constexpr std::size_t mostWriters = 16;

bool beginsRun(Meaning meaning) {
    static constexpr std::array never{Meaning::Nothing,       Meaning::OtherError, Meaning::Signal,
                                      Meaning::QuestionTitle, Meaning::Prompt,     Meaning::UsageGoesOn,
                                      Meaning::UsageEnds};
    return std::find(never.begin(), never.end(), meaning) == never.end();
}

/// The message of a tool about the first step of an uninstall. It appears only if other uninstallers exist.
bool beginsUninstall(const LogLine& line) {
    std::string_view folder = uninstallersFolder;
    folder.remove_suffix(1); // a slash, which not every tool repeats
    return line.tool == "rmdir" && line.text.find(folder) != std::string_view::npos;
}

} // namespace

/// The state of one writer.
struct LogReader::Writer {
    std::unique_ptr<RunReader> run; ///< the one whose lines may still come, and
    std::size_t order = 0;          ///< its place among all runs
    PendingTools tools;             ///< what the tools said since the last run
    std::size_t lastLine = 0;
};

LogReader::LogReader(std::size_t bytes) : room(bytes) {}
LogReader::~LogReader() = default;

bool LogReader::read(FILE* stream) {
    std::array<char, 64 << 10> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init)
    std::string line;
    bool bAnything = false;
    while (const std::size_t size = std::fread(bytes.data(), 1, bytes.size(), stream)) {
        std::string_view rest(bytes.data(), size);
        while (!rest.empty()) {
            const std::size_t end = rest.find('\n');
            const std::string_view part = rest.substr(0, end);
            line.append(part.substr(0, longestLine - std::min(longestLine, line.size())));
            bAnything = true;
            if (end == std::string_view::npos) {
                break;
            }
            take(line);
            line.clear();
            bAnything = false;
            rest.remove_prefix(end + 1);
        }
    }
    if (bAnything) {
        take(line, false);
    }
    return std::ferror(stream) == 0;
}

void LogReader::take(std::string_view text, bool bEnded) {
    ++log.lines;
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, byteOrderMark.size()) == byteOrderMark) {
        text.remove_prefix(byteOrderMark.size());
    }
    takeParsed(LogLine::parse(text), bEnded);
}

void LogReader::takeParsed(const LogLine& line, bool bEnded) {
    if (!line.writer.empty()) {
        lastWriter = line.writer;
    }
    const auto found = writers.find(lastWriter);
    Writer* writer = found == writers.end() ? nullptr : &found->second;
    if (writer != nullptr && writer->run != nullptr && writer->run->expectsQuestion()) {
        writer->run->takeQuestion(line.text, log.lines);
        ++log.runLines;
    } else if (!line.tool.empty()) {
        takeTool(line);
    } else {
        takeEvent(LogEvent::of(line, log.lines), writer, bEnded);
        if (const std::string_view rest = textBehindPrompt(line); !rest.empty()) {
            takeParsed(LogLine::parse(rest), bEnded);
        }
    }
}

void LogReader::takeTool(const LogLine& line) {
    Writer& writer = writerOf(lastWriter);
    const bool bInRun = writer.run != nullptr && !writer.run->hasEnded();
    if (beginsUninstall(line)) {
        LogEvent event;
        event.line = line;
        event.number = log.lines;
        event.meaning = Meaning::EmptyFolder;
        begin(writer, event);
        writer.run->take(event);
        writer.run->takeTool(line, log.lines);
        ++log.runLines;
    } else if (bInRun) {
        writer.run->takeTool(line, log.lines);
        ++log.runLines;
    } else {
        writer.tools.add(line, log.lines);
    }
}

void LogReader::takeEvent(const LogEvent& event, Writer* writer, bool bEnded) {
    const bool bOpen = writer != nullptr && writer->run != nullptr && !writer->run->hasEnded();
    if (!bOpen && !beginsRun(event.meaning)) {
        return;
    }
    const bool bKnown = event.meaning != Meaning::Nothing && event.meaning != Meaning::OtherError;
    const bool bPart = bKnown ? !event.bWhole : KnownMessages::ofThisVersion().mayBegin(event.line);
    if (bOpen && !bEnded && bPart) {
        writer->run->breakOffInLine(event);
        ++log.runLines;
        return;
    }
    if (event.meaning == Meaning::Nothing) {
        return;
    }
    Writer& own = writer == nullptr ? writerOf(lastWriter) : *writer;
    own.lastLine = log.lines;
    if (!bOpen || !own.run->goesOnWith(event)) {
        begin(own, event);
    }
    own.run->take(event);
    ++log.runLines;
}

/// Ends what the writer has open, and begins a run.
void LogReader::begin(Writer& writer, const LogEvent& event) {
    std::optional<LoggedMessage> message;
    if (writer.run != nullptr && event.meaning == Meaning::PreparationFails) {
        message = writer.run->takeBackPostflight();
    }
    close(writer);
    writer.run = std::make_unique<RunReader>(event, std::min(room, RunReader::usualRoom));
    writer.order = ++opened;
    writer.run->takeToolsBefore(std::exchange(writer.tools, {}));
    if (message) {
        writer.run->addFirst(std::move(*message));
    }
}

LogReader::Writer& LogReader::writerOf(const std::string& name) {
    if (writers.count(name) == 0 && writers.size() == mostWriters) {
        const auto oldest =
            std::min_element(writers.begin(), writers.end(), [](const auto& a, const auto& b) {
                return a.second.lastLine < b.second.lastLine;
            });
        close(oldest->second);
        writers.erase(oldest);
    }
    Writer& writer = writers[name];
    writer.lastLine = log.lines;
    return writer;
}

void LogReader::close(Writer& writer) {
    if (writer.run == nullptr) {
        return;
    }
    const std::size_t size = sizeof(LoggedRun) + writer.run->size();
    closed.emplace(writer.order, Closed{writer.run->finish(), size});
    writer.run.reset();
    used += size;
    while (used > room && closed.size() > 1) {
        used -= closed.begin()->second.size;
        closed.erase(closed.begin());
        ++log.runsLeftOut;
    }
}

RunLog LogReader::finish() {
    for (auto& [name, writer] : writers) {
        close(writer);
    }
    for (auto& [order, run] : closed) {
        log.runs.push_back(std::move(run.run));
    }
    closed.clear();
    return std::move(log);
}
