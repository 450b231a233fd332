#include "Utility/InstallUtility/RunLock.h"

#include "Foundation/SimpleLog.h"
#include "Tests/Engine/EngineTest.h"

#include <chrono>
#include <optional>
#include <utility>

namespace {

using namespace std::chrono_literals;
using Lock = Machine::Lock;
using Lines = FileTree::Lines;

/// Another run holds the lock for as long as `heldFor`; each pause takes `pauseTakes` on its clock.
class BusyMachine : public RecordingMachine {
public:
    Lock tryToLock() override {
        ++tries;
        if (bNoLocks) {
            return Lock::CannotBeHad;
        }
        return clock < heldFor ? Lock::HeldByAnother : Lock::Held;
    }
    void unlock() override { ++releases; }
    std::chrono::milliseconds pause(std::chrono::milliseconds duration) override {
        pauses.push_back(duration);
        clock += pauseTakes.value_or(duration);
        return pauseTakes.value_or(duration);
    }

    std::chrono::milliseconds heldFor = 0ms;
    std::optional<std::chrono::milliseconds> pauseTakes;
    bool bNoLocks = false;
    int tries = 0;
    int releases = 0;
    std::vector<std::chrono::milliseconds> pauses;
    std::chrono::milliseconds clock = 0ms;
};

class RunLockTest : public testing::Test {
protected:
    RunLockTest() {
        Machine::setCurrent(&machine);
        SimpleLog::held = &log;
    }
    ~RunLockTest() override {
        SimpleLog::held = nullptr;
        Machine::setCurrent(nullptr);
    }

    static constexpr const char* waiting = "Another install or uninstall is running. Waiting for its end.\n";
    static constexpr const char* goesOn =
        "Warning: The other install or uninstall has not ended for ten minutes. This one goes on.\n";

    BusyMachine machine;
    std::string log;
};

} // namespace

TEST_F(RunLockTest, FreeLockIsTakenWithoutAWordAndGivenBack) {
    {
        const RunLock lock;
        EXPECT_EQ(machine.tries, 1);
        EXPECT_EQ(machine.releases, 0);
    }
    EXPECT_EQ(machine.releases, 1);
    EXPECT_EQ(log, "");
}

TEST_F(RunLockTest, WaitsInShortPausesAndSaysSoOnce) {
    machine.heldFor = 2s;
    const RunLock lock;
    EXPECT_EQ(log, waiting);
    ASSERT_FALSE(machine.pauses.empty());
    for (const auto pause : machine.pauses) {
        EXPECT_GE(pause, 20ms);
        EXPECT_LE(pause, 100ms);
    }
    EXPECT_GE(machine.clock, 2s);
    EXPECT_LE(machine.clock, 2100ms);
}

TEST_F(RunLockTest, WaitsForAlmostTenMinutes) {
    machine.heldFor = 10min - 1s;
    const RunLock lock;
    EXPECT_EQ(log, waiting);
}

TEST_F(RunLockTest, GoesOnAfterTenMinutesWithOneWarning) {
    machine.heldFor = 1h;
    const RunLock lock;
    EXPECT_EQ(log, std::string(waiting) + goesOn);
    EXPECT_GE(machine.clock, 10min);
    EXPECT_LE(machine.clock, 10min + 100ms);
}

TEST_F(RunLockTest, MeasuresTheTimeThatPassesAndDoesNotCountThePauses) {
    machine.heldFor = 1h;
    machine.pauseTakes = 1min; // a machine that does other things, too
    const RunLock lock;
    EXPECT_EQ(machine.pauses.size(), 10U);
    EXPECT_EQ(log, std::string(waiting) + goesOn);
}

TEST_F(RunLockTest, GoesOnAtOnceWhereThereIsNoLock) {
    machine.bNoLocks = true;
    const RunLock lock;
    EXPECT_EQ(log, "");
    EXPECT_EQ(machine.tries, 1);
}

TEST_F(RunLockTest, AProcessHoldsItOnce) {
    {
        const RunLock lock;
        {
            const RunLock nested;
            EXPECT_EQ(machine.tries, 1);
        }
        EXPECT_EQ(machine.releases, 0);
    }
    EXPECT_EQ(machine.releases, 1);
    const RunLock again;
    EXPECT_EQ(machine.tries, 2);
}

// How long a run holds it

