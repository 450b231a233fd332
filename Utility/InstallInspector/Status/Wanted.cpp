#include "Utility/InstallInspector/Status/Wanted.h"

#include "Foundation/VLVersion.h"

#include <algorithm>

namespace {

/// Whether an install would begin with an empty record, or with one that does not list all products.
bool isRecordDamaged(const Status& status) {
    return status.record.state == Record::State::Unreadable ||
           std::any_of(status.products.begin(), status.products.end(), [&](const PlacedProduct* product) {
               return !status.record.hasProduct(product->info().ID);
           });
}

bool isDamaged(const Wanted& wanted, const Status& status) {
    return std::any_of(status.findings.begin(), status.findings.end(),
                       [&](const Finding& finding) { return finding.install == toString(wanted.ID); });
}

/// Whether the engine keeps the files of the build `installed`. It compares only the fourth numbers.
bool isNewer(const VLString& installed, const VLString& wanted) {
    return VLVersion(installed).build > VLVersion(wanted).build;
}

} // namespace

Wanted wantedOf(const std::string& text) {
    const std::size_t sign = text.rfind('=');
    Wanted wanted;
    wanted.ID = toVLString(text.substr(0, sign));
    wanted.build = toVLString(sign == std::string::npos ? "" : text.substr(sign + 1));
    return wanted;
}

void findState(Wanted& wanted, const Status& status) {
    const auto& recorded = status.record.content.products;
    const auto found = std::find_if(recorded.begin(), recorded.end(),
                                    [&](const auto& info) { return info.ID == wanted.ID; });
    if (found != recorded.end()) {
        wanted.installed = found->build;
    }
    const bool bSame = wanted.build.IsEmpty() || wanted.installed == wanted.build ||
                       VLVersion(wanted.installed) == VLVersion(wanted.build);
    const auto other = isNewer(wanted.installed, wanted.build) ? Wanted::State::Newer : Wanted::State::Older;
    wanted.state = isRecordDamaged(status)     ? Wanted::State::RecordDamaged
                   : found == recorded.end()   ? Wanted::State::Missing
                   : !bSame                    ? other
                   : isDamaged(wanted, status) ? Wanted::State::Damaged
                                               : Wanted::State::Whole;
}

const char* nameOf(Wanted::State state) {
    static const char* const names[] = {"whole", "newer", "older", "missing", "damaged", "record damaged"};
    return names[static_cast<std::size_t>(state)];
}
