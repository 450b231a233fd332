#include "Foundation/SimpleLog.h"

#include "Foundation/FileLibrary.h"
#include "Tests/Support/CapturedStdout.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <string>

namespace {

/// Switches debug lines on or off until the end of the scope.
class DebugLogs {
public:
    explicit DebugLogs(bool bOn) : bWasOn(SimpleLog::bEnableDebugLogs) { SimpleLog::bEnableDebugLogs = bOn; }
    ~DebugLogs() { SimpleLog::bEnableDebugLogs = bWasOn; }
    DebugLogs(const DebugLogs&) = delete;
    DebugLogs& operator=(const DebugLogs&) = delete;

private:
    bool bWasOn;
};

std::string outputOf(const std::function<void()>& print) {
    CapturedStdout output;
    print();
    return output.text();
}

/// The line that a message gives.
std::string logged(SimpleLog::LogType type, const char* message) {
    return outputOf([&] { SimpleLog::printLog(type, "File", "function", 12, "%s", message); });
}

} // namespace

TEST(SimpleLog, NumbersItsTypes) {
    EXPECT_EQ(static_cast<int>(SimpleLog::Info), 0);
    EXPECT_EQ(static_cast<int>(SimpleLog::Error), 1);
    EXPECT_EQ(static_cast<int>(SimpleLog::Warning), 2);
    EXPECT_EQ(static_cast<int>(SimpleLog::Debug), 3);
}

TEST(SimpleLog, IsSilentAboutDebuggingAtFirst) {
    EXPECT_FALSE(SimpleLog::bEnableDebugLogs);
}

TEST(SimpleLog, PrefixesEachType) {
    const DebugLogs debugLogs(true);
    EXPECT_EQ(logged(SimpleLog::Info, "text"), "text\n");
    EXPECT_EQ(logged(SimpleLog::Error, "text"), "Error: text\n");
    EXPECT_EQ(logged(SimpleLog::Warning, "text"), "Warning: text\n");
    EXPECT_EQ(logged(SimpleLog::Debug, "text"), "DEBUG: File,12:function text\n");
}

TEST(SimpleLog, PrintsDebugLinesOnlyWhenTheyAreSwitchedOn) {
    const DebugLogs debugLogs(false);
    EXPECT_EQ(logged(SimpleLog::Debug, "text"), "");
    EXPECT_EQ(logged(SimpleLog::Warning, "text"), "Warning: text\n");
}

TEST(SimpleLog, FormatsTheMessage) {
    EXPECT_EQ(outputOf([] {
                  SimpleLog::printLog(SimpleLog::Info, "", "", 0, "Delete '%s', %d of %ld%%", "/tmp/x", 2,
                                      3L);
              }),
              "Delete '/tmp/x', 2 of 3%\n");
}

TEST(SimpleLog, ShowsTheLineNumberAsAnInt) {
    const DebugLogs debugLogs(true);
    constexpr long beyondInt = (1L << 32U) + 5;
    EXPECT_EQ(outputOf([] { SimpleLog::printLog(SimpleLog::Debug, "F", "f", beyondInt, "x"); }),
              "DEBUG: F,5:f x\n");
}

TEST(SimpleLog, EndsALineThatEndsItselfWithAnEmptyOne) {
    EXPECT_EQ(logged(SimpleLog::Error, "text\n"), "Error: text\n\n");
}

TEST(SimpleLog, KeepsTheFirst10239BytesOfAMessage) {
    for (const std::size_t length : {10238UL, 10239UL, 10240UL, 12000UL, 100000UL}) {
        const std::string text(length, 'x');
        EXPECT_EQ(logged(SimpleLog::Warning, text.c_str()), "Warning: " + text.substr(0, 10239) + "\n")
            << length;
    }
}

TEST(SimpleLog, PrintsALongSourceFileName) {
    const DebugLogs debugLogs(true);
    const std::string file(30000, 'f');
    EXPECT_EQ(outputOf([&] { SimpleLog::printLog(SimpleLog::Debug, file.c_str(), "g", 1, "x"); }),
              "DEBUG: " + file + ",1:g x\n");
}

TEST(SimpleLog, FormatsTheFinishedLineOnceMore) {
    EXPECT_EQ(logged(SimpleLog::Info, "100%%"), "100%\n");
    EXPECT_EQ(logged(SimpleLog::Info, "%%%%"), "%%\n");
    EXPECT_EQ(logged(SimpleLog::Info, "%%d"), "%d\n");
    const DebugLogs debugLogs(true);
    EXPECT_EQ(outputOf([] { SimpleLog::printLog(SimpleLog::Debug, "a%%b", "f", 1, "x"); }),
              "DEBUG: a%b,1:f x\n");
}

TEST(SimpleLog, LeavesDirectivesWithoutArgumentAsTheyStand) {
    for (const char* text : {"%s", "%d", "%n", "%ls", "%*d", "%-5.3lf", "%5%", "a%", "%", "% ", "100% sure",
                             "%$x", "/tmp/50%off/%s%n%n%n"}) {
        EXPECT_EQ(logged(SimpleLog::Info, text), std::string(text) + "\n");
    }
    EXPECT_EQ(logged(SimpleLog::Info, "%%%"), "%%\n");
}

TEST(SimpleLog, PrintsEveryByteAsItIs) {
    std::string text;
    for (int byte = 1; byte < 256; ++byte) {
        if (byte != '%') {
            text += static_cast<char>(byte);
        }
    }
    EXPECT_EQ(logged(SimpleLog::Info, text.c_str()), text + "\n");
    EXPECT_EQ(logged(SimpleLog::Info, "Éclair 日本 'x' & y"), "Éclair 日本 'x' & y\n");
}

TEST(SimpleLog, PrintsTextWithoutPrefixLineEndOrSecondFormatting) {
    EXPECT_EQ(outputOf([] { SimpleLog::printText("Folder '%s', %d%%", "a%%b%s", 4); }),
              "Folder 'a%%b%s', 4%");
}

TEST(SimpleLog, PrintsTextOfAnyLength) {
    const std::string text(100000, 'x');
    EXPECT_EQ(outputOf([&] { SimpleLog::printText("%s\n", text.c_str()); }), text + "\n");
}

TEST(SimpleLog, HasNothingLeftInItsBuffersWhenItReturns) {
    CapturedStdout output(CapturedStdout::Into::Pipe);
    SimpleLog::printLog(SimpleLog::Error, "", "", 0, "one");
    EXPECT_EQ(output.unbufferedText(), "Error: one\n");
    SimpleLog::printText("two");
    EXPECT_EQ(output.unbufferedText(), "Error: one\ntwo");
}

TEST(SimpleLog, KeepsItsOrderWithLinesAndChildrenInAPipe) {
    CapturedStdout output(CapturedStdout::Into::Pipe);
    std::string expected;
    for (int i = 0; i < 50; ++i) {
        const std::string number = std::to_string(i);
        SimpleLog::printLog(SimpleLog::Warning, "", "", 0, "log é %d", i);
        SimpleLog::printText("line é %d\n", i);
        ASSERT_EQ(std::system(("echo child " + number).c_str()), 0); // NOLINT(cert-env33-c)
        VLString command("echo captured");
        VLString captured;
        ASSERT_TRUE(exec(command, captured));
        expected.append("Warning: log é ").append(number).append("\nline é ").append(number);
        expected.append("\nchild ").append(number).append("\n");
    }
    EXPECT_EQ(output.text(), expected);
}
