#pragma once

#include "Utility/InstallInspector/Report/Finding.h"

#include <string>
#include <vector>

/// A change to one of the two files of a product that has no mistakes.
struct Edit {
    enum File { Definition, Targets };

    File file;
    /// The text to replace, which stands in the file once; empty for the whole file.
    std::string from;
    /// Each "@@" in it marks the place of an expected finding and is left out of the file.
    std::string to;
};

struct Place {
    Edit::File file;
    int line;
    int column;
};

/// Writes the product without mistakes, changed by `edits`, into files and checks it.
class InspectedProduct {
public:
    explicit InspectedProduct(const std::vector<Edit>& edits = {});

    std::vector<Finding> findings;
    std::vector<Place> marked;

    std::vector<Finding> findingsOf(const std::string& rule) const;

    static std::string definition(const std::vector<Edit>& edits = {});
    static std::string targets(const std::vector<Edit>& edits = {});
};
