// Signals that end other programs: from the keyboard, from the system that goes down, from a terminal that is
// closed.
#include "Tests/Reliability/DisturbedRun.h"

#include <gmock/gmock.h>

#include <csignal>
#include <optional>

namespace {

class Signals : public DisturbedRun {
protected:
    static constexpr const char* question = "[R]etry or [C]ancel: ";
    static constexpr const char* interrupt = "\x03";

    static ProductBuilder product() {
        return ProductBuilder("ALPHA", "Alpha")
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .file("VorlaneFX/a", "a")
            .file("VorlaneFX/Tools/b", "b");
    }

    static std::string target(const std::string& path) { return std::string(statusFolder) + "/" + path; }

    void SetUp() override {
        DisturbedRun::SetUp();
        skipWherePretended("the shell of fakechroot stands between the run and its signals");
        if (IsSkipped()) {
            return;
        }
        place(product());
        start.emplace(root());
        calls = runAndWatch(installCommand(product()), records).calls;
        records.insert(noRecord);
        treeAfter = root().tree();
        newRecord = record();
    }

    /// cp says that it is there and then waits for a long time, once.
    Options withSlowCopy() {
        root().write("/var/slow/cp",
                     "#!/bin/sh\n"
                     "[ -e /var/slow/done ] || { : >/var/slow/done; echo 'cp waits'; exec sleep 20; }\n"
                     "exec /bin/cp \"$@\"\n",
                     0755);
        Options options;
        options.environment = {{"PATH", "/var/slow:/usr/bin:/bin"}};
        return options;
    }

    void ExpectRepair() {
        runUndisturbed(installCommand(product()));
        EXPECT_EQ(FileTree::difference(treeAfter, root().tree()), "") << "after the repair";
    }

    /// The engine alone gets the signal while each of the commands runs.
    void expectDeathBy(int signal, const std::string& name) {
        const std::vector<unsigned long> numbers = sample(calls.size(), 3);
        for (const unsigned long number : numbers) {
            SCOPED_TRACE(name + " at command " + std::to_string(number));
            start->restore();
            const ProgramResult result =
                runWithScript(installCommand(product()), number, "kill -" + name + " $engine").result;
            EXPECT_EQ(result.signal, signal);
            EXPECT_EQ(records.count(record()), 1U) << record();
            ExpectSentinels();
            ExpectRepair();
        }
        printFigures("SIG" + name + ": " + std::to_string(calls.size()) + " commands, " +
                     std::to_string(numbers.size()) + " disturbed runs");
    }

    std::optional<Snapshot> start;
    std::vector<Call> calls;
    std::set<std::string> records;
    Lines treeAfter;
    std::string newRecord;
};

} // namespace

TEST_F(Signals, InterruptKeyDuringACommandFailsThatCopyAndTheRunAsks) {
    start->restore();
    const ProgramResult result = root().runInTerminal(
        installCommand(product()), {{"cp waits", interrupt, {}}, {question, "r\n", {}}}, withSlowCopy());
    ExpectSuccess(result);
    EXPECT_THAT(result.standardOutput, testing::HasSubstr("Error: Failed to copy '"));
    EXPECT_EQ(FileTree::difference(treeAfter, root().tree()), "") << "Retry copies what is missing";
}

TEST_F(Signals, InterruptKeyAtTheQuestionEndsTheRunWithoutARecord) {
    start->restore();
    const ProgramResult result = root().runInTerminal(
        installCommand(product()), {{"cp waits", interrupt, {}}, {question, interrupt, {}}}, withSlowCopy());
    EXPECT_EQ(result.signal, SIGINT);
    EXPECT_EQ(record(), noRecord);
    ExpectRepair();
}

TEST_F(Signals, InterruptOfTheEngineAloneDuringACommandIsLost) {
    start->restore();
    const ProgramResult result = runWithScript(installCommand(product()), 1, "kill -INT $engine").result;
    ExpectSuccess(result);
    EXPECT_EQ(FileTree::difference(treeAfter, root().tree()), "");
}

TEST_F(Signals, TerminationEndsTheRunAtOnceAndRepeatingRepairs) {
    expectDeathBy(SIGTERM, "TERM");
}

TEST_F(Signals, HangUpEndsTheRunAtOnceAndRepeatingRepairs) {
    expectDeathBy(SIGHUP, "HUP");
}
