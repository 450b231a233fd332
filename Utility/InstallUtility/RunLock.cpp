#include "Utility/InstallUtility/RunLock.h"

#include "Foundation/Machine.h"
#include "Foundation/SimpleLog.h"

#include <chrono>

namespace {

using namespace std::chrono_literals;

constexpr std::chrono::milliseconds pauseForOtherRun = 50ms;
constexpr std::chrono::milliseconds patience = 10min;

void waitForLock() {
    Machine& machine = Machine::current();
    std::chrono::milliseconds waited = 0ms;
    while (machine.tryToLock() == Machine::Lock::HeldByAnother) {
        if (waited == 0ms) {
            SimpleLog::printLog(SimpleLog::Info, __FILE__, __FUNCTION__, __LINE__,
                                "Another install or uninstall is running. Waiting for its end.");
        }
        if (waited >= patience) {
            SimpleLog::printLog(
                SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__,
                "The other install or uninstall has not ended for ten minutes. This one goes on.");
            return;
        }
        waited += machine.pause(pauseForOtherRun);
    }
}

} // namespace

int RunLock::holders = 0;

RunLock::RunLock() {
    if (holders++ == 0) {
        waitForLock();
    }
}

RunLock::~RunLock() {
    if (--holders == 0) {
        Machine::current().unlock();
    }
}
