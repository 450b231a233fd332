// "rebuild" on a machine on which the real program has installed and uninstalled real products.
#include "Platform/FileTimes.h"
#include "Tests/Support/EndToEndTest.h"
#include "Tests/Support/Sources.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <random>
#include <sstream>

using testing::HasSubstr;
using testing::Not;

namespace {

namespace fs = std::filesystem;

const std::string record = "/Library/Application Support/Vorlane/InstallationStatusFile.xml";
const std::string uninstallers = "/Applications/Vorlane Uninstallers/";

/// Products with files of their own, some of them in common.
ProductBuilder product(const std::string& ID, const std::string& build) {
    return ProductBuilder(ID, "Product " + ID)
        .build(build)
        .family("Glow")
        .file("VorlaneFX/Looks/Grey.look", "grey of " + ID)
        .file("VorlaneFX/" + ID + "/Own.look", "own")
        .file("Hosts/OpenFX/Glow/" + ID + ".ofx", "plug-in")
        .target("VorlaneFX", "/Library/Application Support/Vorlane")
        .target("Hosts/OpenFX", "/Library/OFX/Vorlane/%FAMILY%");
}

ProductBuilder common() {
    ProductBuilder shared("COMMON", "Shared");
    shared.build("1.0.0.300")
        .listedFile("VorlaneFX/SKU/COMMON.xml")
        .file("VorlaneFX/Common/ApplicationManager.app/Contents/Info.plist", "manager")
        .target("VorlaneFX", "/Library/Application Support/Vorlane");
    const std::string definition = shared.definition();
    return shared.unlistedFile("VorlaneFX/SKU/COMMON.xml", definition);
}

class RebuildEndToEnd : public EndToEndTest {
protected:
    static constexpr const char* inspector = PrivateRoot::inspector;

    bool comparesPlans() const override { return false; }

    ProgramResult rebuild(const std::vector<std::string>& more = {}) {
        std::vector<std::string> command = {inspector, "rebuild"};
        command.insert(command.end(), more.begin(), more.end());
        return root().run(command);
    }

    int status() { return root().run({inspector, "status"}).exitStatus; }
    std::string statusText() { return root().run({inspector, "status"}).standardOutput; }

    /// The lost record comes again, byte for byte.
    void expectTheLostRecord(const std::string& steps) {
        const std::string lost = root().read(record);
        root().remove(record);
        const auto result = rebuild();
        EXPECT_EQ(result.standardOutput, lost) << steps << "\n" << result.standardError;
        EXPECT_EQ(result.exitStatus, 0) << steps << "\n" << result.standardError;
        root().write(record, lost);
    }

    bool keepsTimesOfFolders() { return FileTimes::of(root().outside("/Library").string()).made != 0; }
};

} // namespace

TEST_F(RebuildEndToEnd, GivesTheLostRecordAfterEachOfManySteps) {
    if (!keepsTimesOfFolders()) {
        GTEST_SKIP() << "this file system does not keep when a folder was made";
    }
    const std::vector<ProductBuilder> products = {product("ALPHA", "1.0.0.200"), product("BETA", "1.0.0.200"),
                                                  product("GAMMA", "1.0.0.200"), common()};
    constexpr unsigned seed = 18;
    std::mt19937 random(seed); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same steps in each run
    std::vector<bool> installed(products.size());
    std::string steps;
    for (int step = 0; step < 7 && !HasFailure(); ++step) {
        const std::size_t index = random() % products.size();
        // The last one would take the shared package or the record with it.
        const bool bLast = std::count(installed.begin(), installed.begin() + 3, true) == 1;
        const bool bUninstall = installed[index] && !bLast && random() % 2 == 0;
        steps += (bUninstall ? "uninstall " : "install ") + products[index].id() + "; ";
        ExpectSuccess(bUninstall ? Uninstall(products[index]) : Install(products[index]));
        installed[index] = !bUninstall;
        expectTheLostRecord(steps);
    }
    EXPECT_THAT(steps, HasSubstr("uninstall "));
}

TEST_F(RebuildEndToEnd, TheOrderIsThatOfTheFirstInstalls) {
    if (!keepsTimesOfFolders()) {
        GTEST_SKIP() << "this file system does not keep when a folder was made";
    }
    const auto first = product("ZETA", "1.0.0.100");
    const auto second = product("ALPHA", "2.0.0.100");
    ExpectSuccess(Install(first));
    ExpectSuccess(Install(common()));
    ExpectSuccess(Install(second));
    expectTheLostRecord("");
    ExpectSuccess(Install(first));
    EXPECT_THAT(root().read(record), HasSubstr("\"Grey.look\" ref=\"2\" build=\"1.0.0.100\""));
    expectTheLostRecord("again");
    ExpectSuccess(Uninstall(first));
    ExpectSuccess(Install(first));
    expectTheLostRecord("after an uninstall");
}

