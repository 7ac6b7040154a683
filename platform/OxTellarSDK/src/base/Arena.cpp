#include "Arena.h"

#include <algorithm>
#include <new>
#include <utility>

namespace OxTellarRuntimeDetail {

namespace {

constexpr std::size_t kCacheLineBytes = 64;
constexpr std::size_t kLargestRegionBytes = std::size_t(1) << 20;

} // namespace

void Arena::Free::operator()(char* memory) const {
    ::operator delete(memory, std::align_val_t(kCacheLineBytes));
}

void* Arena::allocate(std::size_t bytes) {
    bytes = (bytes + kCacheLineBytes - 1) / kCacheLineBytes * kCacheLineBytes;
    if (bytes > left) {
        const std::size_t regionBytes = std::max(bytes, nextRegionBytes);
        std::unique_ptr<char, Free> region(
            static_cast<char*>(::operator new(regionBytes, std::align_val_t(kCacheLineBytes))));
        regions.push_back(std::move(region));
        next = regions.back().get();
        left = regionBytes;
        nextRegionBytes = std::min(nextRegionBytes * 2, kLargestRegionBytes);
    }
    left -= bytes;
    return std::exchange(next, next + bytes);
}

} // namespace OxTellarRuntimeDetail
