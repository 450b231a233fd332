#pragma once

#include "Foundation/VLString.h"

// Arguments are passed by value, because other programs link these functions with their own declarations.

/// If `install` is set, places the uninstaller of the product: a copy of this program's bundle with both XML
/// files. Otherwise removes it. For the shared product COMMON, places or removes the link to the Application
/// Manager. On failure, logs an error; the result of the run does not change.
void postflight(VLString skuXmlPath, VLString targetPathsXmlPath, bool install);

/// Shows an alert with the buttons "Retry" and "Cancel". Returns true for Retry, and false if nobody can be
/// asked.
bool showRetryCancelAlert(VLString title, VLString text);
