#include "CountedAllocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<long> allocations{0};

} // namespace

long TellarTest::NumberOfAllocations() {
    return allocations;
}

void* operator new(std::size_t bytes) {
    ++allocations;
    if (void* memory = std::malloc(bytes > 0 ? bytes : 1)) return memory;
    throw std::bad_alloc();
}

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    ++allocations;
    return std::malloc(bytes > 0 ? bytes : 1);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
