#pragma once

#include "Foundation/VLString.h"

#include <string>
#include <vector>

/// An error always does harm. A warning may be intended. A note does no harm and does not change the exit
/// status.
enum class Severity { Error, Warning, Note };

struct Location {
    /// Findings are sorted in this order.
    enum class Document { Definition, Targets, Source, Record };

    Document document = Document::Definition;
    std::string file;
    int line = 0; ///< from 1; 0 for the whole file
    int column = 0;
};

/// One result of a rule: a mistake, or something that may be one.
struct Finding {
    Location where;
    std::string rule;
    Severity severity = Severity::Error;
    std::string message;              ///< what is wrong, without a full stop
    std::string consequence;          ///< the effect on a run
    std::string advice;               ///< how to correct it
    std::vector<std::string> paths{}; ///< all paths that it is about, on this machine or in the record
    std::string install{};            ///< ID of the product whose install corrects it; may be empty
};

/// Adds the findings of one rule to a list.
class Report {
public:
    /// `Rule` has the members `name` and `severity`. `list` must outlive this object.
    template <class Rule>
    Report(const Rule& rule, std::vector<Finding>& list)
        : name(rule.name), severity(rule.severity), findings(list) {}

    /// See Finding for the three texts and the paths. Returns the finding. It is valid until the next report.
    Finding& operator()(const Location& where, std::string message, std::string consequence,
                        std::string advice, std::vector<std::string> paths = {}) const;
    /// For findings of this rule with a lower severity than usual.
    Report as(Severity lowered) const;

private:
    const char* name;
    Severity severity;
    std::vector<Finding>& findings;
};

/// By document, file, line and column.
void sortFindings(std::vector<Finding>& findings);

/// The first 200 bytes of `text`, safe to print in one line of a terminal. Control characters and bytes that
/// are not UTF-8 become escapes like \n and \x1b.
std::string printableText(const VLString& text);
/// The same between double quotes.
std::string quotedText(const VLString& text);
/// The whole `text` with the same escapes, without quotes.
std::string printable(const std::string& text);

std::string toString(const VLString& text);
VLString toVLString(const std::string& text);
