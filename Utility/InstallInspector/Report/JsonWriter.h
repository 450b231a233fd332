#pragma once

#include "Utility/InstallInspector/Report/Output.h"

#include <string>
#include <vector>

/// Writes a JSON document piece by piece. Members keep the order of the calls, each level is indented by two
/// blanks, and the document ends with a line feed. Bytes that are not UTF-8 become U+FFFD.
class JsonWriter {
public:
    /// `toWriteTo` must outlive this object.
    explicit JsonWriter(Output& toWriteTo) : output(toWriteTo) {}

    // `name` is the name of a member of the open object. Without a name, the value is the document itself or
    // an element of the open array.

    void beginObject(const char* name = nullptr);
    void endObject();
    void beginArray(const char* name = nullptr);
    void endArray();

    void element(const std::string& text);
    void text(const char* name, const std::string& value);
    void number(const char* name, long value);
    void flag(const char* name, bool bValue);

private:
    void begin(const char* name, char bracket);
    void end(char bracket);
    /// Writes what comes before a value: comma, line break and name.
    void startValue(const char* name);
    void startLine();
    void writeQuoted(const std::string& text);

    Output& output;
    std::vector<bool> filled; ///< for each open object or array, whether it has content
};
