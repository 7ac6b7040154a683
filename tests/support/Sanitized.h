#ifndef TELLAR_TEST_SANITIZED_H
#define TELLAR_TEST_SANITIZED_H

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TELLAR_TEST_HAS_SANITIZER
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TELLAR_TEST_HAS_SANITIZER
#endif

namespace TellarTest {

/// True under AddressSanitizer and ThreadSanitizer, which make code many times slower. Tests that
/// repeat the same steps repeat them less often there: a sanitizer finds an error in the first
/// steps that have it, and the release build runs the full number.
#ifdef TELLAR_TEST_HAS_SANITIZER
inline constexpr bool kSanitized = true;
#else
inline constexpr bool kSanitized = false;
#endif

} // namespace TellarTest

#endif
