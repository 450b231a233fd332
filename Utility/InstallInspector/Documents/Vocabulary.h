#pragma once

#include "Foundation/VLString.h"

#include <string>
#include <vector>

/// The elements that the engine or the inspector reads in the XML files. An element with different meanings
/// at different places has several kinds.
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
    Exclude, ///< only the inspector reads it
    Directory,
    File,
    ShortCut,
    Part, ///< only the inspector reads it
    Root,
    Item,
    Path,
    Condition, ///< directly inside a path
    Operand,   ///< inside another condition
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
    /// Whether only the first of these elements in a parent is read.
    bool bFirstOnly;
};

/// Every element, in the order of Kind.
const std::vector<ElementFormat>& elementFormats();
const ElementFormat& formatOf(Kind kind);
/// Whether only the inspector reads this attribute of the kind. The engine ignores it.
bool isOwn(Kind kind, const std::string& attribute);
std::string nameOf(Kind kind);
/// The root element of the documents that contain this kind: Product, Root or Install.
Kind rootOf(Kind kind);

// Lists of names that the engine knows.

/// See KnownHost.
const std::vector<std::string>& hostNames();
/// Whether `name` is the name of a known host or of its 32-bit variant.
bool isKnownHost(const VLString& name);
/// The types of conditions, in their usual spelling.
const std::vector<std::string>& conditionNames();
/// See Branch.
const std::vector<std::string>& branchNames();
