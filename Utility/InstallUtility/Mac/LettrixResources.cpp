#include "Utility/InstallUtility/Mac/LettrixResources.h"

#include "Utility/InstallUtility/InstallUtility.h"

bool RegisterLettrixResources() {
    // Intended: the only effect is that the shell commands for this path run.
    InstallUtility().getUserPreferencesPath();
    return true;
}
