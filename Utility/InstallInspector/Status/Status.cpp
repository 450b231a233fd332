#include "Utility/InstallInspector/Status/Status.h"

#include "Utility/InstallUtility/KnownNames.h"

#include <climits>

#include <algorithm>
#include <unistd.h>

namespace {

void applyRules(const std::vector<StatusRuleEntry>& rules, Status& status) {
    for (const StatusRuleEntry& entry : rules) {
        entry.inspect(status, Report(entry.rule, status.findings));
    }
}

/// Removes the findings that guess from the record alone which count is wrong. With all definitions
/// available, "count-differs" and "in-no-definition" report the right count, which may be the opposite.
void removeGuessesAboutCounts(Status& status) {
    if (!isComplete(status)) {
        return;
    }
    auto& findings = status.findings;
    findings.erase(std::remove_if(findings.begin(), findings.end(),
                                  [](const Finding& finding) {
                                      return finding.rule == "count-above-products" ||
                                             finding.rule == "count-above-folder";
                                  }),
                   findings.end());
}

/// Compares two installed definitions of one product. The better one fits the recorded build and name.
bool isBetter(const InstalledProduct& candidate, const InstalledProduct& chosen, const Status& status) {
    const auto fits = [&](const InstalledProduct& product) {
        const auto& info = product.files.info();
        const int index = status.record.content.getProductIndex(info);
        if (index < 0) {
            return 0;
        }
        const auto& recorded = status.record.content.products[static_cast<unsigned long>(index)];
        return (recorded.build == info.build ? 1 : 0) + (recorded.name == info.name ? 1 : 0);
    };
    return fits(candidate) > fits(chosen);
}

} // namespace

void Status::compareInstalled(const VLString& folder) {
    for (const auto& each : installed.all()) {
        const bool bForeign = each->isShared() && !(each->files.info().ID == SharedPackage::ID);
        if (!each->isReadable() || bForeign) {
            continue; // other rules report these
        }
        if (!isSameFolder(each->files.statusFolder(), folder)) {
            elsewhere.push_back(each.get());
            continue;
        }
        const auto known = std::find_if(products.begin(), products.end(), [&](const PlacedProduct* product) {
            return product->info().ID == each->files.info().ID;
        });
        if (known == products.end()) {
            products.push_back(&each->files);
        } else if (isBetter(*each, *installedOf(**known), *this)) {
            *known = &each->files;
        }
    }
}

void Status::inspect() {
    applyRules(recordRules(), *this);
    record.interpret();
    if (given.empty() && bThisMachine) {
        compareInstalled(folderAbove(toVLString(record.path)));
    }
    removeGuessesAboutCounts(*this);
    findConditions(*this);
    if (bThisMachine) {
        applyRules(uninstallerRules(), *this);
    }
    applyRules(machineRules(), *this);
    if (contents.bVerified) {
        verifyContents(*this);
        applyRules(contentRules(), *this);
    }
    sortFindings(findings);
}

bool Status::isNothingInstalled() const {
    return bThisMachine && record.state == Record::State::Missing && installed.all().empty() &&
           findings.empty();
}

const InstalledProduct* Status::installedOf(const PlacedProduct& product) const {
    for (const auto& each : installed.all()) {
        if (&each->files == &product) {
            return each.get();
        }
    }
    return nullptr;
}

std::vector<StatusRule> allStatusRules() {
    std::vector<StatusRule> rules;
    for (const auto* group : {&recordRules(), &uninstallerRules(), &machineRules(), &contentRules()}) {
        for (const StatusRuleEntry& entry : *group) {
            rules.push_back(entry.rule);
        }
    }
    return rules;
}

// Shared by the rules

VLString targetOfLink(const VLString& link) {
    char target[PATH_MAX];
    const ssize_t length = readlink(link.ConstData(), target, sizeof target);
    return length < 0 ? VLString() : VLString(target, static_cast<unsigned long>(length));
}

std::string quoted(const SKUDefinition::SKUInfo& info) {
    return quotedText(info.ID.IsSet() ? info.ID : info.name);
}

std::string firstFew(const std::vector<std::string>& texts) {
    constexpr std::size_t most = 3;
    const std::size_t listed = std::min(most, texts.size());
    std::string text;
    for (std::size_t i = 0; i < listed; ++i) {
        const bool bLast = i + 1 == texts.size();
        text += (i == 0 ? "" : bLast ? " and " : ", ") + quotedText(toVLString(texts[i]));
    }
    return texts.size() > listed ? text + " and " + std::to_string(texts.size() - listed) + " more" : text;
}

std::string files(std::size_t count) {
    return counted(count, "file", "files");
}
