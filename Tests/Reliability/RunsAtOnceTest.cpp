// Runs that happen at the same time: whatever their steps meet, they leave what the same runs leave one after
// the other, in some order.
#include "Tests/Reliability/DisturbedRun.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <numeric>
#include <random>
#include <sstream>
#include <stdexcept>

namespace {

class RunsAtOnce : public DisturbedRun {
protected:
    /// "+" installs, "-" uninstalls: "+ALPHA", "-COMMON".
    using Steps = std::vector<std::string>;

    void SetUp() override {
        DisturbedRun::SetUp();
        if (IsSkipped()) {
            return;
        }
        root().makeFolder("/var/runs");
        place(product("ALPHA", "1.0.0.100"));
        place(product("BETA", "1.0.0.100"));
        place(product("GAMMA", "1.0.0.50")); // older: its files do not replace those of the others
        place(sharedPackage());
    }

    /// Starts the runs `atOnce`, round after round, and looks for each end among those of all orders.
    void expectEndOfSomeOrder(const Steps& before, const Steps& atOnce) {
        for (const std::string& step : before) {
            runUndisturbed(commandOf(step));
        }
        const Snapshot start(root());
        const std::vector<Lines> expected = endsOfAllOrders(start, atOnce);
        std::mt19937 random(static_cast<std::mt19937::result_type>(seed()));
        std::uniform_real_distribution<double> offset(0, seconds / static_cast<double>(atOnce.size()));

        const unsigned long rounds = isFull() ? 120 : 2;
        unsigned long wrong = 0;
        unsigned long waited = 0;
        for (unsigned long round = 1; round <= rounds; ++round) {
            start.restore();
            std::string script;
            for (std::size_t run = 0; run < atOnce.size(); ++run) {
                script += scriptOf(run, atOnce[run], offset(random)) + " &\n";
            }
            const Lines actual = endOf(script + "wait", atOnce.size());
            waited += bHasWaited ? 1 : 0;
            if (std::find(expected.begin(), expected.end(), actual) == expected.end() && wrong++ < 3) {
                ADD_FAILURE() << "round " << round << " of RELIABILITY_SEED=" << seed()
                              << " ends as no order does:\n"
                              << script << smallestDifference(expected, actual);
            }
        }
        EXPECT_EQ(wrong, 0U);
        EXPECT_TRUE(waited > 0 || !isFull()) << "no run has met another one";
        printFigures(std::string(testing::UnitTest::GetInstance()->current_test_info()->name()) + ": " +
                     std::to_string(rounds) + " rounds, a run waited in " + std::to_string(waited) + ", " +
                     std::to_string(wrong) + " wrong");
    }

private:
    /// Four files and a folder in one piece have the same paths in all products, and tell by their content
    /// whose they are. Two files are the product's own.
    static ProductBuilder product(const std::string& id, const std::string& build) {
        return ProductBuilder(id, "Product " + id)
            .build(build)
            .family("Blur")
            .target("VorlaneFX", statusFolder)
            .target("Hosts/OpenFX", "/Library/OFX/Plugins/Vorlane")
            .file("VorlaneFX/guide.html", "guide of " + id)
            .shortCut("VorlaneFX/guide.html", "Guide.html")
            .file("VorlaneFX/Looks/bright", "bright of " + id)
            .file("VorlaneFX/Looks/dark", "dark of " + id)
            .file("Hosts/OpenFX/Blur/blur.ofx", "blur of " + id)
            .folder("VorlaneFX/Kit")
            .unlistedFile("VorlaneFX/Kit/part", "part of " + id)
            .unlistedFile("VorlaneFX/Kit/Inner/part", "inner part of " + id)
            .file("VorlaneFX/Looks/" + id, id)
            .file("Hosts/OpenFX/Blur/" + id, id);
    }

