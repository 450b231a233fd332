#pragma once

#include "Utility/InstallInspector/Documents/LocatedDocument.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <string>
#include <vector>

/// The record of installed products, as the engine reads it, with the position of each path in the file.
struct Record {
    struct Node {
        const StatusFile::FileNodeRef* recorded;
        TextPosition where;                ///< the position of its name in the file
        const Node* parent;                ///< null for the root
        std::vector<const Node*> children; ///< in the engine's order

        /// The child with this name. Null if there is none.
        const Node* child(const VLString& name) const;
    };
    enum class State { Missing, Readable, Unreadable };

    State state = State::Missing;
    std::string path;
    LocatedDocument file; ///< empty if the file could not be opened; interpret() frees its content

    // interpret() fills these:
    StatusFile content; ///< as the engine reads it
    /// All nodes, parents first, in the engine's order. The first is the root. Empty without `installFiles`.
    std::vector<Node> nodes;
    /// Whether an interrupted run has left its new record beside this one.
    bool bUnfinishedSave = false;

    /// Reads the record in `folder`. If `folder` is a file, reads that file as the record. If the file cannot
    /// be opened, returns false and sets `error` to the reason. If the engine cannot read its content, the
    /// state is Unreadable.
    bool read(const std::string& folder, std::string& error);
    /// Reads the document with the engine's reader, and fills the members above. Frees the document, so that
    /// a large record is not in memory twice.
    void interpret();

    /// The node of this path. Null if it is not recorded. The components of `treePath` are joined by "/".
    const Node* find(const VLString& treePath) const;
    bool hasProduct(const VLString& ID) const { return content.hasProduct(ID); }

    Location start() const { return {Location::Document::Record, path, 0, 0}; }
    Location at(const Node& node) const { return file.at(node.where); }
    /// The location of the path, or of the nearest recorded folder above it.
    Location near(const VLString& treePath) const;

private:
    void addNodes(Node& parent, const std::vector<TextPosition>& places);
};

/// The path in the tree, components joined by "/".
VLString pathOf(const Record::Node& node);
