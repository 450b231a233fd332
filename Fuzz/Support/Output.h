#pragma once

#include "Fuzz/Support/FuzzTarget.h"

#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace Fuzz {

/// Redirects standard output of the whole program to a temporary file.
class Output {
public:
    Output() {
        std::FILE* unnamed = std::tmpfile();
        require(unnamed != nullptr && dup2(fileno(unnamed), STDOUT_FILENO) >= 0, "output can be redirected");
        static_cast<void>(std::fclose(unnamed));
    }

    /// The output since the last call.
    std::string take() {
        const off_t size = lseek(STDOUT_FILENO, 0, SEEK_CUR);
        std::string text(static_cast<std::size_t>(size), '\0');
        require(pread(STDOUT_FILENO, text.data(), text.size(), 0) == size, "output can be read");
        require(ftruncate(STDOUT_FILENO, 0) == 0 && lseek(STDOUT_FILENO, 0, SEEK_SET) == 0,
                "output can be emptied");
        return text;
    }
};

} // namespace Fuzz
