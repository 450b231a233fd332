#include "Utility/InstallInspector/Log/RunReader.h"

#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <utility>

namespace {

using Kind = LoggedRun::Kind;
using Level = LogLine::Level;
using Outcome = LoggedFile::Outcome;
using Answer = LoggedQuestion::Answer;

std::string_view lastComponent(std::string_view path) {
    return path.substr(path.rfind('/') + 1);
}

bool isSharedDefinition(std::string_view path) {
    const std::string name =
        std::string("/") + SharedPackage::definitionsFolder + "/" + SharedPackage::ID + ".xml";
    return path.size() > name.size() && path.substr(path.size() - name.size()) == name;
}

/// Splits the text of a copy into source and destination. Each may contain the text that separates them. The
/// right split is the one where both end with the same name.
std::pair<std::string_view, std::string_view> partCopy(std::string_view source,
                                                       std::string_view destination) {
    constexpr std::string_view between = "' to '";
    const char* const begin = source.data();
    const std::string_view whole(begin, static_cast<std::size_t>(destination.end() - begin));
    std::size_t at = whole.find(between);
    for (int tries = 0; tries < 20 && at != std::string_view::npos; ++tries) {
        const std::string_view from = whole.substr(0, at);
        const std::string_view to = whole.substr(at + between.size());
        if (lastComponent(from) == lastComponent(to)) {
            return {from, to};
        }
        at = whole.find(between, at + 1);
    }
    return {source, destination};
}

/// Whether a tool's message is about harm. It is normal that a folder that is not empty stays. Its message is
/// in the language of the machine, so only reasons that are known to be others count.
bool isHarm(std::string_view tool, std::string_view text) {
    if (tool == "rmdir") {
        static constexpr std::array<std::string_view, 3> reasons{
            "Permission denied", "Operation not permitted", "Read-only file system"};
        return std::any_of(reasons.begin(), reasons.end(), [text](std::string_view reason) {
            return text.size() >= reason.size() && text.substr(text.size() - reason.size()) == reason;
        });
    }
    return tool != "touch";
}

bool isNotEmpty(std::string_view tool, std::string_view text) {
    return tool == "rmdir" && text.find("Directory not empty") != std::string_view::npos;
}

} // namespace

void PendingTools::add(const LogLine& line, std::size_t number) {
    constexpr std::size_t most = 20;
    if (messages.size() == most) {
        ++leftOut;
        return;
    }
    messages.push_back({number, std::string(line.tool), std::string(line.text)});
}

RunReader::RunReader(const LogEvent& first, std::size_t bytes) : room(bytes) {
    run.firstLine = first.number;
    run.lastLine = first.number;
    run.firstTime = first.line.time;
    run.lastTime = first.line.time;
    run.writer = first.line.writer;
}

void RunReader::breakOffInLine(const LogEvent& event) {
    run.lastLine = event.number;
    breakOff("The log ends inside a line");
    bEnded = true;
}

void RunReader::breakOff(std::string_view why) {
    if (run.end == LoggedRun::End::NotInLog) {
        run.end = LoggedRun::End::BreaksOff;
        run.breakOff = why;
    }
}

// Where a run ends and the next begins

bool RunReader::isUninstallWithRemovals() const {
    return run.kind == Kind::Uninstall && !run.files.empty();
}

bool RunReader::goesOnWith(const LogEvent& event) const {
    const Meaning meaning = event.meaning;
    if (bEnded || meaning == Meaning::Usage || meaning == Meaning::LauncherFails) {
        return false;
    }
    if (isOfPreparation(unfinished)) {
        // An install says that it has failed, and so does the uninstall around that of the shared package.
        return meaning == Meaning::PreparationGoesOnFailing || meaning == Meaning::InstallFails ||
               meaning == Meaning::UninstallFails;
    }
    switch (meaning) {
    case Meaning::CheckBegins:
        return last == Meaning::PatternProblem && run.kind == Kind::Unknown;
    case Meaning::NotRecorded:
        return run.kind != Kind::Install && run.files.empty();
    case Meaning::Waits:
        return run.kind != Kind::Uninstall && run.files.empty();
    case Meaning::PreparationFails:
    case Meaning::PreparationGoesOnFailing:
        // With files it can only be the uninstall of the shared package that fails.
        return run.kind != Kind::Install &&
               (run.files.empty() || (!event.names.empty() && isSharedDefinition(event.names[0])));
    default:
        break;
    }
    return isOfInstall(meaning)     ? run.kind != Kind::Uninstall
           : isOfUninstall(meaning) ? run.kind != Kind::Install
                                    : true;
}

