#include "Platform/PlatformServices.h"

/// Shows an alert with the title and the text given; exit status 10 for Retry, 11 for Cancel.
int main(int argc, char* argv[]) {
    if (argc != 3) {
        return 1;
    }
    return PlatformServices::ShowRetryCancelAlert(argv[1], argv[2]) ? 10 : 11;
}
