// "status --verify": what is installed, against the manifests in the definitions.
#include "Platform/Digest.h"
#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"
#include "Tests/Support/Terminal.h"
#include "Utility/InstallUtility/InstallUtility.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using namespace std::chrono_literals;

namespace {

namespace fs = std::filesystem;

std::string manifest(const std::string& content) {
    Sha256 digest;
    digest.add(content.data(), content.size());
    return " size=\"" + std::to_string(content.size()) + "\" sha256=\"" + digest.finish() + "\"";
}

std::string file(const std::string& name, const std::string& content) {
    return "<file fileName=\"" + name + "\"" + manifest(content) + "/>";
}

/// A folder that is copied whole; `element` is "file" or "directory".
std::string whole(const std::string& element, const std::string& name,
                  const std::map<std::string, std::string>& contents) {
    std::string text = "<" + element + " fileName=\"" + name + "\">";
    for (const auto& [path, content] : contents) {
        text += "<part path=\"" + path + "\"" + manifest(content) + "/>";
    }
    return text + "</" + element + ">";
}

/// A machine on which products are recorded by the engine; their files lie in "shared".
class StatusVerify : public testing::Test {
protected:
    using Json = nlohmann::json;

    void SetUp() override {
        write("targets.xml", "<root><item name=\"VorlaneFX\"><path value=\"" + path("shared").string() +
                                 "\"/></item></root>");
    }

    fs::path path(const std::string& name) const { return folder.path() / name; }
    void write(const std::string& name, const std::string& text) const { FileTree::write(path(name), text); }

    /// Writes the definition ID.xml with these entries in VorlaneFX, and records it.
    void record(const std::string& ID, const std::string& build, const std::string& entries) {
        write(ID + ".xml", "<product><sku ID=\"" + ID + "\" name=\"" + ID + "\" build=\"" + build +
                               "\"/><installFiles><directory fileName=\"VorlaneFX\">" + entries +
                               "</directory></installFiles></product>");
        InstallUtility engine;
        engine.skuDefinition.fromFile(path(ID + ".xml").c_str());
        engine.statusFile.parse(recordPath().c_str());
        engine.enterProduct(false);
        ASSERT_TRUE(engine.statusFile.write(recordPath().c_str()));
        definitions.push_back(ID + ".xml");
    }
    std::string recordPath() const { return path("shared/InstallationStatusFile.xml").string(); }
    void forget(const std::string& definition) {
        definitions.erase(std::find(definitions.begin(), definitions.end(), definition));
        SKUDefinition::SKUInfo info;
        info.ID = definition.substr(0, definition.find('.')).c_str();
        StatusFile recorded;
        recorded.parse(recordPath().c_str());
        recorded.removeProduct(info);
        recorded.write(recordPath().c_str());
    }
    void setRecordedBuild(const std::string& tree, const std::string& build) const {
        StatusFile recorded;
        recorded.parse(recordPath().c_str());
        ASSERT_NE(recorded.getFileInfo(tree.c_str()), nullptr);
        recorded.getFileInfo(tree.c_str())->build = build.c_str();
        recorded.write(recordPath().c_str());
    }

