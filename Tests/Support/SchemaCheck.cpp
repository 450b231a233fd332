#include "Tests/Support/SchemaCheck.h"

#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/Sources.h"
#include "Tests/Support/TemporaryDirectory.h"

#include <algorithm>

const std::string& SchemaCheck::whyNot() {
    static const std::string reason =
        runProgram({"xmllint", "--version"}).exitStatus == 0 ? "" : "there is no xmllint here";
    return reason;
}

std::string SchemaCheck::mistakes(const std::string& schema,
                                  const std::vector<std::filesystem::path>& documents) {
    // A command takes only so many arguments.
    constexpr std::size_t mostAtOnce = 1000;
    for (std::size_t first = 0; first < documents.size(); first += mostAtOnce) {
        std::vector<std::string> command = {"xmllint", "--noout", "--nonet", "--schema",
                                            inSources("Schemas/") + schema};
        const std::size_t end = std::min(first + mostAtOnce, documents.size());
        for (std::size_t i = first; i < end; ++i) {
            command.push_back(documents[i]);
        }
        const ProgramResult result = runProgram(command);
        if (result.exitStatus != 0) {
            return "xmllint " + schema + ": " + result.standardError;
        }
    }
    return "";
}

std::string SchemaCheck::mistakesInText(const std::string& schema, const std::string& text) {
    const TemporaryDirectory folder;
    const std::filesystem::path file = folder.path() / "document.xml";
    FileTree::write(file, text);
    return mistakes(schema, {file});
}
