#pragma once

#include "Foundation/SimpleLog.h"

#include <string>

/// Until the end of its scope the engine's log goes nowhere: what it says there is said in other words.
class QuietLog {
public:
    QuietLog() { SimpleLog::held = &log; }
    ~QuietLog() { SimpleLog::held = nullptr; }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    std::string log;
};
