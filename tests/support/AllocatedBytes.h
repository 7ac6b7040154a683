#ifndef OXLOGGINGHOST_TESTS_ALLOCATEDBYTES_H
#define OXLOGGINGHOST_TESTS_ALLOCATEDBYTES_H

#include <cstddef>
#include <cstdlib>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TELLAR_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TELLAR_TEST_SANITIZED 1
#endif
#endif

#ifdef TELLAR_TEST_SANITIZED
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#else
#include <malloc.h>
#endif

/// Set before anything of the library is used: it then keeps no small memory of its own.
inline const bool kAllComesFromMalloc = setenv("TELLAR_PLAIN_MEMORY", "1", 1) == 0;

/// The bytes that all threads of this process have allocated and not freed. Free pages that the
/// allocator keeps are not counted.
inline std::size_t AllocatedBytes() {
#ifdef TELLAR_TEST_SANITIZED
    return __sanitizer_get_current_allocated_bytes();
#else
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
#endif
}

#endif
