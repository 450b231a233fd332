// The page of messages as "log" knows it, and the lines that it recognises.
#include "Tests/Support/FileTree.h"
#include "Tests/Support/Sources.h"
#include "Utility/InstallInspector/Log/LogEvent.h"
#include "Utility/InstallInspector/Report/Finding.h"

#include <gmock/gmock.h>

#include <set>
#include <string>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using Level = LogLine::Level;

const KnownMessages& known() {
    return KnownMessages::ofThisVersion();
}

/// The line as a run prints it, with names in their places.
std::string printedAs(const KnownMessage& message, Level level) {
    std::string text = message.pieces.front();
    for (std::size_t i = 1; i < message.pieces.size(); ++i) {
        text += "a name " + std::to_string(i) + message.pieces[i];
    }
    switch (level) {
    case Level::Error:
        return "Error: " + text;
    case Level::Warning:
        return "Warning: " + text;
    case Level::Debug:
        return "DEBUG: Some, file.cpp,12:function " + text;
    case Level::Text:
        break;
    }
    return text;
}

} // namespace

TEST(KnownMessages, AreThoseOfThePage) {
    EXPECT_EQ(FileTree::read(inSources("Docs/troubleshooting.md")), troubleshootingPage);
    // Scripts/check-messages sees to it that the page has all; here, that all of the page is read.
    std::size_t rows = 0;
    std::string page = troubleshootingPage;
    page.resize(page.find("\n## InstallInspector\n"));
    for (std::size_t at = page.find("\n| `"); at != std::string::npos; at = page.find("\n| `", at + 1)) {
        ++rows;
    }
    EXPECT_EQ(known().all().size(), rows);
    EXPECT_GT(rows, 50U);
}

TEST(KnownMessages, EachIsFoundInTheLineThatARunPrints) {
    for (const KnownMessage& message : known().all()) {
        SCOPED_TRACE(message.text);
        EXPECT_FALSE(message.levels.empty());
        for (const Level level : message.levels) {
            const std::string line = printedAs(message, level);
            const auto found = known().find(LogLine::parse(line));
            ASSERT_TRUE(found.has_value()) << line;
            EXPECT_EQ(found->message->text, message.text) << line;
            EXPECT_TRUE(found->bWhole);
            EXPECT_EQ(found->names.size() + 1, message.pieces.size());
            for (std::size_t i = 0; i < found->names.size(); ++i) {
                EXPECT_EQ(found->names[i], "a name " + std::to_string(i + 1));
            }
        }
    }
}

TEST(KnownMessages, EachMeansSomething) {
    std::set<Meaning> meanings;
    for (const KnownMessage& message : known().all()) {
        const std::string line = printedAs(message, message.levels.front());
        meanings.insert(LogEvent::of(LogLine::parse(line), 1).meaning);
    }
    // All but those that are no message of the page. A message whose text has changed would be a mere
    // problem.
    for (int i = 0; i <= static_cast<int>(Meaning::Signal); ++i) {
        const auto meaning = static_cast<Meaning>(i);
        const bool bOther = meaning == Meaning::Nothing || meaning == Meaning::OtherError ||
                            meaning == Meaning::Question || meaning == Meaning::QuestionTitle ||
                            meaning == Meaning::Signal;
        EXPECT_EQ(meanings.count(meaning), bOther ? 0U : 1U) << i;
    }
}

TEST(KnownMessages, TheTextsThatTheProgramNamesAreInThePage) {
    for (const char* text : {"Failed to copy '%s' to '%s'", "Failed to remove '%s'", "Skipped file: %s",
                             "Error! Failed to prepare"}) {
        EXPECT_NE(known().withText(text), nullptr) << text;
    }
    EXPECT_EQ(known().withText("Nothing of the kind"), nullptr);
}

TEST(KnownMessages, TheMarksOfThePageAreNotShown) {
    for (const KnownMessage& message : known().all()) {
        for (const std::string& text : {message.cause, message.advice}) {
            EXPECT_THAT(text, Not(HasSubstr("**"))) << text;
            EXPECT_THAT(text, Not(HasSubstr("](")));
            EXPECT_THAT(text, Not(HasSubstr("`")));
            // An entry is shown by itself.
            EXPECT_THAT(text, Not(HasSubstr(" above")));
            EXPECT_THAT(text, Not(HasSubstr(" below")));
            EXPECT_THAT(text, Not(HasSubstr("The same for")));
        }
    }
    const KnownMessages page(
        "| `a %s` | error; warning with `x` | See **the** [limits](format.md#limits) | `b` |\n"
        "| `` c `d` `` | text | as above | as above |\n"
        "| no message | error | a | b |\n"
        "| `two` | columns |\n"
        "## InstallInspector\n| `e` | error | f | g |\n");
    ASSERT_EQ(page.all().size(), 2U);
    EXPECT_EQ(page.all()[0].cause, "See the limits (Docs/format.md)");
    EXPECT_EQ(page.all()[0].advice, "\"b\"");
    EXPECT_THAT(page.all()[0].levels, ElementsAre(Level::Error, Level::Warning));
    EXPECT_THAT(page.all()[0].pieces, ElementsAre("a ", ""));
    EXPECT_EQ(page.all()[1].text, "c `d`");
    EXPECT_EQ(page.all()[1].cause, "See the limits (Docs/format.md)");
    EXPECT_EQ(page.all()[1].advice, "\"b\"");
}

