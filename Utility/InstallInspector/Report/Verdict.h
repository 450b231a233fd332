#pragma once

#include "Utility/InstallInspector/Report/Finding.h"

#include <vector>

/// The result of a command as a whole, besides its findings. The exit status of Safe is 0.
enum class Verdict {
    Safe,      ///< nothing is lost, left behind, unrecorded, or an error that the user sees
    Harm,      ///< something is
    CannotTell ///< something necessary cannot be read, so the result is not known
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

/// Harm if there is an error. CannotTell if there is only a warning, because only a person knows whether it
/// is intended.
Verdict verdictOf(const std::vector<Finding>& findings);
