#pragma once

#include "Foundation/VLString.h"
#include "Utility/InstallUtility/FileNode.h"

#include <map>
#include <vector>

class TiXmlDocument;
class TiXmlElement;
class TiXmlNode;

/// False for "0", true for "1", `defaultValue` for any other text.
bool getBoolFlagFromString(const VLString& text, bool defaultValue);

/// A sequence of bits of any length. Bit 0 is the first.
class VLBitSet {
public:
    /// Replaces the bits with those of a hexadecimal number of any length. Each group of eight digits,
    /// counted from the right, gives 32 bits. Intended: a group that is not a number is dropped and leaves no
    /// gap. Returns false if there are no bits.
    bool fromString(const VLString& hexadecimal);

    unsigned long Size() const { return bits.size(); }
    /// False past the end.
    bool operator[](unsigned long index) const { return index < bits.size() && bits[index]; }

private:
    std::vector<bool> bits;
};

/// A product definition: product, families, hosts, and the tree of files to install. See
/// Docs/definition-format.md. Reading logs nothing and never fails: fields of missing or malformed parts are
/// empty.
class SKUDefinition {
public:
    /// Identifies a product. Two definitions with the same `ID` are the same product.
    struct SKUInfo {
        VLString ID;
        VLString name;
        VLString build; ///< a version text, see VLVersion
        VLString prefix;
    };

    /// An arch-qualified host name is the name of the host for its 64-bit variant, and the name followed by
    /// "32" for its 32-bit variant.
    using FamilyLists = std::map<VLString, Vector<VLString>>;

    SKUInfo skuInfo;
    FamilyLists pluginsByFamily; ///< the product's families: those with at least one named plug-in
    FamilyLists contentsByFamily;
    std::map<VLString, VLString> contentMaskByFamily;
    FamilyLists hostFamilies; ///< by arch-qualified host name
    Vector<VLString> hostNames;
    Vector<VLString> hostArchNames;                   ///< arch-qualified
    std::map<VLString, VLString> hostCompilerOptions; ///< by arch-qualified host name
    FamilyLists buildHostFamilies;
    Vector<VLString> buildHostNames;
    Vector<VLString> buildHostArchNames;
    FileNode installFiles; ///< the root of the tree, a folder without a name
    std::map<VLString, VLBitSet> featuresMaskByFamily;

    /// Reads the file at `path`. If it cannot be read or contains no definition, the result is that of
    /// clear().
    void fromFile(const VLString& path);
    /// The same for an XML text.
    void parse(const VLString& xml);
    /// The same for a document. Removes the elements of the tree from it while it reads.
    void parseInner(TiXmlDocument& document);
    /// Empties most fields. Intended: the masks, the families of hosts, the compiler options and the prefix
    /// stay, so a second document is merged into them. Use a new object for each file.
    void clear();

    SKUInfo getSKUInfo() const { return skuInfo; }
    /// Whether `family` has plug-ins and belongs to the host with this arch-qualified name. A host without a
    /// list of families has all of them.
    bool familyHasHost(const VLString& family, const VLString& host) const;
    bool familyHasHostBuild(const VLString& family, const VLString& host) const;
    bool _familyHasHost(const VLString& family, const VLString& host, const FamilyLists& families,
                        const Vector<VLString>& archNames) const;

    /// Appends the hosts below `hosts` to `names`, `archNames` and `families`, and replaces
    /// `compilerOptions`. `hosts` may be null.
    void fillHostsInfo(TiXmlElement* hosts, Vector<VLString>& names, Vector<VLString>& archNames,
                       FamilyLists& families, std::map<VLString, VLString>& compilerOptions);
    /// Reads the folders and then the files below `element` into the children of `parent`, and removes them
    /// from `element`, which may be null. `parentName` is the name of `parent`. A later node replaces an
    /// earlier node with the same name.
    void parseInstallFiles(FileNode& parent, TiXmlNode* element, const VLString& parentName);
};