void RunReader::setKind(Kind kind) {
    if (run.kind == Kind::Unknown) {
        run.kind = kind;
    }
}

void RunReader::fail() {
    run.end = LoggedRun::End::Failed;
    bEnded = true;
    unfinished = Meaning::Nothing;
}

bool RunReader::hasOpenQuestion() const {
    return !run.questions.empty() && run.questions.back().answer == Answer::NotInLog;
}

std::optional<LoggedMessage> RunReader::takeBackPostflight() {
    // After a signal it is the last message of this run.
    if (last != Meaning::PostflightFails || bEnded || run.messages.empty()) {
        return std::nullopt;
    }
    LoggedMessage message = std::move(run.messages.back());
    run.messages.pop_back();
    run.lastLine = message.line - 1;
    return message;
}

void RunReader::addFirst(LoggedMessage message) {
    run.firstLine = message.line;
    addMessage(std::move(message));
}

// Room

bool RunReader::keep(std::size_t bytes) {
    if (used + bytes > room) {
        return false;
    }
    used += bytes;
    return true;
}

/// The file of this path, or a new one. Null when there is no room; it is counted then.
LoggedFile* RunReader::fileAt(std::string_view path, Outcome ifUnlisted, bool bNew) {
    if (!bNew) {
        if (const auto found = byPath.find(path); found != byPath.end()) {
            return found->second;
        }
    }
    if (!keep(sizeof(LoggedFile) + path.size())) {
        ++run.unlisted[static_cast<std::size_t>(ifUnlisted)];
        return nullptr;
    }
    run.files.emplace_back();
    LoggedFile& file = run.files.back();
    file.path = path;
    if (!bNew) {
        byPath.emplace(file.path, &file);
    }
    return &file;
}

void RunReader::addMessage(LoggedMessage message) {
    constexpr std::size_t mostCompared = 50;
    auto& messages = run.messages;
    const auto from = messages.end() - static_cast<std::ptrdiff_t>(std::min(messages.size(), mostCompared));
    const auto same = std::find_if(from, messages.end(), [&](const LoggedMessage& other) {
        return other.known == message.known && other.text == message.text;
    });
    if (same != messages.end()) {
        ++same->count;
    } else if (keep(sizeof(LoggedMessage) + message.text.size())) {
        messages.push_back(std::move(message));
    } else {
        ++run.leftOut;
        run.bHarmLeftOut |= message.bHarm;
    }
}

void RunReader::note(const LogEvent& event, bool bHarm) {
    addMessage({event.number, event.line.level, std::string(event.line.text), event.known, bHarm, 1});
}

// Tools

void RunReader::takeTool(const LogLine& line, std::size_t number) {
    run.lastLine = number;
    // Two streams may come in another order than they were written in.
    if (last == Meaning::CopyFails && current != nullptr && current->tools.empty() &&
        pending.messages.empty() &&
        (mentions(line.text, current->path) || mentions(line.text, current->source)) &&
        keep(line.text.size())) {
        current->tools.emplace_back(line.text);
        return;
    }
    if (isNotEmpty(line.tool, line.text)) {
        ++run.notEmpty; // one after the other, so that there would be no room for another message
    } else {
        pending.add(line, number);
    }
}

/// Gives `file` those of the pending messages that belong to it. The others stay. Where `file` is null they
/// are the run's.
template <class Belongs>
void RunReader::giveTools(LoggedFile* file, const Belongs& belongs) {
    auto& messages = pending.messages;
    const auto others = std::stable_partition(messages.begin(), messages.end(), belongs);
    if (file != nullptr && others != messages.begin()) {
        file->toolsLeftOut += std::exchange(pending.leftOut, 0);
    }
    for (auto message = messages.begin(); message != others; ++message) {
        if (file == nullptr) {
            settle(*message);
        } else if (keep(message->text.size())) {
            file->tools.push_back(message->text);
        } else {
            ++file->toolsLeftOut;
        }
    }
    messages.erase(messages.begin(), others);
}

/// Adds a message that belongs to no file in the log.
void RunReader::settle(const PendingTools::Message& message) {
    if (isNotEmpty(message.tool, message.text)) {
        ++run.notEmpty;
    } else if (keep(sizeof(LoggedTool) + message.text.size())) {
        run.tools.push_back({message.line, message.text, isHarm(message.tool, message.text)});
    } else {
        ++run.leftOut;
        run.bHarmLeftOut |= isHarm(message.tool, message.text);
    }
}

