#include "Utility/InstallInspector/Status/StatusWords.h"

#include <algorithm>

const ConditionText& textOf(Status::Condition condition) {
    static const ConditionText texts[] = {
        {"", "", Status::Condition::Unknown, Colour::Dim},
        {"", "there", Status::Condition::There, Colour::Dim},
        {"missing", "missing", Status::Condition::Missing, Colour::Red},
        {"changed", "changed", Status::Condition::OtherKind, Colour::Red},
        {"left behind", "left behind", Status::Condition::LeftBehind, Colour::Red},
        {"other home", "other home", Status::Condition::OtherHome, Colour::Red},
        {"no target here", "no target", Status::Condition::NoTarget, Colour::Dim},
        {"not verified", "not verified", Status::Condition::NotVerified, Colour::Yellow},
        {"foreign files", "foreign", Status::Condition::ForeignContent, Colour::Yellow},
        {"older", "older", Status::Condition::OlderContent, Colour::Red},
        {"other content", "other content", Status::Condition::OtherContent, Colour::Red},
        {"truncated", "truncated", Status::Condition::Truncated, Colour::Red},
    };
    return *std::find_if(std::begin(texts), std::end(texts),
                         [condition](const ConditionText& text) { return text.condition == condition; });
}

Status::Condition conditionOf(const Status& status, const Record::Node& node) {
    const auto found = status.conditions.find(&node);
    return found == status.conditions.end() ? Status::Condition::Unknown : found->second;
}

Colour colourOf(Status::ContentFault::Kind kind) {
    using FaultKind = Status::ContentFault::Kind;
    const bool bDoubt =
        kind == FaultKind::Foreign || kind == FaultKind::Unreadable || kind == FaultKind::UnknownBuild;
    return bDoubt ? Colour::Yellow : Colour::Red;
}

std::vector<const Record::Node*> byName(const Record::Node& parent) {
    std::vector<std::pair<std::string, const Record::Node*>> named;
    named.reserve(parent.children.size());
    for (const Record::Node* child : parent.children) {
        named.emplace_back(toString(child->recorded->name.ToLower()), child);
    }
    std::sort(named.begin(), named.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<const Record::Node*> children;
    children.reserve(named.size());
    for (const auto& [name, child] : named) {
        children.push_back(child);
    }
    return children;
}

std::vector<std::string> placesOf(const Status& status, const VLString& treePath) {
    std::vector<std::string> places;
    for (const auto& product : status.products) {
        if (const auto* spot = product->find(treePath)) {
            for (const auto& place : spot->places) {
                const std::string path = toString(place.path);
                if (std::find(places.begin(), places.end(), path) == places.end()) {
                    places.push_back(path);
                }
            }
        }
    }
    return places;
}

std::string outcomeOf(const Status& status) {
    switch (status.record.state) {
    case Record::State::Missing:
        return status.isNothingInstalled() ? "Nothing is installed."
               : status.findings.empty()   ? "There is no record here: no product is installed."
                                           : "There is no record here.";
    case Record::State::Unreadable:
        return "The record is there, but the engine cannot read it.";
    case Record::State::Readable:
        break;
    }
    switch (verdictOf(status.findings)) {
    case Verdict::Harm:
        return "The record, the products and this machine do not agree.";
    case Verdict::CannotTell:
        return "No harm is found, but not all could be compared or is certain.";
    case Verdict::Safe:
        break;
    }
    return status.products.empty() ? "The record is sound." : "The record and this machine agree.";
}
