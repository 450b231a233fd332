#include "Fuzz/Support/FuzzTarget.h"
#include "Fuzz/Support/ScratchFolder.h"
#include "Utility/InstallUtility/XMLDocument.h"
#include "Utility/InstallUtility/XMLTextCheck.h"

#include <algorithm>
#include <string>

using Fuzz::require;

namespace {

void checkLimits(const TiXmlNode& node, unsigned long depth) {
    if (const TiXmlElement* element = node.ToElement()) {
        require(++depth <= XMLTextCheck::maxDepth, "no element is nested too deep");
        unsigned long attributes = 0;
        for (const auto* a = element->FirstAttribute(); a != nullptr; a = a->Next()) {
            ++attributes;
        }
        require(attributes <= XMLTextCheck::maxAttributes, "no element has too many attributes");
    }
    for (const TiXmlNode* child = node.FirstChild(); child != nullptr; child = child->NextSibling()) {
        checkLimits(*child, depth);
    }
}

std::string printed(const TiXmlDocument& document) {
    TiXmlPrinter printer;
    printer.SetStreamPrinting(); // what is nested deep would be indented without end
    document.Accept(&printer);
    return printer.Str();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Fuzz::ScratchFolder scratch;
    const VLString text = Fuzz::Input(data, size).text();
    TiXmlDocument document;
    const bool bParsed = XMLDocument::Parse(text, document);
    require(bParsed || document.NoChildren(), "what is malformed leaves nothing");
    checkLimits(document, 0);

    const std::string first = printed(document);
    require(XMLDocument::Parse(text, document) == bParsed && printed(document) == first,
            "nothing of an earlier document stays");
    if (text.IsSet() && Fuzz::view(text).find('\r') == std::string_view::npos) {
        require(XMLDocument::Load(scratch.write("text.xml", Fuzz::view(text)), document) == bParsed &&
                    printed(document) == first,
                "a file reads as its text");
    }
    return 0;
}
