#include "drawing/Sampler.h"

#include <cstdint>
#include <set>

#include <gtest/gtest.h>

namespace {

using lantern::Sampler;

/// Computed from the direction numbers, bit by bit of the index.
std::uint32_t SecondSobol(std::uint32_t index) {
    std::uint32_t result = 0;
    for (std::uint32_t direction = 1u << 31; index; index >>= 1, direction ^= direction >> 1)
        if (index & 1) result ^= direction;
    return result;
}

TEST(SobolSequence, HasTheSecondDimensionOfItsDirectionNumbers) {
    for (std::uint32_t index = 0; index < 5000; ++index) {
        const std::uint32_t spread = index * 2654435761u;
        ASSERT_EQ(lantern::ReverseBits(lantern::SecondSobolReversed(spread)), SecondSobol(spread));
    }
}

/// The number of boxes, of 16 with this shape, that contain one of a pixel's first 16 pairs.
std::size_t BoxesHit(int columns, int rows) {
    std::set<std::pair<int, int>> boxes;
    for (int path = 0; path < 16; ++path) {
        const Imath::V2f at = Sampler(7, 9, path).pair(3);
        boxes.insert({static_cast<int>(at.x * columns), static_cast<int>(at.y * rows)});
    }
    return boxes.size();
}

TEST(Sampler, StratifiesSixteenPathsInBoxesOfAnyShape) {
    EXPECT_EQ(BoxesHit(16, 1), 16u);
    EXPECT_EQ(BoxesHit(8, 2), 16u);
    EXPECT_EQ(BoxesHit(4, 4), 16u);
    EXPECT_EQ(BoxesHit(2, 8), 16u);
    EXPECT_EQ(BoxesHit(1, 16), 16u);
}

TEST(Sampler, DividesPathsIntoThoseOfMorePathsPerPixel) {
    for (int path = 0; path < 8; ++path) {
        for (int way = 0; way < 4; ++way) {
            SCOPED_TRACE(path * 4 + way);
            EXPECT_EQ(Sampler(7, 9, path).branch(way, 4).pair(3),
                      Sampler(7, 9, path * 4 + way).pair(3));
        }
    }
}

TEST(Sampler, GivesAnotherPairForEachPixelPathAndPurpose) {
    const Imath::V2f one = Sampler(7, 9, 2).pair(3);
    EXPECT_EQ(one, Sampler(7, 9, 2).pair(3));
    EXPECT_NE(one, Sampler(8, 9, 2).pair(3));
    EXPECT_NE(one, Sampler(9, 7, 2).pair(3));
    EXPECT_NE(one, Sampler(7, 9, 3).pair(3));
    EXPECT_NE(one, Sampler(7, 9, 2).pair(4));
}

TEST(Sampler, DoesNotCorrelatePurposes) {
    double sum = 0;
    for (int path = 0; path < 4096; ++path) {
        const Sampler sampler(1, 2, path);
        sum += (sampler.pair(1).x - 0.5) * (sampler.pair(2).x - 0.5);
    }
    EXPECT_NEAR(sum / 4096, 0, 0.005); // 1/12 for equal numbers
}

} // namespace
