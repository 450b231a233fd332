#include "Utility/InstallInspector/Author/Remarks.h"

#include "Utility/InstallInspector/Report/Finding.h"
#include "Utility/InstallInspector/Report/Output.h"

#include <cstdio>

void Remarks::print() const {
    const Painter painter = Painter::forFile(stderr);
    std::string text;
    for (const Remark& remark : leftOut) {
        text += printable(remark.path) + ": " + remark.text + "\n";
    }
    for (const Remark& remark : notes) {
        text +=
            printable(remark.path) + ": " + painter.paint(Colour::Yellow, "note:") + " " + remark.text + "\n";
    }
    for (const Remark& remark : faults) {
        text +=
            printable(remark.path) + ": " + painter.paint(Colour::Red, "error:") + " " + remark.text + "\n";
    }
    static_cast<void>(std::fputs(text.c_str(), stderr));
}
