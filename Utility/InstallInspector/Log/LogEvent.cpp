#include "Utility/InstallInspector/Log/LogEvent.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <utility>

namespace {

using Level = LogLine::Level;

constexpr std::string_view questionTitle = "Installation warning";
constexpr std::string_view prompt = "[R]etry or [C]ancel:";

struct MeantMessage {
    const char* text; ///< as in Docs/troubleshooting.md
    Meaning meaning;
};

/// The messages with a meaning of their own. All others are a Problem.
constexpr std::array meantMessages{
    MeantMessage{"Checking file consistency in source folder", Meaning::CheckBegins},
    MeantMessage{"Error! Folder '%s' doesn't exists", Meaning::CheckFails},
    MeantMessage{"Error! File '%s' not found", Meaning::CheckFails},
    MeantMessage{"Error! File checking is failed", Meaning::InstallFails},
    MeantMessage{"Error! Failed to prepare", Meaning::InstallFails},
    MeantMessage{"Error! Failed to copy files", Meaning::InstallFails},
    MeantMessage{"Copy '%s' to '%s'", Meaning::CopyBegins},
    MeantMessage{"Skipped file: %s", Meaning::FileSkipped},
    MeantMessage{"Failed to copy '%s' to '%s'", Meaning::CopyFails},
    MeantMessage{"Error! Src path '%s' not found", Meaning::InstallProblem},
    MeantMessage{"Has content section in SKU but can't find info for its installing",
                 Meaning::InstallProblem},
    MeantMessage{"createShortCut, invalid params", Meaning::InstallProblem},
    MeantMessage{"Target Path XML not found", Meaning::InstallProblem},
    MeantMessage{"Can't copy Uninstall.app to target folder", Meaning::InstallProblem},
    MeantMessage{"Can't copy SKU XML to Uninstall.app", Meaning::InstallProblem},
    MeantMessage{"Can't copy Target Path XML to Uninstall.app", Meaning::InstallProblem},
    MeantMessage{"[R]etry or [C]ancel:", Meaning::Prompt},
    MeantMessage{"Delete '%s'", Meaning::RemovalBegins},
    MeantMessage{"Delete dir '%s'", Meaning::FolderRemovalBegins},
    MeantMessage{"Delete empty dir '%s'", Meaning::EmptyFolder},
    MeantMessage{"Cannot remove file '%s'", Meaning::FileRemoved},
    MeantMessage{"Failed to remove '%s'", Meaning::RemovalFails},
    MeantMessage{"Has content section in SKU but can't find info for its uninstalling",
                 Meaning::UninstallProblem},
    MeantMessage{"Something goes wrong when deleting '%s' at '%s'", Meaning::UninstallProblem},
    MeantMessage{"Src path '%s' not found", Meaning::FolderGone},
    MeantMessage{"The record does not list the product '%s'. No count is lowered.", Meaning::NotRecorded},
    MeantMessage{"Error! Failed to remove product", Meaning::UninstallFails},
    MeantMessage{"cannot find the uninstaller's own folder", Meaning::LauncherFails},
    MeantMessage{"'$contents/$file' is missing: this is no uninstaller that an install has placed",
                 Meaning::LauncherFails},
    MeantMessage{"cannot make a temporary folder", Meaning::LauncherFails},
    MeantMessage{"cannot copy the uninstaller's files to '$work'", Meaning::LauncherFails},
    MeantMessage{"cannot use '$work'", Meaning::LauncherFails},
    MeantMessage{"Not enough arguments.", Meaning::Usage},
    MeantMessage{"./InstallUtility <path_to_files> <skuxml_path> <xml_with_targets_locations> [-v]",
                 Meaning::UsageGoesOn},
    MeantMessage{"-v - show debug logs", Meaning::UsageEnds},
    MeantMessage{"Error! Source dir '%s' is empty", Meaning::PreparationFails},
    MeantMessage{"Error! File with target not found", Meaning::PreparationFails},
    MeantMessage{"Can't find node <root> in target paths XML.", Meaning::PreparationGoesOnFailing},
    MeantMessage{"Failed to parse target paths.", Meaning::PreparationGoesOnFailing},
    MeantMessage{"Another install or uninstall is running. Waiting for its end.", Meaning::Waits},
    MeantMessage{"The pattern '%s' has a registry placeholder without \"::\"", Meaning::PatternProblem},
    MeantMessage{"The pattern '%s' does not come to an end", Meaning::PatternProblem},
    MeantMessage{"%s holds a character that a shell would act on. It counts as empty.",
                 Meaning::PatternProblem},
    MeantMessage{"Postflight failed: sku xml not found", Meaning::PostflightFails},
};

Meaning meaningOf(const KnownMessage& message) {
    const auto* const found =
        std::find_if(meantMessages.begin(), meantMessages.end(),
                     [&](const MeantMessage& meant) { return message.text == meant.text; });
    return found == meantMessages.end() ? Meaning::Problem : found->meaning;
}

std::string lowerCaseWithoutBlanks(std::string_view text) {
    std::string result;
    for (const char c : text) {
        if (c != ' ') {
            result += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return result;
}

} // namespace

std::string_view textBehindPrompt(const LogLine& line) {
    if (line.level != Level::Text || line.text.substr(0, prompt.size()) != prompt) {
        return {};
    }
    const std::string word = lowerCaseWithoutBlanks(line.text.substr(prompt.size()));
    const bool bAnswer = word.empty() || word == "r" || word == "retry" || word == "c" || word == "cancel";
    return bAnswer ? std::string_view() : line.text.substr(std::min(prompt.size() + 1, line.text.size()));
}

LogEvent LogEvent::of(const LogLine& line, std::size_t number) {
    LogEvent event;
    event.line = line;
    event.number = number;
    if (auto match = KnownMessages::ofThisVersion().find(line)) {
        event.known = match->message;
        event.names = std::move(match->names);
        event.bWhole = match->bWhole;
        event.meaning = meaningOf(*event.known);
        return event;
    }
    const std::string_view text = line.text;
    if (line.level == Level::Warning &&
        text.substr(0, questionTitle.size() + 2) == "Installation warning: ") {
        event.meaning = Meaning::Question;
    } else if (line.level == Level::Text && text == questionTitle) {
        event.meaning = Meaning::QuestionTitle;
    } else if (line.level == Level::Text && text.substr(0, prompt.size()) == prompt) {
        event.meaning = Meaning::Prompt;
    } else if (line.level == Level::Error || line.level == Level::Warning) {
        event.meaning = Meaning::OtherError;
    } else if (isSignalMessage(text)) {
        event.meaning = Meaning::Signal;
    }
    return event;
}

bool isOfInstall(Meaning meaning) {
    return meaning >= Meaning::CheckBegins && meaning <= Meaning::Prompt;
}

bool isOfUninstall(Meaning meaning) {
    return meaning >= Meaning::RemovalBegins && meaning <= Meaning::LauncherFails;
}

bool isOfPreparation(Meaning meaning) {
    return meaning == Meaning::PreparationFails || meaning == Meaning::PreparationGoesOnFailing;
}

std::string_view textOfQuestion(const LogEvent& event) {
    return event.line.text.substr(std::min(questionTitle.size() + 2, event.line.text.size()));
}

std::string typedAnswer(const LogEvent& event) {
    return lowerCaseWithoutBlanks(event.line.text.substr(std::min(prompt.size(), event.line.text.size())));
}
