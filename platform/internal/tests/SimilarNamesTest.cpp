#include "text/SimilarNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace TellarInternal;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(SimilarNames, CountsInsertedRemovedReplacedAndSwappedLetters) {
    EXPECT_EQ(EditDistance("", ""), 0u);
    EXPECT_EQ(EditDistance("", "abc"), 3u);
    EXPECT_EQ(EditDistance("walk", "wlak"), 1u);
    EXPECT_EQ(EditDistance("wrld", "world"), 1u);
    EXPECT_EQ(EditDistance("rendir", "render"), 1u);
    EXPECT_EQ(EditDistance("kitten", "sitting"), 3u);
}

TEST(SimilarNames, BeginsWithTheMostSimilar) {
    EXPECT_THAT(SimilarNames({"camera", "cameras", "garden"}, "cameras_"),
                ElementsAre("cameras", "camera"));
    EXPECT_THAT(SimilarNames({"aaa4", "aaa3", "aaa2", "aaa1"}, "aaa0"),
                ElementsAre("aaa4", "aaa3", "aaa2"));
}

TEST(SimilarNames, TakesUpperAndLowerCaseForEqual) {
    EXPECT_THAT(SimilarNames({"Merge"}, "MERGE"), ElementsAre("Merge"));
}

TEST(SimilarNames, AreNoneWhenEveryLetterDiffers) {
    EXPECT_THAT(SimilarNames({"a", "b"}, "x"), IsEmpty());
    EXPECT_THAT(SimilarNames({"a"}, ""), IsEmpty());
    EXPECT_THAT(SimilarNames({"hd_1080", "ab"}, "xy"), IsEmpty());
    EXPECT_THAT(SimilarNames({"short"}, std::string(1000000, 'h')), IsEmpty());
}

TEST(SimilarNames, AreNamedInOneQuestion) {
    EXPECT_EQ(DidYouMean({"walk"}, "wolk"), "; did you mean \"walk\"?");
    EXPECT_EQ(DidYouMean({"abc1", "abc2", "abc3"}, "abc0", '\''),
              "; did you mean 'abc1', 'abc2' or 'abc3'?");
    EXPECT_EQ(DidYouMean({"walk"}, "polaroid"), "");
}

} // namespace
