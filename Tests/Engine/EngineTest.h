#pragma once

#include "Foundation/Machine.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/ProductBuilder.h"
#include "Tests/Support/ScopedEnvironment.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

/// The machine itself, but for three things: it remembers the commands, fails those that it is told to, and
/// runs none that would touch the machine's own /Applications.
class RecordingMachine : public Machine {
public:
    bool run(const Command& command) override;
    /// The machine's own lock would make tests wait for each other.
    Lock tryToLock() override { return Lock::Held; }

    std::vector<std::string> commands;
    /// Beginnings of commands that are not run, and fail.
    std::vector<std::string> failing;
};

/// Runs the engine on folders of its own. In texts "$T" stands for the test's folder.
class EngineTest : public testing::Test {
protected:
    using Lines = FileTree::Lines;

    EngineTest();
    ~EngineTest() override;

    /// A path inside the test's folder.
    std::string at(const std::string& path) const { return (folder.path() / path).string(); }
    void write(const std::string& path, const std::string& content) const;
    bool exists(const std::string& path) const;
    std::string read(const std::string& path) const { return FileTree::read(at(path)); }
    /// The folder's tree without the product that is being installed and the helpers of the test.
    Lines tree() const;
    void expectTree(const Lines& expected) const;

    /// Puts the product into "product" and makes a new engine that has read it.
    void prepare(const ProductBuilder& product);
    VLString sourceOf(const std::string& branch) const { return at("product/files/" + branch).c_str(); }
    /// The branch of the tree of files, and the target item, of that name.
    const FileNode& node(const std::string& branch) const;
    const InstallUtility::InstallItem& item(const std::string& branch) const;
    /// The copy of one branch as the install run begins it.
    bool copyBranch(const std::string& branch);

    /// What an install does between preparation and the uninstaller, and an uninstall between the two; the
    /// log.
    Lines install(const ProductBuilder& product);
    Lines uninstall(const ProductBuilder& product);

    /// What is printed meanwhile, line by line. The place in the source is taken out of debug lines.
    Lines logOf(const std::function<void()>& action) const;
    /// The commands that have been run since the last call.
    Lines commands();

    /// Answers alerts by running the shell script `body`: its exit status 0 is Retry.
    void answerAlerts(const std::string& body);
    /// The title and the text of each alert so far.
    Lines alerts() const;

    TemporaryDirectory folder;
    RecordingMachine machine;
    InstallUtility engine;

private:
    std::string shortened(std::string text) const;

    ScopedEnvironment noDisplay{"DISPLAY", std::nullopt};
    ScopedEnvironment noWaylandDisplay{"WAYLAND_DISPLAY", std::nullopt};
    std::vector<std::unique_ptr<ScopedEnvironment>> alertEnvironment;
};
