#pragma once

#include "Utility/InstallInspector/Status/Status.h"

#include <string>
#include <vector>

// Shared by the texts and the pages about a record.

/// The words and the colour for the condition of a recorded path.
struct ConditionText {
    const char* text; ///< empty for a condition that is not printed
    const char* json;
    Status::Condition condition;
    Colour colour;
};

const ConditionText& textOf(Status::Condition condition);
Status::Condition conditionOf(const Status& status, const Record::Node& node);

Colour colourOf(Status::ContentFault::Kind kind);

/// The children, sorted by name without regard to case. The record has the longest names first.
std::vector<const Record::Node*> byName(const Record::Node& parent);
/// The paths on this machine where the compared products put `treePath`, each once.
std::vector<std::string> placesOf(const Status& status, const VLString& treePath);
/// One sentence that sums up the record and the findings.
std::string outcomeOf(const Status& status);

std::string asHtml(const Status& status);
