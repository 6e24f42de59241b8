// Which sanitizers the tests are built with.
#pragma once

namespace test {

#if !defined(__has_feature)
#define TEST_HAS_FEATURE(feature) 0
#else
#define TEST_HAS_FEATURE(feature) __has_feature(feature)
#endif

#if defined(__SANITIZE_THREAD__) || TEST_HAS_FEATURE(thread_sanitizer)
inline constexpr bool kIsThreadSanitized = true;
#else
inline constexpr bool kIsThreadSanitized = false;
#endif

#if defined(__SANITIZE_ADDRESS__) || TEST_HAS_FEATURE(address_sanitizer)
inline constexpr bool kIsAddressSanitized = true;
#else
inline constexpr bool kIsAddressSanitized = false;
#endif

#undef TEST_HAS_FEATURE

inline constexpr bool kIsSanitized = kIsThreadSanitized || kIsAddressSanitized;

}  // namespace test
