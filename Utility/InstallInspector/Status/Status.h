#pragma once

#include "Utility/InstallInspector/Documents/InstalledProducts.h"
#include "Utility/InstallInspector/Documents/PlacedProduct.h"
#include "Utility/InstallInspector/Documents/Record.h"
#include "Utility/InstallInspector/Documents/RecordFolder.h"
#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"
#include "Utility/InstallInspector/Report/Verdict.h"

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// A record, and the products whose files it is compared with, if any.
struct Status {
    /// What has become of a recorded path, as far as the compared products tell. Of several the last in this
    /// list counts.
    enum class Condition {
        Unknown,
        NoTarget,
        There,
        NotVerified, ///< this and those of content are told only when contents are verified
        ForeignContent,
        OtherHome,
        OlderContent,
        OtherContent,
        Truncated,
        Missing,
        OtherKind,
        LeftBehind
    };
    /// A file on this machine that is another one than the manifests of the compared products say.
    struct ContentFault {
        enum class Kind {
            Missing,     ///< of a whole folder
            Truncated,   ///< shorter than its manifest says
            Older,       ///< that of an older build
            Changed,     ///< of other content
            Foreign,     ///< in a whole folder, and in no manifest
            Unreadable,  ///< it cannot be known what it is
            UnknownBuild ///< the manifest of its recorded build is not at hand
        };
        Kind kind;
        std::string path;             ///< on this machine
        std::string text;             ///< what is the matter, to stand behind the path
        VLString treePath;            ///< of the entry
        const PlacedProduct* product; ///< the one that says otherwise
    };
    /// What the manifests in the definitions say of the files on this machine.
    struct Contents {
        bool bVerified = false;           ///< whether it was asked for; all the rest is empty otherwise
        std::size_t files = 0;            ///< that were compared
        std::vector<ContentFault> faults; ///< by path
        /// Files and whole folders of which no definition has a manifest, by product.
        std::map<const PlacedProduct*, std::vector<std::string>> withoutManifest;
    };

    Record record;
    /// Whether the record is that of the machine in use: what all products leave there is compared, too.
    bool bThisMachine = false;
    InstalledProducts installed;
    std::vector<std::unique_ptr<PlacedProduct>> given;
    /// Those that are compared, of the installed or of the given ones.
    std::vector<PlacedProduct*> products;
    /// Installed products that are not compared since they keep their record in another folder.
    std::vector<const InstalledProduct*> elsewhere;

    // What `inspect` finds out:
    std::map<const Record::Node*, Condition> conditions;
    /// Files of recorded paths in the home folders of other users, by home folder.
    std::map<std::string, std::vector<std::string>> inOtherHomes;
    /// Other home folders that this user may not look into, with what may be there.
    std::map<std::string, std::vector<std::string>> hiddenHomes;
    /// Paths that are missing here for a cause that is told by itself.
    std::set<const Record::Node*> explained;
    /// IDs of recorded products of which it is told why they are not compared.
    std::set<VLString> explainedProducts;
    Contents contents;
    std::vector<Finding> findings;

    /// Compares the installed products that keep their record in the folder `folder`.
    void compareInstalled(const VLString& folder);
    /// Asks all rules, and takes the record's document down between those that look at it and the others.
    void inspect();

    bool isNothingInstalled() const;
    /// The one of which `product` is; null when it was given.
    const InstalledProduct* installedOf(const PlacedProduct& product) const;
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

    /// See Finding for the three texts and the paths. The result is valid until the next report.
    Finding& operator()(const Location& where, std::string message, std::string consequence,
                        std::string advice, std::vector<std::string> paths = {}) const;

private:
    const StatusRule& rule;
    Status& status;
};

struct StatusRuleEntry {
    StatusRule rule;
    void (*inspect)(Status& status, const StatusReport& report);
};

/// RecordRules.cpp: the record by itself.
const std::vector<StatusRuleEntry>& recordRules();
/// UninstallerRules.cpp: what products leave on the machine beside their files, for the record of the
/// machine.
const std::vector<StatusRuleEntry>& uninstallerRules();
/// MachineRules.cpp: against products and this machine.
const std::vector<StatusRuleEntry>& machineRules();

/// ContentRules.cpp: what verifyContents has found.
const std::vector<StatusRuleEntry>& contentRules();

/// Reads what is installed, and fills `contents`. Marks `conditions`, too.
void verifyContents(Status& status);
/// "missing", "truncated" and so on.
const char* nameOf(Status::ContentFault::Kind kind);

/// Fills `conditions`, `inOtherHomes`, `hiddenHomes` and `explained`.
void weighConditions(Status& status);
/// Whether each recorded product is compared, in the build that is recorded: counts can be weighed then.
bool isComplete(const Status& status);

/// What the symbolic link says; empty when it is none.
VLString targetOfLink(const VLString& link);
/// The ID in quotes, or the name where there is none.
std::string quoted(const SKUDefinition::SKUInfo& info);
/// The first few in quotes, and how many more there are.
std::string firstFew(const std::vector<std::string>& texts);
/// "1 file", "2 files".
std::string files(std::size_t count);

std::vector<StatusRule> allStatusRules();

struct Wanted;

void writeText(const Status& status, const std::vector<Wanted>& wanted, const Painter& painter,
               Output& output);
void writeJson(const Status& status, const std::vector<Wanted>& wanted, Output& output);
