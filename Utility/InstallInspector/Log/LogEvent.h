#pragma once

#include "Utility/InstallInspector/Log/KnownMessages.h"
#include "Utility/InstallInspector/Log/LogLine.h"

#include <string>
#include <string_view>
#include <vector>

/// What a line tells about a run.
enum class Meaning {
    Nothing,    ///< it is no line of the engine
    OtherError, ///< of that form, but none of the engine's messages

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
    PreparationGoesOnFailing, ///< as it does behind another message of that kind
    Waits,
    PatternProblem, ///< may come before everything else
    PostflightFails,
    Problem,
    Signal
};

/// A line and what it tells.
struct LogEvent {
    LogLine line;
    std::size_t number = 0;
    Meaning meaning = Meaning::Nothing;
    const KnownMessage* known = nullptr;
    std::vector<std::string_view> names;
    bool bWhole = true; ///< see KnownMessages::Match

    static LogEvent of(const LogLine& line, std::size_t number);
};

/// What stands in one line with the prompt of a question and is no answer: a terminal that does not show what
/// is typed goes on there. Empty for any other line.
std::string_view textBehindPrompt(const LogLine& line);

bool isOfInstall(Meaning meaning);
bool isOfUninstall(Meaning meaning);
/// It ends a run before anything has been done.
bool isOfPreparation(Meaning meaning);

/// The text of a question of which the log says that nobody could be asked.
std::string_view textOfQuestion(const LogEvent& event);
/// What was typed behind the prompt, in lower case and without blanks.
std::string typedAnswer(const LogEvent& event);
