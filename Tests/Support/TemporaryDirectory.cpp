#include "Tests/Support/TemporaryDirectory.h"

#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

TemporaryDirectory::TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "InstallUtilityTest.XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::runtime_error("cannot make " + pattern);
    }
    folder = pattern;
}

TemporaryDirectory::~TemporaryDirectory() {
    if (std::getenv("KEEP_TEST_FOLDERS") != nullptr) { // NOLINT(concurrency-mt-unsafe)
        std::cout << "kept " << folder << std::endl;
        return;
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
}
