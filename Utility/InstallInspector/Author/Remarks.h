#pragma once

#include <string>
#include <vector>

/// Something that is said about a path in a source folder.
struct Remark {
    std::string path; ///< in the source folder; may hold any bytes
    std::string text; ///< without a full stop
};

/// What `new` and `update` have to say beside what they write.
struct Remarks {
    std::vector<Remark> leftOut;
    std::vector<Remark> notes;  ///< a person should look at it; it is written all the same
    std::vector<Remark> faults; ///< no definition can carry it, and nothing is written

    void note(std::string path, std::string text) { notes.push_back({std::move(path), std::move(text)}); }
    void fault(std::string path, std::string text) { faults.push_back({std::move(path), std::move(text)}); }

    /// Prints all of them on standard error, a line for each.
    void print() const;
};
