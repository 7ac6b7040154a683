#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OpenImageIO/imageio.h>
#include <OxTellarSDK/MemoryBudget.h>

#include "DrawingScenes.h"
#include "TempDirectory.h"
#include "drawing/EnvironmentMap.h"
#include "drawing/MipPyramid.h"
#include "drawing/TextureCache.h"
#include "drawing/Textures.h"

namespace {

using namespace LanternTest;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class TextureFiltering : public testing::Test {
protected:
    /// Writes an image whose values are given row by row from the top, and returns its path.
    std::string image(const std::string& name, int width, int height, int channels,
                      const std::vector<float>& values,
                      OIIO::TypeDesc type = OIIO::TypeDesc::UINT8) const {
        OIIO::ImageSpec spec(width, height, channels, type);
        spec.attribute("oiio:UnassociatedAlpha", 1);
        const std::string path = folder.path(name);
        const auto output = OIIO::ImageOutput::create(path);
        if (!output->open(path, spec) ||
            !output->write_image(OIIO::TypeDesc::FLOAT, values.data()) || !output->close())
            throw std::runtime_error(output->geterror());
        return path;
    }

    /// Black and white texels by turns.
    std::string checker(int size) const {
        std::vector<float> values;
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                values.push_back(float((x + y) % 2));
        return image("checker.png", size, size, 1, values);
    }

    Color lookUp(const Texture& texture, const V2f& st, float width) {
        SceneData scene;
        scene.textures = {texture};
        OxRenderListener_v1 listener{};
        listener.user = &messages;
        listener.onMessage = [](int, const char* message, void* user) {
            static_cast<std::vector<std::string>*>(user)->emplace_back(message);
        };
        Report report(listener);
        Color value(-1, -1, -1);
        Textures(scene, report).color(0, st, width, value);
        return value;
    }

    static Texture of(const std::string& path) {
        Texture texture;
        texture.file = path;
        return texture;
    }

    TempDirectory folder;
    std::vector<std::string> messages;
};

TEST_F(TextureFiltering, UsesTheFinestLevelForSmallFootprints) {
    const Texture texture = of(checker(64));
    EXPECT_EQ(lookUp(texture, V2f(0.5f, 63.5f) / 64.0f, 0), Color(0, 0, 0));
    EXPECT_EQ(lookUp(texture, V2f(1.5f, 63.5f) / 64.0f, 1 / 64.0f), Color(1, 1, 1));
}

TEST_F(TextureFiltering, TakesTheMeanOverWiderOnes) {
    const Texture texture = of(checker(64));
    for (const float texels : {2.0f, 3.0f, 8.0f, 64.0f, 1000.0f})
        EXPECT_NEAR(lookUp(texture, V2f(0.3f, 0.4f), texels / 64).x, 0.5f, 1e-3f) << texels;
    EXPECT_NEAR(lookUp(texture, V2f(1.5f, 63.5f) / 64.0f, std::sqrt(2.0f) / 64).x, 0.75f, 1e-3f)
        << "half way between the first two levels";
}

TEST_F(TextureFiltering, TakesTheMeanInLinearLight) {
    Texture texture = of(checker(16));
    texture.isSrgb = true;
    EXPECT_NEAR(lookUp(texture, V2f(0.5f), 1).x, 0.5f, 1e-3f);
    texture.file = image("grey.png", 2, 2, 3, std::vector<float>(12, 188 / 255.0f));
    EXPECT_NEAR(lookUp(texture, V2f(0.5f), 1).x, 0.502886f, 1e-3f);
}

TEST_F(TextureFiltering, WeighsAllTexelsOfOddSizes) {
    std::vector<float> values;
    float sum = 0;
    for (int i = 0; i < 7 * 5; ++i) {
        values.push_back(float(i * 37 % 256) / 255);
        sum += values.back();
    }
    EXPECT_NEAR(lookUp(of(image("odd.png", 7, 5, 1, values)), V2f(0.5f), 2).x, sum / 35, 1e-3f);
    EXPECT_NEAR(lookUp(of(image("wide.png", 35, 1, 1, values)), V2f(0.5f), 99).x, sum / 35, 1e-3f);
}

TEST_F(TextureFiltering, TakesValuesOfAnyWidthAndAlpha) {
    const std::vector<float> values{0, 0.25f, 0.5f, 1,    0.25f, 0.5f, 1, 0,
                                    1, 0.25f, 0,    0.5f, 0.75f, 1,    0, 0.5f};
    const auto meanOf = [&](const std::string& file, int channel) {
        Texture texture = of(file);
        texture.channel = channel;
        return lookUp(texture, V2f(0.5f), 2).x;
    };
    const std::string words = image("words.png", 2, 2, 4, values, OIIO::TypeDesc::UINT16);
    EXPECT_NEAR(meanOf(words, 0), 0.5f, 1e-3f);
    EXPECT_NEAR(meanOf(words, 3), 0.5f, 1e-3f);
    const std::string floats = image("floats.tif", 2, 2, 4, values, OIIO::TypeDesc::FLOAT);
    EXPECT_NEAR(meanOf(floats, 1), 0.5f, 1e-3f);
    const std::string bright = image("bright.exr", 2, 1, 1, {3, 1e9f}, OIIO::TypeDesc::FLOAT);
    EXPECT_NEAR(meanOf(bright, 0), 65504, 64) << "the largest half float";
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(TextureFiltering, FollowsTheScaleOfCoordinates) {
    Texture texture = of(checker(64));
    texture.uvTransform = {{8, 0}, {0, 8}, {0, 0}};
    const V2f white = V2f(1.5f, 63.5f) / 64.0f / 8.0f;
    EXPECT_EQ(lookUp(texture, white, 1 / 512.0f).x, 1);
    EXPECT_NEAR(lookUp(texture, white, 2 / 512.0f).x, 0.5f, 1e-3f);
}

TEST_F(TextureFiltering, MakesFarCheckersGreyWithFewPaths) {
    SceneData scene = EmptyScene(16, 16);
    scene.textures = {of(checker(64))};
    scene.textures[0].uvTransform = {{64, 0}, {0, 64}, {0, 0}};
    Material material = Glowing(Color(0, 0, 0));
    ShadingStep image;
    image.texture = 0;
    material.steps.push_back(image);
    material[MaterialInput::Emission].step = 0;
    AddMesh(scene, Square(-40, -40, 40, 40, -10), AddMaterial(scene, material));
    const Picture picture = Drawn(scene, 1);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x)
            EXPECT_NEAR(At(picture, x, y).r, 0.5f, 0.02f);
}

TEST_F(TextureFiltering, StaysWithinALimitOfOneMegabyte) {
    SceneData scene;
    scene.quality.textureMemory = 1;
    for (int i = 0; i < 12; ++i) {
        const std::string name = "image" + std::to_string(i) + ".png";
        scene.textures.push_back(
            of(image(name, 512, 512, 1, std::vector<float>(512 * 512, float(i) / 255))));
    }
    Report report;
    const Textures textures(scene, report);
    for (int turn = 0; turn < 2; ++turn) {
        for (Index i = 0; i < 12; ++i) {
            Color value;
            ASSERT_TRUE(textures.color(i, V2f(0.5f), 0.1f * float(turn), value));
            EXPECT_NEAR(value.x, float(i) / 255, 1e-4f);
        }
    }
    int used = 0;
    SharedTextureCache()->getattribute("stat:cache_memory_used", used);
    EXPECT_LE(used, 2 << 20);
}

TEST_F(TextureFiltering, KeepsSamplingOfAnEnvironmentFiniteWithTheBrightestTexels) {
    SceneData scene;
    const float largest = std::numeric_limits<float>::max();
    const float infinite = std::numeric_limits<float>::infinity();
    scene.textures = {of(image(
        "sun.exr", 2, 2, 3,
        {largest, largest, largest, largest, largest, largest, infinite, 0, 0, -largest, 1, 1},
        OIIO::TypeDesc::FLOAT))};
    Report report;
    const Textures textures(scene, report);
    EnvironmentLight light;
    light.texture = 0;
    const EnvironmentMap map(light, textures);
    EXPECT_GT(map.meanLuminance(), 0);
    EXPECT_TRUE(std::isfinite(map.meanLuminance()));
    const V3f direction = map.sample({0.5f, 0.5f});
    EXPECT_NEAR(direction.length(), 1, 1e-4f);
    EXPECT_GT(map.pdf(direction), 0);
}

TEST_F(TextureFiltering, SharesOneCacheInTheProcess) {
    const SceneData scene;
    Report report;
    const Textures one(scene, report);
    const auto cache = SharedTextureCache();
    const Textures two(scene, report);
    EXPECT_EQ(SharedTextureCache(), cache);
}

OxTellarMemory::CacheStatistics CountedTextures() {
    for (const auto& cache : OxTellarMemory::GetMemoryStatistics().caches)
        if (cache.name == "textures of lantern") return cache;
    return {};
}

TEST_F(TextureFiltering, CountsItsTilesInTheBudgetOfTheProcess) {
    SceneData scene;
    scene.textures = {of(image("counted.png", 512, 512, 1, std::vector<float>(512 * 512, 0.5f)))};
    Report report;
    {
        const auto cache = SharedTextureCache();
        const Textures textures(scene, report);
        Color value;
        ASSERT_TRUE(textures.color(0, V2f(0.5f), 0, value));
        NoteTextureMemory(*cache);
        EXPECT_GE(CountedTextures().bytes, 512u * 512u);
        EXPECT_GE(CountedTextures().entries, 1u);
    }
    EXPECT_EQ(CountedTextures().bytes, 0u);
    EXPECT_EQ(CountedTextures().entries, 0u);
}

TEST_F(TextureFiltering, FreesTilesForOtherCachesAndReadsThemAgain) {
    SceneData scene;
    for (int i = 0; i < 12; ++i) {
        const std::string name = "image" + std::to_string(i) + ".png";
        scene.textures.push_back(
            of(image(name, 512, 512, 1, std::vector<float>(512 * 512, float(i) / 255))));
    }
    OxTellarMemory::SetMemoryLimit(64 << 20);
    Report report;
    const auto cache = SharedTextureCache();
    const Textures textures(scene, report);
    const auto readAll = [&] {
        for (Index i = 0; i < 12; ++i) {
            Color value;
            ASSERT_TRUE(textures.color(i, V2f(0.5f), 0, value));
            EXPECT_NEAR(value.x, float(i) / 255, 1e-4f);
        }
        NoteTextureMemory(*cache);
    };
    OxTellarMemory::ResetMemoryStatistics();
    readAll();
    EXPECT_GE(CountedTextures().bytes, 12u * 512u * 512u);
    EXPECT_GE(CountedTextures().misses, 12u);
    OxTellarMemory::ResetMemoryStatistics();
    readAll();
    EXPECT_GE(CountedTextures().hits, 12u);
    EXPECT_EQ(CountedTextures().misses, 0u);

    OxTellarMemory::SetMemoryLimit(1 << 20);
    EXPECT_LE(CountedTextures().bytes, 1u << 20);
    EXPECT_GE(CountedTextures().drops, 8u);
    OxTellarMemory::SetMemoryLimit(64 << 20);
    readAll();
    EXPECT_GE(CountedTextures().misses, 8u);
    OxTellarMemory::SetMemoryLimit(OxTellarMemory::GetDefaultMemoryLimit());
}

TEST(TextureMemory, IsAtMostHalfOfWhatTheProcessMayKeep) {
    OxTellarMemory::SetMemoryLimit(100 << 20);
    EXPECT_EQ(TextureMemoryLimit(70), 50);
    EXPECT_EQ(TextureMemoryLimit(30), 30);
    OxTellarMemory::SetMemoryLimit(1);
    EXPECT_EQ(TextureMemoryLimit(70), 1);
    OxTellarMemory::SetMemoryLimit(OxTellarMemory::kUnlimitedMemory);
    EXPECT_EQ(TextureMemoryLimit(70), 70);
    OxTellarMemory::SetMemoryLimit(OxTellarMemory::GetDefaultMemoryLimit());
}

TEST(TextureMemory, IsTheSettingOrTheEnvironmentOrAGigabyte) {
    OxTellarMemory::SetMemoryLimit(OxTellarMemory::kUnlimitedMemory);
    unsetenv("LANTERN_TEXTURE_MEMORY");
    EXPECT_EQ(TextureMemoryLimit(0), 1024);
    setenv("LANTERN_TEXTURE_MEMORY", "300", 1);
    EXPECT_EQ(TextureMemoryLimit(0), 300);
    EXPECT_EQ(TextureMemoryLimit(70), 70);
    for (const char* wrong : {"", "many", "-3", "0", "99999999999999999999"}) {
        setenv("LANTERN_TEXTURE_MEMORY", wrong, 1);
        EXPECT_EQ(TextureMemoryLimit(0), 1024) << wrong;
    }
    unsetenv("LANTERN_TEXTURE_MEMORY");
}

TEST(MipPlaces, HalveBothSidesAndLieBesideEachOther) {
    const std::vector<MipPlace> places = MipPlaces(9, 4);
    ASSERT_THAT(places, SizeIs(3));
    EXPECT_EQ(places[0], (MipPlace{1, 0, 0, 4, 2}));
    EXPECT_EQ(places[1], (MipPlace{2, 4, 0, 2, 1}));
    EXPECT_EQ(places[2], (MipPlace{3, 4, 1, 1, 1}));
    EXPECT_THAT(MipPlaces(1, 1), IsEmpty());
    EXPECT_EQ(MipPlaces(1 << 15, 1 << 14)[0], (MipPlace{3, 0, 0, 4096, 2048}));
}

// Faults ------------------------------------------------------------------------------------------

/// The header of a bitmap of this size, and a few pixels.
std::string Bitmap(std::int32_t width, std::int32_t height) {
    std::string bytes(54 + 64, '\0');
    bytes[0] = 'B';
    bytes[1] = 'M';
    const auto set = [&](std::size_t at, std::uint32_t value) {
        for (std::size_t i = 0; i < 4; ++i)
            bytes[at + i] = static_cast<char>(value >> (8 * i));
    };
    set(2, std::uint32_t(bytes.size()));
    set(10, 54);
    set(14, 40);
    set(18, std::uint32_t(width));
    set(22, std::uint32_t(height));
    bytes[26] = 1;
    bytes[28] = 24;
    return bytes;
}

TEST_F(TextureFiltering, WarnsAboutAbsurdSizes) {
    for (const std::int32_t side : {100000, 1 << 24, 0x7fffffff}) {
        messages.clear();
        const std::string file = folder.write("huge.bmp", Bitmap(side, side));
        EXPECT_EQ(lookUp(of(file), V2f(0.5f), 0.1f), Color(-1, -1, -1)) << side;
        EXPECT_THAT(messages, testing::ElementsAre(HasSubstr("cannot read the texture \"" + file)));
    }
}

} // namespace
