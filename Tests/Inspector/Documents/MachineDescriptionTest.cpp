// What the form of a described machine takes and refuses, and that its schema says the same.
#include "Utility/InstallInspector/Documents/MachineDescription.h"

#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace {

struct Example {
    std::string text;
    std::string fault;   ///< empty when it is taken
    bool bSchema = true; ///< whether a schema can tell
};

const std::vector<Example>& examples() {
    static const std::vector<Example> all = {
        {"{}", ""},
        {R"({"$schema": "x", "home": "/Users/anna", "accountHome": "~anna", "ditto": false, "preferences": {},
             "otherUsers": [{"home": "/a"}], "folders": ["/"], "files": ["/a/b", {"path": "/c", "text": "t"}],
             "links": {"/l": "to"}, "others": ["/o"], "products": [{"definition": "a", "targets": "/b"}]})",
         ""},
        {R"({"preferences": {"Host": {"": "x", "Folder": ""}}, "home": "/"})", ""},
        {R"({"files": ["/..a/.b./..."]})", ""},
        {"[]", "an object is wanted, { ... }"},
        {R"({"folder": []})", "unknown member \"folder\"; write \"folders\""},
        {R"({"xyz": []})", "unknown member \"xyz\""},
        {R"({"home": 1})", "home: a text is wanted, \"...\""},
        {R"({"home": "Users/anna"})", "home: the path \"Users/anna\" does not begin with \"/\""},
        {R"({"home": ""})", "home: the path \"\" does not begin with \"/\""},
        {R"({"ditto": "yes"})", "ditto: true or false is wanted"},
        {R"({"folders": {}})", "folders: a list is wanted, [ ... ]"},
        {R"({"folders": [null]})", "folders[0]: a text is wanted, \"...\""},
        {R"({"folders": ["/a", "b"]})", "folders[1]: the path \"b\" does not begin with \"/\""},
        {R"({"others": ["/a/../b"]})",
         "others[0]: the path \"/a/../b\" has an empty name, \".\" or \"..\" in it"},
        {R"({"folders": ["/a/./b"]})",
         "folders[0]: the path \"/a/./b\" has an empty name, \".\" or \"..\" in it"},
        {R"({"folders": ["/a//b"]})",
         "folders[0]: the path \"/a//b\" has an empty name, \".\" or \"..\" in it"},
        {R"({"folders": ["/a/"]})", "folders[0]: the path \"/a/\" has an empty name, \".\" or \"..\" in it"},
        {R"({"files": ["/a\u0000b"]})", R"(files[0]: the path "/a\x00b" holds a zero byte)", false},
        {R"({"files": ["/)" + std::string(256, 'a') + "\"]}",
         "files[0]: the path \"/" + std::string(199, 'a') + "...\" has a name that is too long"},
        {R"({"files": [")" +
             [] {
                 std::string path;
                 for (int i = 0; i < 2048; ++i) {
                     path += "/a";
                 }
                 return path;
             }() +
             "\"]}",
         "files[0]: the path \"" +
             [] {
                 std::string path;
                 for (int i = 0; i < 100; ++i) {
                     path += "/a";
                 }
                 return path;
             }() +
             "...\" is too long"},
        {R"({"files": ["/"]})", "files[0]: \"/\" is a folder", false},
        {R"({"files": [{"text": "a"}]})", "files[0]: the member \"path\" is missing"},
        {R"({"files": [{"path": "/a", "text": 1}]})", "files[0].text: a text is wanted, \"...\""},
        {R"({"files": [{"path": "a"}]})", "files[0].path: the path \"a\" does not begin with \"/\""},
        {R"({"files": ["/a"], "folders": ["/a"]})", "folders[0]: the path \"/a\" is there twice", false},
        {R"({"files": ["/a/b", "/a"]})", "\"/a/b\": \"/a\" is a file, so nothing can be below it", false},
        {R"({"links": {"/a": "/b"}, "folders": ["/a/b/c"]})",
         "\"/a/b/c\": \"/a\" is a link, so nothing can be below it", false},
        {R"({"links": {"a": "/b"}})", "links.a: the path \"a\" does not begin with \"/\""},
        {R"({"links": {"/a": ""}})",
         "links./a: what a link says is neither empty nor too long, and holds no zero byte"},
        {R"({"links": []})", "links: an object is wanted, { ... }"},
        {R"({"preferences": {"a": "b"}})", "preferences.a: an object is wanted, { ... }"},
        {R"({"preferences": {"a": {"b": 1}}})", "preferences.a.b: a text is wanted, \"...\""},
        {R"({"preferences": {"a": {"b": "é"}}})",
         "preferences.a.b: the engine reads no preference with other characters than ASCII"},
        {R"({"preferences": {"Host/A": {}, "host.a": {}}})",
         "preferences.host.a: another key has the same file, com.vorlane.host.a.plist", false},
        {R"({"otherUsers": [{}]})", "otherUsers[0]: the member \"home\" is missing"},
        {R"({"otherUsers": [{"home": "/a"}, {"home": "/a"}]})",
         "otherUsers[1]: the home \"/a\" is there twice", false},
        {R"({"home": "/a", "preferences": {"k": {}}, "otherUsers": [{"home": "/a"}]})",
         "otherUsers: \"/a\" is the home of the user", false},
        {R"({"products": [{"definition": "a"}]})", "products[0]: the member \"targets\" is missing"},
        {R"({"products": [{"definition": "", "targets": "b"}]})",
         "products[0].definition: the path of a file is wanted"},
        {R"({"products": ["sku.xml"]})", "products[0]: an object is wanted, { ... }"},
        {R"({"home": "/a", "home": "/b"})", "the member \"home\" is there twice", false},
        {R"({"links": {"/a": "b", "/a": "c"}})", "the member \"/a\" is there twice", false},
    };
    return all;
}

