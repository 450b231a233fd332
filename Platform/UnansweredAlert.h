#pragma once

#include "Foundation/VLString.h"

/// Logs, in one line, an alert that nobody could be asked about.
void logUnansweredAlert(const VLString& title, const VLString& text);
