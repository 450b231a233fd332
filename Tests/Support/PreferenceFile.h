#pragma once

#include "Foundation/VLString.h"

#include <string>

/// A property list in a file, written by Python's plistlib, which is independent of our code. Removed at the
/// end of the scope.
class PreferenceFile {
public:
    enum class Format { XML, Binary };

    /// `content` is the list as a Python literal, for example: {"name": "value", "number": 3}. The folder of
    /// `path` must exist.
    PreferenceFile(const VLString& path, const std::string& content, Format format = Format::XML);
    ~PreferenceFile();
    PreferenceFile(const PreferenceFile&) = delete;
    PreferenceFile& operator=(const PreferenceFile&) = delete;

private:
    VLString path;
};
