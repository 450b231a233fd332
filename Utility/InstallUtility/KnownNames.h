#pragma once

/// A host application with a display name. The engine also installs for hosts that are not listed here.
struct KnownHost {
    const char* name;        ///< in the definition, the tree and the target-paths file
    const char* displayName; ///< in questions to the user
};

constexpr KnownHost knownHosts[] = {
    {"Premiere Pro", "Adobe Premiere Pro"}, {"Media Composer", "Avid Media Composer"},
    {"Edius", "Grass Valley EDIUS"},        {"OpenFX", "OpenFX video editor"},
    {"Lettrix", "Vorlane Lettrix"},         {"Final Cut Pro X", "Apple Final Cut Pro X"},
};

/// The branches: the folders at the top of the tree that a run copies. The target items have the same names.
namespace Branch {

constexpr const char* hosts = "Hosts";      ///< contains a folder for each host, with one for each family
constexpr const char* shared = "VorlaneFX"; ///< shared files; its first target contains the record
constexpr const char* content = "Content";

constexpr const char* all[] = {hosts, shared, content};

} // namespace Branch

/// The shared package: what all products need. It goes with the last of them.
namespace SharedPackage {

constexpr const char* ID = "COMMON";
constexpr const char* definitionsFolder = "SKU"; ///< in the folder of the record; keeps its definition
constexpr const char* definitionsFolderWithoutRecord = "/Library/Application Support/Vorlane/SKU/";
constexpr const char* managerLink = "/Applications/Vorlane Application Manager.app";
constexpr const char* manager = "/Library/Application Support/Vorlane/Common/ApplicationManager.app";

} // namespace SharedPackage

/// The uninstaller of a product is "Uninstall NAME.app" in this folder. Two products of one name share it.
constexpr const char* uninstallersFolder = "/Applications/Vorlane Uninstallers/";
