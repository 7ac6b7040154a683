#include <OxTellarSDK/TextureReferences.h>

#include <gmock/gmock.h>

#include "TempDirectory.h"

namespace {

using namespace OxAttribute;
using testing::ElementsAre;

GroupAttribute Group(const std::vector<GroupAttribute::Child>& children) {
    return GroupAttribute(children, true);
}

GroupAttribute Image(const std::string& file) {
    return Group({{"type", StringAttribute("image")},
                  {"parameters", Group({{"file", StringAttribute(file)}})}});
}

std::vector<std::string> Texts(const GroupAttribute& attrs) {
    std::vector<std::string> texts;
    for (const TextureReference& texture : FindTextures(attrs))
        texts.push_back(texture.attribute + "=" + texture.file);
    return texts;
}

/// Attributes with textures of every kind, each with a relative and an absolute file.
GroupAttribute Attrs() {
    const GroupAttribute faces =
        Group({{"maps", StringAttribute({"a.png", "/b.png"}, 1)}, {"indicies", IntAttribute(0)}});
    return Group({{"material",
                   Group({{"nodes", Group({{"wood", Image("a.png")}, {"lost", Image("c.png")}})}})},
                  {"light", Group({{"texture", StringAttribute("a.png")}})},
                  {"textures", Group({{"color", StringAttribute("a.png")}, {"faces", faces}})}});
}

TEST(TextureReferences, AreThoseOfMaterialsLightsAndTextures) {
    EXPECT_THAT(Texts(Attrs()),
                ElementsAre("material.nodes.wood.parameters.file=a.png",
                            "material.nodes.lost.parameters.file=c.png", "light.texture=a.png",
                            "textures.color=a.png", "textures.faces.maps=a.png",
                            "textures.faces.maps=/b.png"));
    EXPECT_THAT(Texts(GroupAttribute()), ElementsAre());
}

TEST(TextureReferences, CountFromAFolderIfTheyAreThere) {
    const TempDirectory folder;
    const std::string file = folder.write("a.png", "");
    EXPECT_THAT(Texts(WithTexturesIn(folder.path(), Attrs())),
                ElementsAre("material.nodes.wood.parameters.file=" + file,
                            "material.nodes.lost.parameters.file=c.png", "light.texture=" + file,
                            "textures.color=" + file, "textures.faces.maps=" + file,
                            "textures.faces.maps=/b.png"));
}

TEST(TextureReferences, StayOneRecordWhereNothingChanges) {
    const TempDirectory folder;
    const GroupAttribute attrs = Attrs();
    EXPECT_EQ(WithTexturesIn(folder.path(), attrs).getHandle(), attrs.getHandle());
}

TEST(TextureReferences, AreMissingOnlyIfNothingElseCanBeMeant) {
    const TempDirectory folder;
    EXPECT_FALSE(IsMissingTexture(folder.write("a.png", "")));
    EXPECT_TRUE(IsMissingTexture(folder.path("b.png")));
    EXPECT_TRUE(IsMissingTexture("no such file.png"));
    EXPECT_FALSE(IsMissingTexture(""));
    EXPECT_FALSE(IsMissingTexture("/no/$SHOW/b.png"));
    EXPECT_FALSE(IsMissingTexture("~/b.png"));
    EXPECT_FALSE(IsMissingTexture("/no/b.####.png"));
}

TEST(TextureReferences, WithTilesStandForAllOfThem) {
    const TempDirectory folder;
    for (const char* name : {"a.1011.png", "a.1001.png", "a.1000.png", "a.0999.png", "a.101.png",
                             "a.10x1.png", "b.1001.png", "a.1001.jpg"})
        folder.write(name, "");
    const std::string pattern = folder.path("a.<UDIM>.png");
    EXPECT_TRUE(IsTilePattern(pattern));
    EXPECT_THAT(FindTiles(pattern),
                ElementsAre(folder.path("a.1001.png"), folder.path("a.1011.png")));
    EXPECT_FALSE(IsMissingTexture(pattern));
    EXPECT_THAT(Texts(WithTexturesIn(
                    folder.path(),
                    Group({{"textures", Group({{"color", StringAttribute("a.<UDIM>.png")}})}}))),
                ElementsAre("textures.color=" + pattern));
}

TEST(TextureReferences, WithTilesAreMissingIfNoneIsThere) {
    const TempDirectory folder;
    folder.write("a.1001.png", "");
    EXPECT_TRUE(IsMissingTexture(folder.path("b.<UDIM>.png")));
    EXPECT_TRUE(IsMissingTexture("/no such folder/a.<UDIM>.png"));
    EXPECT_TRUE(IsMissingTexture("no such file.<UDIM>.png"));
    EXPECT_FALSE(IsMissingTexture(folder.path("$SHOW.<UDIM>.png")));
    EXPECT_FALSE(IsTilePattern(folder.path("<UDIM>/a.png")));
    EXPECT_THAT(FindTiles(folder.path("a.1001.png")), ElementsAre());
}

} // namespace
