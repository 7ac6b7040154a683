#ifndef LANTERN_DRAWING_MATTELAYER_H
#define LANTERN_DRAWING_MATTELAYER_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace lantern {

/// Counts, for each pixel, the paths that meet each thing. Several threads may add to
/// different buckets at once.
class MatteLayer {
public:
    MatteLayer(std::size_t pixels, int buckets)
        : first(pixels), more(static_cast<std::size_t>(buckets)) {}

    /// Counts a path that meets the thing with this id. A pixel always comes with the same bucket.
    void add(std::size_t pixel, int bucket, std::uint32_t id);

    /// An id and its number of paths, which is 0 where a pixel has no more things.
    struct Rank {
        std::uint32_t id = 0;
        std::uint32_t paths = 0;
    };
    static constexpr int kRanks = 6;
    /// The things with the most paths, sorted by falling number of paths, then by id.
    std::array<Rank, kRanks> ranksOf(std::size_t pixel, int bucket) const;

private:
    /// An entry of a pixel's list. The first one is in `first`, the others are in the `more` of the
    /// bucket.
    struct Entry {
        Rank rank;
        std::uint32_t next = 0; ///< the index in `more` plus one; 0 at the end
    };

    std::vector<Entry> first;             // one per pixel
    std::vector<std::vector<Entry>> more; // one list per bucket
};

} // namespace lantern

#endif
