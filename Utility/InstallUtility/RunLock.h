#pragma once

/// Holds the lock of a run while the run changes the machine, so that runs follow each other. The constructor
/// waits for another run and logs this once. After ten minutes it logs a warning and goes on without the
/// lock, because the other run may show a question that nobody answers. On systems without such a lock, it
/// goes on at once.
///
/// A second object in the same process does nothing.
class RunLock {
public:
    RunLock();
    ~RunLock();
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

private:
    static int holders;
};
