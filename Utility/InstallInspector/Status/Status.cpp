#include "Utility/InstallInspector/Status/Status.h"

#include "Utility/InstallUtility/KnownNames.h"

#include <climits>

#include <algorithm>
#include <unistd.h>
#include <utility>

Finding& StatusReport::operator()(const Location& where, std::string message, std::string consequence,
                                  std::string advice, std::vector<std::string> paths) const {
    status.findings.push_back({where, rule.name, rule.severity, std::move(message), std::move(consequence),
                               std::move(advice), std::move(paths)});
    return status.findings.back();
}

namespace {

void ask(const std::vector<StatusRuleEntry>& rules, Status& status) {
    for (const StatusRuleEntry& entry : rules) {
        entry.inspect(status, StatusReport(entry.rule, status));
    }
}

/// With the definitions at hand "count-differs" and "in-no-definition" tell of each wrong count what it
/// should be. What can be said of it without them may be the opposite.
void leaveCountsToTheDefinitions(Status& status) {
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

/// Of two for one product, the one that was placed with what is recorded.
bool isBetter(const InstalledProduct& candidate, const InstalledProduct& taken, const Status& status) {
    const auto fits = [&](const InstalledProduct& product) {
        const auto& info = product.files.info();
        const int index = status.record.content.getProductIndex(info);
        if (index < 0) {
            return 0;
        }
        const auto& recorded = status.record.content.products[static_cast<unsigned long>(index)];
        return (recorded.build == info.build ? 1 : 0) + (recorded.name == info.name ? 1 : 0);
    };
    return fits(candidate) > fits(taken);
}

} // namespace

void Status::compareInstalled(const VLString& folder) {
    for (const auto& each : installed.all()) {
        const bool bForeign = each->isShared() && !(each->files.info().ID == SharedPackage::ID);
        if (!each->isReadable() || bForeign) {
            continue; // which rules of their own tell
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
    ask(recordRules(), *this);
    record.interpret();
    if (given.empty() && bThisMachine) {
        compareInstalled(folderAbove(toVLString(record.path)));
    }
    leaveCountsToTheDefinitions(*this);
    weighConditions(*this);
    if (bThisMachine) {
        ask(uninstallerRules(), *this);
    }
    ask(machineRules(), *this);
    if (contents.bVerified) {
        verifyContents(*this);
        ask(contentRules(), *this);
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

// What the rules share

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
    const std::size_t shown = std::min(most, texts.size());
    std::string text;
    for (std::size_t i = 0; i < shown; ++i) {
        const bool bLast = i + 1 == texts.size();
        text += (i == 0 ? "" : bLast ? " and " : ", ") + quotedText(toVLString(texts[i]));
    }
    return texts.size() > shown ? text + " and " + std::to_string(texts.size() - shown) + " more" : text;
}

std::string files(std::size_t count) {
    return counted(count, "file", "files");
}
