#include "Tests/Support/SchemaCheck.h"

#include "Tests/Support/FileTree.h"
#include "Tests/Support/RunProgram.h"
#include "Tests/Support/TemporaryDirectory.h"

const std::string& SchemaCheck::whyNot() {
    static const std::string reason =
        runProgram({"xmllint", "--version"}).exitStatus == 0 ? "" : "there is no xmllint here";
    return reason;
}

std::string SchemaCheck::mistakes(const std::string& schema,
                                  const std::vector<std::filesystem::path>& documents) {
    std::vector<std::string> command = {"xmllint", "--noout", "--nonet", "--schema",
                                        SCHEMAS_FOLDER "/" + schema};
    command.insert(command.end(), documents.begin(), documents.end());
    const ProgramResult result = runProgram(command);
    return result.exitStatus == 0 ? "" : "xmllint " + schema + ": " + result.standardError;
}

std::string SchemaCheck::mistakesInText(const std::string& schema, const std::string& text) {
    const TemporaryDirectory folder;
    const std::filesystem::path file = folder.path() / "document.xml";
    FileTree::write(file, text);
    return mistakes(schema, {file});
}
