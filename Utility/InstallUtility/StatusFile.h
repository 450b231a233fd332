#pragma once

#include "Foundation/VLString.h"
#include "Utility/InstallUtility/FileNode.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>

/// The record of installed products, and of how many products use each file and folder of their trees. See
/// Docs/status-file-format.md. Paths are paths in the tree, with "/" between components.
///
/// To record an install or uninstall, call startProcessProduct, then incrementFileRef or decrementFileRef for
/// each node of the tree, parents first, then endProcessProduct. No operation logs. A record that cannot be
/// read is empty.
class StatusFile {
public:
    /// A recorded path. Uses only name, isDirectory and shortCut of its base.
    struct FileNodeRef : FileNode {
        std::int32_t ref = 0;         ///< the number of installed products that use the path
        std::int32_t buildNumber = 0; ///< the fourth number of `build`, see VLVersion
        VLString build;               ///< the version text of the product that last wrote the file
        bool needReplace = false;     ///< the current install must write the file
        std::map<VLString, FileNodeRef> refChildren;
    };

    Vector<SKUDefinition::SKUInfo> products; ///< in the order of their first installation; without prefix
    FileNodeRef root;                        ///< a folder without a name
    SKUDefinition::SKUInfo currentProduct;
    bool countReferences = false; ///< the current install raises counts, because its product is new

    /// Replaces the record with that of the file at `path`. If the file cannot be read, the record is empty.
    /// Always true.
    bool parse(const VLString& path);
    /// Replaces the record with that in `bytes`, which end with a zero byte. If they are malformed or another
    /// kind of document, returns false and the record is empty.
    bool parseBytes(std::unique_ptr<char[]> bytes);
    /// The same for a document, which it takes down as it goes.
    bool parseInner(TiXmlDocument& document);
    /// Saves the record, without the paths that no product uses. At every moment the file is the old one or
    /// the new one, whole; a link is followed, mode and owner of an existing file are kept, no other file
    /// stays behind (see AtomicFile). False when the file cannot be opened for writing or saving fails; it is
    /// then the old one.
    bool write(const VLString& path);
    /// Prints the text that write() saves. Check the stream for errors.
    void print(FILE* stream) const;
    void clear();

    Vector<SKUDefinition::SKUInfo>& getProductList() { return products; }
    /// The index of the product with this ID, or -1.
    int getProductIndex(const SKUDefinition::SKUInfo& info) const;
    bool hasProduct(const SKUDefinition::SKUInfo& info) const;
    bool hasProduct(const VLString& ID) const;
    /// Appends the product unless its ID is already recorded. Always true.
    bool addProduct(const SKUDefinition::SKUInfo& info);
    /// Always true.
    bool removeProduct(const SKUDefinition::SKUInfo& info);

    /// Makes `info` the current product and adds it to the list, or with `remove` removes it.
    void startProcessProduct(const SKUDefinition::SKUInfo& info, bool remove);
    void endProcessProduct();

    /// Records `node` in the folder `directory` for the current product. A path of more than 997 components
    /// is not recorded, because the saved file could not be read again. Always 0.
    int incrementFileRef(const VLString& directory, const FileNode& node);
    /// Subtracts one use of the path. Returns the number of remaining uses, or -1 if the path is not
    /// recorded.
    int decrementFileRef(const VLString& directory, const FileNode& node);

    /// The recorded path, owned by the record. Null if it is not recorded. The root is not a path.
    FileNodeRef* getFileInfo(const VLString& treePath);
    const FileNodeRef* getFileInfo(const VLString& treePath) const;
    /// Whether the path is recorded and no product uses it any more.
    bool needRemove(const VLString& treePath) const;
    /// Whether the path is recorded and the current install must write it.
    bool needReplaceFile(const VLString& treePath) const;
    /// Always null. Use getFileInfo.
    FileNodeRef* getFileRef(const VLString& treePath);

private:
    /// Reads the build number of a version text. Remembers the last text, because most files have the same.
    class BuildNumbers {
    public:
        std::int32_t of(const VLString& build);

    private:
        VLString last;
        std::int32_t number = 0;
    };

    void readFile(TiXmlElement& element, FileNodeRef& parent);
    void readChildren(TiXmlNode& element, FileNodeRef& parent);
    void recordNew(FileNodeRef& recorded, const VLString& name, const FileNode& node);
    void recordAgain(FileNodeRef& recorded, const FileNode& node);

    BuildNumbers buildNumbers;
};
