#pragma once

#include "Utility/InstallInspector/Report/Output.h"

#include <string>
#include <vector>

/// Writes a JSON document piece by piece: members in the order in which they come, two blanks of indentation
/// for each level, a line feed at the end. Bytes that are no UTF-8 become U+FFFD.
class JsonWriter {
public:
    /// `toWriteTo` must outlive this object.
    explicit JsonWriter(Output& toWriteTo) : output(toWriteTo) {}

    // `name` is that of a member of the object that is open. Without one, what is written is the document
    // itself or an element of the array that is open.

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
    /// Whatever stands before a value.
    void startValue(const char* name);
    void startLine();
    void writeQuoted(const std::string& text);

    Output& output;
    std::vector<bool> filled; ///< for each object and array that is open, whether anything is in it
};