TEST_F(RebuildEndToEnd, AProductWithoutAFolderOfItsOwnCountsFromItsLastInstall) {
    const auto without = ProductBuilder("ALPHA", "Alpha")
                             .build("1.0.0.200")
                             .file("VorlaneFX/Looks/Other.look", "other")
                             .target("VorlaneFX", "/Library/Application Support/Vorlane");
    ExpectSuccess(Install(product("ZETA", "1.0.0.200")));
    ExpectSuccess(Install(without));
    expectTheLostRecord("");
    EXPECT_THAT(rebuild().standardError,
                HasSubstr("note: The place in the order of \"ALPHA\" is that of the last install"));
}

TEST_F(RebuildEndToEnd, TheSharedPackageAloneIsEnough) {
    ExpectSuccess(Install(common()));
    expectTheLostRecord("");
}

TEST_F(RebuildEndToEnd, WritesOnlyAFileThatIsNotThere) {
    ExpectSuccess(Install(product("ALPHA", "1.0.0.100")));
    const std::string was = root().read(record);
    const Lines before = root().tree();
    for (const std::string& taken : {record, std::string("/Library"), std::string("/Library/none/x.xml")}) {
        const auto result = rebuild({"-o", taken});
        EXPECT_EQ(result.exitStatus, 2) << taken;
        EXPECT_EQ(result.standardOutput, "");
        EXPECT_THAT(result.standardError, HasSubstr("InstallInspector: " + taken + " "));
    }
    fs::create_symlink("nowhere", root().outside("/Volumes/Installer/link"));
    EXPECT_EQ(rebuild({"-o", "/Volumes/Installer/link"}).exitStatus, 2);
    EXPECT_FALSE(root().exists("/Volumes/Installer/nowhere"));
    EXPECT_EQ(rebuild().exitStatus, 0);
    EXPECT_EQ(FileTree::difference(before, root().tree()), "");
    const auto result = rebuild({"-o", "/Volumes/Installer/new.xml"});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(root().read("/Volumes/Installer/new.xml"), was);
}

TEST_F(RebuildEndToEnd, DeathWhileItWritesLeavesNoPartOfARecord) {
    ExpectSuccess(Install(product("ALPHA", "1.0.0.100")));
    ExpectSuccess(Install(product("BETA", "1.0.0.100")));
    const std::string was = root().read(record);
    ASSERT_GT(was.size(), 1024U);
    // A write beyond one block, which is of 512 or 1024 bytes, then ends the program by a signal.
    const auto killed = root().run(
        {"/bin/sh", "-c", "ulimit -c 0; ulimit -f 1; exec InstallInspector rebuild -o /tmp/record.xml"});
    EXPECT_NE(killed.signal, 0);
    EXPECT_FALSE(root().exists("/tmp/record.xml"));
    EXPECT_EQ(rebuild({"-o", "/tmp/record.xml"}).exitStatus, 0);
    EXPECT_EQ(root().read("/tmp/record.xml"), was);
    EXPECT_EQ(root().tree("/tmp").size(), 1U) << "what the death has left is gone";
}

