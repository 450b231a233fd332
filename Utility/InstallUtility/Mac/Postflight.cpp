#include "Utility/InstallUtility/Mac/Postflight.h"

#include "Foundation/FileLibrary.h"
#include "Foundation/Machine.h"
#include "Foundation/PathLibrary.h"
#include "Foundation/SimpleLog.h"
#include "Platform/PlatformServices.h"
#include "Utility/InstallUtility/KnownNames.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <string>

namespace {

void logError(const char* function, long line, const char* message) {
    SimpleLog::printLog(SimpleLog::Error, __FILE__, function, line, "%s", message);
}

void placeUninstaller(const VLString& uninstaller, const VLString& bundle, const VLString& skuXmlPath,
                      const VLString& targetPathsXmlPath) {
    Machine::current().createFolder(uninstallersFolder);
    if (!Machine::current().copyItem(bundle, uninstaller)) {
        logError(__FUNCTION__, __LINE__, "Can't copy Uninstall.app to target folder");
        return;
    }
    const VLString contents = PathLibrary::GetDirectoryWithFile(uninstaller, "Contents");
    if (!Machine::current().copyItem(skuXmlPath, PathLibrary::GetDirectoryWithFile(contents, "sku.xml"))) {
        logError(__FUNCTION__, __LINE__, "Can't copy SKU XML to Uninstall.app");
    }
    if (!Machine::current().copyItem(targetPathsXmlPath,
                                     PathLibrary::GetDirectoryWithFile(contents, "target_path.xml"))) {
        logError(__FUNCTION__, __LINE__, "Can't copy Target Path XML to Uninstall.app");
    }
}

void renewApplicationManagerLink(bool install) {
    Machine::current().removeItem(SharedPackage::managerLink);
    if (install) {
        Machine::current().createSymbolicLink(SharedPackage::managerLink, SharedPackage::manager);
    }
}

} // namespace

// By value, because programs that link this function without the header declare it in this form.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void postflight(VLString skuXmlPath, VLString targetPathsXmlPath, bool install) {
    if (!FileLibrary::IsFileExists(skuXmlPath, false)) {
        logError(__FUNCTION__, __LINE__, "Postflight failed: sku xml not found");
        return;
    }
    SKUDefinition definition;
    definition.fromFile(skuXmlPath);
    const SKUDefinition::SKUInfo& product = definition.skuInfo;
    if (product.ID.IsEmpty() || product.name.IsEmpty()) {
        logError(__FUNCTION__, __LINE__, "Wrong/corrupted SKU XML");
        return;
    }
    if (install && !FileLibrary::IsFileExists(targetPathsXmlPath, false)) {
        logError(__FUNCTION__, __LINE__, "Target Path XML not found");
        return;
    }

    const VLString bundle = Machine::current().mainBundlePath();
    if (product.ID.EqualsIgnoreCase(SharedPackage::ID)) {
        renewApplicationManagerLink(install);
        return;
    }
    const VLString uninstallerName = VLString("Uninstall ") + product.name + ".app";
    const std::string uninstallerPath =
        PlatformServices::AppendPathComponent(uninstallersFolder, uninstallerName.ConstData());
    const VLString uninstaller(uninstallerPath.data(), uninstallerPath.size());
    if (uninstaller.IsEmpty()) {
        return; // the name of the product is not UTF-8
    }
    Machine::current().removeItem(uninstaller);
    if (install) {
        placeUninstaller(uninstaller, bundle, skuXmlPath, targetPathsXmlPath);
    } else {
        FileLibrary::RemoveEmptyDirectory(uninstallersFolder);
    }
}

// By value for the same reason.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool showRetryCancelAlert(VLString title, VLString text) {
    // The text is a format without arguments, so only "%%" is replaced.
    return Machine::current().showRetryCancelAlert(title, text.Replace("%%", "%"));
}