    std::vector<std::string> command(const std::vector<std::string>& more = {"--verify"}) const {
        std::vector<std::string> words = {INSTALLINSPECTOR_PROGRAM, "status", "shared", "--targets",
                                          "targets.xml"};
        for (const std::string& definition : definitions) {
            words.insert(words.end(), {"--sku", definition});
        }
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    ProgramResult run(const std::vector<std::string>& more = {"--verify"},
                      const std::function<void()>& beforeStart = {}) const {
        ProgramOptions options;
        options.workingFolder = folder.path();
        options.beforeStart = beforeStart;
        return runProgram(command(more), options);
    }
    Json json(const std::function<void()>& beforeStart = {}) const {
        const auto result = run({"--verify", "--json"}, beforeStart);
        Json document = Json::parse(result.standardOutput);
        EXPECT_EQ(result.exitStatus, document["verdict"] == "safe" ? 0 : 1);
        return document;
    }
    /// "kind name: text" of each fault, and what the findings are called.
    std::vector<std::string> faults() const {
        const Json document = json();
        std::vector<std::string> lines;
        for (const Json& fault : document["contents"]) {
            const std::string file = fault["file"];
            lines.push_back(fault["kind"].get<std::string>() + " " +
                            file.substr(path("shared").string().size() + 1) + ": " +
                            fault["text"].get<std::string>());
        }
        EXPECT_EQ(document["verdict"] == "safe", lines.empty()) << document.dump(2);
        return lines;
    }
    std::map<std::string, std::string> severities() const {
        std::map<std::string, std::string> rules;
        const Json document = json();
        for (const Json& finding : document["findings"]) {
            rules[finding["rule"]] = finding["severity"];
        }
        return rules;
    }

    /// What a reader sees of the page, with one blank in the place of tags.
    std::string page(std::vector<std::string> options) const {
        options.insert(options.end(), {"--html", "page.html", "--force"});
        EXPECT_NE(run(options).exitStatus, 2);
        const std::string html = FileTree::read(path("page.html"));
        std::string text;
        for (std::size_t at = html.find("<body"); at < html.size();) {
            if (html.compare(at, 6, "<wbr/>") == 0) {
                at += 6;
            } else if (html[at] != '<' && std::isspace(static_cast<unsigned char>(html[at])) == 0) {
                text += html[at++];
            } else {
                at = html[at] == '<' ? std::min(html.find('>', at), html.size() - 1) + 1 : at + 1;
                text += text.empty() || text.back() != ' ' ? " " : "";
            }
        }
        return text;
    }

    /// ALPHA with a file and a whole folder, BETA with a newer build of the file; all is well.
    void putTwoProducts() {
        write("shared/Grey.look", "beta's");
        write("shared/Glow.bundle/Contents/Glow", "glow");
        write("shared/Glow.bundle/Contents/Info.plist", "info");
        record(
            "ALPHA", "1.0.0.100",
            file("Grey.look", "alpha") +
                whole("file", "Glow.bundle", {{"Contents/Glow", "glow"}, {"Contents/Info.plist", "info"}}));
        record("BETA", "1.0.0.200", file("Grey.look", "beta's"));
    }

    TemporaryDirectory folder;
    std::vector<std::string> definitions;
};

} // namespace

TEST_F(StatusVerify, WhatIsAsInstalledIsCountedAndAgrees) {
    putTwoProducts();
    const auto result = run();
    EXPECT_EQ(result.exitStatus, 0) << result.standardOutput;
    EXPECT_THAT(
        result.standardOutput,
        HasSubstr("\n  3 files were compared with a manifest.\n\nThe record and this machine agree.\n"));
    EXPECT_EQ(result.standardError, "");
    EXPECT_THAT(faults(), IsEmpty());
    EXPECT_EQ(json()["verified"], 3);
}

TEST_F(StatusVerify, NamesWhatIsTruncatedChangedMissingAndForeign) {
    putTwoProducts();
    write("shared/Grey.look", "beta");
    write("shared/Glow.bundle/Contents/Glow", "GLOW");
    fs::remove(path("shared/Glow.bundle/Contents/Info.plist"));
    write("shared/Glow.bundle/Contents/Old", "left by an earlier build");
    EXPECT_THAT(faults(), ElementsAre("changed Glow.bundle/Contents/Glow: has other content of the same size",
                                      "missing Glow.bundle/Contents/Info.plist: is missing",
                                      "foreign Glow.bundle/Contents/Old: is not in the manifest",
                                      "truncated Grey.look: is truncated: 4 of 6 bytes"));
    EXPECT_EQ(severities(), (std::map<std::string, std::string>{{"content-changed", "error"},
                                                                {"content-missing", "error"},
                                                                {"content-foreign", "warning"},
                                                                {"content-truncated", "error"}}));
    const std::string text = run().standardOutput;
    EXPECT_THAT(text, HasSubstr("\n  truncated  " + path("shared/Grey.look").string() +
                                " is truncated: 4 of 6 bytes\n"));
    EXPECT_THAT(text, HasSubstr("Grey.look    1.0.0.200  truncated\n"));
    EXPECT_THAT(text, HasSubstr("\"" + path("shared/Grey.look").string() +
                                "\" of \"BETA\" is truncated: 4 of 6 bytes [content-truncated]\n"));
    // Nobody asked.
    EXPECT_EQ(run({}).exitStatus, 0);
}

TEST_F(StatusVerify, AForeignFileAloneIsForAPersonToJudge) {
    putTwoProducts();
    write("shared/Glow.bundle/mine.txt", "");
    EXPECT_EQ(json()["verdict"], "cannot tell");
}

TEST_F(StatusVerify, OfManyFilesEachIsListed) {
    std::string entries;
    for (int i = 0; i < 5; ++i) {
        write("shared/" + std::to_string(i), "cut");
        entries += file(std::to_string(i), "cut off");
    }
    record("ALPHA", "1.0.0.100", entries);
    const std::string text = run().standardOutput;
    EXPECT_THAT(text, HasSubstr("5 files of \"ALPHA\" are truncated: "));
    EXPECT_EQ(json()["findings"][0]["paths"].size(), 5U);
    for (int i = 0; i < 5; ++i) {
        EXPECT_THAT(text,
                    HasSubstr("  truncated  " + path("shared").string() + "/" + std::to_string(i) + " "));
    }
}

TEST_F(StatusVerify, TheContentOfAnOlderProductIsOlder) {
    putTwoProducts();
    write("shared/Grey.look", "alpha");
    EXPECT_THAT(faults(), ElementsAre("older Grey.look: is that of the build 1.0.0.100 of \"ALPHA\""));
    EXPECT_EQ(severities().at("content-older"), "error");
}

TEST_F(StatusVerify, TheContentOfANewerProductIsOnlyAnother) {
    putTwoProducts();
    setRecordedBuild("VorlaneFX/Grey.look", "1.0.0.100");
    EXPECT_THAT(faults(), ElementsAre("changed Grey.look: is that of the build 1.0.0.200 of \"BETA\""));
}

TEST_F(StatusVerify, WhatTheRecordHasInAnOlderBuildIsOlder) {
    putTwoProducts();
    write("shared/Grey.look", "long before");
    setRecordedBuild("VorlaneFX/Grey.look", "1.0.0.90");
    EXPECT_THAT(faults(), ElementsAre("older Grey.look: is not that of the build 1.0.0.100 of \"ALPHA\"; the "
                                      "record has the build 1.0.0.90"));
    // It is right all the same.
    write("shared/Grey.look", "alpha");
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(StatusVerify, ABuildOfWhichNothingIsAtHandCannotBeJudged) {
    putTwoProducts();
    setRecordedBuild("VorlaneFX/Grey.look", "1.0.0.300");
    EXPECT_THAT(faults(), IsEmpty()) << "as BETA has it";
    write("shared/Grey.look", "that of GAMMA, which was uninstalled");
    EXPECT_THAT(faults(), ElementsAre("unknown build Grey.look: is recorded in the build 1.0.0.300, of which "
                                      "no definition is at hand"));
    EXPECT_EQ(severities(), (std::map<std::string, std::string>{{"content-unknown", "warning"}}));
}

TEST_F(StatusVerify, AWholeFolderOfSeveralProductsHoldsThePartsOfAll) {
    write("shared/Glow.bundle/a", "a");
    write("shared/Glow.bundle/b", "b");
    write("shared/Glow.bundle/both", "beta's");
    record("ALPHA", "1.0.0.100", whole("directory", "Glow.bundle", {{"a", "a"}, {"both", "alpha's"}}));
    record("BETA", "1.0.0.200", whole("directory", "Glow.bundle", {{"b", "b"}, {"both", "beta's"}}));
    EXPECT_THAT(faults(), IsEmpty());
    write("shared/Glow.bundle/both", "nobody's");
    fs::remove(path("shared/Glow.bundle/b"));
    EXPECT_THAT(faults(), ElementsAre("missing Glow.bundle/b: is missing",
                                      "changed Glow.bundle/both: has 8 bytes in place of 7"));
}

TEST_F(StatusVerify, WhatAnotherProductHasInAWholeFolderIsNotForeign) {
    putTwoProducts();
    write("shared/Glow.bundle/Plug.ins/more", "more");
    EXPECT_THAT(faults(), ElementsAre("foreign Glow.bundle/Plug.ins/more: is not in the manifest"));
    record("GAMMA", "1.0.0.50",
           "<directory fileName=\"Glow.bundle\">" + whole("file", "Plug.ins", {{"more", "more"}}) +
               "</directory>");
    // The record has a file there, and the engine enters no folder below it: only contents matter here.
    EXPECT_THAT(json()["contents"], IsEmpty());
}

TEST_F(StatusVerify, WhatSystemsLeaveEverywhereIsNotForeign) {
    putTwoProducts();
    write("shared/Glow.bundle/.DS_Store", "");
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(StatusVerify, AFolderInThePlaceOfAFileIsSeen) {
    putTwoProducts();
    fs::remove(path("shared/Grey.look"));
    write("shared/Grey.look/Contents/x", "");
    EXPECT_THAT(faults(), ElementsAre("changed Grey.look: is a folder in place of a file"));
}

TEST_F(StatusVerify, WhatIsMissingAsAWholeIsToldOnce) {
    putTwoProducts();
    fs::remove(path("shared/Grey.look"));
    EXPECT_THAT(json()["contents"], IsEmpty());
    EXPECT_EQ(severities(), (std::map<std::string, std::string>{{"missing-file", "error"}}));
}

TEST_F(StatusVerify, WithoutAManifestNothingIsPromised) {
    write("shared/Grey.look", "grey");
    write("shared/Red.look", "red");
    record("ALPHA", "1.0.0.100", "<file fileName=\"Grey.look\"/>" + file("Red.look", "red"));
    const auto result = run();
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_THAT(result.standardOutput,
                HasSubstr("the definition of \"ALPHA\" has no manifest of 1 entry: \"" +
                          path("shared/Grey.look").string() + "\""));
    EXPECT_EQ(json()["verdict"], "cannot tell");
    EXPECT_EQ(json()["verified"], 1);
}

TEST_F(StatusVerify, WhatAProductWithoutAManifestMayHaveBroughtIsNotJudged) {
    write("shared/Grey.look", "beta's, with allowdowngrade");
    write("shared/Glow.bundle/a", "beta's");
    record("ALPHA", "1.0.0.200",
           file("Grey.look", "alpha's") + whole("directory", "Glow.bundle", {{"a", "alpha's"}}));
    record("BETA", "1.0.0.100",
           "<file fileName=\"Grey.look\" allowdowngrade=\"1\"/><directory fileName=\"Glow.bundle\"/>");
    EXPECT_THAT(json()["contents"], IsEmpty());
    EXPECT_EQ(severities(), (std::map<std::string, std::string>{{"content-without-manifest", "warning"}}));
    EXPECT_EQ(json()["findings"][0]["paths"].size(), 2U);
    // The record knows whose it is.
    setRecordedBuild("VorlaneFX/Grey.look", "1.0.0.200");
    EXPECT_THAT(json()["contents"][0]["kind"], "changed");
}

TEST_F(StatusVerify, WhatAProductThatIsNotComparedHasBroughtIsNotJudged) {
    write("shared/Grey.look", "beta's, with allowdowngrade");
    record("ALPHA", "1.0.0.200", file("Grey.look", "alpha's"));
    record("BETA", "1.0.0.100", "<file fileName=\"Grey.look\" allowdowngrade=\"1\"/>");
    definitions.pop_back();
    EXPECT_THAT(json()["contents"][0]["kind"], "unknown build");
    write("shared/Grey.look", "alpha's");
    EXPECT_THAT(json()["contents"], IsEmpty());
}

TEST_F(StatusVerify, AnEmptyFolderAndTheSharedDefinitionNeedNoManifest) {
    write("shared/Red.look", "red");
    write("shared/Cache/mine", "");
    write("shared/SKU/COMMON.xml", "itself");
    record("COMMON", "1.0.0.100",
           file("Red.look", "red") + "<directory fileName=\"Cache\"/>" +
               "<directory fileName=\"SKU\"><file fileName=\"COMMON.xml\"/></directory>");
    EXPECT_THAT(json()["contents"], IsEmpty());
    EXPECT_EQ(severities().count("content-without-manifest"), 0U);
}

TEST_F(StatusVerify, WhatCannotBeReadIsToldAndTheRestIsCompared) {
    putTwoProducts();
    ASSERT_EQ(mkfifo(path("shared/Glow.bundle/Contents/pipe").c_str(), 0600), 0);
    fs::remove(path("shared/Glow.bundle/Contents/Glow"));
    ASSERT_EQ(mkfifo(path("shared/Glow.bundle/Contents/Glow").c_str(), 0600), 0);
    EXPECT_THAT(faults(),
                ElementsAre("unreadable Glow.bundle/Contents/Glow: is neither a file, a folder nor a link",
                            "foreign Glow.bundle/Contents/pipe: is not in the manifest"));
}

TEST_F(StatusVerify, AFileThatThisUserMayNotReadIsTold) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only the superuser can start the program as another user";
    }
    putTwoProducts();
    fs::permissions(folder.path(), fs::perms(0755));
    fs::permissions(path("shared/Grey.look"), fs::perms(0600));
    const Json document = json([] {
        constexpr uid_t nobody = 65534;
        static_cast<void>(setuid(nobody));
    });
    ASSERT_EQ(document["contents"].size(), 1U);
    EXPECT_EQ(document["contents"][0]["kind"], "unreadable");
    EXPECT_EQ(document["contents"][0]["text"], "cannot be read: Permission denied");
    EXPECT_EQ(document["findings"][0]["rule"], "content-unreadable");
    EXPECT_EQ(document["verdict"], "cannot tell");
}

TEST_F(StatusVerify, PrintsJson) {
    putTwoProducts();
    write("shared/Grey.look", "beta");
    const Json document = json();
    EXPECT_EQ(document["verified"], 3);
    EXPECT_EQ(document["contents"], Json::array({{{"kind", "truncated"},
                                                  {"file", path("shared/Grey.look").string()},
                                                  {"text", "is truncated: 4 of 6 bytes"},
                                                  {"product", "BETA"},
                                                  {"path", "VorlaneFX/Grey.look"}}}));
    std::map<std::string, std::string> conditions;
    for (const Json& entry : document["entries"]) {
        conditions[entry["path"]] = entry["condition"];
    }
    EXPECT_EQ(conditions["VorlaneFX/Grey.look"], "truncated");
    EXPECT_EQ(conditions["VorlaneFX/Glow.bundle"], "there");
    const Json without = Json::parse(run({"--json"}).standardOutput);
    EXPECT_EQ(without.count("contents") + without.count("verified"), 0U);
}

TEST_F(StatusVerify, ThePageShowsWhatIsLostAndWhatToDo) {
    putTwoProducts();
    const std::string grey = path("shared/Grey.look").string();
    const std::string bundle = path("shared/Glow.bundle").string();
    write("shared/Grey.look", "beta");
    fs::remove(bundle + "/Contents/Info.plist");
    write("shared/Glow.bundle/Contents/Old", "left by an earlier build");
    const std::string text = page({"--verify"});
    EXPECT_THAT(text, HasSubstr(" Not in order. "));
    EXPECT_THAT(text,
                HasSubstr(" What is wrong, and what to do &quot;" + bundle +
                          "/Contents/Info.plist&quot; of &quot;ALPHA&quot; is missing content-missing "));
    EXPECT_THAT(text, HasSubstr(" &quot;" + grey +
                                "&quot; of &quot;BETA&quot; is truncated: 4 of 6 bytes content-truncated "));
    EXPECT_THAT(text, HasSubstr(" Install &quot;BETA&quot; again, which copies it anew. "));
    EXPECT_THAT(text, HasSubstr(" What is not certain &quot;" + bundle + "/Contents/Old&quot; "));
    EXPECT_THAT(text, HasSubstr(" File Content What is the matter " + bundle +
                                "/Contents/Info.plist missing is missing " + bundle +
                                "/Contents/Old foreign is not in the manifest " + grey +
                                " truncated is truncated: 4 of 6 bytes Every recorded path "));
    EXPECT_THAT(text, HasSubstr(" 2 entries 2 not as recorded "));
    EXPECT_THAT(text, HasSubstr(" Grey.look · uses 2, build 1.0.0.200 truncated " + grey + " "));
    EXPECT_THAT(text, HasSubstr(" Compared with a manifest 3 files "));
    EXPECT_THAT(FileTree::read(path("page.html")), HasSubstr("<span class=\"label bad\">truncated</span>"));
    EXPECT_THAT(FileTree::read(path("page.html")), HasSubstr("<span class=\"label odd\">foreign</span>"));
}

TEST_F(StatusVerify, ThePageSaysNothingOfContentsWhereNobodyAskedOrAllAgree) {
    putTwoProducts();
    const std::string agreeing = page({"--verify"});
    EXPECT_THAT(agreeing, HasSubstr(" In order. "));
    EXPECT_THAT(agreeing, HasSubstr(" Compared with a manifest 3 files "));
    write("shared/Grey.look", "beta");
    const std::string unasked = page({});
    EXPECT_THAT(unasked, HasSubstr(" In order. "));
    EXPECT_THAT(unasked, Not(HasSubstr("Compared with a manifest")));
    for (const std::string& text : {agreeing, unasked}) {
        EXPECT_THAT(text, Not(HasSubstr("Files that are not those of the build")));
    }
}

TEST_F(StatusVerify, LongWorkShowsProgressOnATerminalAndCanBeInterrupted) {
    write("shared/Large.look", "");
    constexpr std::uintmax_t size = 200'000'000'000;
    fs::resize_file(path("shared/Large.look"), size);
    std::string entry = file("Large.look", "");
    entry.replace(entry.find("size=\"0\""), 8, "size=\"" + std::to_string(size) + "\"");
    record("ALPHA", "1.0.0.100", entry);
    std::string line = "cd '" + folder.path().string() + "' && exec";
    for (const std::string& word : command()) {
        line += " " + word;
    }
    Terminal terminal({"sh", "-c", line}, 30s);
    EXPECT_TRUE(terminal.waitFor(" files, "));
    EXPECT_TRUE(terminal.waitFor(" MB"));
    terminal.type("\x03"); // Control-C
    const auto result = terminal.finish();
    EXPECT_FALSE(result.bTimedOut);
    EXPECT_EQ(result.signal, SIGINT);
}
