#pragma once

#include <string>

/// Takes everything that this process and its children write to standard output (file descriptor 1) until
/// the end of the scope. What was buffered before goes to the old output.
class CapturedStdout {
public:
    /// A pipe holds 64 KiB until it is read; who writes more into it without a text() in between waits for
    /// ever.
    enum class Into { File, Pipe };

    explicit CapturedStdout(Into into = Into::File);
    ~CapturedStdout();
    CapturedStdout(const CapturedStdout&) = delete;
    CapturedStdout& operator=(const CapturedStdout&) = delete;

    /// All bytes so far, with those in the buffers of this process, which it flushes. Capturing goes on.
    std::string text();
    /// The bytes that have left the buffers so far.
    std::string unbufferedText();

private:
    int oldOutput;
    int readEnd;
    std::string collected;
};
