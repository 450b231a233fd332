#pragma once

#include "Utility/InstallInspector/Status/Status.h"

/// A product that a machine should have, and whether it needs an install.
struct Wanted {
    enum class State {
        Whole,        ///< installed, without any damage that an install would correct
        Newer,        ///< installed in a build that the wanted one does not replace; it may be damaged
        Older,        ///< installed in a build that the wanted one replaces
        Missing,      ///< the record does not list it
        Damaged,      ///< installed with damage that an install corrects
        RecordDamaged ///< an install would lose other products, so the record must be corrected first
    };
    VLString ID;
    VLString build;     ///< empty for any build
    VLString installed; ///< the recorded build; empty if the product is missing
    State state = State::Missing;

    bool isThere() const { return state == State::Whole || state == State::Newer; }
};

/// Reads "ID" or "ID=BUILD".
Wanted wantedOf(const std::string& text);
/// Fills `installed` and `state` from the results of Status::inspect.
void findState(Wanted& wanted, const Status& status);
/// "whole", "record damaged" and so on.
const char* nameOf(Wanted::State state);
