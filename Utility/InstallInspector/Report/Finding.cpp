#include "Utility/InstallInspector/Report/Finding.h"

#include "Platform/Utf8.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace {

constexpr std::size_t longestShown = 200;

auto sortKey(const Finding& finding) {
    const Location& where = finding.where;
    return std::tie(where.document, where.file, where.line, where.column);
}

/// A quick test, because most texts are ASCII.
bool needsNoEscape(const std::string& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

std::string escaped(unsigned char byte) {
    static const char* const digits = "0123456789abcdef";
    switch (byte) {
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return std::string("\\x") + digits[byte >> 4U] + digits[byte & 0xFU];
    }
}

} // namespace

Finding& Report::operator()(const Location& where, std::string message, std::string consequence,
                            std::string advice, std::vector<std::string> paths) const {
    findings.push_back({where, name, severity, std::move(message), std::move(consequence), std::move(advice),
                        std::move(paths)});
    return findings.back();
}

Report Report::as(Severity lowered) const {
    Report report = *this;
    report.severity = lowered;
    return report;
}

void sortFindings(std::vector<Finding>& findings) {
    std::stable_sort(findings.begin(), findings.end(),
                     [](const Finding& a, const Finding& b) { return sortKey(a) < sortKey(b); });
}

std::string printableText(const VLString& text) {
    const std::string bytes = toString(text);
    if (bytes.size() <= longestShown) {
        return printable(bytes);
    }
    // A character that begins before the limit is not cut.
    std::size_t end = 0;
    while (end < longestShown) {
        end += std::max<std::size_t>(utf8Length(bytes, end), 1);
    }
    return printable(bytes.substr(0, end)) + (end < bytes.size() ? "..." : "");
}

std::string quotedText(const VLString& text) {
    return '"' + printableText(text) + '"';
}

std::string printable(const std::string& bytes) {
    if (needsNoEscape(bytes)) {
        return bytes;
    }
    std::string result;
    std::size_t index = 0;
    while (index < bytes.size()) {
        const std::size_t length = utf8Length(bytes, index);
        const auto byte = static_cast<unsigned char>(bytes[index]);
        // U+0080 to U+009F are control characters too.
        const bool bHighControl =
            length == 2 && byte == 0xC2 && static_cast<unsigned char>(bytes[index + 1]) < 0xA0;
        if (length == 0 || byte < 0x20 || byte == 0x7F || bHighControl) {
            result += escaped(byte);
            ++index;
        } else {
            result += bytes.substr(index, length);
            index += length;
        }
    }
    return result;
}

std::string toString(const VLString& text) {
    return {text.ConstData(), text.Size()};
}

VLString toVLString(const std::string& text) {
    return {text.data(), text.size()};
}
