// The man page against the program: whoever adds a rule, a subcommand or an option has to say so there.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/Sources.h"
#include "Utility/InstallInspector/Check/Rules.h"
#include "Utility/InstallInspector/Compare/CompareRules.h"
#include "Utility/InstallInspector/Plan/Plan.h"
#include "Utility/InstallInspector/Report/FindingOutput.h"
#include "Utility/InstallInspector/Status/Status.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::string manPage() {
    return FileTree::read(inSources("Docs/man/InstallInspector.1.in"));
}

/// The names that the page describes, each in a line of its own, with its severity but for dangers.
std::set<std::string> describedRules() {
    std::set<std::string> names;
    std::istringstream lines(manPage());
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string macro;
        std::string name;
        std::string style;
        std::string severity;
        words >> macro >> style >> name >> severity;
        if (macro == ".It" && style == "Sy") {
            names.insert(name);
        }
    }
    return names;
}

template <class Rules>
void expectDescribed(const Rules& rules) {
    const std::string page = manPage();
    for (const auto& rule : rules) {
        const std::string severity = nameOf(rule.severity);
        EXPECT_NE(page.find(std::string(".It Sy ") + rule.name + " No (" + severity + ")\n"),
                  std::string::npos)
            << "the man page does not describe the " << severity << " " << rule.name;
    }
}

/// The subcommands that the program's help lists.
std::vector<std::string> subcommands() {
    std::istringstream help(runProgram({INSTALLINSPECTOR_PROGRAM, "--help"}).standardOutput);
    std::vector<std::string> commands;
    bool bListed = false;
    for (std::string line; std::getline(help, line);) {
        std::string command;
        if (bListed && std::istringstream(line) >> command) {
            commands.push_back(command);
        }
        bListed = bListed || line == "Subcommands:";
    }
    return commands;
}

} // namespace

TEST(ManPage, DescribesEachRuleOfCheck) {
    expectDescribed(allRules());
}

TEST(ManPage, DescribesEachRuleOfCompare) {
    expectDescribed(allCompareRules());
}

TEST(ManPage, DescribesEachFindingOfStatus) {
    expectDescribed(allStatusRules());
}

TEST(ManPage, DescribesEachDangerOfAPlan) {
    const std::string page = manPage();
    for (const std::string& rule : allDangerRules()) {
        // One that check or status names, too, is described there.
        const bool bShared =
            page.find(".It Sy " + rule + " No (") != std::string::npos &&
            page.find(".Sy " + rule + "\n", page.find("name these dangers as well:")) != std::string::npos;
        EXPECT_TRUE(bShared || page.find(".It Sy " + rule + "\n") != std::string::npos)
            << "the man page does not describe the danger " << rule;
    }
}

TEST(ManPage, DescribesNoRuleThatIsNotThere) {
    std::set<std::string> names = describedRules();
    for (const std::string& rule : allDangerRules()) {
        names.erase(rule);
    }
    for (const Rule& rule : allRules()) {
        names.erase(rule.name);
    }
    for (const CompareRule& rule : allCompareRules()) {
        names.erase(rule.name);
    }
    for (const StatusRule& rule : allStatusRules()) {
        names.erase(rule.name);
    }
    EXPECT_EQ(names, std::set<std::string>());
}

TEST(ManPage, OnlyWhatIsTheSameHasTheSameName) {
    std::multiset<std::string> names;
    for (const std::string& rule : allDangerRules()) {
        names.insert(rule);
    }
    for (const Rule& rule : allRules()) {
        names.insert(rule.name);
    }
    for (const CompareRule& rule : allCompareRules()) {
        names.insert(rule.name);
    }
    for (const StatusRule& rule : allStatusRules()) {
        names.insert(rule.name);
    }
    std::set<std::string> shared;
    for (const std::string& name : names) {
        if (names.count(name) > 1) {
            shared.insert(name);
        }
    }
    // Of plan and status: a product or path that the record does not list, a record that cannot be read, a
    // folder with the name of a file, an uninstaller of an earlier name. Of check and plan: that no record is
    // kept.
    EXPECT_EQ(shared,
              (std::set<std::string>{"folder-for-file", "no-record", "not-recorded", "old-uninstaller",
                                     "product-not-recorded", "record-unreadable"}));
}

TEST(ManPage, NamesEachSubcommandAndOption) {
    const std::string page = manPage();
    const std::vector<std::string> commands = subcommands();
    EXPECT_THAT(commands, testing::IsSupersetOf({"check", "plan", "status"}));
    for (const std::string& command : commands) {
        EXPECT_NE(page.find(std::string(".Cm ") + command), std::string::npos) << command;
        const auto help = runProgram({INSTALLINSPECTOR_PROGRAM, command, "--help"});
        std::istringstream words(help.standardOutput);
        for (std::string word; words >> word;) {
            const std::string name = word.substr(0, word.find(','));
            if (name.rfind("--", 0) == 0) {
                EXPECT_NE(page.find("Fl Fl " + name.substr(2)), std::string::npos) << command << " " << name;
            }
        }
    }
}
