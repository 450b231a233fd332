#include "Utility/InstallInspector/Rebuild/RebuiltRecord.h"

#include "Utility/InstallUtility/InstallUtility.h"

#include <algorithm>
#include <utility>

StatusFile rebuiltRecord(std::vector<RecordedProduct> products) {
    // The installs of which something is known, in the order of their times.
    std::vector<std::pair<std::int64_t, RecordedProduct*>> installs;
    for (RecordedProduct& product : products) {
        installs.emplace_back(product.firstInstall, &product);
        installs.emplace_back(product.lastInstall, &product);
    }
    std::stable_sort(installs.begin(), installs.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    InstallUtility engine;
    for (const auto& [time, product] : installs) {
        std::swap(engine.skuDefinition, product->definition);
        engine.enterProduct(false); // the second time it counts nothing, and gives files their builds
        std::swap(engine.skuDefinition, product->definition);
    }
    return std::move(engine.statusFile);
}
