#pragma once

#include "Foundation/SimpleLog.h"

#include <string>
#include <utility>

/// Discards the engine's log while it lives. The inspector reports the same facts in its own words.
class QuietLog {
public:
    QuietLog() : before(std::exchange(SimpleLog::held, &log)) {}
    ~QuietLog() { SimpleLog::held = before; }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    std::string log;
    std::string* before;
};
