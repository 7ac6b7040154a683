#include "PoisonedCopies.h"

#include <utility>

namespace TELLAR {

namespace {

constexpr std::size_t kMostBytes = std::size_t(32) << 20;
constexpr std::size_t kMostCopies = 1 << 16;

/// A text becomes "released released ..."; values become bytes that are unlikely numbers in every
/// type: -1.2e17 as floats, -606348325 as integers.
void Poison(BorrowedCopy& copy) {
    constexpr char kText[] = "released ";
    for (std::size_t i = 0; i < copy.size; ++i)
        copy.bytes[i] = copy.isText ? static_cast<unsigned char>(kText[i % (sizeof kText - 1)])
                                    : static_cast<unsigned char>(0xDB);
    if (copy.isText) copy.bytes[copy.size - 1] = 0;
}

} // namespace

void PoisonedCopies::add(BorrowedCopy copy) {
    Poison(copy);
    const std::lock_guard<std::mutex> lock(mutex);
    const unsigned char* const address = copy.bytes.get();
    size += copy.size;
    order.push_back(address);
    copies.emplace(address, std::move(copy));
    while (size > kMostBytes || order.size() > kMostCopies) {
        const auto oldest = copies.find(order.front());
        size -= oldest->second.size;
        copies.erase(oldest);
        order.pop_front();
    }
}

std::optional<PoisonedCopies::Found> PoisonedCopies::find(const void* pointer) const {
    const auto* const address = static_cast<const unsigned char*>(pointer);
    const std::lock_guard<std::mutex> lock(mutex);
    auto next = copies.upper_bound(address);
    if (next == copies.begin()) return std::nullopt;
    const BorrowedCopy& copy = std::prev(next)->second;
    if (address >= copy.bytes.get() + copy.size) return std::nullopt;
    return Found{copy.borrowed, copy.released, copy.isText};
}

} // namespace TELLAR