TEST_F(RebuildEndToEnd, WhatCannotBePrintedIsNoSuccess) {
    if (!root().exists("/dev/full")) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    ExpectSuccess(Install(product("ALPHA", "1.0.0.100")));
    const auto result = root().run({"/bin/sh", "-c", "exec InstallInspector rebuild >/dev/full"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.standardError, HasSubstr("InstallInspector: cannot write to standard output: "));
}

TEST_F(RebuildEndToEnd, SaysWhatItCannotKnow) {
    ExpectSuccess(Install(product("ALPHA", "1.0.0.100")));
    const std::string said = rebuild().standardError;
    EXPECT_THAT(said, HasSubstr("note: Builds are those of the definitions"));
    EXPECT_THAT(said, HasSubstr("note: The order is told by the times"));
    EXPECT_THAT(said,
                HasSubstr("note: A product of which somebody deleted the uninstaller is missing. Of two "
                          "products of one name only the one"));
    EXPECT_THAT(said, HasSubstr("Counts that an earlier update did not raise are right in it."));
    EXPECT_THAT(said, Not(HasSubstr("missing:")));
}

TEST_F(RebuildEndToEnd, NamesTheProductThatIsMissing) {
    ExpectSuccess(Install(product("ALPHA", "1.0.0.100")));
    ExpectSuccess(Install(product("BETA", "1.0.0.100")));
    root().remove(uninstallers + "Uninstall Product BETA.app");
    const auto deleted = rebuild();
    EXPECT_EQ(deleted.exitStatus, 1);
    EXPECT_THAT(deleted.standardError, HasSubstr("missing: The present record lists \"BETA\""));
    EXPECT_THAT(deleted.standardOutput, Not(HasSubstr("BETA")));
    root().remove(record);
    EXPECT_EQ(rebuild().exitStatus, 0) << "nobody can know it";

    root().write(uninstallers + "Uninstall Product ALPHA.app/Contents/sku.xml", "<product>");
    ExpectSuccess(Install(product("GAMMA", "1.0.0.100")));
    const auto damaged = rebuild();
    EXPECT_EQ(damaged.exitStatus, 1);
    EXPECT_THAT(damaged.standardError, HasSubstr("missing: The product of \"" + uninstallers +
                                                 "Uninstall Product ALPHA.app\" is missing: "));
}

TEST_F(RebuildEndToEnd, OfTwoUninstallersForOneProductTheYoungerCounts) {
    ExpectSuccess(Install(product("ALPHA", "1.0.0.200")));
    ExpectSuccess(Install(product("ALPHA", "1.0.0.300").name("Another name")));
    const auto result = rebuild();
    EXPECT_EQ(result.standardOutput, root().read(record));
    EXPECT_THAT(result.standardError,
                HasSubstr("note: \"ALPHA\" has two uninstallers. \"" + uninstallers +
                          "Uninstall Another name.app\" was placed later and counts; "));
}

TEST_F(RebuildEndToEnd, AProductThatKeepsItsRecordElsewhereIsNotInIt) {
    ExpectSuccess(Install(product("ALPHA", "1.0.0.200")));
    ExpectSuccess(Install(ProductBuilder("OTHER", "Some other")
                              .file("VorlaneFX/Other/a", "a")
                              .target("VorlaneFX", "/Library/Other")));
    const auto usual = rebuild();
    EXPECT_EQ(usual.standardOutput, root().read(record));
    EXPECT_THAT(usual.standardError,
                HasSubstr("note: \"OTHER\" is not in it: it keeps its record in \"/Library/Other\"."));
    EXPECT_EQ(rebuild({"/Library/Other"}).standardOutput,
              root().read("/Library/Other/InstallationStatusFile.xml"));
}

TEST_F(RebuildEndToEnd, WhereNothingIsInstalledThereIsNothingToRebuild) {
    const auto result = rebuild({"-o", "/Volumes/Installer/new.xml"});
    EXPECT_EQ(result.exitStatus, 2);
    EXPECT_THAT(result.standardError, HasSubstr("there is nothing to rebuild\n"));
    EXPECT_FALSE(root().exists("/Volumes/Installer/new.xml"));
}

/// The steps are those of the page.
TEST_F(RebuildEndToEnd, TheStepsOfThePageMendTheMachineThatStatusSendsThere) {
    const std::string page = FileTree::read(inSources("Docs/inspector.md"));
    const std::size_t begin = page.find("    InstallInspector rebuild -o ");
    ASSERT_NE(begin, std::string::npos);
    std::istringstream lines(page.substr(begin, page.find("\n\n", begin) - begin));
    std::vector<std::string> commands;
    for (std::string line; std::getline(lines, line);) {
        commands.push_back(line);
    }
    ASSERT_EQ(commands.size(), 4U);
    const auto followThePage = [&] {
        for (const std::string& command : commands) {
            const auto result = root().run({"/bin/sh", "-c", command});
            EXPECT_EQ(result.exitStatus, 0) << command << "\n"
                                            << result.standardOutput << result.standardError;
        }
        root().remove("/tmp/record.xml");
        root().remove(record + ".old");
    };
    const auto alpha = product("ALPHA", "1.0.0.200");
    const auto beta = product("BETA", "1.0.0.200");
    ExpectSuccess(Install(alpha));
    ExpectSuccess(Install(beta));
    const std::string right = root().read(record);

    // Damaged.
    root().write(record, right.substr(0, right.size() / 2));
    EXPECT_EQ(status(), 1);
    EXPECT_THAT(statusText(), HasSubstr("InstallInspector rebuild"));
    followThePage();
    EXPECT_EQ(root().read(record), right);

    // Lost. There is nothing to be moved away.
    root().remove(record);
    EXPECT_EQ(status(), 1);
    EXPECT_THAT(statusText(), HasSubstr("InstallInspector rebuild"));
    root().write(record, "");
    followThePage();
    EXPECT_EQ(root().read(record), right);

    // Set aside by a run.
    root().write(record, right.substr(0, right.size() / 2));
    Install(alpha);
    EXPECT_THAT(statusText(), HasSubstr("[record-set-aside]"));
    EXPECT_THAT(statusText(), HasSubstr("InstallInspector rebuild"));
    root().remove(record + ".damaged");
    EXPECT_EQ(status(), 1);
    followThePage();
    EXPECT_EQ(root().read(record), right);
    EXPECT_EQ(status(), 0);
}