void RunReader::settleTools() {
    for (const PendingTools::Message& message : pending.messages) {
        settle(message);
    }
    run.leftOut += std::exchange(pending.leftOut, 0);
    pending.messages.clear();
}

// Install

/// The messages of tools since the last named file belong to it. Only those of mkdir stay pending, because a
/// folder is made before its file is named.
void RunReader::settleCopy() {
    giveTools(last == Meaning::CopyBegins ? current : nullptr,
              [](const auto& message) { return message.tool != "mkdir"; });
}

void RunReader::copyBegins(const LogEvent& event) {
    const auto [source, destination] = partCopy(event.names[0], event.names[1]);
    current = fileAt(destination, Outcome::Copied, false);
    bCurrentUnlisted = current == nullptr;
    if (current == nullptr) {
        return;
    }
    if (current->outcome == Outcome::Failed) {
        run.bDialog = true; // a question that the log has would have made it unclear
    }
    if (current->failures == 0) {
        current->tools.clear(); // of a try before, which has gone as well
    }
    current->outcome = current->failures > 0 ? Outcome::CopiedLater : Outcome::Copied;
    current->line = event.number;
    current->phase = sourceFolder.phaseOf(source);
}

void RunReader::fileSkipped(const LogEvent& event) {
    LoggedFile* file = fileAt(event.names[0], Outcome::Skipped, false);
    current = nullptr;
    if (file == nullptr) {
        return;
    }
    file->line = event.number;
    if (file->outcome == Outcome::Failed) {
        // Only a question leads to a second try. A file that fails again has another message.
        run.bDialog = true;
        failing.clear();
    }
    if (file->failures > 0) {
        file->outcome = Outcome::Failed; // what a failed copy has left is there, and stays as it is
    } else if (file->outcome == Outcome::Unclear) {
        file->outcome = Outcome::Skipped; // else the attempt before has copied it
    }
}

void RunReader::copyFails(const LogEvent& event) {
    const auto [source, destination] = partCopy(event.names[0], event.names[1]);
    if (bCurrentUnlisted) {
        --run.unlisted[static_cast<std::size_t>(Outcome::Copied)];
        bCurrentUnlisted = false;
    }
    const std::string phase = sourceFolder.phaseOf(source);
    if (phase != failingPhase) {
        settleFailures(false);
        failingPhase = phase;
    }
    LoggedFile* file = fileAt(destination, Outcome::Failed, false);
    const auto names = [from = source, to = destination](const auto& message) {
        return mentions(message.text, to) || mentions(message.text, from);
    };
    if (file != nullptr && !pending.messages.empty()) {
        file->tools.clear(); // of the try before
        file->toolsLeftOut = 0;
    }
    const bool bNamed = std::any_of(pending.messages.begin(), pending.messages.end(), names);
    giveTools(file, [&](const auto& message) {
        const std::string& tool = message.tool;
        return names(message) || tool == "mkdir" || (!bNamed && tool != "ln" && tool != "touch");
    });
    settleTools();
    current = file;
    if (file == nullptr) {
        return;
    }
    if (file->outcome == Outcome::Failed) {
        run.bDialog = true;
    }
    file->outcome = Outcome::Failed;
    file->line = event.number;
    file->phase = phase;
    file->bAllowed = event.line.level == Level::Warning;
    if (file->failures++ == 0 && keep(source.size())) {
        file->source = source;
    }
    bAllowedOnes |= file->bAllowed;
    failing.push_back(file);
}

void RunReader::ask(std::string_view text, std::size_t number, Answer answer) {
    settleTools();
    if (keep(sizeof(LoggedQuestion) + text.size())) {
        run.questions.push_back({number, std::string(text), answer});
    } else {
        ++run.leftOut;
        run.bHarmLeftOut = true;
    }
    bAsked = true;
    // The whole branch is copied once more. A file that fails again has another message.
    for (LoggedFile* file : failing) {
        file->outcome = Outcome::Unclear;
        file->line = number;
    }
    failing.clear();
}

void RunReader::takeQuestion(std::string_view text, std::size_t number) {
    bTitled = false;
    run.lastLine = number;
    lastNumber = number;
    ask(text, number, Answer::NotInLog);
}

void RunReader::answer(const std::string& typed) {
    bNothingTyped = typed.empty();
    if (!hasOpenQuestion()) {
        return;
    }
    if (typed == "r" || typed == "retry") {
        run.questions.back().answer = Answer::Retry;
    } else if (typed == "c" || typed == "cancel") {
        run.questions.back().answer = Answer::Cancel;
    }
}

