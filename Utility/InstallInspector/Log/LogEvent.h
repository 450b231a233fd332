#pragma once

#include "Utility/InstallInspector/Log/KnownMessages.h"
#include "Utility/InstallInspector/Log/LogLine.h"

#include <string>
#include <string_view>
#include <vector>

/// What a line means for a run.
enum class Meaning {
    Nothing,    ///< it is not a line of the engine
    OtherError, ///< it has the form of an error or warning, but is not a message of the engine

    // Of an install
    CheckBegins,
    CheckFails,
    InstallFails,
    CopyBegins,
    FileSkipped,
    CopyFails,
    InstallProblem,
    Question,
    QuestionTitle,
    Prompt,

    // Of an uninstall
    RemovalBegins,
    FolderRemovalBegins,
    EmptyFolder,
    FileRemoved,
    RemovalFails,
    UninstallProblem,
    FolderGone,
    NotRecorded,
    UninstallFails,
    LauncherFails,

    // Of either
    Usage,
    UsageGoesOn,
    UsageEnds,
    PreparationFails,
    PreparationGoesOnFailing, ///< a further message about a failed preparation
    Waits,
    PatternProblem, ///< may come before everything else
    PostflightFails,
    Problem,
    Signal
};

/// A line and its meaning.
struct LogEvent {
    LogLine line;
    std::size_t number = 0;
    Meaning meaning = Meaning::Nothing;
    const KnownMessage* known = nullptr;
    std::vector<std::string_view> names;
    bool bWhole = true; ///< see KnownMessages::Match

    static LogEvent of(const LogLine& line, std::size_t number);
};

/// The text after the prompt of a question in the same line, if it is not an answer. A terminal that does not
/// show typed characters continues in this line. Empty for any other line.
std::string_view textBehindPrompt(const LogLine& line);

bool isOfInstall(Meaning meaning);
bool isOfUninstall(Meaning meaning);
/// Whether it ends a run before the run has changed anything.
bool isOfPreparation(Meaning meaning);

/// The text of a question in a line that says that nobody could be asked.
std::string_view textOfQuestion(const LogEvent& event);
/// The answer that was typed after the prompt, in lower case and without blanks.
std::string typedAnswer(const LogEvent& event);
