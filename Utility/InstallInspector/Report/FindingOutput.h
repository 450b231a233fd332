#pragma once

#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <string>
#include <vector>

const char* nameOf(Severity severity);

/// As `quotedText`, without the quotes.
std::string printableText(const VLString& text);

/// Each finding in three lines, and below them how many there are. There has to be one.
std::string printed(const std::vector<Finding>& findings, const Painter& painter);

/// Adds the members "errors", "warnings" and "findings".
void addFindings(nlohmann::ordered_json& document, const std::vector<Finding>& findings);
