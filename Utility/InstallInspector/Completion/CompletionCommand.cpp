#include "Utility/InstallInspector/Completion/CompletionCommand.h"

#include "Utility/InstallInspector/Completion/CompletionScripts.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <map>

namespace {

using Script = std::string (*)(const ProgramSyntax&);

const std::map<std::string, Script>& scripts() {
    static const std::map<std::string, Script> byShell{
        {"bash", bashCompletion}, {"fish", fishCompletion}, {"zsh", zshCompletion}};
    return byShell;
}

} // namespace

std::vector<std::string> shellsWithCompletion() {
    std::vector<std::string> names;
    for (const auto& [name, script] : scripts()) {
        names.push_back(name);
    }
    return names;
}

int runCompletion(const std::string& shell, const ProgramSyntax& program) {
    return writeOutput(scripts().at(shell)(program)) ? Clean : CannotRun;
}
