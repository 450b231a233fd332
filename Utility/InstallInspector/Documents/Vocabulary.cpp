#include "Utility/InstallInspector/Documents/Vocabulary.h"

#include "Utility/InstallUtility/InstallUtility.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <iterator>

const std::vector<ElementFormat>& elementFormats() {
    static const std::vector<const char*> name = {"name"};
    static const std::vector<ElementFormat> formats = {
        {Kind::Product,
         "product",
         {},
         {Kind::Sku, Kind::Families, Kind::Hosts, Kind::HostsForBuild, Kind::InstallFiles},
         true},
        {Kind::Sku, "sku", {"ID", "name", "build", "prefix"}, {}, true},
        {Kind::Families, "families", {}, {Kind::Family}, true},
        {Kind::Family,
         "family",
         name,
         {Kind::Plugins, Kind::Contents, Kind::FeaturesMask, Kind::ContentMask},
         false},
        {Kind::Plugins, "plugins", {}, {Kind::Plugin}, true},
        {Kind::Plugin, "plugin", name, {}, false},
        {Kind::Contents, "contents", {}, {Kind::Content}, true},
        {Kind::Content, "content", name, {}, false},
        {Kind::FeaturesMask, "featuresmask", name, {}, true},
        {Kind::ContentMask, "contentmask", name, {}, true},
        {Kind::Hosts, "hosts", {}, {Kind::Host}, true},
        {Kind::HostsForBuild, "hostsForBuild", {}, {Kind::Host}, true},
        {Kind::Host, "host", {"name", "families", "arch", "compilerOptions"}, {}, false},
        {Kind::InstallFiles, "installFiles", {}, {Kind::Exclude, Kind::Directory, Kind::File}, true},
        {Kind::Exclude, "exclude", name, {}, false},
        {Kind::Directory,
         "directory",
         {"fileName", "arch", "dontdelete", "ignoreinstallerrors", "allowdowngrade"},
         {Kind::Directory, Kind::File, Kind::Part},
         false},
        {Kind::File,
         "file",
         {"fileName", "arch", "configuration", "dontdelete", "ignoreinstallerrors", "allowdowngrade", "size",
          "sha256"},
         {Kind::ShortCut, Kind::Part},
         false},
        {Kind::ShortCut, "shortCut", {"name", "dir"}, {}, true},
        {Kind::Part, "part", {"path", "size", "sha256", "link"}, {}, false},
        {Kind::Root, "root", {}, {Kind::Item}, true},
        {Kind::Item, "item", name, {Kind::Path, Kind::Item}, false},
        {Kind::Path, "path", {"value"}, {Kind::Condition}, false},
        {Kind::Condition, "condition", {"type", "value"}, {Kind::Operand}, true},
        {Kind::Operand, "condition", {"type", "value"}, {Kind::Operand}, false},
        {Kind::Install, "install", {}, {Kind::Products, Kind::RecordedFiles}, true},
        {Kind::Products, "products", {}, {Kind::RecordedSku}, true},
        {Kind::RecordedSku, "sku", {"ID", "name", "build"}, {}, false},
        {Kind::RecordedFiles, "installFiles", {}, {Kind::RecordedDirectory, Kind::RecordedFile}, true},
        {Kind::RecordedDirectory,
         "directory",
         {"fileName", "ref"},
         {Kind::RecordedDirectory, Kind::RecordedFile},
         false},
        {Kind::RecordedFile, "file", {"fileName", "ref", "build"}, {Kind::RecordedShortCut}, false},
        {Kind::RecordedShortCut, "shortCut", {"name", "dir"}, {}, true},
    };
    return formats;
}

const ElementFormat& formatOf(Kind kind) {
    return elementFormats()[static_cast<std::size_t>(kind)];
}

bool isOwn(Kind kind, const std::string& attribute) {
    return kind == Kind::Exclude || kind == Kind::Part ||
           (kind == Kind::File && (attribute == "size" || attribute == "sha256"));
}

std::string nameOf(Kind kind) {
    return formatOf(kind).name;
}

Kind rootOf(Kind kind) {
    return kind < Kind::Root ? Kind::Product : kind < Kind::Install ? Kind::Root : Kind::Install;
}

const std::vector<std::string>& hostNames() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const KnownHost& host : knownHosts) {
            all.emplace_back(host.name);
        }
        return all;
    }();
    return names;
}

bool isKnownHost(const VLString& name) {
    return std::any_of(std::begin(knownHosts), std::end(knownHosts), [&](const KnownHost& host) {
        // The 32-bit variant of a host has a folder and an item of its own.
        return name == host.name || name == VLString(host.name) + "32";
    });
}

const std::vector<std::string>& conditionNames() {
    using Condition = InstallUtility::InstallItem::ItemPath::Condition;
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (std::int32_t number = Condition::None + 1;; ++number) {
            std::string name = Condition::nameOf(static_cast<Condition::ConditionType>(number));
            if (name.empty()) {
                return all;
            }
            all.push_back(std::move(name));
        }
    }();
    return names;
}

const std::vector<std::string>& branchNames() {
    static const std::vector<std::string> names(std::begin(Branch::all), std::end(Branch::all));
    return names;
}
