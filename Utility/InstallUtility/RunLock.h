#pragma once

/// Held while a run changes the machine, so that two runs give what one after the other gives. Waits for the
/// end of another run, and says so once. After ten minutes, and where there is no such lock, the run goes on
/// without it: the other run may be one whose question nobody answers.
///
/// A process holds the lock once: an object that is made while there is another does nothing.
class RunLock {
public:
    RunLock();
    ~RunLock();
    RunLock(const RunLock&) = delete;
    RunLock& operator=(const RunLock&) = delete;

private:
    static int holders;
};
