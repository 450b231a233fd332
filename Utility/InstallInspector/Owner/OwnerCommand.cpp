#include "Utility/InstallInspector/Owner/OwnerCommand.h"

#include "Utility/InstallInspector/Documents/OtherHomes.h"
#include "Utility/InstallInspector/Documents/QuietLog.h"
#include "Utility/InstallInspector/Owner/Owners.h"

#include <algorithm>
#include <list>
#include <utility>

namespace {

bool isUnknown(const OwnerAnswer& answer) {
    return answer.kind == OwnerAnswer::Kind::Unknown;
}

/// Asks as the user in whose home the file lies. The answer is valid as long as `others`.
OwnerAnswer askInOtherHomes(OwnerAnswer answer, std::list<Owners>& others) {
    for (const std::string& home : otherHomes()) {
        if (answer.asked.compare(0, home.size() + 1, home + "/") != 0) {
            continue;
        }
        const OtherHome asUser(home);
        others.emplace_back();
        OwnerAnswer other = others.back().ask(answer.asked);
        if (!isUnknown(other)) {
            other.notes.push_back("It lies in the home " + quotedText(toVLString(home)) +
                                  ": only an uninstall by that user looks there.");
            return other;
        }
    }
    return answer;
}

} // namespace

int runOwner(const OwnerOptions& options) {
    const QuietLog quiet;
    Owners owners;
    std::list<Owners> others;
    std::vector<OwnerAnswer> answers;
    for (const std::string& path : options.paths) {
        OwnerAnswer answer = owners.ask(path);
        answers.push_back(isUnknown(answer) ? askInOtherHomes(std::move(answer), others) : std::move(answer));
    }
    Output output;
    if (options.bJson) {
        writeJson(answers, output);
    } else {
        writeText(answers, Painter::forFile(stdout), output);
    }
    if (!output.finish()) {
        return CannotRun;
    }
    return std::any_of(answers.begin(), answers.end(), isUnknown) ? HasFindings : Clean;
}
