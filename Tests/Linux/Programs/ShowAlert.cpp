#include "Platform/PlatformServices.h"

/// Shows an alert with the title and the text given; exit status 10 for Retry, 11 for Cancel, 12 when there
/// is nobody to ask.
int main(int argc, char* argv[]) {
    if (argc != 3) {
        return 1;
    }
    switch (PlatformServices::ShowRetryCancelAlert(argv[1], argv[2])) {
    case PlatformServices::AlertAnswer::Retry:
        return 10;
    case PlatformServices::AlertAnswer::Cancel:
        return 11;
    case PlatformServices::AlertAnswer::NobodyToAsk:
        return 12;
    }
    return 1;
}
