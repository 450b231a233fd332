#pragma once

#include "Utility/InstallInspector/Report/Finding.h"

#include <vector>

/// What a command says as a whole, beside its findings. Exit status 0 is Safe.
enum class Verdict {
    Safe,      ///< it has looked: nothing is lost, left behind, shown to the user as an error, or unrecorded
    Harm,      ///< something is
    CannotTell ///< something that would have to be looked at cannot be
};

/// Its name in JSON.
constexpr const char* nameOf(Verdict verdict) {
    switch (verdict) {
    case Verdict::Safe:
        return "safe";
    case Verdict::Harm:
        return "harm";
    case Verdict::CannotTell:
        break;
    }
    return "cannot tell";
}

/// Harm with an error. CannotTell with a warning, since only a person knows whether it is intended.
Verdict verdictOf(const std::vector<Finding>& findings);
