#pragma once

#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/JsonWriter.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <string>
#include <vector>

const char* nameOf(Severity severity);

/// Each finding in three lines, and below them their number. `findings` must not be empty.
std::string printed(const std::vector<Finding>& findings, const Painter& painter);

/// Writes the members "errors", "warnings", "notes" and "findings".
void writeFindings(JsonWriter& json, const std::vector<Finding>& findings);

/// The same as cannotRun(message). With `bJson`, also prints an object with the verdict and the message as
/// "error".
int cannotRun(bool bJson, const std::string& message);
