// Faults of reading the record and of the lock, injected into the real program, and the real lock between
// processes. Where a library can be loaded into the program: on Linux, and not together with a sanitizer.
#ifdef RUN_FAULT_LIBRARY

#include "Tests/Reliability/DisturbedRun.h"
#include "Tests/Support/Sources.h"

#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <thread>

namespace {

const char* const waiting = "Another install or uninstall is running. Waiting for its end.";
const char* const goesOn =
    "Warning: The other install or uninstall has not ended for ten minutes. This one goes on.";

class RunFault : public DisturbedRun {
protected:
    static constexpr const char* library = "/var/faults/RunFault.so";

    void SetUp() override {
        DisturbedRun::SetUp();
        skipWherePretended("libraries that are loaded first take the place of that of fakechroot");
        if (IsSkipped()) {
            return;
        }
        for (const auto& [file, inside] :
             {std::pair{RUN_FAULT_LIBRARY, library}, std::pair{"/usr/bin/flock", "/bin/flock"}}) {
            const ProgramResult added = runProgram(
                {inSources("Scripts/private-root"), "add", root().outside("/").string(), file, inside});
            ASSERT_EQ(added.exitStatus, 0) << added.standardError;
        }
    }

    static ProductBuilder product(const std::string& id = "ALPHA") {
        return ProductBuilder(id, id)
            .target("VorlaneFX", statusFolder)
            .file("VorlaneFX/shared", "S")
            .file("VorlaneFX/" + id, id);
    }
    ProgramResult runWith(const Command& command, std::map<std::string, std::string> environment) {
        Options options;
        options.environment = std::move(environment);
        options.environment["LD_PRELOAD"] = library;
        return root().run(command, options);
    }
    /// The command, while another process holds the lock for as long as it lives: at most `seconds`.
    ProgramResult runBesideHolder(const Command& command, const std::string& seconds,
                                  const std::string& environment = "") {
        Command both{
            "/bin/sh", "-c",
            "seconds=$1; shift; flock -F / sleep \"$seconds\" & while flock -n / true; do :; done; " +
                environment + " \"$@\"; status=$?; kill $! 2>/dev/null; wait; exit $status",
            "sh", seconds};
        both.insert(both.end(), command.begin(), command.end());
        return root().run(both);
    }
    bool isInstalled(const ProductBuilder& product) {
        return root().exists(shared(product.id())) && root().exists(uninstallerOf(product));
    }
};

} // namespace

TEST_F(RunFault, OfReadingLeavesTheRecordAsItIs) {
    Install(product("BETA"));
    place(product());
    const std::string before = record();
    for (const std::string step : {"open", "read"}) {
        for (const auto& [fault, number] : {std::pair{"EIO", EIO}, std::pair{"EACCES", EACCES},
                                            std::pair{"EMFILE", EMFILE}, std::pair{"EINTR", EINTR}}) {
            if (step == "read" && number == EINTR) {
                continue; // a read that is interrupted begins anew, so that one that always is would never
                          // end
            }
            SCOPED_TRACE(step + " " + fault);
            const std::map<std::string, std::string> faults = {{"RECORD_STEP", step},
                                                               {"RECORD_FAULT", fault}};
            const std::string line = recordLeftAlone(std::strerror(number));
            const ProgramResult installed = runWith(installCommand(product()), faults);
            ExpectSuccess(installed);
            ExpectLog(installed, {checking, line});
            EXPECT_EQ(record(), before);
            EXPECT_TRUE(isInstalled(product()));
            const ProgramResult uninstalled = runWith(uninstallCommand(product("BETA")), faults);
            ExpectSuccess(uninstalled);
            ExpectLog(uninstalled, {line});
            EXPECT_EQ(record(), before);
            EXPECT_TRUE(root().exists(shared("BETA")));
            EXPECT_FALSE(root().exists(std::string(recordPath) + ".new"));
        }
    }
}

TEST_F(RunFault, OfTheLockKeepsNoRunFromGoingOn) {
    place(product());
    for (const char* fault : {"EBADF", "ENOLCK", "EOPNOTSUPP", "ENOSYS"}) {
        const ProgramResult installed = runWith(installCommand(product()), {{"LOCK_FAULT", fault}});
        ExpectSuccess(installed);
        ExpectLog(installed, {checking});
        EXPECT_TRUE(isInstalled(product()));
        ExpectSuccess(runWith(uninstallCommand(product()), {{"LOCK_FAULT", fault}}));
        EXPECT_FALSE(isInstalled(product()));
    }
}

