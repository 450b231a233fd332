#pragma once

#include <cstddef>
#include <memory>
#include <string>

/// The SHA-256 of bytes that come in pieces.
class Sha256 {
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void add(const void* bytes, std::size_t size);
    /// That of all bytes since the beginning, or since the last call, as 64 small hexadecimal digits. Empty
    /// when the system's library has failed.
    std::string finish();

private:
    struct State;
    std::unique_ptr<State> state;
};