TEST(KnownMessages, ALevelThatIsNotTheirsIsNoneOfThem) {
    EXPECT_FALSE(known().find(LogLine::parse("Wrong/corrupted SKU XML")));
    EXPECT_TRUE(known().find(LogLine::parse("Error: Wrong/corrupted SKU XML")));
    EXPECT_FALSE(known().find(LogLine::parse("Error: Wrong/corrupted SKU XML.")));
    EXPECT_FALSE(known().find(LogLine::parse("Copy 'a' to 'b'")));
}

TEST(KnownMessages, AQuoteThatWasCutOffAtTheEndIsMissed) {
    const auto found = known().find(LogLine::parse("Error: Failed to copy 'a' to 'b"));
    ASSERT_TRUE(found);
    EXPECT_FALSE(found->bWhole);
    EXPECT_EQ(found->names.at(1), "b");
}

TEST(LogLine, TakesTheBeginningOfASystemLogOff) {
    struct Example {
        const char* line;
        const char* time;
        const char* writer;
        const char* text;
    };
    for (const Example& example : {
             Example{"2026-11-22 10:20:30+01 Mac installd[521]: PackageKit: x", "2026-11-22 10:20:30+01",
                     "installd[521]", "PackageKit: x"},
             Example{"2026-11-22 10:20:30-07 Mac package_script_service[84]: ./postinstall: cp: b: No",
                     "2026-11-22 10:20:30-07", "package_script_service[84]: ./postinstall", "cp: b: No"},
             Example{"Nov  2 10:20:30 Annas-Mac Installer Progress[77]: x", "Nov  2 10:20:30",
                     "Installer Progress[77]", "x"},
             Example{"2026-11-22T10:20:30.123456+00:00 host InstallUtility: Checking", // rsyslog
                     "2026-11-22T10:20:30.123456+00:00", "InstallUtility", "Checking"},
             Example{"Nov 22 10:20:30 host a[1]:", "Nov 22 10:20:30", "a[1]", ""},
             Example{"Nov 22 10:20:30 host a[1]: b[2]: c", "Nov 22 10:20:30", "a[1]", "b[2]: c"},
             Example{"Nov 22 10:20:30 host a[1]:b[2]: c", "Nov 22 10:20:30", "a[1]:b[2]", "c"},
             Example{"Nov 22 10:20:30 host no process", "", "", "Nov 22 10:20:30 host no process"},
             Example{"Nov 22 10:20:30", "", "", "Nov 22 10:20:30"},
             Example{"2026-11-22 10:20:30+01", "", "", "2026-11-22 10:20:30+01"},
             Example{"Copy: x", "", "", "Copy: x"},
             Example{"", "", "", ""},
             Example{"windows\r", "", "", "windows"},
         }) {
        SCOPED_TRACE(example.line);
        const LogLine line = LogLine::parse(example.line);
        EXPECT_EQ(line.time, example.time);
        EXPECT_EQ(line.writer, example.writer);
        EXPECT_EQ(line.text, example.text);
    }
}

TEST(LogLine, TakesLevelAndPlaceOff) {
    EXPECT_EQ(LogLine::parse("Error: Error! a").text, "Error! a");
    EXPECT_EQ(LogLine::parse("Error: a").level, Level::Error);
    EXPECT_EQ(LogLine::parse("Warning: a").level, Level::Warning);
    EXPECT_EQ(LogLine::parse("error: a").level, Level::Text);
    const LogLine debug = LogLine::parse("DEBUG: /My, own/1,2/Copy.cpp,32:walk_1 Copy 'a,1:b ' to 'c'");
    EXPECT_EQ(debug.level, Level::Debug);
    EXPECT_EQ(debug.text, "Copy 'a,1:b ' to 'c'");
    EXPECT_EQ(LogLine::parse("DEBUG: nothing of the kind").text, "nothing of the kind");
}

TEST(LogLine, KnowsWhatTheToolsSay) {
    EXPECT_EQ(LogLine::parse("cp: a: b").tool, "cp");
    EXPECT_EQ(LogLine::parse("/bin/mkdir: a: b").tool, "mkdir");
    EXPECT_EQ(LogLine::parse("sh: 1: cp: not found").tool, "sh");
    EXPECT_EQ(LogLine::parse("scp: a").tool, "");
    EXPECT_EQ(LogLine::parse("a/cp: b").tool, "");
    EXPECT_EQ(LogLine::parse("Error: cp: a").tool, "");
}

TEST(LogLine, APathIsNotTakenForOneThatBeginsLikeIt) {
    for (const char* message : {"cp: /a/b: No space", "rm: cannot remove '/a/b'", "rm: '/a/b/c'", "x /a/b",
                                "rm: \xE2\x80\x98/a/b\xE2\x80\x99: x", "rm: /a/bc and /a/b:"}) {
        EXPECT_TRUE(mentions(message, "/a/b")) << message;
    }
    for (const char* message : {"cp: /a/bc: x", "cp: /a/b c: x", "cp: /a/b.c", "cp: /a/b-c", "cp: /a", ""}) {
        EXPECT_FALSE(mentions(message, "/a/b")) << message;
    }
    EXPECT_FALSE(mentions("a", ""));
}

TEST(LogLine, KnowsWhatAShellSaysOfASignal) {
    EXPECT_TRUE(isSignalMessage("/tmp/postinstall: line 43:  1234 Killed                  env -i x"));
    EXPECT_TRUE(isSignalMessage("./postinstall: line 4: 12 Terminated: 15 x"));
    EXPECT_FALSE(isSignalMessage("./postinstall: line 4: 12 Done"));
    EXPECT_FALSE(isSignalMessage("line 4: Killed"));
    EXPECT_FALSE(isSignalMessage("line : 12 Killed"));
    EXPECT_FALSE(isSignalMessage("Killed"));
}
