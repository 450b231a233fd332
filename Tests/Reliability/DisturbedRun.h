#pragma once

#include "Tests/Support/CommandShim.h"
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <chrono>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

/// Runs of the real program of which each step can be disturbed, over and over on the same machine.
class DisturbedRun : public EndToEndTest {
protected:
    bool comparesPlans() const override { return false; }

    using Command = std::vector<std::string>;
    using Call = CommandShim::Call;

    /// What happens to the shell command that is disturbed, or at it to the engine.
    enum class Fault { Fails, WorksButFails, EngineDiesBefore, EngineDiesAfter };

    struct Disturbed {
        ProgramResult result;
        std::vector<Call> calls; ///< all that the run started, in this order
    };

    /// The machine's folders as they are now, to go back to.
    class Snapshot {
    public:
        explicit Snapshot(const PrivateRoot& root);
        void restore() const;

    private:
        const PrivateRoot& machine;
        TemporaryDirectory folder;
    };

    /// The first line of every run.
    static constexpr const char* checking = "Checking file consistency in source folder";
    static constexpr const char* recordPath =
        "/Library/Application Support/Vorlane/InstallationStatusFile.xml";
    static constexpr const char* noRecord = "no record";

    /// With one file, one folder that is installed as one piece, and one shortcut.
    static ProductBuilder smallProduct();

    void SetUp() override;
    /// Things of others, which no run may touch.
    void placeSentinels();
    void ExpectSentinels();

    ProgramResult runUndisturbed(const Command& command);
    /// Undisturbed, too; `records` receives the record before each command and after the run.
    Disturbed runAndWatch(const Command& command, std::set<std::string>& records);
    /// The command with this number, from 1 on, is disturbed.
    Disturbed runWithFault(const Command& command, unsigned long number, Fault fault);
    /// Before the command with this number shell text runs, which finds the engine's process in $engine and
    /// is to name tools with their folder.
    Disturbed runWithScript(const Command& command, unsigned long number, const std::string& script);

    /// The bytes of the record.
    std::string record();
    /// Everything on the machine, one path each.
    std::set<std::string> paths();

    static std::string nameOf(Fault fault);
    /// Whether every step is to be tried: RELIABILITY_FULL is set.
    static bool isFull();
    /// How long a run may take before it counts as one that hangs.
    static std::chrono::seconds patience();
    /// All numbers from 1 to `last` in a full run, otherwise at most `count` of them; RELIABILITY_SEED
    /// and `selection` choose, so that another `selection` gives others.
    static std::vector<unsigned long> sample(unsigned long last, unsigned long count,
                                             unsigned long selection = 0);
    /// What RELIABILITY_SEED says, or 0.
    static unsigned long seed();
    /// A line for Scripts/torture.
    static void printFigures(const std::string& line);

private:
    Disturbed runWithShims(const Command& command, unsigned long number, const std::string& fault,
                           const std::string& script = "");
    void placeShims();
};
