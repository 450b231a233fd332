#pragma once

#include <cstddef>

/// How many CoreFoundation objects exist. What is released as often as it was made leaves the number as it
/// was.
std::size_t liveCoreFoundationObjects();
