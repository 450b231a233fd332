#pragma once

#include "Foundation/VLString.h"

/// Keeps a run from saying the same thing again and again, since it looks the same values up for each folder.
/// A run holds an object of this class from its beginning to its end; inside another one it does nothing.
class OncePerRun {
public:
    OncePerRun();
    ~OncePerRun();
    OncePerRun(const OncePerRun&) = delete;
    OncePerRun& operator=(const OncePerRun&) = delete;

    /// Whether this run has not asked with the same text before. Always true outside a run.
    static bool isFirst(const VLString& text);
};