class MachineDescriptionTest : public testing::Test {
protected:
    /// What is wrong with a description of this text; empty when it is taken.
    std::string faultOf(const std::string& text) const {
        FileTree::write(folder.path() / "m.json", text);
        const std::string path = folder.path() / "m.json";
        try {
            MachineDescription::read(path);
            return "";
        } catch (const BadDescription& fault) {
            const std::string message = fault.what();
            EXPECT_EQ(message.rfind(path + ": ", 0), 0U) << message;
            return message.substr(path.size() + 2);
        }
    }

    TemporaryDirectory folder;
};

std::string repeated(const std::string& text, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

} // namespace

TEST_F(MachineDescriptionTest, SaysWhatIsWrongAndWhere) {
    for (const Example& example : examples()) {
        EXPECT_EQ(faultOf(example.text), example.fault) << example.text.substr(0, 200);
    }
}

TEST_F(MachineDescriptionTest, TheSchemaTakesAndRefusesTheSame) {
    if (runProgram({"python3", "-c", "import jsonschema"}).exitStatus != 0) {
        GTEST_SKIP() << "there is no jsonschema for python3 here";
    }
    std::string script = "import json, jsonschema, pathlib\n"
                         "schema = json.load(open('" +
                         inSources("Schemas/machine.schema.json") +
                         "'))\n"
                         "jsonschema.Draft7Validator.check_schema(schema)\n"
                         "validator = jsonschema.Draft7Validator(schema)\n"
                         "def show(file): print(0 if validator.is_valid(json.load(open(file))) else 1)\n";
    std::string expected;
    for (std::size_t i = 0; i < examples().size(); ++i) {
        if (examples()[i].bSchema) {
            const std::string file = folder.path() / ("example" + std::to_string(i));
            FileTree::write(file, examples()[i].text);
            script += "show('" + file + "')\n";
            expected += examples()[i].fault.empty() ? "0\n" : "1\n";
        }
    }
    for (const char* kept : {"new", "suite"}) {
        script += "show('" + inSources("Examples/plans/") + kept + ".json')\n";
        expected += "0\n";
    }
    const ProgramResult result = runProgram({"python3", "-c", script});
    EXPECT_EQ(result.standardOutput, expected) << result.standardError;
}

