#pragma once

#include "Foundation/VLString.h"

#include <string>
#include <vector>

/// An error does harm in any case. A warning may be intended. A note does no harm and does not count for the
/// exit status.
enum class Severity { Error, Warning, Note };

struct Location {
    /// Findings are sorted in this order.
    enum class Document { Definition, Targets, Source, Record };

    Document document = Document::Definition;
    std::string file;
    int line = 0; ///< from 1; 0 for the whole file
    int column = 0;
};

/// A mistake.
struct Finding {
    Location where;
    std::string rule;
    Severity severity = Severity::Error;
    std::string message;              ///< what is wrong, without a full stop
    std::string consequence;          ///< the effect on a run
    std::string advice;               ///< how to correct it
    std::vector<std::string> paths{}; ///< all that it is about, on this machine or else in the record
    std::string install{};            ///< the ID of the product of which an install mends it; empty for none
};

/// By document, file, line and column.
void sortFindings(std::vector<Finding>& findings);

/// `text`, fit for a terminal and a line: control characters, and bytes that are no UTF-8, as \n, \x1b and
/// the like, and no more than its first 200 bytes.
std::string printableText(const VLString& text);
/// The same between double quotes.
std::string quotedText(const VLString& text);
/// The same, without quotes and not cut.
std::string printable(const std::string& text);

std::string toString(const VLString& text);
VLString toVLString(const std::string& text);
