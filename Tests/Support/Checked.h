#pragma once

#include <cerrno>
#include <system_error>

/// The result of a system call. Throws if it has failed; `what` is the call's name.
inline int checked(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
    return result;
}