    /// Leaves with the last of the other products, whose run finds this definition where it is installed.
    static ProductBuilder sharedPackage() {
        ProductBuilder result("COMMON", "Shared Files");
        result.target("VorlaneFX", statusFolder)
            .file("VorlaneFX/Common/ApplicationManager.app", "manager")
            .file("VorlaneFX/SKU/COMMON.xml", "");
        return result.unlistedFile("VorlaneFX/SKU/COMMON.xml", result.definition());
    }

    static Command commandOf(const std::string& step) {
        const ProductBuilder named(step.substr(1));
        return step[0] == '+' ? installCommand(named) : uninstallCommand(named);
    }

    /// Shell text that starts the run `offset` seconds later, and keeps what it prints and its exit status.
    static std::string scriptOf(std::size_t run, const std::string& step, double offset) {
        std::string text = "(sleep " + std::to_string(offset) + ";";
        for (const std::string& word : commandOf(step)) {
            text.append(" '").append(word).append("'");
        }
        return text + " >" + outputOf(run) + " 2>&1; echo $? >" + statusOf(run) + ")";
    }

    static std::string outputOf(std::size_t run) { return "/var/runs/output" + std::to_string(run); }
    static std::string statusOf(std::size_t run) { return "/var/runs/status" + std::to_string(run); }

    std::vector<Lines> endsOfAllOrders(const Snapshot& start, const Steps& runs) {
        std::vector<std::size_t> order(runs.size());
        std::iota(order.begin(), order.end(), 0);
        std::vector<Lines> ends;
        do {
            start.restore();
            std::string script;
            for (const std::size_t run : order) {
                script += scriptOf(run, runs[run], 0) + "\n";
            }
            ends.push_back(endOf(script, runs.size()));
            EXPECT_EQ(record(), noRecord) << "the uninstallers have not been opened";
        } while (std::next_permutation(order.begin(), order.end()));
        return ends;
    }

    /// All that has to be as in some order: exit statuses, files and record; and what is left of these after
    /// the uninstallers that are there have been opened.
    Lines endOf(const std::string& script, std::size_t runs) {
        for (std::size_t run = 0; run < runs; ++run) {
            root().remove(statusOf(run));
        }
        const auto begin = std::chrono::steady_clock::now();
        runScript(script);
        seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
        Lines end;
        for (std::size_t run = 0; run < runs; ++run) {
            const std::string name = "run " + std::to_string(run);
            appendLines(end, name + " ends with ", read(statusOf(run)));
            appendLines(end, name + " says ", read(outputOf(run)));
        }
        const auto waits = std::remove_if(end.begin(), end.end(), saysThatItWaits);
        bHasWaited = waits != end.end();
        end.erase(waits, end.end());
        appendMachine(end, "");
        appendLines(end, "", runScript(openUninstallers));
        appendMachine(end, "then ");
        return end;
    }

    static bool saysThatItWaits(const std::string& line) {
        const std::string ending = "says Another install or uninstall is running. Waiting for its end.";
        return line.size() > ending.size() && line.rfind(ending) == line.size() - ending.size();
    }

    static void appendLines(Lines& end, const std::string& prefix, const std::string& text) {
        std::istringstream stream(text);
        for (std::string line; std::getline(stream, line);) {
            end.push_back(prefix + line);
        }
    }

    void appendMachine(Lines& end, const std::string& prefix) {
        for (const std::string& line : root().tree()) {
            end.push_back(prefix + line);
        }
        end.push_back(prefix + "record: " + record());
    }

    static constexpr const char* openUninstallers = R"(
        for launcher in '/Applications/Vorlane Uninstallers/'*/Contents/MacOS/UninstallLauncher; do
            [ -e "$launcher" ] || continue
            "$launcher" >/dev/null 2>&1
            echo "exit status of $launcher: $?"
        done)";

