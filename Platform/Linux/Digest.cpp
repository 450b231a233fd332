// SHA-256 by libcrypto.
#include "Platform/Digest.h"

#include <array>
#include <openssl/evp.h>

struct Sha256::State {
    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context{EVP_MD_CTX_new(), &EVP_MD_CTX_free};
    bool bWorks = context != nullptr && EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1;
};

Sha256::Sha256() : state(std::make_unique<State>()) {}

Sha256::~Sha256() = default;

void Sha256::add(const void* bytes, std::size_t size) {
    state->bWorks = state->bWorks && EVP_DigestUpdate(state->context.get(), bytes, size) == 1;
}

std::string Sha256::finish() {
    static const char* const digits = "0123456789abcdef";
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest = {};
    unsigned int size = 0;
    std::string text;
    if (state->bWorks && EVP_DigestFinal_ex(state->context.get(), digest.data(), &size) == 1) {
        for (unsigned int i = 0; i < size; ++i) {
            text += digits[digest[i] >> 4U];
            text += digits[digest[i] & 0xFU];
        }
    }
    // With the digest of before: to look it up takes longer than a small file.
    state->bWorks =
        state->context != nullptr && EVP_DigestInit_ex(state->context.get(), nullptr, nullptr) == 1;
    return text;
}
