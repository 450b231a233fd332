#pragma once

#include "Foundation/VLString.h"

#include <algorithm>
#include <vector>

/// The node with this name. Null if there is none. `nodes` must be sorted by name, like the engine's maps.
/// `nameOf` returns a node's name.
template <class Node, class NameOf>
const Node* findByName(const std::vector<const Node*>& nodes, const VLString& name, NameOf nameOf) {
    const auto found =
        std::lower_bound(nodes.begin(), nodes.end(), name,
                         [&](const Node* node, const VLString& wanted) { return nameOf(*node) < wanted; });
    return found != nodes.end() && nameOf(**found) == name ? *found : nullptr;
}
