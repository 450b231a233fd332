#pragma once

#include "Foundation/VLString.h"

#include <map>

/// The value of `key`, or an empty value with static lifetime. Unlike operator[], does not add `key` to the
/// map: a lookup must not change the tree, the items or the record.
template <class Value>
const Value& findOrEmpty(const std::map<VLString, Value>& values, const VLString& key) {
    static const Value empty{};
    const auto found = values.find(key);
    return found == values.end() ? empty : found->second;
}
