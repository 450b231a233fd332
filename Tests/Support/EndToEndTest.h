#pragma once

#include "Tests/Support/PlanComparison.h"
#include "Tests/Support/PrivateRoot.h"
#include "Tests/Support/ProductBuilder.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

/// Runs the real program on a machine of its own; skipped, with the reason, where that cannot be had.
/// Products lie below PrivateRoot::installerFolder, each in a folder with the name of its ID; nothing may
/// change them. Every record that a run writes has to be valid by its schema, and each run has to be what
/// InstallInspector's plan says about it, see PlanComparison.
class EndToEndTest : public testing::Test {
protected:
    using Lines = FileTree::Lines;
    using Options = PrivateRoot::Options;

    /// Where the products of these tests have their "VorlaneFX" files, and so the record of what is
    /// installed.
    static constexpr const char* statusFolder = "/Library/Application Support/Vorlane";

    /// Whether each run is compared with its plan. Not where a test disturbs the run.
    virtual bool comparesPlans() const { return true; }

    void SetUp() override;
    PrivateRoot& root() { return *machine; }
    /// Goes on with a fresh machine on which nothing is placed.
    void takeNewMachine();

    /// Puts the product on the installer's disk, where an earlier one of its ID is replaced.
    void place(const ProductBuilder& product);
    static std::string folderOf(const ProductBuilder& product);
    static std::vector<std::string> installCommand(const ProductBuilder& product);
    static std::vector<std::string> uninstallCommand(const ProductBuilder& product);
    static std::string uninstallerOf(const ProductBuilder& product);

    /// Places the product and installs it. `more` follows the three arguments.
    ProgramResult Install(const ProductBuilder& product, const std::vector<std::string>& more = {},
                          const Options& options = Options());
    ProgramResult Uninstall(const ProductBuilder& product, const std::vector<std::string>& more = {},
                            const Options& options = Options());
    /// Starts the installed uninstaller as opening it does.
    ProgramResult OpenUninstaller(const ProductBuilder& product, const std::vector<std::string>& more = {},
                                  const Options& options = Options());

    /// The whole tree, but for what a fresh machine has. The record stands as "record" and an uninstaller
    /// that is whole as "uninstaller of ID" in place of the content.
    void ExpectTree(const Lines& expected, int line = __builtin_LINE(), const char* file = __builtin_FILE());
    /// The record, in its order: "product ID, name, build", then "path count", with ", build" after it for a
    /// file and ", shortcut name in folder" after that.
    void ExpectCounts(const Lines& expected, int line = __builtin_LINE(),
                      const char* file = __builtin_FILE());
    /// Standard output, line by line; the place in the source is taken out of debug lines.
    static void ExpectLog(const ProgramResult& result, const Lines& expected, int line = __builtin_LINE(),
                          const char* file = __builtin_FILE());
    static void ExpectSuccess(const ProgramResult& result, int line = __builtin_LINE(),
                              const char* file = __builtin_FILE());

    Lines counts(const std::string& folder = statusFolder);
    static Lines logLines(const ProgramResult& result);
    static bool hasLine(const ProgramResult& result, const std::string& line);
    /// The line about a file that the product ALPHA, in whose `files` it has this path, could not place.
    static std::string failedCopy(const std::string& path, const std::string& target);
    /// The line about a record that cannot be read, or cannot be saved, for this reason.
    static std::string recordLeftAlone(const std::string& reason);
    static std::string recordNotSaved(const std::string& reason);
    /// A path in the status folder.
    static std::string shared(const std::string& path) { return std::string(statusFolder) + "/" + path; }

private:
    ProgramResult runChecked(const std::vector<std::string>& command, const Options& options);
    ProgramResult runOnPlaced(const ProductBuilder& product, std::vector<std::string> command,
                              const std::vector<std::string>& more, const Options& options);

    std::optional<PrivateRoot> machine;
    std::optional<PlanComparison> comparison;  ///< in use while `machine` is there
    std::map<std::string, std::string> placed; ///< uninstaller by ID
};
