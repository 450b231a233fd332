#include "Utility/InstallInspector/Report/JsonWriter.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

std::string quoted(const std::string& text) {
    const bool bPlain = std::all_of(text.begin(), text.end(),
                                    [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
    return bPlain ? '"' + text + '"'
                  : nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace

void JsonWriter::beginObject(const char* name) {
    begin(name, '{');
}

void JsonWriter::endObject() {
    end('}');
}

void JsonWriter::beginArray(const char* name) {
    begin(name, '[');
}

void JsonWriter::endArray() {
    end(']');
}

void JsonWriter::element(const std::string& text) {
    startValue(nullptr);
    output.write(quoted(text));
}

void JsonWriter::text(const char* name, const std::string& value) {
    startValue(name);
    output.write(quoted(value));
}

void JsonWriter::number(const char* name, long value) {
    startValue(name);
    output.write(std::to_string(value));
}

void JsonWriter::flag(const char* name, bool bValue) {
    startValue(name);
    output.write(bValue ? "true" : "false");
}

void JsonWriter::begin(const char* name, char bracket) {
    startValue(name);
    output.write(std::string(1, bracket));
    filled.push_back(false);
}

void JsonWriter::end(char bracket) {
    const bool bFilled = filled.back();
    filled.pop_back();
    if (bFilled) {
        startLine();
    }
    output.write(std::string(1, bracket));
    if (filled.empty()) {
        output.write("\n");
    }
}

void JsonWriter::startValue(const char* name) {
    if (filled.empty()) {
        return; // the document itself
    }
    if (filled.back()) {
        output.write(",");
    }
    filled.back() = true;
    startLine();
    if (name != nullptr) {
        output.write(quoted(name) + ": ");
    }
}

void JsonWriter::startLine() {
    output.write("\n" + std::string(2 * filled.size(), ' '));
}
