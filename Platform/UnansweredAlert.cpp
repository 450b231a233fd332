#include "Platform/UnansweredAlert.h"

#include "Foundation/SimpleLog.h"

void logUnansweredAlert(const VLString& title, const VLString& text) {
    // The log formats a line a second time, where "%%" becomes "%".
    const VLString line = (title + ": " + text).Replace("%", "%%");
    SimpleLog::printLog(SimpleLog::Warning, __FILE__, __FUNCTION__, __LINE__, "%s", line.ConstData());
}
