#pragma once

#include "Foundation/VLString.h"
#include "Utility/InstallUtility/FileNode.h"

#include <map>
#include <vector>

class TiXmlDocument;
class TiXmlElement;
class TiXmlNode;

/// False for "0", true for "1", the default for anything else.
bool getBoolFlagFromString(const VLString& text, bool defaultValue);

/// A growable sequence of bits, bit 0 first.
class VLBitSet {
public:
    /// Replaces the bits by those of a hexadecimal number of any length, 32 for each eight digits, counted
    /// from the right. Intended: eight digits that are no number are dropped without leaving a gap.
    /// Returns whether there is any bit, set or not.
    bool fromString(const VLString& hexadecimal);

    unsigned long Size() const { return bits.size(); }
    /// False past the end.
    bool operator[](unsigned long index) const { return index < bits.size() && bits[index]; }

private:
    std::vector<bool> bits;
};

/// A product definition: who the product is, which families and hosts it serves, and the tree of files that
/// it installs. Read once from a product-definition XML, then only queried. Reading reports nothing: what is
/// missing or malformed leaves fields empty, and callers look at the fields that they need.
class SKUDefinition {
public:
    /// The identity of one product; two are the same product when their `ID` is.
    struct SKUInfo {
        VLString ID;
        VLString name;
        VLString build; ///< version text; see VLVersion
        VLString prefix;
    };

    /// An arch-qualified host name is the host's name for its 64-bit variant, and the name followed by "32"
    /// for its 32-bit one.
    using FamilyLists = std::map<VLString, Vector<VLString>>;

    SKUInfo skuInfo;
    FamilyLists pluginsByFamily; ///< only families with at least one named plug-in: the product's families
    FamilyLists contentsByFamily;
    std::map<VLString, VLString> contentMaskByFamily;
    FamilyLists hostFamilies; ///< by arch-qualified host name
    Vector<VLString> hostNames;
    Vector<VLString> hostArchNames;                   ///< arch-qualified
    std::map<VLString, VLString> hostCompilerOptions; ///< by arch-qualified host name
    FamilyLists buildHostFamilies;
    Vector<VLString> buildHostNames;
    Vector<VLString> buildHostArchNames;
    FileNode installFiles; ///< root of the tree: a folder without a name
    std::map<VLString, VLBitSet> featuresMaskByFamily;

    /// Reads the file at `path`. One that cannot be read, or holds no definition, leaves what clear() leaves.
    void fromFile(const VLString& path);
    /// The same for the XML text itself.
    void parse(const VLString& xml);
    /// The same for a document, from which it takes the elements of the tree away as it goes.
    void parseInner(TiXmlDocument& document);
    /// Empties what a reader fills anew. Intended: the masks, the families of hosts, the compiler options and
    /// the prefix stay, so that a second document merges into them. Use a fresh object for each file.
    void clear();

    SKUInfo getSKUInfo() const { return skuInfo; }
    /// Whether `family` has plug-ins and serves the host of that arch-qualified name. A host that names no
    /// families serves them all.
    bool familyHasHost(const VLString& family, const VLString& host) const;
    bool familyHasHostBuild(const VLString& family, const VLString& host) const;
    bool _familyHasHost(const VLString& family, const VLString& host, const FamilyLists& families,
                        const Vector<VLString>& archNames) const;

    /// Appends the hosts below `hosts`, which may be null, to `names`, `archNames` and `families`, and
    /// replaces `compilerOptions`.
    void fillHostsInfo(TiXmlElement* hosts, Vector<VLString>& names, Vector<VLString>& archNames,
                       FamilyLists& families, std::map<VLString, VLString>& compilerOptions);
    /// Fills the children of `parent`, a folder named `parentName`, from the folders and then the files below
    /// `element`, which may be null, and takes them away there. A later node replaces an earlier one of its
    /// name.
    void parseInstallFiles(FileNode& parent, TiXmlNode* element, const VLString& parentName);
};
