#pragma once

#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <string>
#include <vector>

const char* nameOf(Severity severity);

/// Like quotedText, without the quotes.
std::string printableText(const VLString& text);

/// Each finding in three lines, then the number of findings. `findings` must not be empty.
std::string printed(const std::vector<Finding>& findings, const Painter& painter);

/// Adds the members "errors", "warnings" and "findings".
void addFindings(nlohmann::ordered_json& document, const std::vector<Finding>& findings);