TEST_F(RunFault, WithoutALockTheSaveStillMindsWhatTheOtherRunHasSaved) {
    const ProductBuilder alpha = product();
    const ProductBuilder beta = product("BETA");
    place(alpha);
    place(beta);
    const int rounds = isFull() ? 100 : 3;
    for (int round = 0; round < rounds; ++round) {
        Command both{
            "/bin/sh", "-c",
            "export LD_PRELOAD=" + std::string(library) +
                " LOCK_FAULT=ENOLCK; \"$1\" \"$2\" \"$3\" \"$4\" & \"$1\" \"$5\" \"$6\" \"$7\"; wait",
            "sh"};
        const Command first = installCommand(alpha);
        const Command second = installCommand(beta);
        both.insert(both.end(), first.begin(), first.end());
        both.insert(both.end(), second.begin() + 1, second.end());
        ExpectSuccess(root().run(both));
        const Lines lines = counts();
        EXPECT_THAT(lines,
                    testing::IsSupersetOf({"product ALPHA, ALPHA, 1.0.0.100", "product BETA, BETA, 1.0.0.100",
                                           "VorlaneFX/shared 2, 1.0.0.100"}))
            << "in round " << round;
        root().remove(statusFolder);
    }
}

// The real lock

TEST_F(RunFault, RunWaitsForTheHolderAndSaysSoOnce) {
    place(product());
    const auto before = std::chrono::steady_clock::now();
    const ProgramResult result = runBesideHolder(installCommand(product()), "1");
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(900));
    ExpectSuccess(result);
    ExpectLog(result, {checking, waiting});
    EXPECT_TRUE(isInstalled(product()));
}

TEST_F(RunFault, RunGoesOnAfterTenMinutes) {
    place(product());
    const ProgramResult result = runBesideHolder(installCommand(product()), "25",
                                                 "LD_PRELOAD=" + std::string(library) + " FAST_CLOCK=1000");
    ExpectSuccess(result);
    ExpectLog(result, {checking, waiting, goesOn});
    EXPECT_TRUE(isInstalled(product()));
}

TEST_F(RunFault, DeathOfTheHolderFreesTheLockThoughItsCommandStillRuns) {
    place(product());
    place(product("BETA"));
    // The first run's cp kills the engine and goes on for long.
    root().write("/var/slow/cp", "#!/bin/sh\nkill -KILL $(/bin/cat /var/slow/engine)\nexec /bin/sleep 20\n",
                 0755);
    Command both{"/bin/sh", "-c",
                 "PATH=/var/slow:/bin sh -c 'echo $$ >/var/slow/engine; exec \"$@\"' sh "
                 "\"$1\" \"$2\" \"$3\" \"$4\" >/dev/null 2>&1 & "
                 "wait; \"$1\" \"$5\" \"$6\" \"$7\"",
                 "sh"};
    const Command first = installCommand(product());
    const Command second = installCommand(product("BETA"));
    both.insert(both.end(), first.begin(), first.end());
    both.insert(both.end(), second.begin() + 1, second.end());
    Options options;
    options.timeout = std::chrono::seconds(15);
    const ProgramResult result = root().run(both, options);
    EXPECT_FALSE(result.bTimedOut);
    EXPECT_THAT(result.standardOutput, testing::Not(testing::HasSubstr(waiting)));
    EXPECT_TRUE(isInstalled(product("BETA")));
}

TEST_F(RunFault, UninstallWaitsBeforeItRemovesTheUninstaller) {
    Install(product());
    const ProgramResult result = runBesideHolder(
        {"/bin/sh", "-c", "(sleep 0.5; ls -d '" + uninstallerOf(product()) + "') & \"$@\"; wait", "sh",
         PrivateRoot::program, "-uninstall", folderOf(product()) + "/sku.xml",
         folderOf(product()) + "/target_path.xml"},
        "1");
    ExpectSuccess(result);
    EXPECT_TRUE(hasLine(result, uninstallerOf(product()))) << "it was there while the run waited";
    EXPECT_FALSE(root().exists(uninstallerOf(product())));
}

TEST_F(RunFault, PlanWaitsForNobody) {
    if (!PrivateRoot::hasInspector()) {
        GTEST_SKIP() << "there is no inspector";
    }
    place(product());
    const Command install = installCommand(product());
    Command plan{PrivateRoot::inspector, "plan"};
    plan.insert(plan.end(), install.begin() + 1, install.end());
    const auto before = std::chrono::steady_clock::now();
    ExpectSuccess(runBesideHolder(plan, "10"));
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(8));
}

#endif
