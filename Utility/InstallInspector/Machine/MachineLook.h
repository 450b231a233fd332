#pragma once

#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Documents/MachineDescription.h"
#include "Utility/InstallInspector/Documents/PlacedProduct.h"

#include <stdexcept>
#include <string>
#include <vector>

/// There is more than a description takes.
class TooMuch : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Describes this machine as far as plans ask for it. While it lives, it is the machine in use: it answers as
/// this machine does, and notes what it is asked. What is asked only for some builds, it looks at by itself.
/// Changes nothing.
class MachineLook : public Machine {
public:
    /// Takes no more than `most` files and folders.
    explicit MachineLook(std::size_t most = 200000);
    ~MachineLook() override { setCurrent(before); }
    MachineLook(const MachineLook&) = delete;
    MachineLook& operator=(const MachineLook&) = delete;

    /// At all that the installed products have put there, or may have.
    void atInstalledProducts();
    /// At all that the product would put there. Places it anew.
    void atProduct(PlacedProduct& product);
    /// At all that is in the target folders, whatever a definition puts there.
    void atTargets(const std::map<VLString, InstallUtility::InstallItem>& items);
    /// To be called last. What could not be described, in sentences.
    std::vector<std::string> finish();

    const MachineDescription& description() const { return machine; }

    bool run(const Command& /*command*/) override { return false; }
    mode_t typeOf(const VLString& path) override;
    mode_t linkTypeOf(const VLString& path) override;
    std::vector<VLString> namesIn(const VLString& folder) override;
    FileContent readFile(const VLString& path) override;
    VLString preference(const VLString& key, const VLString& valueName, const VLString& folder) override;

private:
    using Items = std::map<VLString, InstallUtility::InstallItem>;

    void add(const std::string& path, mode_t type);
    mode_t noteItself(const std::string& path);
    /// What is at the path, and all links on the way. Gives the path without links; empty when nothing is
    /// there.
    std::string note(const std::string& path);
    /// The folder and what is directly in it, of which it gives the paths.
    std::vector<std::string> noteNames(const std::string& folder);
    /// What is at the path, and all below it.
    void noteAll(const std::string& path);

    void atItems(const Items& items, bool bAll);
    void atAllIn(const VLString& pattern);
    void atRecords(const Items& items);
    void atPlaces(const PlacedProduct& product);
    void atFoldersAbove(const std::string& folder);
    void askFor(const InstallUtility::InstallItem::ItemPath::Condition& condition);
    void remark(const std::string& text);

    MachineDescription machine;
    std::size_t mostEntries;
    std::vector<std::string> remarks;
    std::vector<std::string> others; ///< home folders of other users
    Machine* before;
};
