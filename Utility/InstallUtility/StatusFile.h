#pragma once

#include "Foundation/VLString.h"
#include "Utility/InstallUtility/FileNode.h"
#include "Utility/InstallUtility/SKUDefinition.h"

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>

/// The record of what is installed: the products, and for each file and folder of their trees how many
/// products use it. Paths are those of the tree of files to install, components joined by "/".
///
/// An install or uninstall is recorded between startProcessProduct and endProcessProduct, one call of
/// incrementFileRef or decrementFileRef per tree node, parents first. Nothing reports an error beyond its
/// result: a record that cannot be read is an empty one.
class StatusFile {
public:
    /// One recorded path. Of what it inherits it uses name, isDirectory and shortCut.
    struct FileNodeRef : FileNode {
        std::int32_t ref = 0;         ///< number of installed products that use the path
        std::int32_t buildNumber = 0; ///< fourth component of `build` read as a version
        VLString build;               ///< version text of the product that last wrote the file
        bool needReplace = false;     ///< the product being installed must write the file
        std::map<VLString, FileNodeRef> refChildren;
    };

    Vector<SKUDefinition::SKUInfo> products; ///< in the order of their installation; without prefix
    FileNodeRef root;                        ///< a folder without a name
    SKUDefinition::SKUInfo currentProduct;
    bool countReferences = false; ///< recording an install raises counts: the product is a new one

    /// Replaces the record by that of the file at `path`, by an empty one if that cannot be read. Always
    /// true.
    bool parse(const VLString& path);
    /// Replaces the record by that of a file's bytes, which end with a zero byte. False, and
    /// the record is empty, when they are no record: malformed, or a document of another kind.
    bool parseBytes(std::unique_ptr<char[]> bytes);
    /// Saves the record, without the paths that no product uses. At every moment the file is the old one or
    /// the new one, whole; a link is followed, mode and owner of an existing file are kept, no other file
    /// stays behind (see AtomicFile). False when the file cannot be opened for writing or saving fails; it is
    /// then the old one.
    bool write(const VLString& path);
    /// Prints what write() saves. An error stays with the stream.
    void print(FILE* stream) const;
    void clear();

    Vector<SKUDefinition::SKUInfo>& getProductList() { return products; }
    /// Index of the product with that ID, or -1.
    int getProductIndex(const SKUDefinition::SKUInfo& info) const;
    bool hasProduct(const SKUDefinition::SKUInfo& info) const;
    bool hasProduct(const VLString& ID) const;
    /// Appends the product unless its ID is there. Always true.
    bool addProduct(const SKUDefinition::SKUInfo& info);
    /// Always true.
    bool removeProduct(const SKUDefinition::SKUInfo& info);

    /// Makes `info` the current product and enters it into the list, or with `remove` takes it off.
    void startProcessProduct(const SKUDefinition::SKUInfo& info, bool remove);
    void endProcessProduct();

    /// Records `node`, which lies in the folder `directory`, for the current product. A path of more than 997
    /// components is not recorded: a file that says so could not be read again. Always 0.
    int incrementFileRef(const VLString& directory, const FileNode& node);
    /// Takes one use off the path; the uses left, or -1 when the path is not recorded.
    int decrementFileRef(const VLString& directory, const FileNode& node);

    /// The recorded path, owned by the record, or null. The root is not a path.
    FileNodeRef* getFileInfo(const VLString& treePath);
    const FileNodeRef* getFileInfo(const VLString& treePath) const;
    /// Recorded, and no product uses it any more.
    bool needRemove(const VLString& treePath) const;
    /// Recorded, and the product being installed must write it.
    bool needReplaceFile(const VLString& treePath) const;
    /// Always null; use getFileInfo.
    FileNodeRef* getFileRef(const VLString& treePath);

private:
    /// Reads the build number of a version text, once for all that follow with the same text.
    class BuildNumbers {
    public:
        std::int32_t of(const VLString& build);

    private:
        VLString last;
        std::int32_t number = 0;
    };

    bool readDocument(TiXmlDocument& document);
    void readFile(TiXmlElement& element, FileNodeRef& parent);
    void readChildren(TiXmlNode& element, FileNodeRef& parent);
    void recordNew(FileNodeRef& recorded, const VLString& name, const FileNode& node);
    void recordAgain(FileNodeRef& recorded, const FileNode& node);

    BuildNumbers buildNumbers;
};
