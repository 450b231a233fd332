#pragma once

#include "Foundation/Machine.h"
#include "Utility/InstallInspector/Documents/MachineDescription.h"
#include "Utility/InstallInspector/Documents/PlacedProduct.h"

#include <stdexcept>
#include <string>
#include <vector>

/// There are more files than a description may have.
class TooMuch : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Describes the parts of this machine that plans need. While it lives, it is the machine in use. It gives
/// the answers of this machine, and adds everything that it is asked for to the description. The functions
/// "at..." add what only some builds ask for. Changes nothing on the machine.
class MachineLook : public Machine {
public:
    /// Throws TooMuch from any function if there are more than `most` files and folders.
    explicit MachineLook(std::size_t most = 200000);
    ~MachineLook() override { setCurrent(before); }
    MachineLook(const MachineLook&) = delete;
    MachineLook& operator=(const MachineLook&) = delete;

    /// Adds everything that the installed products have put on the machine, or may have put there.
    void atInstalledProducts();
    /// Adds everything at the places of the product. Calls its `placeAgain`.
    void atProduct(PlacedProduct& product);
    /// Adds everything in the target folders.
    void atTargets(const std::map<VLString, InstallUtility::InstallItem>& items);
    /// Call it last. Returns what could not be described, in sentences.
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
    /// Adds what is at the path, and all links on the way. Returns the path without links. Empty if nothing
    /// is there.
    std::string note(const std::string& path);
    /// Adds the folder and what is directly in it. Returns the paths in the folder.
    std::vector<std::string> noteNames(const std::string& folder);
    /// Adds what is at the path, and everything below it.
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
