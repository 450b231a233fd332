#pragma once

#include "Tests/Support/PlanComparison.h"
#include "Tests/Support/PrivateRoot.h"
#include "Tests/Support/ProductBuilder.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

/// Runs the real program in a private root. Where no private root is possible, the test is skipped with the
/// reason. Products are below PrivateRoot::installerFolder, each in a folder with the name of its ID. The
/// test fails if a run changes a product, writes a record that is not valid against its schema, or differs
/// from the plan of InstallInspector (see PlanComparison).
class EndToEndTest : public testing::Test {
protected:
    using Lines = FileTree::Lines;
    using Options = PrivateRoot::Options;

    /// The target folder of "VorlaneFX" for the products of these tests. It also contains the record.
    static constexpr const char* statusFolder = "/Library/Application Support/Vorlane";

    /// Whether each run is compared with its plan. False for tests that disturb the run.
    virtual bool comparesPlans() const { return true; }

    void SetUp() override;
    /// Skips the test for this reason where fakechroot pretends the root.
    static void skipWherePretended(const char* reason);
    PrivateRoot& root() { return *machine; }
    /// Continues with a new private root without products.
    void takeNewMachine();

    /// Writes the product below PrivateRoot::installerFolder. Replaces an earlier one with the same ID.
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
    /// Runs the launcher of the installed uninstaller, as opening it does.
    ProgramResult OpenUninstaller(const ProductBuilder& product, const std::vector<std::string>& more = {},
                                  const Options& options = Options());

    /// Runs the command in the private root with that user's home folder.
    ProgramResult RunFor(const std::string& user, const std::vector<std::string>& command);

    /// Compares the whole tree, without the lines of a new private root. The content of the record is
    /// "record". A complete uninstaller is one line, "uninstaller of ID".
    void ExpectTree(const Lines& expected, int line = __builtin_LINE(), const char* file = __builtin_FILE());
    /// Compares the record. Its lines are "product ID, name, build", then "path count". For a file, ", build"
    /// follows, and then ", shortcut name in folder" if it has one.
    void ExpectCounts(const Lines& expected, int line = __builtin_LINE(),
                      const char* file = __builtin_FILE());
    /// Compares standard output line by line, without the source positions of debug lines.
    static void ExpectLog(const ProgramResult& result, const Lines& expected, int line = __builtin_LINE(),
                          const char* file = __builtin_FILE());
    static void ExpectSuccess(const ProgramResult& result, int line = __builtin_LINE(),
                              const char* file = __builtin_FILE());

    Lines counts(const std::string& folder = statusFolder);
    static Lines logLines(const ProgramResult& result);
    static bool hasLine(const ProgramResult& result, const std::string& line);
    /// The log line for a failed copy. `path` is the path in `files` of the product ALPHA.
    static std::string failedCopy(const std::string& path, const std::string& target);
    /// The log line for a record that cannot be read (cannot be saved) for this reason.
    static std::string recordLeftAlone(const std::string& reason);
    static std::string recordNotSaved(const std::string& reason);
    /// A path in the status folder.
    static std::string shared(const std::string& path) { return std::string(statusFolder) + "/" + path; }

private:
    ProgramResult runChecked(const std::vector<std::string>& command, const Options& options);
    ProgramResult runOnPlaced(const ProductBuilder& product, std::vector<std::string> command,
                              const std::vector<std::string>& more, const Options& options);

    std::optional<PrivateRoot> machine;
    std::optional<PlanComparison> comparison;  ///< uses `machine`
    std::map<std::string, std::string> placed; ///< uninstallers by ID
};
