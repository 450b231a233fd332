#pragma once

#include "Foundation/VLString.h"

#include <string>
#include <vector>

/// An error does harm as it stands; a warning may be meant.
enum class Severity { Error, Warning };

struct Location {
    /// Where it comes in a list of findings: in this order.
    enum class Document { Definition, Targets, Source, Record };

    Document document = Document::Definition;
    std::string file;
    int line = 0; ///< from 1; 0 for the file as a whole
    int column = 0;
};

/// One mistake.
struct Finding {
    Location where;
    std::string rule;
    Severity severity = Severity::Error;
    std::string message;     ///< what is wrong, without a full stop
    std::string consequence; ///< what the engine will do because of it
    std::string advice;      ///< what to write instead
};

/// By document, file, line and column.
void sortFindings(std::vector<Finding>& findings);

/// `text` between double quotes, fit for a terminal and a line: control characters, and bytes that are no
/// UTF-8, as \n, \x1b and the like, and no more than its first 200 bytes.
std::string quotedText(const VLString& text);
/// The whole text, without quotes.
std::string printable(const std::string& text);

std::string toString(const VLString& text);
VLString toVLString(const std::string& text);
