#include "Foundation/SimpleLog.h"
#include "Foundation/VLString.h"
#include "Fuzz/Support/FuzzTarget.h"
#include "Fuzz/Support/Output.h"

#include <string>

using Fuzz::require;
using Fuzz::view;

namespace {

constexpr std::size_t longestFormatted = 510;
constexpr std::size_t longestMessage = 10239;

/// The line as a second formatting without arguments leaves it.
std::string withoutDoubledPercents(std::string line) {
    for (std::size_t found = line.find("%%"); found != std::string::npos;
         found = line.find("%%", found + 1)) {
        line.erase(found, 1);
    }
    return line;
}

void checkLog(const std::string& text, Fuzz::Output& output) {
    SimpleLog::printLog(SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__, "%s", text.c_str());
    require(output.take() == withoutDoubledPercents("Warning: " + text.substr(0, longestMessage) + "\n"),
            "a log line is its text, formatted once more without arguments");

    SimpleLog::bEnableDebugLogs = true;
    SimpleLog::printLog(SimpleLog::Debug, text.c_str(), text.c_str(), -1, "%.3s", text.c_str());
    require(output.take() ==
                withoutDoubledPercents("DEBUG: " + text + ",-1:" + text + " " + text.substr(0, 3) + "\n"),
            "a debug line names its place");

    SimpleLog::printText("%s", text.c_str());
    require(output.take() == text, "printed text stays as it is");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Fuzz::Output output;
    const VLString text = Fuzz::Input(data, size).text();
    VLString formatted;
    require(view(formatted.FromFormat("%s", text.ConstData())) == view(text).substr(0, longestFormatted),
            "an argument is taken as it is and cut");
    require(formatted.FromFormat("<%5.3s|%s>", text.ConstData(), text.ConstData()).Size() <= longestFormatted,
            "formatted text is cut");

    const VLUnicodeString wide = text.GetUnicode();
    require(view(wide.ToUTF8()) == view(text), "text comes back from its wide form");
    VLUnicodeString wideFormatted;
    require(wideFormatted.FromFormat(L"%ls", wide.ConstData()) == wide.Substr(0, longestFormatted),
            "a wide argument is taken as it is and cut");

    checkLog(std::string(view(text)), output);
    return 0;
}
