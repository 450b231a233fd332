#include "Utility/InstallUtility/Mac/LettrixResources.h"

#include "Utility/InstallUtility/InstallUtility.h"

bool RegisterLettrixResources() {
    // Intended: the shell look-ups behind the path are all that happens here.
    InstallUtility().getUserPreferencesPath();
    return true;
}
