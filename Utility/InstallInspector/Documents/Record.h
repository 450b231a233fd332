#pragma once

#include "Utility/InstallInspector/Documents/LocatedDocument.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <map>
#include <string>
#include <vector>

/// The record of what is installed, with what the engine makes of it and where each path stands in the file.
struct Record {
    struct Node {
        const StatusFile::FileNodeRef* recorded;
        const TiXmlElement* element;
        VLString treePath;  ///< components joined by "/"
        const Node* parent; ///< null for the root
        std::vector<const Node*> children;
    };
    enum class State { Missing, Readable, Unreadable };

    State state = State::Missing;
    std::string path;
    LocatedDocument file; ///< when it could be opened
    StatusFile content;   ///< as the engine reads it
    /// Parents first, in the engine's order. The first is the root; empty without `installFiles`.
    std::vector<Node> nodes;
    /// A run that broke off while it saved has left its new record beside this one.
    bool bUnfinishedSave = false;

    /// Reads the record in `folder`, or the record `folder` itself when that is a file. False, and `error`
    /// says why, when nobody can tell what is in it; one that only the engine cannot read is Unreadable.
    bool read(const std::string& folder, std::string& error);

    /// The recorded path; null when there is none.
    const Node* find(const VLString& treePath) const;
    bool hasProduct(const VLString& ID) const { return content.hasProduct(ID); }

    Location start() const { return {Location::Document::Record, path, 0, 0}; }
    Location at(const Node& node) const { return file.at(*node.element, "fileName"); }
    /// The place of the path, or of the nearest one above it.
    Location near(const VLString& treePath) const;

private:
    void addNodes(std::size_t index, TiXmlElement& element);

    std::map<VLString, const Node*> byPath;
};
