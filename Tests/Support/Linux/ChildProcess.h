#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

/// Each of these runs `body` in a child process with other rights or surroundings than the test has. A failed
/// expectation in `body` fails the running test. The result is empty, or says why there is no such process.

/// With `root` as its root folder, "/" as its working folder and "/Home" as $HOME, so that fixed paths lead
/// into `root`.
std::string runInPrivateRoot(const std::filesystem::path& root, const std::function<void()>& body);
/// As a user who may not read and write everything.
std::string runAsOrdinaryUser(const std::function<void()>& body);
/// Unable to make any file longer than `bytes`: a write that would fails halfway, as on a full disk.
std::string runWithLargestFile(unsigned long bytes, const std::function<void()>& body);

/// Calls one of them, and skips the test when there is no such process.
#define RUN_OR_SKIP(...)                                                                                     \
    if (const std::string reason = __VA_ARGS__; !reason.empty()) {                                           \
        GTEST_SKIP() << reason;                                                                              \
    }                                                                                                        \
    static_assert(true)
