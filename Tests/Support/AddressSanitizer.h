#pragma once

/// Whether the tests run under the address sanitizer, which makes them several times slower.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool bAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool bAddressSanitizer = true;
#else
constexpr bool bAddressSanitizer = false;
#endif
#else
constexpr bool bAddressSanitizer = false;
#endif
