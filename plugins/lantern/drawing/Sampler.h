#ifndef LANTERN_DRAWING_SAMPLER_H
#define LANTERN_DRAWING_SAMPLER_H

#include <algorithm>
#include <cstdint>

#include "SceneData.h"

/// The random numbers of paths: Sobol's sequence in two dimensions with hash-based Owen scrambling.
/// They depend only on the pixel, the number of the path, and their purpose.
namespace lantern {

/// A 32-bit integer hash: the output function RXS-M-XS of O'Neill, "PCG: A Family of Simple Fast
/// Space-Efficient Statistically Good Algorithms for Random Number Generation", 2014.
inline std::uint32_t HashBits(std::uint32_t value) {
    const std::uint32_t state = value * 747796405u + 2891336453u;
    const std::uint32_t word = ((state >> ((state >> 28u) + 4u)) ^ state) * 277803737u;
    return (word >> 22u) ^ word;
}

inline std::uint32_t HashBits(std::uint32_t a, std::uint32_t b) {
    return HashBits(HashBits(a) + b);
}

/// A float in [0, 1).
inline float ToUnit(std::uint32_t bits) {
    return static_cast<float>(bits >> 8) * 0x1p-24f;
}

inline std::uint32_t ReverseBits(std::uint32_t x) {
    x = (x << 16) | (x >> 16);
    x = ((x & 0x00ff00ffu) << 8) | ((x & 0xff00ff00u) >> 8);
    x = ((x & 0x0f0f0f0fu) << 4) | ((x & 0xf0f0f0f0u) >> 4);
    x = ((x & 0x33333333u) << 2) | ((x & 0xccccccccu) >> 2);
    return ((x & 0x55555555u) << 1) | ((x & 0xaaaaaaaau) >> 1);
}

/// Owen scrambling of a number whose bits are reversed: each bit is flipped or not, depending on
/// the bits below it. Burley, "Practical Hash-based Owen Scrambling", JCGT 2020.
inline std::uint32_t ScrambleReversed(std::uint32_t x, std::uint32_t seed) {
    x += seed;
    x ^= x * 0x6c50b47cu;
    x ^= x * 0xb82f1e52u;
    x ^= x * 0xc7afe638u;
    x ^= x * 0x8d22f6e6u;
    return x;
}

/// The second dimension of Sobol's sequence, with its bits reversed. Its direction numbers are the
/// rows of Pascal's triangle modulo 2. By Lucas's theorem C(n, k) is odd exactly if n has all bits
/// of k, so bit k of the result is the sum modulo 2 of the bits n of the index with that property.
inline std::uint32_t SecondSobolReversed(std::uint32_t index) {
    index ^= (index >> 1) & 0x55555555u;
    index ^= (index >> 2) & 0x33333333u;
    index ^= (index >> 4) & 0x0f0f0f0fu;
    index ^= (index >> 8) & 0x00ff00ffu;
    return index ^ (index >> 16);
}

/// The random numbers of one path.
class Sampler {
public:
    Sampler(int x, int y, int path)
        : seed(HashBits(
              HashBits(HashBits(static_cast<std::uint32_t>(x)), static_cast<std::uint32_t>(y)))),
          reversedPath(ReverseBits(static_cast<std::uint32_t>(path))) {}

    /// The random numbers of one of `count` ways in which the path goes on. The first path of a
    /// pixel is divided into the first `count` ones, and so on, which are well distributed, too.
    Sampler branch(int way, int count) const {
        Sampler result = *this;
        const std::uint32_t path = ReverseBits(reversedPath) * static_cast<std::uint32_t>(count);
        result.reversedPath = ReverseBits(path + static_cast<std::uint32_t>(way));
        return result;
    }

    /// Two numbers in [0, 1), independent for each purpose. The pairs of the paths of one pixel are
    /// well distributed over the unit square.
    V2f pair(std::uint32_t purpose) const {
        const std::uint32_t own = HashBits(seed + purpose);
        const std::uint32_t index = ReverseBits(ScrambleReversed(reversedPath, own));
        const std::uint32_t x = ReverseBits(ScrambleReversed(index, HashBits(own, 1)));
        const std::uint32_t second = SecondSobolReversed(index);
        return {ToUnit(x), ToUnit(ReverseBits(ScrambleReversed(second, HashBits(own, 2))))};
    }

    /// Random bits without that property.
    std::uint32_t bits(std::uint32_t purpose) const {
        return HashBits(HashBits(seed + purpose), reversedPath);
    }

private:
    std::uint32_t seed;
    std::uint32_t reversedPath;
};

} // namespace lantern

#endif