/// The branch is over, or with `bAtEnd` the log is, and the log has no question about it: a dialog has asked.
void RunReader::settleFailures(bool bAtEnd) {
    const bool bOnce = std::all_of(failing.begin(), failing.end(),
                                   [](const LoggedFile* file) { return file->failures == 1; });
    const bool bMustAsk =
        !bAsked && !bAllowedOnes && std::any_of(failing.begin(), failing.end(), [](const LoggedFile* file) {
            return file->outcome == Outcome::Failed;
        });
    if (bMustAsk && !(bOnce && bAtEnd)) {
        run.bDialog = true;
    }
    if (bMustAsk && bOnce && !run.bDebugLines) {
        // A branch that fails is always copied once more.
        for (LoggedFile* file : failing) {
            file->outcome = bAtEnd ? Outcome::Unclear : Outcome::CopiedLater;
        }
    }
    if (bMustAsk && bOnce && run.bDebugLines && bAtEnd) {
        breakOff("A branch that has failed is always copied once more, and that is not in the log");
    }
    failing.clear();
    bAsked = false;
    bAllowedOnes = false;
}

// Uninstall

void RunReader::removalBegins(const LogEvent& event, bool bFolder) {
    current = fileAt(event.names[0], Outcome::Removed, true);
    bRemoving = current != nullptr;
    bCurrentUnlisted = current == nullptr;
    bRemovingFolder = bFolder;
    if (current != nullptr) {
        current->line = event.number;
    }
}

void RunReader::fileRemoved(const LogEvent& event) {
    const std::string_view path = event.names[0];
    if (std::exchange(bCurrentUnlisted, false)) {
        settleTools();
        return; // it is counted
    }
    if (!bRemoving || current->path != path) {
        settleRemoval(false);
        current = fileAt(path, Outcome::Removed, true);
    }
    bRemoving = false;
    if (current == nullptr) {
        return;
    }
    current->line = event.number;
    giveTools(current, [path](const auto& message) { return mentions(message.text, path); });
    if (!current->tools.empty()) {
        current->outcome = Outcome::NotRemoved;
    } else {
        current->outcome = path.substr(0, 1) == "/" ? Outcome::Removed : Outcome::NoTarget;
    }
    run.bSharedPackage |= current->outcome == Outcome::Removed && isSharedDefinition(path);
    settleTools();
}

void RunReader::removalFails(const LogEvent& event) {
    const std::string_view path = event.names[0];
    if (!bRemoving || current->path != path) {
        settleRemoval(false);
        current = fileAt(path, Outcome::NotRemoved, true);
    }
    bRemoving = false;
    if (current == nullptr) {
        return;
    }
    current->line = event.number;
    current->outcome = Outcome::NotRemoved;
    current->failures = 1;
    giveTools(current, [](const auto& message) { return message.tool != "rmdir"; });
}

/// A name without a folder means that the branch has no target folder on this machine.
void RunReader::folderGone(const LogEvent& event) {
    const std::string_view path = event.names[0];
    if (path.substr(0, 1) == "/") {
        note(event, false);
    } else if (LoggedFile* file = fileAt(path, Outcome::NoTarget, true)) {
        file->line = event.number;
        file->outcome = Outcome::NoTarget;
    }
}

/// Finds the outcome of a file that only a debug line has named.
void RunReader::settleRemoval(bool bAtEnd) {
    if (!bRemoving) {
        return;
    }
    bRemoving = false;
    giveTools(current, [](const auto& message) { return message.tool == "rm" || message.tool == "sh"; });
    if (!current->tools.empty()) {
        current->outcome = Outcome::NotRemoved;
    } else if (bAtEnd && !bRemovingFolder) {
        current->outcome = Outcome::Unclear;
        breakOff("The log does not tell what became of the last file");
    } else {
        current->outcome = Outcome::Removed; // the engine prints nothing when it removes a folder
    }
}

// All

void RunReader::take(const LogEvent& event) {
    const Meaning meaning = event.meaning;
    run.lastLine = event.number;
    if (!event.line.time.empty()) {
        run.lastTime = event.line.time;
    }
    run.bDebugLines |= event.line.level == Level::Debug;
    if (meaning == Meaning::Signal) {
        breakOff(event.line.text);
        bEnded = true;
        return; // it does not change the last meaning
    }
    const bool bPrompt = meaning == Meaning::Prompt;
    if (!bPrompt) {
        lastNumber = event.number;
    }
    if (last == Meaning::Prompt && !bPrompt && bNothingTyped && hasOpenQuestion()) {
        run.questions.back().answer = Answer::Cancel; // as at the end of input
    }
    if (isOfInstall(meaning)) {
        run.bBeginningMissing |=
            run.kind == Kind::Unknown && meaning != Meaning::CheckBegins && !isOfPreparation(unfinished);
        setKind(Kind::Install);
        takeOfInstall(event);
    } else if (isOfUninstall(meaning)) {
        setKind(Kind::Uninstall);
        takeOfUninstall(event);
    } else {
        takeOfEither(event);
    }
    last = meaning;
}

