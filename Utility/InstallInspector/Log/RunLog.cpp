#include "Utility/InstallInspector/Log/RunLog.h"

#include <algorithm>

using Outcome = LoggedFile::Outcome;

std::size_t LoggedRun::count(Outcome outcome) const {
    return unlisted[static_cast<std::size_t>(outcome)] +
           static_cast<std::size_t>(std::count_if(
               files.begin(), files.end(), [outcome](const auto& file) { return file.outcome == outcome; }));
}

Verdict LoggedRun::verdict() const {
    const auto isHarm = [](const auto& entry) { return entry.bHarm; };
    const bool bHarm = end != End::NotInLog || bDialog || !questions.empty() || bHarmLeftOut ||
                       toolHarms() > 0 ||
                       count(Outcome::Failed) + count(Outcome::NotRemoved) + count(Outcome::Unclear) > 0 ||
                       std::any_of(messages.begin(), messages.end(), isHarm);
    if (bHarm) {
        return Verdict::Harm;
    }
    return bBeginningMissing || leftOut > 0 ? Verdict::CannotTell : Verdict::Safe;
}

std::size_t LoggedRun::toolHarms() const {
    return static_cast<std::size_t>(
        std::count_if(tools.begin(), tools.end(), [](const LoggedTool& tool) { return tool.bHarm; }) +
        std::count_if(files.begin(), files.end(), [](const LoggedFile& file) {
            return file.outcome == Outcome::Copied && !file.tools.empty();
        }));
}

std::vector<const KnownMessage*> LoggedRun::advice() const {
    std::vector<const KnownMessage*> entries;
    // That an install failed says nothing beside why.
    const KnownMessage* const known = KnownMessages::ofThisVersion().withText("Error! Failed to prepare");
    const auto add = [&](const KnownMessage* entry) {
        const bool bSaysMore = entry != known || messages.size() == 1;
        if (entry != nullptr && bSaysMore &&
            std::find(entries.begin(), entries.end(), entry) == entries.end()) {
            entries.push_back(entry);
        }
    };
    const auto addText = [&](bool bIf, const char* text) {
        if (bIf) {
            add(KnownMessages::ofThisVersion().withText(text));
        }
    };
    const bool bFailedCopy = std::any_of(files.begin(), files.end(), [](const LoggedFile& file) {
        return file.failures > 0 && file.outcome != Outcome::NotRemoved;
    });
    const bool bFailedRemoval = std::any_of(files.begin(), files.end(), [](const LoggedFile& file) {
        return file.failures > 0 && file.outcome == Outcome::NotRemoved;
    });
    addText(bFailedCopy || unlisted[static_cast<std::size_t>(Outcome::Failed)] > 0,
            "Failed to copy '%s' to '%s'");
    addText(bFailedRemoval, "Failed to remove '%s'");
    addText(count(Outcome::Skipped) > 0, "Skipped file: %s");
    for (const LoggedMessage& message : messages) {
        add(message.known);
    }
    return entries;
}

Verdict RunLog::verdict() const {
    const auto has = [this](Verdict verdict) {
        return std::any_of(runs.begin(), runs.end(),
                           [verdict](const LoggedRun& run) { return run.verdict() == verdict; });
    };
    if (has(Verdict::Harm)) {
        return Verdict::Harm;
    }
    return has(Verdict::CannotTell) || runsLeftOut > 0 ? Verdict::CannotTell : Verdict::Safe;
}

const char* nameOf(Outcome outcome) {
    static constexpr const char* names[LoggedFile::outcomes] = {
        "copied", "copied later", "skipped", "failed", "removed", "no target", "not removed", "unclear"};
    return names[static_cast<std::size_t>(outcome)];
}

const char* nameOf(LoggedQuestion::Answer answer) {
    static constexpr const char* names[] = {"Retry", "Cancel", "nobody to ask", "not in the log"};
    return names[static_cast<std::size_t>(answer)];
}
