#include "Tests/Support/PreferenceFile.h"

#include "Tests/Support/RunProgram.h"

#include <cstdio>
#include <stdexcept>

PreferenceFile::PreferenceFile(const VLString& filePath, const std::string& content, Format format)
    : path(filePath) {
    const char* script = "import ast, plistlib, sys\n"
                         "content = ast.literal_eval(sys.stdin.read())\n"
                         "with open(sys.argv[1], 'wb') as file:\n"
                         "    plistlib.dump(content, file, fmt=getattr(plistlib, sys.argv[2]))\n";
    ProgramOptions options;
    options.standardInput = content;
    const ProgramResult result = runProgram(
        {"python3", "-c", script, path.ConstData(), format == Format::XML ? "FMT_XML" : "FMT_BINARY"},
        options);
    if (result.exitStatus != 0) {
        throw std::runtime_error("cannot write a property list: " + result.standardError);
    }
}

PreferenceFile::~PreferenceFile() {
    static_cast<void>(std::remove(path.ConstData()));
}
