#pragma once

#include <string>
#include <vector>

/// A message about a path in a source folder.
struct Remark {
    std::string path; ///< in the source folder; may hold any bytes
    std::string text; ///< without a full stop
};

/// The messages of `new` and `update`.
struct Remarks {
    std::vector<Remark> leftOut;
    std::vector<Remark> notes;  ///< a person should check it; it is written anyway
    std::vector<Remark> faults; ///< no definition can contain it, so nothing is written

    void note(std::string path, std::string text) { notes.push_back({std::move(path), std::move(text)}); }
    void fault(std::string path, std::string text) { faults.push_back({std::move(path), std::move(text)}); }

    /// Prints all of them on standard error, a line for each.
    void print() const;
};
