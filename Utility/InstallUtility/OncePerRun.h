#pragma once

#include "Foundation/VLString.h"

/// Prevents repeated log lines in a run, which reads the same values for each folder. A run has an object of
/// this class from its beginning to its end. An object inside the lifetime of another does nothing.
class OncePerRun {
public:
    OncePerRun();
    ~OncePerRun();
    OncePerRun(const OncePerRun&) = delete;
    OncePerRun& operator=(const OncePerRun&) = delete;

    /// Whether this is the first call with this text in the run. Always true outside a run.
    static bool isFirst(const VLString& text);
};
