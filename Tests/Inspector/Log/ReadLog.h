#pragma once

#include "Utility/InstallInspector/Log/LogReader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

/// What the reader makes of a log with that text.
inline RunLog readLog(std::string text, std::size_t room = LogReader::usualRoom) {
    LogReader reader(room);
    if (!text.empty()) {
        FILE* stream = fmemopen(text.data(), text.size(), "rb");
        EXPECT_TRUE(reader.read(stream));
        EXPECT_EQ(std::fclose(stream), 0);
    }
    return reader.finish();
}
