#include "CountedAllocations.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <link.h>

extern "C" {
// Second names of the GNU C library's own functions.
void* __libc_malloc(std::size_t bytes);
void* __libc_calloc(std::size_t count, std::size_t bytes);
void* __libc_realloc(void* memory, std::size_t bytes);
void* __libc_memalign(std::size_t alignment, std::size_t bytes);
void __libc_free(void* memory);
int __cxa_thread_atexit_impl(void (*destroy)(void*), void* object, void* library);
}

namespace {

struct Range {
    std::uintptr_t begin;
    std::uintptr_t end;
    bool contains(const void* address) const {
        const auto at = reinterpret_cast<std::uintptr_t>(address);
        return at >= begin && at < end;
    }
};

// Set before anything of the library is used: its small memory comes from malloc then, too.
// Before other objects of the program, which may be values, are made.
[[gnu::constructor(101)]] void UsePlainMemory() {
    setenv("TELLAR_PLAIN_MEMORY", "1", 1);
}

long failing = 0; // the number of the allocation that fails
long asked = 0;
long live = 0;
Range loader = {0, 0};
Range destructorNotes = {0, 0};

/// Where the library lies that the system's base address of the program loader points at.
int FindLoader(dl_phdr_info* library, std::size_t, void*) {
    const bool isLoader = library->dlpi_name && *library->dlpi_name &&
                          library->dlpi_addr == loader.begin && loader.begin != 0;
    for (int i = 0; isLoader && i < library->dlpi_phnum; ++i) {
        const auto& part = library->dlpi_phdr[i];
        if (part.p_type == PT_LOAD) loader.end = library->dlpi_addr + part.p_vaddr + part.p_memsz;
    }
    return isLoader ? 1 : 0;
}

bool IsToFail(const void* caller) {
    if (failing == 0 || loader.contains(caller) || destructorNotes.contains(caller)) return false;
    return ++asked == failing;
}

void* Counted(void* memory) {
    if (memory) ++live;
    return memory;
}

[[gnu::noinline]] void* OutOfMemory() {
    errno = ENOMEM;
    return nullptr;
}

} // namespace

namespace TellarTest {

void FailAllocation(long number) {
    if (loader.end == 0) {
        constexpr std::uintptr_t kBytesOfThatFunction = 512;
        const auto noteDestructor = reinterpret_cast<std::uintptr_t>(&__cxa_thread_atexit_impl);
        destructorNotes = {noteDestructor, noteDestructor + kBytesOfThatFunction};
        loader.begin = _r_debug.r_ldbase;
        dl_iterate_phdr(FindLoader, nullptr);
    }
    asked = 0;
    failing = number;
}

long NumberOfAllocations() {
    return asked;
}

long LiveAllocations() {
    return live;
}

} // namespace TellarTest

extern "C" {

void* malloc(std::size_t bytes) {
    return IsToFail(__builtin_return_address(0)) ? OutOfMemory() : Counted(__libc_malloc(bytes));
}

void* calloc(std::size_t count, std::size_t bytes) {
    return IsToFail(__builtin_return_address(0)) ? OutOfMemory()
                                                 : Counted(__libc_calloc(count, bytes));
}

void* realloc(void* memory, std::size_t bytes) {
    if (IsToFail(__builtin_return_address(0))) return OutOfMemory();
    void* const moved = __libc_realloc(memory, bytes);
    if (!memory && moved) ++live;
    return moved;
}

void* memalign(std::size_t alignment, std::size_t bytes) {
    return IsToFail(__builtin_return_address(0)) ? OutOfMemory()
                                                 : Counted(__libc_memalign(alignment, bytes));
}

void* aligned_alloc(std::size_t alignment, std::size_t bytes) {
    return IsToFail(__builtin_return_address(0)) ? OutOfMemory()
                                                 : Counted(__libc_memalign(alignment, bytes));
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t bytes) {
    if (IsToFail(__builtin_return_address(0))) return ENOMEM;
    *memory = Counted(__libc_memalign(alignment, bytes));
    return *memory ? 0 : ENOMEM;
}

void free(void* memory) {
    if (memory) --live;
    __libc_free(memory);
}

} // extern "C"
