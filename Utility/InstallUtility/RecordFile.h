#pragma once

#include "Foundation/VLString.h"
#include "Platform/WholeFile.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <functional>
#include <utility>

/// The file of the record during one run. Remembers how it was loaded, which decides how it may be saved.
///
/// If the file exists and cannot be read, it is not changed: the run goes on with an empty record and does
/// not save. If the file is damaged, a copy is kept as PATH.damaged, or with a number after this name if it
/// is taken. Both are logged as errors.
class RecordFile {
public:
    RecordFile() = default;
    explicit RecordFile(VLString recordPath) : path(std::move(recordPath)) {}

    /// Reads the file into `record`. If it does not exist or cannot be read, `record` is empty.
    void load(StatusFile& record);

    /// Saves `record`, see StatusFile::write. If the file has changed since it was loaded, reads it again and
    /// calls `enterAgain`, which must apply the changes of this run to `record`. Does not save an empty
    /// record if its folder does not exist. On failure, logs an error.
    void save(StatusFile& record, const std::function<void()>& enterAgain);

    bool isAt(const VLString& other) const { return path == other; }
    /// Whether the file may be replaced or removed.
    bool isOurs() const { return bOurs; }
    /// Whether the loaded file is malformed, so that a copy must be kept.
    bool isDamaged() const { return bDamaged; }
    bool isSaved() const { return bSaved; }

private:
    bool keepDamaged();

    VLString path;
    FileState found; ///< the state when it was loaded
    bool bLoaded = false;
    bool bDamaged = false;
    bool bOurs = true;
    bool bSaved = false;
};
