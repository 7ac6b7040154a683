/* Preloaded into a program: its allocations fail from number TELLAR_TEST_FAIL_FROM on, counted from
   1, as many as TELLAR_TEST_FAIL_COUNT says. Those of the program loader never do, since the C
   library ends the process when there is no memory for thread-local storage or for the note of a
   thread-local object's destructor. */

#define _GNU_SOURCE

#include <errno.h>
#include <link.h>
#include <stdint.h>
#include <stdlib.h>

void* __libc_malloc(size_t bytes);
void* __libc_calloc(size_t count, size_t bytes);
void* __libc_realloc(void* memory, size_t bytes);
void* __libc_memalign(size_t alignment, size_t bytes);
int __cxa_thread_atexit_impl(void (*destroy)(void*), void* object, void* library);

static int isSetUp;
static long firstFailure;
static long lastFailure;
static long asked;
static uintptr_t loaderBegin;
static uintptr_t loaderEnd;

static int findLoader(struct dl_phdr_info* library, size_t size, void* data) {
    int i;
    (void)size;
    (void)data;
    if (library->dlpi_addr != loaderBegin) return 0;
    for (i = 0; i < library->dlpi_phnum; ++i) {
        const ElfW(Phdr)* part = &library->dlpi_phdr[i];
        if (part->p_type == PT_LOAD) loaderEnd = loaderBegin + part->p_vaddr + part->p_memsz;
    }
    return 1;
}

static void setUp(void) {
    const char* const from = getenv("TELLAR_TEST_FAIL_FROM");
    const char* const count = getenv("TELLAR_TEST_FAIL_COUNT");
    isSetUp = 1;
    firstFailure = from ? atol(from) : 0;
    lastFailure = firstFailure + (count ? atol(count) : 1) - 1;
    loaderBegin = (uintptr_t)_r_debug.r_ldbase;
    if (firstFailure) dl_iterate_phdr(findLoader, NULL);
}

static int isToFail(const void* caller) {
    const uintptr_t at = (uintptr_t)caller;
    const uintptr_t note = (uintptr_t)__cxa_thread_atexit_impl;
    const uintptr_t bytesOfNote = 512;
    if (!isSetUp) setUp();
    if (!firstFailure || (at >= loaderBegin && at < loaderEnd)) return 0;
    if (at >= note && at < note + bytesOfNote) return 0;
    ++asked;
    if (asked < firstFailure || asked > lastFailure) return 0;
    errno = ENOMEM;
    return 1;
}

#define EXPORTED __attribute__((visibility("default")))

EXPORTED void* malloc(size_t bytes) {
    return isToFail(__builtin_return_address(0)) ? NULL : __libc_malloc(bytes);
}

EXPORTED void* calloc(size_t count, size_t bytes) {
    return isToFail(__builtin_return_address(0)) ? NULL : __libc_calloc(count, bytes);
}

EXPORTED void* realloc(void* memory, size_t bytes) {
    return isToFail(__builtin_return_address(0)) ? NULL : __libc_realloc(memory, bytes);
}

EXPORTED void* aligned_alloc(size_t alignment, size_t bytes) {
    return isToFail(__builtin_return_address(0)) ? NULL : __libc_memalign(alignment, bytes);
}

EXPORTED int posix_memalign(void** memory, size_t alignment, size_t bytes) {
    if (isToFail(__builtin_return_address(0))) return ENOMEM;
    *memory = __libc_memalign(alignment, bytes);
    return *memory ? 0 : ENOMEM;
}
