#include "Tests/Engine/EngineTest.h"

#include "Foundation/SimpleLog.h"
#include "Tests/Support/CapturedStdout.h"
#include "Tests/Support/DebugPlaces.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace fs = std::filesystem;

namespace {

using Lines = FileTree::Lines;

Lines linesOf(const std::string& text) {
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

} // namespace

bool RecordingMachine::run(const Command& command) {
    const std::string text = command.text().ConstData();
    commands.push_back(text);
    const bool bFails = std::any_of(failing.begin(), failing.end(), [&](const std::string& beginning) {
        return text.rfind(beginning, 0) == 0;
    });
    if (bFails) {
        return false;
    }
    return text.find("\"/Applications") != std::string::npos || Machine::run(command);
}

EngineTest::EngineTest() {
    Machine::setCurrent(&machine);
}

EngineTest::~EngineTest() {
    Machine::setCurrent(nullptr);
    SimpleLog::bEnableDebugLogs = false;
}

void EngineTest::write(const std::string& path, const std::string& content) const {
    FileTree::write(at(path), content);
}

bool EngineTest::exists(const std::string& path) const {
    return fs::exists(fs::symlink_status(at(path)));
}

Lines EngineTest::tree() const {
    return FileTree::describe(folder.path(), "", [this](const fs::path& path) {
        return path == folder.path() / "product" || path == folder.path() / "helpers";
    });
}

void EngineTest::expectTree(const Lines& expected) const {
    EXPECT_EQ(FileTree::difference(expected, tree()), "");
}

void EngineTest::prepare(const ProductBuilder& product) {
    product.writeTo(at("product"));
    engine = InstallUtility();
    ASSERT_TRUE(engine.prepare(at("product/files").c_str(), at("product/sku.xml").c_str(),
                               at("product/target_path.xml").c_str()));
}

const FileNode& EngineTest::node(const std::string& branch) const {
    return engine.skuDefinition.installFiles.children.at(branch.c_str());
}

const InstallUtility::InstallItem& EngineTest::item(const std::string& branch) const {
    return engine.installItems.at(branch.c_str());
}

bool EngineTest::copyBranch(const std::string& branch) {
    return engine.copyFilesRecursively(VLString(), sourceOf(branch), node(branch), branch.c_str(),
                                       item(branch), false);
}

Lines EngineTest::install(const ProductBuilder& product) {
    return logOf([&] {
        prepare(product);
        EXPECT_TRUE(engine.checkFilesInFolderRecursively(engine.srcPath, engine.skuDefinition.installFiles));
        EXPECT_TRUE(engine.copyFilesToTargets());
    });
}

Lines EngineTest::uninstall(const ProductBuilder& product) {
    return logOf([&] {
        prepare(product);
        EXPECT_TRUE(engine.removeProduct());
    });
}

Lines EngineTest::logOf(const std::function<void()>& action) const {
    std::string text;
    {
        CapturedStdout output;
        action();
        text = output.text();
    }
    return linesOf(shortened(withoutDebugPlaces(text)));
}

Lines EngineTest::commands() {
    Lines result;
    std::transform(machine.commands.begin(), machine.commands.end(), std::back_inserter(result),
                   [this](const std::string& command) { return shortened(command); });
    machine.commands.clear();
    return result;
}

void EngineTest::answerAlerts(const std::string& body) {
    const std::string record =
        "for argument; do case $argument in --title=*) printf '%s: ' \"${argument#*=}\" ;; "
        "--text=*) echo \"${argument#*=}\" ;; esac; done >>\"" +
        at("helpers/alerts") + "\"\n";
    FileTree::write(at("helpers/zenity"),
                    "#!/bin/sh\ncd '" + folder.path().string() + "'\n" + record + body + "\n", 0755);
    const std::string path = std::getenv("PATH"); // NOLINT(concurrency-mt-unsafe): one thread
    alertEnvironment.push_back(std::make_unique<ScopedEnvironment>("PATH", at("helpers") + ":" + path));
    alertEnvironment.push_back(std::make_unique<ScopedEnvironment>("DISPLAY", ":none"));
}

Lines EngineTest::alerts() const {
    return exists("helpers/alerts") ? linesOf(read("helpers/alerts")) : Lines();
}

std::string EngineTest::shortened(std::string text) const {
    const std::string path = folder.path();
    for (std::size_t found = text.find(path); found != std::string::npos; found = text.find(path, found)) {
        text.replace(found, path.size(), "$T");
    }
    return text;
}
