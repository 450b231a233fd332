// What the products leave on the machine besides their files: uninstallers, the shared package's definition
// and the link to the Application Manager.
#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Utility/InstallInspector/Status/Status.h"
#include "Utility/InstallUtility/KnownNames.h"

#include <algorithm>
#include <sys/stat.h>

namespace {

using Info = SKUDefinition::SKUInfo;

bool isShared(const Info& info) {
    return info.ID == SharedPackage::ID;
}

bool exists(const std::string& path) {
    return Machine::current().linkTypeOf(toVLString(path)) != 0;
}

Location at(const std::string& path) {
    return {Location::Document::Record, path, 0, 0};
}

constexpr const char* uninstallerBegin = "Uninstall ";
constexpr const char* uninstallerEnd = ".app";

std::string uninstallerOf(const Info& info) {
    return uninstallersFolder + (uninstallerBegin + toString(info.name)) + uninstallerEnd;
}

/// The product's name inside the path of its uninstaller.
std::string nameIn(const std::string& uninstaller) {
    const std::size_t begin = (uninstallersFolder + std::string(uninstallerBegin)).size();
    return uninstaller.substr(begin, uninstaller.size() - std::string(uninstallerEnd).size() - begin);
}

std::string quotedPath(const std::string& path) {
    return quotedText(toVLString(path));
}

/// The recorded product whose uninstaller has this path. Null if there is none.
const Info* recordedOwnerOf(const Status& status, const std::string& uninstaller) {
    const auto& recorded = status.record.content.products;
    const auto found = std::find_if(recorded.begin(), recorded.end(), [&](const Info& info) {
        return !isShared(info) && uninstallerOf(info) == uninstaller;
    });
    return found == recorded.end() ? nullptr : &*found;
}

const InstalledProduct* uninstallerAt(const Status& status, const std::string& path) {
    for (const auto& each : status.installed.all()) {
        if (each->uninstaller == path) {
            return each.get();
        }
    }
    return nullptr;
}

// Uninstallers

/// Why the recorded product has no uninstaller. Empty if it has one, even a faulty one.
std::string whyNone(const Status& status, const Info& info) {
    const std::string path = uninstallerOf(info);
    const InstalledProduct* found = uninstallerAt(status, path);
    if (status.installed.find(info.ID) != nullptr || (found != nullptr && !found->isReadable())) {
        return "";
    }
    if (found == nullptr) {
        return "has no uninstaller: there is no " + quotedPath(path);
    }
    const Info& other = found->files.info();
    return "has no uninstaller: " + quotedPath(path) + " is that of " + quoted(other) +
           (other.name == info.name ? ", which has the same name" : "");
}

void uninstallerMissing(Status& status, const Report& report) {
    for (const Info& info : status.record.content.products) {
        const std::string why = isShared(info) ? "" : whyNone(status, info);
        if (why.empty()) {
            continue;
        }
        const InstalledProduct* other = uninstallerAt(status, uninstallerOf(info));
        const bool bSameName = other != nullptr && other->files.info().name == info.name;
        status.explainedProducts.insert(info.ID);
        Finding& finding = report(
            status.record.start(), "the product " + quoted(info) + " " + why,
            "The product cannot be uninstalled without its definition. It was not compared unless it was "
            "given.",
            bSameName ? "Uninstall " + quoted(other->files.info()) + ", and install " + quoted(info) +
                            " again: only one of them can have an uninstaller."
                      : "Install " + quoted(info) + " again, which places its uninstaller.",
            {uninstallerOf(info)});
        if (!bSameName) {
            finding.install = toString(info.ID);
        }
    }
}

/// The file without which the uninstaller cannot be opened, as a sentence. Empty if it has all files.
std::string lackOf(const std::string& uninstaller) {
    for (const char* part :
         {"/Contents/Info.plist", "/Contents/MacOS/InstallUtility", "/Contents/MacOS/UninstallLauncher",
          "/Contents/Resources/en.lproj/Uninstaller.strings"}) {
        if (!S_ISREG(Machine::current().typeOf(toVLString(uninstaller + part)))) {
            return uninstaller + part + " is not an existing file";
        }
    }
    return "";
}

void uninstallerIncomplete(Status& status, const Report& report) {
    for (const auto& each : status.installed.all()) {
        if (each->isShared()) {
            continue;
        }
        const std::string fault = each->isReadable() ? lackOf(each->uninstaller) : each->fault;
        if (fault.empty()) {
            continue;
        }
        const Info* owner =
            each->isReadable() ? &each->files.info() : recordedOwnerOf(status, each->uninstaller);
        if (owner != nullptr) {
            status.explainedProducts.insert(owner->ID);
        }
        Finding& finding =
            report(at(each->uninstaller), "the uninstaller is not complete: " + printable(fault),
                   "It cannot uninstall its product, or not all of it.",
                   owner != nullptr
                       ? "Install " + quoted(*owner) + " again, which places it anew."
                       : "Install " + quotedPath(nameIn(each->uninstaller)) +
                             " again, which places it anew. If nobody needs that product, uninstall it then.",
                   {each->uninstaller});
        if (owner != nullptr) {
            finding.install = toString(owner->ID);
        }
    }
}

void oldUninstaller(Status& status, const Report& report) {
    for (const auto& each : status.installed.all()) {
        if (!each->isReadable() || each->isShared() ||
            recordedOwnerOf(status, each->uninstaller) != nullptr) {
            continue;
        }
        const Info& info = each->files.info();
        const auto& recorded = status.record.content.products;
        const auto same = std::find_if(recorded.begin(), recorded.end(),
                                       [&](const Info& other) { return other.ID == info.ID; });
        if (same != recorded.end() && exists(uninstallerOf(*same))) {
            report(at(each->uninstaller),
                   "the uninstaller is for " + quoted(info) +
                       ", which has another: " + quotedPath(uninstallerOf(*same)),
                   "It removes the files of another build, and no uninstall removes it.",
                   "Delete it; the other one uninstalls the product.", {each->uninstaller});
        } else if (same != recorded.end()) {
            report(at(each->uninstaller),
                   "the uninstaller has not the recorded name of its product " + quoted(info) + ": " +
                       quotedPath(uninstallerOf(*same)),
                   "No uninstall removes it, and an install places another beside it.", "Give it that name.",
                   {each->uninstaller});
        }
    }
}

// The shared package

constexpr const char* recordShared = "Install the shared package again, which records it.";

/// Whether there are products that come with the shared package. Then only the record may have lost it.
bool hasProducts(const Status& status) {
    const auto& installed = status.installed.all();
    return !status.record.content.products.empty() ||
           std::any_of(installed.begin(), installed.end(),
                       [](const auto& product) { return !product->isShared(); });
}

/// Whether the shared package is compared. Then "product-not-recorded" has the advice about it.
bool isSharedPackageCompared(const Status& status) {
    return std::any_of(status.products.begin(), status.products.end(),
                       [](const PlacedProduct* product) { return isShared(product->info()); });
}

std::string sharedDefinition(const Status& status) {
    const VLString folder = PathLibrary::GetDirectoryWithFile(folderAbove(toVLString(status.record.path)),
                                                              SharedPackage::definitionsFolder);
    return toString(PathLibrary::GetDirectoryWithFile(folder, VLString(SharedPackage::ID) + ".xml"));
}

/// Why the engine cannot uninstall the shared package with the definition at `path`. Empty if it can.
std::string faultOf(const std::string& path) {
    if (!S_ISREG(Machine::current().typeOf(toVLString(path)))) {
        return "there is no file " + quotedPath(path);
    }
    Product product;
    std::string error;
    if (!product.definitionFile.read(path, Location::Document::Definition, Kind::Product, error)) {
        return quotedPath(path) + " " + error;
    }
    if (!product.definitionFile.isReadable()) {
        return quotedPath(path) + " is no product definition";
    }
    product.interpret();
    const Info& info = product.definition.skuInfo;
    return isShared(info) ? "" : quotedPath(path) + " is the definition of " + quoted(info);
}

void sharedDefinitionUnusable(Status& status, const Report& report) {
    const std::string path = sharedDefinition(status);
    const bool bRecorded = status.record.hasProduct(SharedPackage::ID);
    const std::string fault = bRecorded || exists(path) ? faultOf(path) : "";
    if (!status.canCompareRecord() || fault.empty()) {
        return;
    }
    status.explainedProducts.insert(SharedPackage::ID);
    if (bRecorded) {
        report(at(path), "the shared package cannot be uninstalled: " + fault,
               "The uninstall of the last product leaves all files of the shared package, and the record. "
               "They could not be compared.",
               "Install the shared package again.", {path})
            .install = SharedPackage::ID;
    } else {
        report(at(path), "the record does not list the shared package, and " + fault,
               "No run uses it, and no uninstall removes it, nor what else is left of the shared package.",
               hasProducts(status) ? recordShared : "Delete it.", {path})
            .install = hasProducts(status) ? SharedPackage::ID : "";
    }
}

/// Whether the compared shared package lists the Application Manager. Then other rules report it as missing.
bool listsManager(const Status& status) {
    const std::string manager = SharedPackage::manager;
    return std::any_of(status.products.begin(), status.products.end(), [&](const PlacedProduct* product) {
        return isShared(product->info()) &&
               std::any_of(product->spots().begin(), product->spots().end(), [&](const auto& spot) {
                   return spot.bLeaf &&
                          std::any_of(spot.places.begin(), spot.places.end(), [&](const auto& place) {
                              return toString(place.path).compare(0, manager.size(), manager) == 0;
                          });
               });
    });
}

void managerLink(Status& status, const Report& report) {
    const VLString link = SharedPackage::managerLink;
    const bool bRecorded = status.record.hasProduct(SharedPackage::ID);
    const mode_t type = Machine::current().linkTypeOf(link);
    const VLString target = targetOfLink(link);
    const bool bRight = target == SharedPackage::manager;
    if (!status.canCompareRecord() || (!bRecorded && (!bRight || isSharedPackageCompared(status)))) {
        return;
    }
    const char* const again = "Install the shared package again, which places the link.";
    const auto reportLink = [&](const std::string& message, const char* consequence, const char* advice) {
        report(at(toString(link)), message, consequence, advice, {toString(link)}).install =
            advice == again || advice == recordShared ? SharedPackage::ID : "";
    };
    if (!bRecorded) {
        reportLink(
            "the record does not list the shared package, and the link to the Application Manager is there",
            "No uninstall removes it, nor what else is left of the shared package.",
            hasProducts(status) ? recordShared : "Delete the link.");
    } else if (type == 0) {
        reportLink("the link to the Application Manager is missing",
                   "Users do not find the Application Manager.", again);
    } else if (!S_ISLNK(type)) {
        reportLink("in the place of the link to the Application Manager is something else",
                   "The next install or uninstall of the shared package removes it with everything in it.",
                   "Move it away, and install the shared package again.");
    } else if (!bRight) {
        reportLink("the link to the Application Manager leads to " + quotedText(target) +
                       ", and should lead to " + quotedPath(SharedPackage::manager),
                   "Users who open it do not get the Application Manager.", again);
    } else if (Machine::current().typeOf(target) == 0 && !listsManager(status)) {
        reportLink("the link to the Application Manager leads nowhere: there is no " + quotedText(target),
                   "Users who open it get an error.",
                   "Install a build of the shared package that has the Application Manager.");
    }
}

} // namespace

const std::vector<StatusRuleEntry>& uninstallerRules() {
    static const std::vector<StatusRuleEntry> rules = {
        {{"uninstaller-missing", Severity::Error, "a recorded product without an uninstaller"},
         uninstallerMissing},
        {{"uninstaller-incomplete", Severity::Error, "an uninstaller of which a part cannot be used"},
         uninstallerIncomplete},
        {{"old-uninstaller", Severity::Error, "an uninstaller under another name than the product's"},
         oldUninstaller},
        {{"shared-definition-unusable", Severity::Error,
          "a definition beside the record with which the shared package cannot be uninstalled"},
         sharedDefinitionUnusable},
        {{"manager-link", Severity::Error, "a link to the Application Manager that is not right"},
         managerLink},
    };
    return rules;
}