void RunReader::takeOfInstall(const LogEvent& event) {
    if (event.meaning != Meaning::CopyFails) {
        settleCopy();
    }
    switch (event.meaning) {
    case Meaning::CheckBegins:
        run.bChecked = true;
        break;
    case Meaning::CheckFails:
        note(event, true);
        unfinished = event.meaning;
        break;
    case Meaning::InstallFails:
        note(event, true);
        fail();
        break;
    case Meaning::CopyBegins:
        copyBegins(event);
        break;
    case Meaning::FileSkipped:
        fileSkipped(event);
        break;
    case Meaning::CopyFails:
        copyFails(event);
        break;
    case Meaning::Question:
        ask(textOfQuestion(event), event.number, Answer::NobodyToAsk);
        break;
    case Meaning::QuestionTitle:
        bTitled = true;
        break;
    case Meaning::Prompt:
        answer(typedAnswer(event));
        break;
    default:
        note(event, true);
        break;
    }
}

void RunReader::takeOfUninstall(const LogEvent& event) {
    const Meaning meaning = event.meaning;
    if (meaning != Meaning::FileRemoved && meaning != Meaning::RemovalFails) {
        settleRemoval(false);
        settleTools();
    }
    switch (meaning) {
    case Meaning::RemovalBegins:
    case Meaning::FolderRemovalBegins:
        removalBegins(event, meaning == Meaning::FolderRemovalBegins);
        break;
    case Meaning::EmptyFolder:
        break;
    case Meaning::FileRemoved:
        fileRemoved(event);
        break;
    case Meaning::RemovalFails:
        removalFails(event);
        break;
    case Meaning::FolderGone:
        folderGone(event);
        break;
    case Meaning::UninstallFails:
    case Meaning::LauncherFails:
        note(event, true);
        fail();
        break;
    default:
        note(event, true);
        break;
    }
}

void RunReader::takeOfEither(const LogEvent& event) {
    settleRemoval(false);
    if (run.kind == Kind::Install) {
        settleCopy();
    }
    switch (event.meaning) {
    case Meaning::UsageEnds:
        fail();
        break;
    case Meaning::Usage:
    case Meaning::PreparationFails:
    case Meaning::PreparationGoesOnFailing:
        note(event, true);
        unfinished = event.meaning;
        break;
    case Meaning::UsageGoesOn:
    case Meaning::Waits:
        note(event, false);
        break;
    case Meaning::OtherError:
        note(event, event.line.level == Level::Error);
        break;
    default:
        note(event, true);
        break;
    }
}

void RunReader::settleUnfinished() {
    if (isOfPreparation(unfinished) && run.files.empty()) {
        // An install would have gone on with "Error! Failed to prepare".
        setKind(Kind::Uninstall);
        run.end = LoggedRun::End::Failed;
    } else if (unfinished != Meaning::Nothing) {
        breakOff("The last message is always followed by another one");
    }
}

LoggedRun RunReader::finish() {
    const bool bCopying =
        last == Meaning::CopyFails || last == Meaning::CopyBegins || last == Meaning::FileSkipped;
    settleRemoval(true);
    if (last == Meaning::CopyBegins && bEnded && current != nullptr) {
        current->outcome = Outcome::Unclear; // the run ended while this was being copied
    }
    settleCopy();
    settleTools();
    settleUnfinished();
    settleFailures(bCopying);
    const bool bQuestionIsLast =
        last == Meaning::Question || last == Meaning::QuestionTitle || last == Meaning::Prompt;
    if (bTitled || (bQuestionIsLast && hasOpenQuestion())) {
        breakOff("The last question has no answer");
    }
    settleFiles();
    return std::move(run);
}

void RunReader::settleFiles() {
    std::set<std::string_view> known;
    for (LoggedFile& file : run.files) {
        if (!file.phase.empty() && known.insert(file.phase).second) {
            run.phases.push_back(file.phase);
        }
        if (file.outcome != Outcome::Unclear) {
            continue;
        }
        if (run.bDebugLines) {
            breakOff("The copy that follows the last question is not in the log, or not all of it");
        } else if (lastNumber > file.line) {
            file.outcome = Outcome::CopiedLater; // a second failure would have a message
        }
    }
}
