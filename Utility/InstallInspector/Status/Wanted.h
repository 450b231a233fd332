#pragma once

#include "Utility/InstallInspector/Status/Status.h"

/// A product that a machine is to have, and whether it needs an install for that.
struct Wanted {
    enum class State {
        Whole,        ///< it is there as it should be, as far as an install could mend it
        Newer,        ///< it is there in a build that the wanted one does not replace, whole or not
        Older,        ///< it is there in a build that the wanted one replaces
        Missing,      ///< the record does not list it
        Damaged,      ///< something of it is not as it should be, which an install mends
        RecordDamaged ///< an install would forget other products, so that the record comes first
    };
    VLString ID;
    VLString build;     ///< empty for any
    VLString installed; ///< the recorded build; empty when it is missing
    State state = State::Missing;

    bool isThere() const { return state == State::Whole || state == State::Newer; }
};

/// Reads "ID" or "ID=BUILD".
Wanted wantedOf(const std::string& text);
/// Fills `installed` and `state` from what `inspect` has found out.
void weigh(Wanted& wanted, const Status& status);
/// "whole", "record damaged" and so on.
const char* nameOf(Wanted::State state);