    /// Gives standard output.
    std::string runScript(const std::string& script) {
        Options options;
        options.timeout = std::chrono::minutes(1);
        const ProgramResult result = root().run({"/bin/sh", "-c", script}, options);
        if (result.bTimedOut) {
            throw std::runtime_error("does not come to an end by itself:\n" + script);
        }
        EXPECT_EQ(result.standardError, "");
        return result.standardOutput;
    }

    std::string read(const std::string& path) { return root().exists(path) ? root().read(path) : "none"; }

    static std::string smallestDifference(const std::vector<Lines>& expected, const Lines& actual) {
        std::vector<std::string> differences;
        for (const Lines& end : expected) {
            differences.push_back(FileTree::difference(end, actual));
        }
        return *std::min_element(differences.begin(), differences.end(),
                                 [](const auto& a, const auto& b) { return a.size() < b.size(); });
    }

    bool bHasWaited = false; ///< a run of the last script, for another one
    double seconds = 0;      ///< that the last script took
};

} // namespace

TEST_F(RunsAtOnce, InstallWithInstallOnAnEmptyMachine) {
    expectEndOfSomeOrder({}, {"+ALPHA", "+BETA"});
}

TEST_F(RunsAtOnce, InstallWithInstallBesideAnotherProduct) {
    expectEndOfSomeOrder({"+GAMMA"}, {"+ALPHA", "+BETA"});
}

TEST_F(RunsAtOnce, InstallWithInstallBesideTheSharedPackage) {
    expectEndOfSomeOrder({"+COMMON"}, {"+ALPHA", "+BETA"});
}

TEST_F(RunsAtOnce, InstallWithUninstallOfTheOnlyProduct) {
    expectEndOfSomeOrder({"+BETA"}, {"+ALPHA", "-BETA"});
}

TEST_F(RunsAtOnce, InstallWithUninstallBesideAnotherProduct) {
    expectEndOfSomeOrder({"+BETA", "+GAMMA"}, {"+ALPHA", "-BETA"});
}

TEST_F(RunsAtOnce, InstallWithUninstallBesideTheSharedPackage) {
    expectEndOfSomeOrder({"+COMMON", "+BETA"}, {"+ALPHA", "-BETA"});
}

TEST_F(RunsAtOnce, UninstallWithUninstallOfTheOnlyProducts) {
    expectEndOfSomeOrder({"+ALPHA", "+BETA"}, {"-ALPHA", "-BETA"});
}

TEST_F(RunsAtOnce, UninstallWithUninstallBesideAnotherProduct) {
    expectEndOfSomeOrder({"+ALPHA", "+BETA", "+GAMMA"}, {"-ALPHA", "-BETA"});
}

TEST_F(RunsAtOnce, UninstallWithUninstallBesideTheSharedPackage) {
    expectEndOfSomeOrder({"+COMMON", "+ALPHA", "+BETA"}, {"-ALPHA", "-BETA"});
}

TEST_F(RunsAtOnce, InstallOfTheSameProductTwice) {
    expectEndOfSomeOrder({}, {"+ALPHA", "+ALPHA"});
}

TEST_F(RunsAtOnce, UninstallOfTheSameProductTwiceBesideAnother) {
    expectEndOfSomeOrder({"+ALPHA", "+BETA"}, {"-ALPHA", "-ALPHA"});
}

TEST_F(RunsAtOnce, InstallWithUninstallOfTheSameProduct) {
    expectEndOfSomeOrder({"+ALPHA", "+BETA"}, {"+ALPHA", "-ALPHA"});
}

TEST_F(RunsAtOnce, TwoInstallsWithUninstall) {
    expectEndOfSomeOrder({"+GAMMA"}, {"+ALPHA", "+BETA", "-GAMMA"});
}

TEST_F(RunsAtOnce, InstallsOfProductAndSharedPackageWithLastUninstall) {
    expectEndOfSomeOrder({"+COMMON", "+BETA"}, {"+COMMON", "+ALPHA", "-BETA"});
}
