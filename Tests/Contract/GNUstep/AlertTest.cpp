// The alert for macOS, shown by GNUstep on a virtual screen and answered there. What GNUstep does otherwise:
//
//  - It has no window sessions and no activation policy. ShowAlert.mm has both in its place.
//  - Keys reach a window only after the application has finished its launch. The alert does not wait for
//    that, so ShowAlert.mm finishes it.
//  - The alert's window has a title, "Alert", and Enter of the keypad does not press the default button.
//  - Escape cancels although Cancel has no key of its own.
//  - Without a display, an exception ends the program. A Mac has none without a session.

#include "Tests/Support/Linux/VirtualScreen.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Terminal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;

namespace {

constexpr int retry = 10;
constexpr int cancel = 11;
constexpr int nobodyToAsk = 12;
const char* const systemConfiguration = "/etc/GNUstep/GNUstep.conf";

class AlertOfMacOS : public testing::Test {
protected:
    void SetUp() override {
#ifndef SHOW_APPLE_ALERT_PROGRAM
        GTEST_SKIP() << "GNUstep's GUI library or its backend is not installed";
#endif
        for (const char* program : {"Xvfb", "xdotool"}) {
            if (!hasProgram(program)) {
                GTEST_SKIP() << program << " is not installed";
            }
        }
        screen = std::make_unique<VirtualScreen>();
        ASSERT_TRUE(screen->isUp());
        fs::create_directory(folder.path() / "temporary");
        ASSERT_EQ(runProgram({"sh", "-c", R"(sed "s|^\(GNUSTEP_USER_[A-Z_]*\)=|\1=$0/|" "$1" >"$2")",
                              folder.path().string(), systemConfiguration, configuration()})
                      .exitStatus,
                  0);
    }

    /// The program that shows the alert.
    std::vector<std::string> command(const std::string& session, const std::string& title,
                                     const std::string& text) const {
        for (const auto& [name, content] :
             {std::pair{"session", session}, {"title", title}, {"text", text}}) {
            std::ofstream(folder.path() / name, std::ios::binary) << content;
        }
#ifdef SHOW_APPLE_ALERT_PROGRAM
        const std::string program = SHOW_APPLE_ALERT_PROGRAM;
#else
        const std::string program;
#endif
        // GNUstep writes to the folders of its configuration, whatever HOME is, and to a folder for all
        // users.
        return {"env", "ALERT_INPUT=" + folder.path().string(), "GNUSTEP_CONFIG_FILE=" + configuration(),
                "TEMP=" + (folder.path() / "temporary").string(), program};
    }
    void show(const std::string& title = "title", const std::string& text = "text") {
        std::vector<std::string> words = command("user", title, text);
        words.insert(words.begin() + 1, "DISPLAY=" + screen->name());
        alert = std::make_unique<Terminal>(words, 30s);
        EXPECT_TRUE(alert->waitFor("ready\n"));
    }
    /// What a person sees, a line for each part.
    std::vector<std::string> seen() const {
        std::vector<std::string> lines;
        std::istringstream stream(alert->text());
        for (std::string line; std::getline(stream, line);) {
            for (const char* kind : {"policy: ", "active: ", "window: ", "text: ", "button: "}) {
                if (line.rfind(kind, 0) == 0) {
                    lines.push_back(line);
                }
            }
        }
        return lines;
    }
    void press(const std::string& keys) const {
        useScreen("key " + keys);
    }
    /// Holds the button of the mouse for a moment, as a finger does.
    void click(const std::string& button) const {
        const std::string output = alert->text();
        const std::string before = "button: " + button + "\nplace: ";
        const std::size_t place = output.find(before) + before.size();
        useScreen("mousemove " + output.substr(place, output.find('\n', place) - place) +
                  " mousedown 1 sleep 0.2 mouseup 1");
    }
    int answer() const {
        return alert->finish().exitStatus;
    }

    void useScreen(const std::string& actions) const {
        const std::string command = "DISPLAY=" + screen->name() + " xdotool " + actions;
        EXPECT_EQ(runProgram({"sh", "-c", command}).exitStatus, 0) << command;
    }
    std::string configuration() const {
        return (folder.path() / "GNUstep.conf").string();
    }

    TemporaryDirectory folder;
    std::unique_ptr<VirtualScreen> screen;
    std::unique_ptr<Terminal> alert;
};

TEST_F(AlertOfMacOS, ComesToTheFrontWithTitleTextAndTwoButtons) {
    show();
    EXPECT_THAT(seen(),
                ElementsAre("policy: accessory", "active: before the alert", "window: Alert", "text: title",
                            "text: text", "button: Retry, the default", "button: Cancel"));
}

TEST_F(AlertOfMacOS, ShowsBothTextsAsTheyAre) {
    const std::string awkward = R"(100% %% %@ %s %n "a" 'b' “c” <b>d</b> &amp; \n é 中 😀)";
    show("Title " + awkward, "Text " + awkward);
    EXPECT_THAT(seen(), AllOf(Contains("text: Title " + awkward), Contains("text: Text " + awkward)));
}

TEST_F(AlertOfMacOS, ReturnIsRetry) {
    show();
    press("Return");
    EXPECT_EQ(answer(), retry);
}

TEST_F(AlertOfMacOS, EscapeIsCancelAndOtherKeysAreNoAnswer) {
    show();
    press("r c KP_Enter Escape");
    EXPECT_EQ(answer(), cancel);
}

TEST_F(AlertOfMacOS, EachButtonGivesItsAnswer) {
    show();
    click("Cancel");
    EXPECT_EQ(answer(), cancel);
    show();
    click("Retry, the default");
    EXPECT_EQ(answer(), retry);
}

TEST_F(AlertOfMacOS, HasNobodyToAskOutsideTheSessionOfAUser) {
    for (const std::string session : {"none", "login window"}) {
        const ProgramResult result = runProgram(command(session, "title", "text"));
        EXPECT_EQ(result.exitStatus, nobodyToAsk) << session << result.standardError;
        EXPECT_EQ(result.standardOutput, "") << session;
    }
}

TEST_F(AlertOfMacOS, HasNobodyToAskWhenATextIsNotUtf8) {
    EXPECT_EQ(runProgram(command("user", "\xFF", "text")).exitStatus, nobodyToAsk);
    EXPECT_EQ(runProgram(command("user", "title", "\xC3")).exitStatus, nobodyToAsk);
}

} // namespace
