#include "Utility/InstallInspector/Report/JsonWriter.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace {

bool isJsonAsItIs(const std::string& text) {
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
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
    writeQuoted(text);
}

void JsonWriter::text(const char* name, const std::string& value) {
    startValue(name);
    writeQuoted(value);
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
    output.write({&bracket, 1});
    filled.push_back(false);
}

void JsonWriter::end(char bracket) {
    const bool bFilled = filled.back();
    filled.pop_back();
    if (bFilled) {
        startLine();
    }
    output.write({&bracket, 1});
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
        writeQuoted(name);
        output.write(": ");
    }
}

void JsonWriter::startLine() {
    output.write("\n");
    for (std::size_t level = 0; level < filled.size(); ++level) {
        output.write("  ");
    }
}

void JsonWriter::writeQuoted(const std::string& text) {
    if (isJsonAsItIs(text)) {
        output.write("\"");
        output.write(text);
        output.write("\"");
    } else {
        output.write(nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace));
    }
}
