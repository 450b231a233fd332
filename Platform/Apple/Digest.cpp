// SHA-256 by the system's own library.
#include "Platform/Digest.h"

#include <CommonCrypto/CommonDigest.h>
#include <algorithm>
#include <array>

struct Sha256::State {
    CC_SHA256_CTX context = {};
};

Sha256::Sha256() : state(std::make_unique<State>()) {
    CC_SHA256_Init(&state->context);
}

Sha256::~Sha256() = default;

void Sha256::add(const void* bytes, std::size_t size) {
    constexpr std::size_t most = 1U << 30U; // it counts with 32 bits
    const char* next = static_cast<const char*>(bytes);
    while (size > 0) {
        const std::size_t now = std::min(size, most);
        CC_SHA256_Update(&state->context, next, static_cast<CC_LONG>(now));
        next += now;
        size -= now;
    }
}

std::string Sha256::finish() {
    static const char* const digits = "0123456789abcdef";
    std::array<unsigned char, CC_SHA256_DIGEST_LENGTH> digest = {};
    CC_SHA256_Final(digest.data(), &state->context);
    std::string text;
    for (const unsigned char byte : digest) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    CC_SHA256_Init(&state->context);
    return text;
}
