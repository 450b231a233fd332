#pragma once

#include <string>

/// `text` with every "DEBUG: FILE,LINE:FUNCTION " as "DEBUG: ", so that expectations do not change with the
/// code.
std::string withoutDebugPlaces(const std::string& text);
