#pragma once

#include "Foundation/VLString.h"
#include "Platform/WholeFile.h"
#include "Utility/InstallUtility/StatusFile.h"

#include <functional>
#include <utility>

/// The file that holds the record, over one run: how it was found, and so what may be done with it.
///
/// What cannot be known is never written over. A file that is there and cannot be read stays: the run goes on
/// with an empty record and saves none. A damaged one is kept beside the new one, under its name with
/// ".damaged" appended, and a number when that name is taken. Each of these is told by one error line.
class RecordFile {
public:
    RecordFile() = default;
    explicit RecordFile(VLString recordPath) : path(std::move(recordPath)) {}

    /// Reads the file into `record`, which is empty when there is none or it cannot be read.
    void load(StatusFile& record);

    /// Saves `record`, see StatusFile::write. When the file is no more the one that was loaded, it is read
    /// again, and `enterAgain` has to enter into `record` what this run has changed. An empty record for
    /// which there is no folder is not saved. A failure is told by one error line.
    void save(StatusFile& record, const std::function<void()>& enterAgain);

    bool isAt(const VLString& other) const { return path == other; }
    /// Whether the file may be replaced or removed.
    bool isOurs() const { return bOurs; }
    /// Whether the file that was loaded is no record, so that its bytes have to be kept.
    bool isDamaged() const { return bDamaged; }
    bool isSaved() const { return bSaved; }

private:
    bool keepDamaged();

    VLString path;
    FileState found; ///< as it was loaded
    bool bLoaded = false;
    bool bDamaged = false;
    bool bOurs = true;
    bool bSaved = false;
};
