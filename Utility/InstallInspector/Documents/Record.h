#pragma once

#include "Utility/InstallInspector/Documents/LocatedDocument.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <map>
#include <string>
#include <vector>

/// The record of installed products, as the engine reads it, with the position of each path in the file.
struct Record {
    struct Node {
        const StatusFile::FileNodeRef* recorded;
        const TiXmlElement* element;
        VLString treePath;  ///< with "/" between components
        const Node* parent; ///< null for the root
        std::vector<const Node*> children;
    };
    enum class State { Missing, Readable, Unreadable };

    State state = State::Missing;
    std::string path;
    LocatedDocument file; ///< empty if the file could not be opened
    StatusFile content;   ///< as the engine reads it
    /// Parents first, in the engine's order. The first is the root. Empty without `installFiles`.
    std::vector<Node> nodes;
    /// Whether an interrupted run has left its new record beside this one.
    bool bUnfinishedSave = false;

    /// Reads the record in `folder`. If `folder` is a file, reads that file as the record. If the file cannot
    /// be opened, returns false and sets `error` to the reason. If the engine cannot read its content, the
    /// state is Unreadable.
    bool read(const std::string& folder, std::string& error);

    /// The recorded path. Null if it is not recorded.
    const Node* find(const VLString& treePath) const;
    bool hasProduct(const VLString& ID) const { return content.hasProduct(ID); }

    Location start() const { return {Location::Document::Record, path, 0, 0}; }
    Location at(const Node& node) const { return file.at(*node.element, "fileName"); }
    /// The position of the path, or of the nearest recorded folder above it.
    Location near(const VLString& treePath) const;

private:
    void addNodes(std::size_t index, TiXmlElement& element);

    std::map<VLString, const Node*> byPath;
};
