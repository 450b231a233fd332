#pragma once

#include <string>

/// `text` with "DEBUG: " in place of every "DEBUG: FILE,LINE:FUNCTION ", which changes with the code.
std::string withoutDebugPlaces(const std::string& text);
