#pragma once

#include "Foundation/VLString.h"

// Both take their texts by value: a program that links them may declare them itself, in this form.

/// Places the product's uninstaller after an install, a copy of the bundle that holds this program together
/// with both XML files, or removes it before an uninstall (`install` false). For the shared product COMMON it
/// places or removes the link to the Application Manager instead. What goes wrong is logged and changes no
/// run's result.
void postflight(VLString skuXmlPath, VLString targetPathsXmlPath, bool install);

/// Shows the user an alert with the buttons "Retry" and "Cancel"; true for Retry. Where nobody can answer,
/// Cancel.
bool showRetryCancelAlert(VLString title, VLString text);
