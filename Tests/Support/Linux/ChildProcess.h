#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

/// Each function runs `body` in a child process with other rights or another environment. A failed
/// expectation in `body` fails the current test. Returns "", or the reason why the child cannot be started.

/// With `root` as its root folder, "/" as its working folder and "/Home" as $HOME. So fixed paths are inside
/// `root`.
std::string runInPrivateRoot(const std::filesystem::path& root, const std::function<void()>& body);
/// As a user without superuser rights.
std::string runAsOrdinaryUser(const std::function<void()>& body);
/// With a limit of `bytes` on file sizes. A longer write fails after a part, as on a full disk.
std::string runWithLargestFile(unsigned long bytes, const std::function<void()>& body);

/// Calls one of these functions. Skips the test if the child cannot be started.
#define RUN_OR_SKIP(...)                                                                                     \
    if (const std::string reason = __VA_ARGS__; !reason.empty()) {                                           \
        GTEST_SKIP() << reason;                                                                              \
    }                                                                                                        \
    static_assert(true)
