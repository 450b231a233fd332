#include "Utility/InstallInspector/Report/Verdict.h"

Verdict verdictOf(const std::vector<Finding>& findings) {
    Verdict verdict = Verdict::Safe;
    for (const Finding& finding : findings) {
        if (finding.severity == Severity::Error) {
            return Verdict::Harm;
        }
        if (finding.severity == Severity::Warning) {
            verdict = Verdict::CannotTell;
        }
    }
    return verdict;
}
