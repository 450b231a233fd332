#include "Utility/InstallInspector/Log/RunLog.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <array>
#include <map>

namespace {

using Answer = LoggedQuestion::Answer;
using Kind = LoggedRun::Kind;
using Level = LogLine::Level;
using Outcome = LoggedFile::Outcome;

/// The most names and messages of one kind that are printed. JSON has all.
constexpr std::size_t mostShown = 20;

std::string moreThanShown(std::size_t count, const char* indent) {
    return count > mostShown
               ? indent + std::string("and ") + std::to_string(count - mostShown) + " more; --json has all\n"
               : "";
}

// Heading

std::string heading(const LoggedRun& run) {
    static constexpr const char* kinds[] = {"Install or uninstall", "Install", "Uninstall"};
    std::string text = kinds[static_cast<std::size_t>(run.kind)];
    text += run.firstLine == run.lastLine
                ? ", line " + std::to_string(run.firstLine)
                : ", lines " + std::to_string(run.firstLine) + " to " + std::to_string(run.lastLine);
    if (!run.firstTime.empty()) {
        text += ", " + printable(run.firstTime);
        text += run.lastTime == run.firstTime ? "" : " to " + printable(run.lastTime);
        text += ", " + printable(run.writer);
    }
    return text;
}

// Files

std::string printedTools(const LoggedFile& file, const Painter& painter) {
    std::string text;
    for (std::size_t i = 0; i < file.tools.size() && i < mostShown; ++i) {
        text += "        " + painter.paint(Colour::Dim, printable(file.tools[i])) + "\n";
    }
    const std::size_t left = file.toolsLeftOut + file.tools.size();
    return text + moreThanShown(left, "        ");
}

std::string printedFile(const LoggedFile& file, const char* word, Colour colour, const Painter& painter) {
    std::string text = "    " + painter.paint(colour, word) + " " + printable(file.path);
    if (file.failures > 1) {
        text += " (failed " + std::to_string(file.failures) + " times)";
    }
    if (file.bAllowed) {
        text += " (the product allows it to fail)";
    }
    return text + "\n" + printedTools(file, painter);
}

struct ShownOutcome {
    Outcome outcome;
    const char* counted; ///< behind a number
    const char* word;    ///< before the name of a file; null where files are counted only
    Colour colour;
};

constexpr std::array shownOutcomes{
    ShownOutcome{Outcome::Copied, "copied", nullptr, Colour::Dim},
    ShownOutcome{Outcome::CopiedLater, "copied at a later try", "copied at a later try:", Colour::Yellow},
    ShownOutcome{Outcome::Skipped, "skipped", "skipped:", Colour::Dim},
    ShownOutcome{Outcome::Failed, "NOT copied", "NOT copied:", Colour::Red},
    ShownOutcome{Outcome::Removed, "removed", nullptr, Colour::Dim},
    ShownOutcome{Outcome::NoTarget, "without a target folder here", nullptr, Colour::Dim},
    ShownOutcome{Outcome::NotRemoved, "NOT removed", "NOT removed:", Colour::Red},
    ShownOutcome{Outcome::Unclear, "unclear", "unclear:", Colour::Yellow},
};

using Files = std::vector<const LoggedFile*>;

/// How many files of each outcome there are and, where that matters, which.
std::string printedFiles(const Files& files, const std::string& title, const Painter& painter) {
    std::vector<std::string> counts;
    std::string names;
    for (const ShownOutcome& shown : shownOutcomes) {
        std::size_t count = 0;
        for (const LoggedFile* file : files) {
            if (file->outcome != shown.outcome) {
                continue;
            }
            // A tool may complain although the copy has succeeded.
            const char* word = shown.word == nullptr && !file->tools.empty() ? "copied:" : shown.word;
            if (++count <= mostShown && word != nullptr) {
                names += printedFile(*file, word, shown.colour, painter);
            }
        }
        if (count > 0) {
            counts.push_back(std::to_string(count) + " " + shown.counted);
        }
        names += shown.word != nullptr ? moreThanShown(count, "    ") : "";
    }
    return counts.empty() ? "" : "  " + title + ": " + joined(counts, ", ") + "\n" + names;
}

/// "OpenFX, family Glow" for a family of a host.
std::string titleOf(const std::string& phase) {
    const std::string hosts = std::string(Branch::hosts) + "/";
    if (phase.rfind(hosts, 0) != 0) {
        return printable(phase);
    }
    const std::size_t slash = phase.find('/', hosts.size());
    const std::string host = phase.substr(hosts.size(), slash - hosts.size());
    return printable(host) +
           (slash == std::string::npos ? "" : ", family " + printable(phase.substr(slash + 1)));
}

std::string printedPhases(const LoggedRun& run, const Painter& painter) {
    std::map<std::string, Files> files;
    for (const LoggedFile& file : run.files) {
        files[file.phase].push_back(&file);
    }
    std::string text;
    for (const std::string& phase : run.phases) {
        text += printedFiles(files[phase], titleOf(phase), painter);
    }
    return text + printedFiles(files[""], run.kind == Kind::Uninstall ? "Files" : "All branches", painter);
}

std::string printedUnlisted(const LoggedRun& run) {
    std::vector<std::string> counts;
    for (const ShownOutcome& shown : shownOutcomes) {
        if (const std::size_t count = run.unlisted[static_cast<std::size_t>(shown.outcome)]; count > 0) {
            counts.push_back(std::to_string(count) + " " + shown.counted);
        }
    }
    return counts.empty() ? "" : "  Too many to be listed: " + joined(counts, ", ") + "\n";
}

std::string printedRemovals(const LoggedRun& run) {
    std::string text;
    if (run.count(Outcome::Removed) > 0 && run.kind == Kind::Uninstall) {
        text +=
            "    Removed files are those that the engine reports with \"Cannot remove file\": it does so\n"
            "    for each file that it did remove, or that was not there.\n";
    }
    if (run.notEmpty > 0) {
        text += "  " + counted(run.notEmpty, "time", "times") +
                " a folder was not empty and stayed, which is normal\n";
    }
    return text + (run.bSharedPackage ? "  The shared package was uninstalled.\n" : "");
}

// Messages and questions

std::string printedQuestion(const LoggedQuestion& question, const Painter& painter) {
    static constexpr std::array answers{"Retry", "Cancel",
                                        "Cancel, since nobody could be asked. The copy was tried once more",
                                        "not in the log"};
    return "  " + painter.paint(Colour::Yellow, "asked:") + " " + printable(question.text) +
           "\n    answer: " + answers[static_cast<std::size_t>(question.answer)] + "\n";
}

std::string printedMessage(const LoggedMessage& message, const Painter& painter) {
    const char* word = message.level == Level::Warning ? "warning:" : message.bHarm ? "error:" : "message:";
    std::string text =
        "  " + painter.paint(message.bHarm ? Colour::Red : Colour::Dim, word) + " " + printable(message.text);
    if (message.count > 1) {
        text += " (" + std::to_string(message.count) + " times)";
    }
    return text + (message.known == nullptr ? " (this is no message of the engine)" : "") + "\n";
}

template <class Entries, class Print>
std::string printedList(const Entries& entries, const Print& print) {
    std::string text;
    for (std::size_t i = 0; i < entries.size() && i < mostShown; ++i) {
        text += print(entries[i]);
    }
    return text + moreThanShown(entries.size(), "  ");
}

std::string printedTalk(const LoggedRun& run, const Painter& painter) {
    std::string text = printedList(run.tools, [&](const LoggedTool& tool) {
        return "  " +
               painter.paint(tool.bHarm ? Colour::Red : Colour::Dim,
                             tool.bHarm ? "a tool failed, and the run went on:" : "a tool said:") +
               " " + printable(tool.text) + "\n";
    });
    text += printedList(run.questions,
                        [&](const LoggedQuestion& question) { return printedQuestion(question, painter); });
    if (run.bDialog) {
        text +=
            "  " + painter.paint(Colour::Yellow, "asked") + " in a dialog; the answer is not in the log\n";
    }
    text += printedList(run.messages,
                        [&](const LoggedMessage& message) { return printedMessage(message, painter); });
    return run.leftOut == 0
               ? text
               : text + "  " + std::to_string(run.leftOut) + " messages more, for which there was no room\n";
}

// The end

std::string printedEnd(const LoggedRun& run, const Painter& painter) {
    switch (run.end) {
    case LoggedRun::End::Failed:
        return "  " + painter.paint(Colour::Red, "The run failed") + " with status 1.\n";
    case LoggedRun::End::BreaksOff:
        return "  " + painter.paint(Colour::Red, "The log breaks off:") + " " + printable(run.breakOff) +
               ".\n    The run may have been killed, or is not over. The same command again completes the "
               "work.\n";
    case LoggedRun::End::NotInLog:
        break;
    }
    return run.verdict() == Verdict::Safe ? "  " + painter.paint(Colour::Green, "No failure is told.") + "\n"
                                          : "";
}

/// As the engine prints it, with dots in the place of names.
std::string withDots(std::string text) {
    for (std::size_t at = text.find("%s"); at != std::string::npos; at = text.find("%s", at)) {
        text.replace(at, 2, "...");
    }
    return text;
}

std::string printedAdvice(const LoggedRun& run, const Painter& painter) {
    std::string text;
    for (const KnownMessage* entry : run.advice()) {
        if (entry->advice.empty()) {
            continue; // it goes with another message
        }
        text += "    " + painter.paint(Colour::Bold, withDots(entry->text)) + "\n        " + entry->cause +
                "\n        " + painter.paint(Colour::Green, "Do:") + " " + entry->advice + "\n";
    }
    return text.empty() ? "" : "\n  What it means, and what to do (Docs/troubleshooting.md)\n" + text;
}

std::string printedRun(const LoggedRun& run, const Painter& painter) {
    std::string text = painter.paint(Colour::Bold, heading(run)) + "\n";
    if (run.bBeginningMissing) {
        text += "  The beginning of this run is not in the log.\n";
    }
    if (run.bChecked && run.end != LoggedRun::End::Failed) {
        text += "  The source folder was checked.\n";
    }
    return text + printedPhases(run, painter) + printedUnlisted(run) + printedRemovals(run) +
           printedTalk(run, painter) + printedEnd(run, painter) + printedAdvice(run, painter);
}

std::string printedVerdict(const RunLog& log, const Painter& painter) {
    const auto harmed =
        static_cast<std::size_t>(std::count_if(log.runs.begin(), log.runs.end(), [](const LoggedRun& run) {
            return run.verdict() == Verdict::Harm;
        }));
    const std::string runs = counted(log.runs.size(), "run", "runs");
    std::string text;
    if (log.runsLeftOut > 0) {
        text += std::to_string(log.runsLeftOut) + " older runs are not shown.\n";
    }
    switch (log.verdict()) {
    case Verdict::Harm:
        text += painter.paint(Colour::Red, "Something went wrong") +
                (log.runs.size() == 1 ? "." : " in " + std::to_string(harmed) + " of " + runs + ".");
        break;
    case Verdict::CannotTell:
        text += painter.paint(Colour::Yellow, "Nothing that went wrong is told") +
                ", but not all of each run is in the log.";
        break;
    case Verdict::Safe:
        text += runs + ", and nothing that went wrong is told. " +
                painter.paint(Colour::Dim, "A run says nothing at its end, so that one that was killed may "
                                           "look the same.");
        break;
    }
    return text + "\n";
}

} // namespace

void writeText(const RunLog& log, const Painter& painter, Output& output) {
    for (const LoggedRun& run : log.runs) {
        output.write(printedRun(run, painter) + "\n");
    }
    output.write(printedVerdict(log, painter));
}
