#pragma once

#include <string>

/// Captures the standard output (file descriptor 1) of this process and its children until the end of the
/// scope. Output that was buffered before goes to the old standard output.
class CapturedStdout {
public:
    /// A pipe has room for 64 KiB. Without a call of text(), a writer of more waits without end.
    enum class Into { File, Pipe };

    explicit CapturedStdout(Into into = Into::File);
    ~CapturedStdout();
    CapturedStdout(const CapturedStdout&) = delete;
    CapturedStdout& operator=(const CapturedStdout&) = delete;

    /// Flushes the buffers of this process and returns all bytes so far. Capturing goes on.
    std::string text();
    /// The bytes that were flushed so far.
    std::string unbufferedText();

private:
    int oldOutput;
    int readEnd;
    std::string collected;
};
