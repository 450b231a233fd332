#pragma once

#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

/// A folder "files" with a product's files, and the program beside it.
class StagedProduct : public testing::Test {
protected:
    TemporaryDirectory folder;

    std::filesystem::path files() const { return folder.path() / "files"; }
    std::filesystem::path path(const std::string& name) const { return folder.path() / name; }

    void put(const std::string& file, const std::string& content = "content") const {
        FileTree::write(files() / file, content);
    }

    /// A bundle, a plain folder and a file, for two hosts and one family.
    void putProduct() const {
        put("Hosts/Edius/Glow/Glow.epl");
        put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/Info.plist");
        put("Hosts/Premiere Pro/Glow/Glow.bundle/Contents/MacOS/Glow");
        put("VorlaneFX/Looks/Grey.look");
        put("Content/Paper.txt");
    }

    /// Runs the program beside "files".
    ProgramResult run(std::vector<std::string> arguments,
                      const std::function<void()>& beforeStart = {}) const {
        arguments.insert(arguments.begin(), INSTALLINSPECTOR_PROGRAM);
        ProgramOptions options;
        options.workingFolder = folder.path();
        options.beforeStart = beforeStart;
        return runProgram(arguments, options);
    }

    std::string read(const std::string& name) const { return FileTree::read(path(name)); }

    /// The lines of `text` that have `part` in them.
    static std::vector<std::string> linesWith(const std::string& part, const std::string& text) {
        std::vector<std::string> lines;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = std::min(text.find('\n', begin), text.size());
            const std::string line = text.substr(begin, end - begin);
            if (line.find(part) != std::string::npos) {
                lines.push_back(line);
            }
            begin = end + 1;
        }
        return lines;
    }

    /// The tree lists what lies in "files", and nothing else.
    void expectNoUnlisted() const {
        const auto result = run({"check", "sku.xml", "--source", "files"});
        for (const char* rule :
             {"[not-listed]", "[missing-in-source]", "[not-well-formed]", "[unknown-family]"}) {
            EXPECT_TRUE(linesWith(rule, result.standardOutput).empty()) << result.standardOutput;
        }
    }

    void expectNoFindings(const std::string& definition = "sku.xml", const std::string& targets = "") const {
        std::vector<std::string> command = {"check", definition, "--source", "files"};
        if (!targets.empty()) {
            command.insert(command.begin() + 2, targets);
        }
        const auto result = run(command);
        EXPECT_EQ(result.standardOutput, "No mistakes found.\n");
        EXPECT_EQ(result.exitStatus, 0) << result.standardError;
    }
};
