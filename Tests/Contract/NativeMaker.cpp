#include "Tests/Contract/MakerDifferences.h"

const MakerDifferences makerDifferences{};
