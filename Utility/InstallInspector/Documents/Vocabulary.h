#pragma once

#include "Foundation/VLString.h"

#include <string>
#include <vector>

/// What the engine reads in its XML files: each element, by the place where it stands.
enum class Kind {
    Product,
    Sku,
    Families,
    Family,
    Plugins,
    Plugin,
    Contents,
    Content,
    FeaturesMask,
    ContentMask,
    Hosts,
    HostsForBuild,
    Host,
    InstallFiles,
    Directory,
    File,
    ShortCut,
    Root,
    Item,
    Path,
    Condition, ///< the one that guards a path
    Operand,   ///< one inside another condition
    Install,
    Products,
    RecordedSku,
    RecordedFiles,
    RecordedDirectory,
    RecordedFile,
    RecordedShortCut
};

struct ElementFormat {
    Kind kind;
    const char* name;
    std::vector<const char*> attributes;
    std::vector<Kind> children;
    /// Of several in one parent only the first is read.
    bool bFirstOnly;
};

/// Every element, in the order of Kind.
const std::vector<ElementFormat>& elementFormats();
const ElementFormat& formatOf(Kind kind);
std::string nameOf(Kind kind);
/// The root element of the document in which the kind is read: Product, Root or Install.
Kind rootOf(Kind kind);

// The names that the engine knows, as lists to compare a name with and to choose a similar one from.

/// See KnownHost.
const std::vector<std::string>& hostNames();
/// Whether it is the name of a known host or of its 32-bit variant.
bool isKnownHost(const VLString& name);
/// The kinds of condition, as they are usually written.
const std::vector<std::string>& conditionNames();
/// See Branch.
const std::vector<std::string>& branchNames();
