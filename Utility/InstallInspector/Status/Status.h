#pragma once

#include "Utility/InstallInspector/Documents/PlacedProduct.h"
#include "Utility/InstallInspector/Documents/Record.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

/// A record, and the products whose files it is compared with, if any.
struct Status {
    /// What has become of a recorded path, as far as the given products tell.
    enum class Condition { Unknown, There, Missing, OtherKind, LeftBehind, NoTarget };

    Record record;
    std::vector<std::unique_ptr<PlacedProduct>> products;

    // What `inspect` finds out:
    std::map<const Record::Node*, Condition> conditions;
    std::vector<Finding> findings;

    /// Asks all rules, and takes the record's document down between those that look at it and the others.
    void inspect();
};

/// One kind of finding of `status`. Like those of `check` they have a function and a line in the table of
/// their group, and the tests ask for their names in the man page.
struct StatusRule {
    const char* name; ///< in kebab case; never changed, since scripts rely on it
    Severity severity;
    const char* summary; ///< one line, for lists of rules
};

/// Takes the findings of one rule.
class StatusReport {
public:
    StatusReport(const StatusRule& reportedRule, Status& inspected) : rule(reportedRule), status(inspected) {}

    /// See Finding for the three texts.
    void operator()(const Location& where, std::string message, std::string consequence,
                    std::string advice) const;

private:
    const StatusRule& rule;
    Status& status;
};

struct StatusRuleEntry {
    StatusRule rule;
    void (*inspect)(Status& status, const StatusReport& report);
};

const std::vector<StatusRuleEntry>& recordRules();  ///< RecordRules.cpp: the record by itself
const std::vector<StatusRuleEntry>& machineRules(); ///< MachineRules.cpp: against products and this machine

/// Fills `conditions`.
void weighConditions(Status& status);

std::vector<StatusRule> allStatusRules();

void writeText(const Status& status, const Painter& painter, Output& output);
void writeJson(const Status& status, Output& output);
