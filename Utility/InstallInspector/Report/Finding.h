#pragma once

#include "Foundation/VLString.h"

#include <string>
#include <vector>

/// An error does harm in any case. A warning may be intended.
enum class Severity { Error, Warning };

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
    std::string message;     ///< what is wrong, without a full stop
    std::string consequence; ///< the effect on a run
    std::string advice;      ///< how to correct it
};

/// By document, file, line and column.
void sortFindings(std::vector<Finding>& findings);

/// `text` between double quotes, safe for a terminal and for one line. Control characters and bytes that are
/// not UTF-8 become \n, \x1b and so on. Cut after 200 bytes.
std::string quotedText(const VLString& text);
/// The same, without quotes and not cut.
std::string printable(const std::string& text);

std::string toString(const VLString& text);
VLString toVLString(const std::string& text);
