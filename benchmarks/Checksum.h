#ifndef TELLAR_BENCH_CHECKSUM_H
#define TELLAR_BENCH_CHECKSUM_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace TellarBench {

/// A checksum of the values that were read of one location, which depends on their order. It costs
/// a multiplication and two additions per value, because it is part of every measured time.
class LocationSum {
public:
    template <typename T>
    void add(T value) {
        static_assert(sizeof(T) <= sizeof(std::uint64_t));
        std::uint64_t bits = 0;
        std::memcpy(&bits, &value, sizeof(value));
        sum += bits * weight;
        weight += kWeightStep;
    }

    template <typename T>
    void addAll(const T* values, std::size_t count) {
        add(count);
        for (std::size_t i = 0; i < count; ++i)
            add(values[i]);
    }

    /// Adds the text's length and its first and last byte.
    void addText(std::string_view text) {
        std::uint64_t bits = text.size() << 16;
        if (!text.empty())
            bits |= static_cast<std::uint64_t>(static_cast<unsigned char>(text.front())) << 8 |
                    static_cast<unsigned char>(text.back());
        add(bits);
    }

    std::uint64_t get() const { return sum; }

private:
    static constexpr std::uint64_t kWeightStep =
        0x9E3779B97F4A7C16; // even, so that weights stay odd
    std::uint64_t sum = 0;
    std::uint64_t weight = 1;
};

/// The sum over locations. It does not depend on their order, so threads can add up their sums.
struct Checksum {
    std::uint64_t value = 0;
    std::int64_t locations = 0;

    void add(const LocationSum& location) {
        const std::uint64_t sum = location.get();
        value += (sum ^ sum >> 32) * 0xD6E8FEB86659FD93;
        ++locations;
    }
    void add(const Checksum& other) {
        value += other.value;
        locations += other.locations;
    }
    friend bool operator==(const Checksum& a, const Checksum& b) {
        return a.value == b.value && a.locations == b.locations;
    }
    friend bool operator!=(const Checksum& a, const Checksum& b) { return !(a == b); }
};

} // namespace TellarBench

#endif
