#pragma once

#include "Foundation/VLString.h"

#include <algorithm>
#include <vector>

/// Of nodes that are sorted by name, as the engine's maps are, the one of that name; null when there is none.
/// `nameOf` gives a node's name.
template <class Node, class NameOf>
const Node* findByName(const std::vector<const Node*>& nodes, const VLString& name, NameOf nameOf) {
    const auto found =
        std::lower_bound(nodes.begin(), nodes.end(), name,
                         [&](const Node* node, const VLString& wanted) { return nameOf(*node) < wanted; });
    return found != nodes.end() && nameOf(**found) == name ? *found : nullptr;
}