namespace {

/// Notes what a run does while it holds the lock, and outside.
class HeldDuringARun : public EngineTest {
protected:
    class Noting : public RecordingMachine {
    public:
        Lock tryToLock() override {
            events.emplace_back("lock");
            return Lock::Held;
        }
        void unlock() override { events.emplace_back("unlock"); }
        FileContent readFile(const VLString& path) override {
            note(path, "InstallationStatusFile.xml", "read record");
            return RecordingMachine::readFile(path);
        }
        Saved saveFile(const VLString& path, const std::function<void(FILE*)>& print,
                       const FileState* expected, int& error) override {
            events.emplace_back("save record");
            return RecordingMachine::saveFile(path, print, expected, error);
        }
        bool run(const Command& command) override {
            note(command.text(), "cp -f", "copy");
            return RecordingMachine::run(command);
        }
        mode_t typeOf(const VLString& path) override {
            note(path, "product/files/VorlaneFX", "look at source");
            return RecordingMachine::typeOf(path);
        }
        bool removeItem(const VLString& path) override {
            note(path, "/Applications/Vorlane Uninstallers/Uninstall", "remove uninstaller");
            return false;
        }
        bool createFolder(const VLString&) override { return false; }
        bool copyItem(const VLString&, const VLString&) override {
            events.emplace_back("place uninstaller");
            return false;
        }
        Lines events;

    private:
        void note(const VLString& text, const char* part, const char* event) {
            if (text.HasOf(text.IndexOf(part, 0)) && (events.empty() || events.back() != event)) {
                events.emplace_back(event);
            }
        }
    };

    HeldDuringARun() { Machine::setCurrent(&noting); }

    ProductBuilder placed(ProductBuilder product) const {
        product.writeTo(at("product"));
        return product;
    }
    ProductBuilder product() const {
        return ProductBuilder("ALPHA", "Alpha").target("VorlaneFX", at("target")).file("VorlaneFX/a", "A");
    }
    Lines eventsOf(const std::function<void()>& action) {
        noting.events.clear();
        logOf(action);
        return std::exchange(noting.events, {});
    }
    bool run() {
        InstallUtility fresh;
        return fresh.run(at("product/files").c_str(), at("product/sku.xml").c_str(),
                         at("product/target_path.xml").c_str());
    }
    bool runUninstall(const std::string& targets = "product/target_path.xml") {
        InstallUtility fresh;
        return fresh.runUninstall(at("product/sku.xml").c_str(), at(targets).c_str());
    }

    Noting noting;
};

} // namespace

TEST_F(HeldDuringARun, FromAfterTheSourceCheckUntilTheUninstallerIsPlaced) {
    placed(product());
    EXPECT_EQ(eventsOf([&] { EXPECT_TRUE(run()); }),
              (Lines{"look at source", "lock", "read record", "look at source", "copy", "save record",
                     "remove uninstaller", "place uninstaller", "unlock"}));
}

TEST_F(HeldDuringARun, NotByAnInstallWhoseSourceIsIncomplete) {
    placed(product().listedFile("VorlaneFX/missing"));
    EXPECT_EQ(eventsOf([&] { EXPECT_FALSE(run()); }), Lines{"look at source"});
}

TEST_F(HeldDuringARun, FromBeforeTheUninstallerIsRemoved) {
    placed(product());
    logOf([&] { run(); });
    EXPECT_EQ(eventsOf([&] { EXPECT_TRUE(runUninstall()); }),
              (Lines{"lock", "remove uninstaller", "read record", "save record", "unlock"}));
}

TEST_F(HeldDuringARun, UntilAnUninstallFails) {
    placed(product());
    EXPECT_EQ(eventsOf([&] { EXPECT_FALSE(runUninstall("product/none.xml")); }),
              (Lines{"lock", "remove uninstaller", "unlock"}));
}

TEST_F(HeldDuringARun, UntilTheSharedPackageHasLeft) {
    ProductBuilder common("COMMON", "Shared Files");
    common.target("VorlaneFX", at("target")).file("VorlaneFX/SKU/COMMON.xml", "");
    common.unlistedFile("VorlaneFX/SKU/COMMON.xml", common.definition());
    placed(common);
    logOf([&] { run(); });
    placed(product());
    logOf([&] { run(); });
    EXPECT_EQ(eventsOf([&] { EXPECT_TRUE(runUninstall()); }),
              (Lines{"lock", "remove uninstaller", "read record", "save record", "read record", "save record",
                     "unlock"}));
    EXPECT_FALSE(exists("target/InstallationStatusFile.xml"));
}
