#include <OxTellarProducers/ConvertTextures.h>

#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using TELLAR::ConvertTexturesToArbitraryAttr;

GroupAttribute Converted(const Children& textures) {
    return ConvertTexturesToArbitraryAttr(Group(textures));
}

const Attribute kIndex = IntAttribute({0, 1, 0}, 1);

TEST(Textures, OfOneMapAreOfThePrimitive) {
    EXPECT_EQ(Converted({{"colour", Text("a.tx")}}),
              Group({{"colour", Group({{"value", Text("a.tx")}, {"scope", Text("primitive")}})}}));
}

TEST(Textures, OfSeveralMapsWithAnIndexAreOfTheFaces) {
    const auto maps = Texts({"a.tx", "b.tx"});
    EXPECT_EQ(
        Converted({{"colour", Group({{"maps", maps}, {"indicies", kIndex}})}}),
        Group({{"colour",
                Group({{"scope", Text("face")}, {"indexedValue", maps}, {"index", kIndex}})}}));
}

TEST(Textures, OfOneMapWithAnIndexAreOfThePrimitive) {
    EXPECT_EQ(Converted({{"colour", Group({{"maps", Text("a.tx")}, {"indicies", kIndex}})}}),
              Group({{"colour", Group({{"value", Text("a.tx")}, {"scope", Text("primitive")}})}}));
}

TEST(Textures, OfSeveralMapsWithoutAnIndexAreOfThePrimitive) {
    const auto maps = Texts({"a.tx", "b.tx"});
    const auto expected =
        Group({{"colour", Group({{"value", maps}, {"scope", Text("primitive")}})}});
    EXPECT_EQ(Converted({{"colour", Group({{"maps", maps}})}}), expected);
    EXPECT_EQ(Converted({{"colour", Group({{"maps", maps}, {"indices", kIndex}})}}), expected);
    EXPECT_EQ(Converted({{"colour", Group({{"maps", maps}, {"indicies", Text("0 1")}})}}),
              expected);
}

TEST(Textures, OfNoMapAtAllHaveAnEmptyValue) {
    EXPECT_EQ(Converted({{"colour", Group({{"maps", Texts({})}, {"indicies", kIndex}})}}),
              Group({{"colour", Group({{"value", Texts({})}, {"scope", Text("primitive")}})}}));
}

TEST(Textures, KeepTheMapsOfAllTheirTimes) {
    using Samples = std::map<float, std::vector<std::string>>;
    const Attribute two = OxAttribute::StringAttribute(
        Samples{{0.0f, {"a.tx", "b.tx"}}, {1.0f, {"c.tx", "d.tx"}}}, 1);
    const Attribute one =
        OxAttribute::StringAttribute(Samples{{-1.0f, {"a.tx"}}, {1.0f, {"b.tx"}}}, 1);
    EXPECT_EQ(Converted({{"byFace", Group({{"maps", two}, {"indicies", kIndex}})},
                         {"whole", Group({{"maps", one}, {"indicies", kIndex}})},
                         {"plain", one}}),
              Group({{"byFace",
                      Group({{"scope", Text("face")}, {"indexedValue", two}, {"index", kIndex}})},
                     {"whole", Group({{"value", one}, {"scope", Text("primitive")}})},
                     {"plain", Group({{"value", one}, {"scope", Text("primitive")}})}}));
}

TEST(Textures, ThatAreNoneAreLeftOut) {
    EXPECT_EQ(Converted({{"number", Int(1)},
                         {"null", OxAttribute::NullAttribute()},
                         {"empty", Group({})},
                         {"wrong", Group({{"maps", Int(1)}, {"indicies", kIndex}})}}),
              Group({}));
}

TEST(Textures, OfAnEmptyGroupAreAnEmptyGroup) {
    EXPECT_EQ(Converted({}), Group({}));
}

TEST(Textures, OfAnInvalidGroupAreInvalid) {
    EXPECT_FALSE(ConvertTexturesToArbitraryAttr({}).isValid());
}

} // namespace
