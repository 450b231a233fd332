// Runs a target over kept inputs, with any compiler: each argument is a file, or a folder of files.

#include "Fuzz/Support/FuzzTarget.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

int inputs = 0;

void run(const std::filesystem::path& path) {
    // Said before, so that the last name is that of a finding.
    static_cast<void>(std::fprintf(stderr, "%s\n", path.c_str()));
    std::ifstream stream(path, std::ios::binary);
    Fuzz::require(stream.is_open(), "the input can be read");
    const std::string content{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    ++inputs;
}

} // namespace

int main(int argc, char** argv) {
    LLVMFuzzerTestOneInput(nullptr, 0);
    for (int i = 1; i < argc; ++i) {
        if (std::filesystem::is_directory(argv[i])) {
            for (const auto& entry : std::filesystem::directory_iterator(argv[i])) {
                run(entry.path());
            }
        } else {
            run(argv[i]);
        }
    }
    return inputs > 0 ? 0 : 1;
}
