#pragma once

#include "Utility/InstallInspector/Status/Status.h"

#include <string>
#include <vector>

// What the texts and pages about a record share.

/// What has become of a recorded path, in words.
struct ConditionText {
    const char* text; ///< empty for what needs no word
    const char* json;
    Status::Condition condition;
    Colour colour;
};

const ConditionText& textOf(Status::Condition condition);
Status::Condition conditionOf(const Status& status, const Record::Node& node);

Colour colourOf(Status::ContentFault::Kind kind);

/// The children as people look for them; the record has the longest names first.
std::vector<const Record::Node*> byName(const Record::Node& parent);
/// Where the compared products have the path, each place once.
std::vector<std::string> placesOf(const Status& status, const VLString& treePath);
/// What the record and the findings come to.
std::string outcomeOf(const Status& status);

std::string asHtml(const Status& status);
