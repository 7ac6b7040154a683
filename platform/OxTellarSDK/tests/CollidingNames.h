#ifndef OXTELLARSDK_TESTS_COLLIDINGNAMES_H
#define OXTELLARSDK_TESTS_COLLIDINGNAMES_H

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

/// Names of eight bytes (any bytes, NUL included) that all have one 32-bit name hash: the low
/// half of XXH3_64bits. For eight bytes that function is a chain of steps that can each be
/// undone, so a name can be computed backwards from its hash.
class CollidingNames {
public:
    static std::vector<std::string> make(std::size_t count, std::uint32_t hash = 0x7e11a201) {
        std::vector<std::string> names;
        for (std::uint64_t high = 0; high < count; ++high)
            names.push_back(nameOf(high << 32 | hash));
        return names;
    }

private:
    static std::uint64_t rotated(std::uint64_t value, int bits) {
        return value << bits | value >> (64 - bits);
    }

    static std::uint64_t inverseOf(std::uint64_t odd) {
        std::uint64_t inverse = odd; // right in its low 3 bits; every round doubles them
        for (int round = 0; round < 5; ++round)
            inverse *= 2 - odd * inverse;
        return inverse;
    }

    static std::string nameOf(std::uint64_t hash) {
        constexpr std::uint64_t kFactor = 0x9FB21C651E98DF25;
        constexpr std::uint64_t kKey = 0x1cad21f72c81017c ^ 0xdb979083e96dd4de;
        std::uint64_t value = hash ^ hash >> 28;
        value ^= value >> 56; // undoes `v ^= v >> 28`, three shifts deep
        value *= inverseOf(kFactor);
        value ^= (value >> 35) + 8;
        value *= inverseOf(kFactor);
        // v ^ rot49(v) ^ rot24(v), applied 64 times, is v again: 63 times undoes it once.
        for (int round = 0; round < 63; ++round)
            value ^= rotated(value, 49) ^ rotated(value, 24);
        value = rotated(value ^ kKey, 32);
        std::string name(8, '\0');
        std::memcpy(name.data(), &value, 8);
        return name;
    }
};

#endif
