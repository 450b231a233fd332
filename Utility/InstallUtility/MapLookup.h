#pragma once

#include "Foundation/VLString.h"

#include <map>

/// The value of `key`, or an empty value that outlives every caller. Unlike operator[] it adds nothing: a
/// walk that only looks a name up must leave no trace in the tree, the items or the record.
template <class Value>
const Value& findOrEmpty(const std::map<VLString, Value>& values, const VLString& key) {
    static const Value empty{};
    const auto found = values.find(key);
    return found == values.end() ? empty : found->second;
}
