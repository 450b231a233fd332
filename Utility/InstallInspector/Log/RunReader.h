#pragma once

#include "Utility/InstallInspector/Log/LogEvent.h"
#include "Utility/InstallInspector/Log/RunLog.h"
#include "Utility/InstallInspector/Log/SourceFolder.h"

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Messages of tools that do not yet belong to a file or message of the engine.
struct PendingTools {
    struct Message {
        std::size_t line;
        std::string tool;
        std::string text;
    };
    std::vector<Message> messages;
    std::size_t leftOut = 0;

    void add(const LogLine& line, std::size_t number);
};

/// Reads one run line by line.
class RunReader {
public:
    /// The most bytes of names and texts that one run keeps.
    static constexpr std::size_t usualRoom = 8 << 20;

    RunReader(const LogEvent& first, std::size_t bytes);

    /// Whether the line belongs to this run. If not, it begins another run.
    bool goesOnWith(const LogEvent& event) const;
    void take(const LogEvent& event);
    void takeTool(const LogLine& line, std::size_t number);
    /// Notes that the log ends inside this line. The line may be the beginning of a message of the engine.
    void breakOffInLine(const LogEvent& event);
    /// Takes the messages of tools before the first line of the run.
    void takeToolsBefore(PendingTools tools) { pending = std::move(tools); }
    /// Whether the next line is the text of a question, even if it looks like something else.
    bool expectsQuestion() const { return bTitled; }
    void takeQuestion(std::string_view text, std::size_t number);

    /// A missing definition causes two messages. If the second one shows that both belong to the next run,
    /// removes the first one from this run and returns it.
    std::optional<LoggedMessage> takeBackPostflight();
    void addFirst(LoggedMessage message);

    bool hasEnded() const { return bEnded; }
    bool isUninstallWithRemovals() const;
    std::size_t lastLine() const { return run.lastLine; }
    /// The number of bytes of names and texts that are kept.
    std::size_t size() const { return used; }

    LoggedRun finish();

private:
    using Outcome = LoggedFile::Outcome;

    bool keep(std::size_t bytes);
    LoggedFile* fileAt(std::string_view path, Outcome ifUnlisted, bool bNew);
    void addMessage(LoggedMessage message);
    void note(const LogEvent& event, bool bHarm);
    void setKind(LoggedRun::Kind kind);
    void fail();
    bool hasOpenQuestion() const;
    void takeOfInstall(const LogEvent& event);
    void takeOfUninstall(const LogEvent& event);
    void takeOfEither(const LogEvent& event);
    void breakOff(std::string_view why);

    void settleCopy();
    void copyBegins(const LogEvent& event);
    void fileSkipped(const LogEvent& event);
    void copyFails(const LogEvent& event);
    void ask(std::string_view text, std::size_t number, LoggedQuestion::Answer answer);
    void answer(const std::string& typed);
    void settleFailures(bool bAtEnd);

    void removalBegins(const LogEvent& event, bool bFolder);
    void fileRemoved(const LogEvent& event);
    void removalFails(const LogEvent& event);
    void folderGone(const LogEvent& event);
    void settleRemoval(bool bAtEnd);

    template <class Belongs>
    void giveTools(LoggedFile* file, const Belongs& belongs);
    void settle(const PendingTools::Message& message);
    void settleTools();
    void settleUnfinished();
    void settleFiles();

    LoggedRun run;
    std::size_t room;
    std::size_t used = 0;
    bool bEnded = false;
    Meaning unfinished = Meaning::Nothing; ///< a message that another one has to follow
    Meaning last = Meaning::Nothing;
    std::size_t lastNumber = 0; ///< the number of the last line of the engine
    PendingTools pending;

    std::unordered_map<std::string_view, LoggedFile*> byPath; ///< of an install
    LoggedFile* current = nullptr;                            ///< the file that is being copied or removed
    bool bCurrentUnlisted = false;
    bool bRemoving = false; ///< the outcome of the removal of `current` is not known yet
    bool bRemovingFolder = false;

    SourceFolder sourceFolder;

    // Of the branch in which copies fail
    std::string failingPhase;
    std::vector<LoggedFile*> failing; ///< since the last question
    bool bAsked = false;
    bool bAllowedOnes = false;
    bool bTitled = false;
    bool bNothingTyped = false;
};