TEST_F(MachineDescriptionTest, AnswersHostileTextsAtOnce) {
    constexpr int many = 200000;
    for (const char* open : {"[", R"({"folders":)", R"({"a":[)"}) {
        EXPECT_EQ(faultOf(repeated(open, many)), "it is nested too deep for a machine");
    }
    EXPECT_EQ(faultOf(R"({"home": "/)"
                      "\xff\"}")
                  .rfind("it is no JSON: ", 0),
              0U);
    EXPECT_EQ(faultOf(R"({"home": 1e999999})").rfind("it is no JSON: ", 0), 0U);
    EXPECT_EQ(faultOf(std::string("{}\0{}", 5)), "it holds a zero byte");
    EXPECT_EQ(faultOf("{\"" + std::string(many, 'x') + "\": 1}"),
              "unknown member \"" + std::string(200, 'x') + "...\"");
    std::string deep = "{\"folders\": [\"/a\"";
    for (int i = 0; i < 1100; ++i) {
        deep += ", \"/" + std::to_string(i) + repeated("/a", 2000) + "\"";
    }
    EXPECT_EQ(faultOf(deep + "]}"), "it describes more than 2000000 files and folders");
    EXPECT_EQ(faultOf("{\"folders\": [\"/a\"" + repeated(", \"/a\"", 100000) + "]}"),
              "folders[1]: the path \"/a\" is there twice");
}

TEST_F(MachineDescriptionTest, ImpliesHomesAndTheFilesOfPreferences) {
    FileTree::write(folder.path() / "m.json",
                    R"({"home": "/Users/anna/", "preferences": {"Host/A": {"b": "c"}},
        "otherUsers": [{"home": "/Users/berta", "preferences": {"k": {}}}], "links": {"/Users/berta/Library": "x"}})");
    const MachineDescription machine = MachineDescription::read(folder.path() / "m.json");
    std::string all;
    for (const auto& [path, entry] : machine.entries) {
        all += path + (entry.type == S_IFDIR ? "/ " : entry.type == S_IFLNK ? "@ " : " ");
    }
    EXPECT_EQ(all, "/Users/anna/ /Users/anna/Library/Preferences/com.vorlane.host.a.plist /Users/berta/ "
                   "/Users/berta/Library@ ");
}

TEST_F(MachineDescriptionTest, WritesWhatItReads) {
    MachineDescription machine;
    machine.home = "/Users/anna";
    machine.accountHome = "~anna";
    machine.users["~anna"]["host"]["Folder"] = "\"$HOME\"\n";
    machine.users["/Users/berta"]["host"]["a"] = "b";
    machine.bDitto = false;
    machine.entries["/a b"] = {S_IFDIR, ""};
    machine.entries["/Users/anna"] = {S_IFDIR, ""};
    machine.entries["/Users/berta"] = {S_IFDIR, ""};
    machine.entries["/Users/berta/Library/Preferences/com.vorlane.host.plist"] = {S_IFREG, ""};
    machine.entries["/c"] = {S_IFREG, "text\r\n\tü"};
    machine.entries["/d"] = {S_IFLNK, "../x"};
    machine.entries["/e\n"] = {S_IFSOCK, ""};
    const std::string path = folder.path() / "m.json";
    FILE* file = std::fopen(path.c_str(), "w");
    ASSERT_NE(file, nullptr);
    Output output(file);
    machine.write(output);
    EXPECT_TRUE(output.finish());
    ASSERT_EQ(std::fclose(file), 0);
    const MachineDescription read = MachineDescription::read(path);
    EXPECT_EQ(read.home, machine.home);
    EXPECT_EQ(read.accountHome, machine.accountHome);
    EXPECT_EQ(read.users, machine.users);
    EXPECT_EQ(read.bDitto, machine.bDitto);
    ASSERT_EQ(read.entries.size(), machine.entries.size());
    for (const auto& [name, entry] : machine.entries) {
        EXPECT_EQ(read.entries.at(name).type, entry.type) << name;
        EXPECT_EQ(read.entries.at(name).text, entry.text) << name;
    }
}
