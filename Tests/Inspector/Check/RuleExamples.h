#pragma once

#include "Tests/Inspector/Check/InspectedProduct.h"

#include <string>
#include <vector>

/// What a rule complains about, and what it is content with.
struct Example {
    std::string rule;
    std::vector<Edit> bad;
    std::vector<Edit> good; ///< empty for none
};

/// Of all rules but those of the source folder and of product lines.
std::vector<Example> allExamples();
