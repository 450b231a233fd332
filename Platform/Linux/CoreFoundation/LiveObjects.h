#pragma once

#include <cstddef>

/// The number of CoreFoundation objects that exist now. For tests that look for leaks.
std::size_t liveCoreFoundationObjects();
