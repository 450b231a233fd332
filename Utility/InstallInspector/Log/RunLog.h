#pragma once

#include "Utility/InstallInspector/Log/KnownMessages.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Report/Verdict.h"

#include <array>
#include <deque>
#include <string>
#include <vector>

/// What the log says about one file, or about one folder that is copied or removed as a whole.
struct LoggedFile {
    enum class Outcome {
        Copied,
        CopiedLater, ///< after it had failed
        Skipped,
        Failed,
        Removed,  ///< or it was not there
        NoTarget, ///< not removed: its branch has no target folder on this machine
        NotRemoved,
        Unclear ///< the log does not have its outcome
    };
    static constexpr std::size_t outcomes = 8;

    Outcome outcome = Outcome::Unclear;
    std::string path;
    std::string source;   ///< of a copy that has failed
    std::string phase;    ///< "Hosts/OpenFX/Glow", "VorlaneFX" or "Content"; empty if it is not known
    std::size_t line = 0; ///< of the last message about it
    unsigned failures = 0;
    bool bAllowed = false;          ///< it may fail (ignoreinstallerrors)
    std::vector<std::string> tools; ///< what the shell's tools said about it
    std::size_t toolsLeftOut = 0;
};

struct LoggedQuestion {
    enum class Answer { Retry, Cancel, NobodyToAsk, NotInLog };

    std::size_t line = 0;
    std::string text;
    Answer answer = Answer::NotInLog;
};

/// Any other message.
struct LoggedMessage {
    std::size_t line = 0; ///< where it stands first
    LogLine::Level level = LogLine::Level::Text;
    std::string text;
    const KnownMessage* known = nullptr; ///< null for one that the engine does not print
    bool bHarm = false;
    std::size_t count = 1;
};

/// A message of a shell's tool that belongs to no file of the log.
struct LoggedTool {
    std::size_t line = 0;
    std::string text;
    bool bHarm = false;
};

struct LoggedRun {
    enum class Kind { Unknown, Install, Uninstall };
    enum class End {
        NotInLog, ///< the log does not say how it ended, as for each run that succeeds
        Failed,   ///< with status 1
        BreaksOff
    };

    Kind kind = Kind::Unknown;
    std::size_t firstLine = 0;
    std::size_t lastLine = 0;
    std::string firstTime; ///< both empty where the lines have none
    std::string lastTime;
    std::string writer; ///< see LogLine
    bool bBeginningMissing = false;
    bool bChecked = false; ///< the source folder has been looked through
    bool bDebugLines = false;
    bool bSharedPackage = false; ///< the shared package has been uninstalled
    bool bDialog = false;        ///< a question was asked that the log does not have
    End end = End::NotInLog;
    std::string breakOff; ///< why the log seems to break off

    std::vector<std::string> phases;                          ///< in their order
    std::deque<LoggedFile> files;                             ///< in the order in which they are first named
    std::array<std::size_t, LoggedFile::outcomes> unlisted{}; ///< how many more, for which there was no room
    std::vector<LoggedQuestion> questions;
    std::vector<LoggedMessage> messages;
    std::vector<LoggedTool> tools;
    std::size_t notEmpty = 0;  ///< how often a tool said that a folder is not empty, which is normal
    std::size_t leftOut = 0;   ///< questions and messages for which there was no room
    bool bHarmLeftOut = false; ///< some of them are about harm

    std::size_t count(LoggedFile::Outcome outcome) const;
    /// The number of messages of tools about harm that belong to no other message.
    std::size_t toolHarms() const;
    Verdict verdict() const;
    /// The entries of Docs/troubleshooting.md for the messages of this run, each once.
    std::vector<const KnownMessage*> advice() const;
};

/// A whole log.
struct RunLog {
    std::string file;
    std::size_t lines = 0;
    std::size_t runLines = 0;    ///< the number of lines that belong to runs
    std::deque<LoggedRun> runs;  ///< in the order of their first lines
    std::size_t runsLeftOut = 0; ///< the number of dropped runs, the oldest ones

    Verdict verdict() const;
};

const char* nameOf(LoggedFile::Outcome outcome);
const char* nameOf(LoggedQuestion::Answer answer);

void writeText(const RunLog& log, const Painter& painter, Output& output);
void writeJson(const RunLog& log, Output& output);
