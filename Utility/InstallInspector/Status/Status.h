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

/// A record, and the products whose files it is compared with. There may be no such product.
struct Status {
    /// The state of a recorded path on this machine, as far as the compared products show it. If several
    /// states apply, the last one in this list counts.
    enum class Condition {
        Unknown,
        NoTarget,
        There,
        NotVerified, ///< set only when contents are verified, like those with "Content" and Truncated
        ForeignContent,
        OtherHome,
        OlderContent,
        OtherContent,
        Truncated,
        Missing,
        OtherKind,
        LeftBehind
    };
    /// A file on this machine that differs from the manifests of the compared products.
    struct ContentFault {
        enum class Kind {
            Missing,     ///< a file inside a folder that is installed as one piece
            Truncated,   ///< shorter than its manifest says
            Older,       ///< the file of an older build
            Changed,     ///< has other content
            Foreign,     ///< lies in a folder that is installed as one piece, and is in no manifest
            Unreadable,  ///< cannot be read, so its content is not known
            UnknownBuild ///< the manifest of its recorded build is not available
        };
        Kind kind;
        std::string path;             ///< on this machine
        std::string text;             ///< the fault, worded to follow the path in a sentence
        VLString treePath;            ///< of the entry in the tree
        const PlacedProduct* product; ///< the product with the manifest; not owned
    };
    /// The result of comparing the files on this machine with the manifests in the definitions.
    struct Contents {
        bool bVerified = false;           ///< whether the user asked for it; without it the rest is empty
        std::size_t files = 0;            ///< the number of compared files
        std::vector<ContentFault> faults; ///< sorted by path
        /// Paths of files and whole folders for which no definition has a manifest, by product.
        std::map<const PlacedProduct*, std::vector<std::string>> withoutManifest;
    };

    Record record;
    /// Whether the record is the one of the machine in use. Then also uninstallers and the like are checked.
    bool bThisMachine = false;
    InstalledProducts installed;
    /// The products from the command line.
    std::vector<std::unique_ptr<PlacedProduct>> given;
    /// The compared products. They are owned by `installed` or by `given`.
    std::vector<PlacedProduct*> products;
    /// Installed products that are not compared, because they keep their record in another folder.
    std::vector<const InstalledProduct*> elsewhere;

    // The results of `inspect`:
    std::map<const Record::Node*, Condition> conditions;
    /// Files of recorded paths in the home folders of other users, by home folder.
    std::map<std::string, std::vector<std::string>> inOtherHomes;
    /// Files that may be in home folders that this user may not read, by home folder.
    std::map<std::string, std::vector<std::string>> hiddenHomes;
    /// Missing paths that have a finding of their own with the cause.
    std::set<const Record::Node*> explained;
    /// IDs of recorded products that are not compared and have a finding with the cause.
    std::set<VLString> explainedProducts;
    Contents contents;
    std::vector<Finding> findings;

    /// Runs all rules and fills the members above. Frees the record's XML document after the rules that
    /// read it.
    void inspect();

    /// Whether the record can be compared with products: it is readable, or there is none.
    bool canCompareRecord() const { return record.state != Record::State::Unreadable; }
    bool isNothingInstalled() const;
    /// The installed product to which the compared `product` belongs. Null if it comes from the command line.
    const InstalledProduct* installedOf(const PlacedProduct& product) const;

private:
    /// Puts the installed products that keep their record in `folder` into `products`, the others into
    /// `elsewhere`.
    void compareInstalled(const VLString& folder);
};

/// One kind of finding of `status`. To add one, write a function and a line in the table of its group. A
/// test checks that the man page has its name.
struct StatusRule {
    const char* name; ///< in kebab case; never changes, because scripts use it
    Severity severity;
    const char* summary; ///< one line, for lists of rules
};

struct StatusRuleEntry {
    StatusRule rule;
    void (*inspect)(Status& status, const Report& report);
};

// The groups, each with its table at the end of its file.

/// RecordRules.cpp: mistakes inside the record. They need its XML document.
const std::vector<StatusRuleEntry>& recordRules();
/// UninstallerRules.cpp: uninstallers and other things that products leave on the machine besides their
/// files. Only for the record of the machine in use.
const std::vector<StatusRuleEntry>& uninstallerRules();
/// MachineRules.cpp: the record compared with products and this machine.
const std::vector<StatusRuleEntry>& machineRules();
/// ContentRules.cpp: the faults that verifyContents has found.
const std::vector<StatusRuleEntry>& contentRules();

/// Compares the installed files with their manifests. Fills `contents`, and updates `conditions`.
void verifyContents(Status& status);
/// "missing", "truncated" and so on.
const char* nameOf(Status::ContentFault::Kind kind);

/// Fills `conditions`, `inOtherHomes`, `hiddenHomes` and `explained`.
void findConditions(Status& status);
/// Whether each recorded product is compared, and in its recorded build. Only then can counts be checked.
bool isComplete(const Status& status);

/// The target of the symbolic link at `link`. Empty if there is no link.
VLString targetOfLink(const VLString& link);
/// The product's ID in quotes. If it has no ID, its name.
std::string quoted(const SKUDefinition::SKUInfo& info);
/// The first three texts in quotes, and the number of the others.
std::string firstFew(const std::vector<std::string>& texts);
/// "1 file", "2 files".
std::string files(std::size_t count);

std::vector<StatusRule> allStatusRules();

struct Wanted;

void writeText(const Status& status, const std::vector<Wanted>& wanted, const Painter& painter,
               Output& output);
void writeJson(const Status& status, const std::vector<Wanted>& wanted, Output& output);
