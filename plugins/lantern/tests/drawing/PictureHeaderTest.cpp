// Layers, names and facts in the files of pictures, as the image library reads them.

#include "drawing/Picture.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OpenImageIO/imageio.h>

#include "DrawingScenes.h"
#include "TempDirectory.h"

namespace {

using namespace LanternTest;
using testing::HasSubstr;

/// Four spheres over a floor, seen from the front.
SceneData Spheres() {
    SceneData scene = EmptyScene(32, 32);
    for (int i = 0; i < 4; ++i) {
        Material material = Matt({0.2f * float(i + 1), 0.5f, 0.3f});
        material.name = "/root/materials/paint" + std::to_string(i % 2);
        AddSphere(scene, {float(i) - 1.5f, 0, -3}, 0.7f, AddMaterial(scene, material));
        scene.locations.push_back("/root/world/geo/set" + std::to_string(i / 2) + "/ball" +
                                  std::to_string(i));
    }
    AddMesh(scene, Square(-9, -9, 9, 9, -6));
    scene.locations.emplace_back("/root/world/geo/back \"wall\"");
    AddEnvironment(scene);
    return scene;
}

/// A file as the image library reads it.
class FoundFile {
public:
    explicit FoundFile(const std::string& path) {
        const auto input = OIIO::ImageInput::open(path);
        if (!input) throw std::runtime_error(OIIO::geterror());
        spec = input->spec();
        bytes.resize(spec.image_bytes(true));
        input->read_image(0, 0, 0, spec.nchannels, OIIO::TypeDesc::UNKNOWN, bytes.data());
    }

    std::uint32_t bits(const std::string& channel, std::size_t pixel) const {
        const int index = spec.channelindex(channel);
        if (index < 0) throw std::runtime_error("there is no channel " + channel);
        std::uint32_t value = 0;
        std::memcpy(&value,
                    &bytes[pixel * spec.pixel_bytes(true) + spec.pixel_bytes(0, index, true)],
                    sizeof value);
        return value;
    }
    float number(const std::string& channel, std::size_t pixel) const {
        const std::uint32_t value = bits(channel, pixel);
        float result = 0;
        std::memcpy(&result, &value, sizeof result);
        return result;
    }

    OIIO::ImageSpec spec;
    std::vector<unsigned char> bytes;
};

class PictureHeaderTest : public testing::Test {
protected:
    FoundFile written(const Picture& picture, const std::string& name) const {
        WritePicture(folder.path(name), picture);
        return FoundFile(folder.path(name));
    }

    TempDirectory folder;
};

// Layers ------------------------------------------------------------------------------------------

TEST_F(PictureHeaderTest, HasLayersOf32BitsBesideHalfColors) {
    SceneData scene = Spheres();
    scene.layers = {true, true, true, true, true, true, false, false, false};
    const FoundFile file = written(Drawn(scene), "a.exr");
    for (const char* name : {"R", "G", "B", "A"})
        EXPECT_EQ(file.spec.channelformat(file.spec.channelindex(name)), OIIO::TypeDesc::HALF);
    for (const char* name : {"Z", "N.X", "N.Y", "N.Z", "P.X", "P.Y", "P.Z", "albedo.R", "albedo.G",
                             "albedo.B", "motion.X", "motion.Y"})
        EXPECT_EQ(file.spec.channelformat(file.spec.channelindex(name)), OIIO::TypeDesc::FLOAT)
            << name;
    EXPECT_EQ(file.spec.channelformat(file.spec.channelindex("id")), OIIO::TypeDesc::UINT32);
    EXPECT_EQ(file.spec.nchannels, 17);
    const std::size_t corner = 31;
    EXPECT_FLOAT_EQ(file.number("Z", corner), 6);
    EXPECT_EQ(file.bits("id", corner), MatteId("/root/world/geo/back \"wall\""));
    EXPECT_FLOAT_EQ(file.number("N.Z", corner), 1);
}

// Mattes ------------------------------------------------------------------------------------------

/// The sum of all coverages of a pixel. Checks that they fall and that the manifest has their ids.
double CoverageOf(const FoundFile& file, const std::string& matte, const Manifest& manifest,
                  std::size_t pixel) {
    double sum = 0;
    float last = 1;
    for (const char* layer : {"00", "01", "02"}) {
        for (const auto& [idName, coverageName] : {std::pair("R", "G"), std::pair("B", "A")}) {
            const std::string prefix = matte + layer + ".";
            const float coverage = file.number(prefix + coverageName, pixel);
            const std::uint32_t id = file.bits(prefix + idName, pixel);
            EXPECT_LE(coverage, last);
            if (coverage > 0) {
                const bool isNamed =
                    std::any_of(manifest.begin(), manifest.end(),
                                [id = id](const auto& entry) { return entry.second == id; });
                EXPECT_TRUE(isNamed) << id;
            }
            last = coverage;
            sum += double(coverage);
        }
    }
    return sum;
}

TEST_F(PictureHeaderTest, HasMattesWhoseCoverageSumsToOne) {
    SceneData scene = Spheres();
    scene.layers.objectMatte = scene.layers.materialMatte = scene.layers.assetMatte = true;
    const FoundFile file = written(Drawn(scene), "a.exr");
    for (const char* matte : {"CryptoObject", "CryptoMaterial", "CryptoAsset"}) {
        const std::string key = MatteKey(matte);
        EXPECT_EQ(file.spec.get_string_attribute(key + "name"), matte);
        EXPECT_EQ(file.spec.get_string_attribute(key + "hash"), "MurmurHash3_32");
        EXPECT_EQ(file.spec.get_string_attribute(key + "conversion"), "uint32_to_float32");
        const auto manifest = ManifestOf(file.spec.get_string_attribute(key + "manifest"));
        ASSERT_TRUE(manifest);
        for (const auto& [name, id] : *manifest)
            EXPECT_EQ(id, MatteId(name));
        for (std::size_t pixel = 0; pixel < 32 * 32; ++pixel)
            ASSERT_NEAR(CoverageOf(file, matte, *manifest, pixel), 1, 1e-5) << matte << pixel;
    }
}

TEST_F(PictureHeaderTest, HasAManifestForEachLevel) {
    SceneData scene = Spheres();
    scene.layers.objectMatte = scene.layers.materialMatte = scene.layers.assetMatte = true;
    const FoundFile file = written(Drawn(scene), "a.exr");
    const auto sizeOf = [&](const char* matte) {
        return ManifestOf(file.spec.get_string_attribute(MatteKey(matte) + "manifest"))->size();
    };
    EXPECT_EQ(sizeOf("CryptoObject"), 5u);
    EXPECT_EQ(sizeOf("CryptoMaterial"), 3u);
    EXPECT_EQ(sizeOf("CryptoAsset"), 3u);
}

// Facts -------------------------------------------------------------------------------------------

Picture PictureWithFacts() {
    Picture picture = PartOf(20, 10, {0, 0, 20, 10}, [](int, int) {
        return std::array<float, 4>{0.5f, 0.25f, 0, 1};
    });
    picture.facts = {"shots/a b.json",     "/root/world/cam/camera", 12.5f, 64, 1.5,
                     "2024:02:29 18:30:00"};
    return picture;
}

TEST_F(PictureHeaderTest, HasTypedFactsInExr) {
    const FoundFile file = written(PictureWithFacts(), "a.exr");
    EXPECT_EQ(file.spec.get_string_attribute("Scene"), "shots/a b.json");
    EXPECT_EQ(file.spec.get_string_attribute("Camera"), "/root/world/cam/camera");
    EXPECT_EQ(file.spec.get_float_attribute("Frame"), 12.5f);
    EXPECT_EQ(file.spec.get_int_attribute("Samples"), 64);
    EXPECT_EQ(file.spec.get_float_attribute("RenderTime"), 1.5f);
    EXPECT_EQ(file.spec.get_string_attribute("DateTime"), "2024:02:29 18:30:00");
}

TEST_F(PictureHeaderTest, HasFactsAsTextsInPng) {
    const FoundFile file = written(PictureWithFacts(), "a.png");
    EXPECT_EQ(file.spec.get_string_attribute("Scene"), "shots/a b.json");
    EXPECT_EQ(file.spec.get_string_attribute("Camera"), "/root/world/cam/camera");
    EXPECT_EQ(file.spec.get_string_attribute("Frame"), "12.5");
    EXPECT_EQ(file.spec.get_string_attribute("Samples"), "64");
    EXPECT_EQ(file.spec.get_string_attribute("RenderTime"), "1.5");
    EXPECT_EQ(file.spec.get_string_attribute("DateTime"), "2024:02:29 18:30:00");
}

TEST_F(PictureHeaderTest, DescribesTheRenderInTiffAndJpeg) {
    for (const char* name : {"a.tif", "a.jpg"}) {
        const FoundFile file = written(PictureWithFacts(), name);
        const std::string description = file.spec.get_string_attribute("ImageDescription");
        for (const char* line : {"Scene: shots/a b.json\n", "Camera: /root/world/cam/camera\n",
                                 "Frame: 12.5\n", "Samples: 64\n", "RenderTime: 1.5\n"})
            EXPECT_THAT(description, HasSubstr(line)) << name;
        EXPECT_EQ(file.spec.get_string_attribute("DateTime"), "2024:02:29 18:30:00") << name;
    }
}

// TIFF and JPEG -----------------------------------------------------------------------------------

TEST_F(PictureHeaderTest, HasSixteenBitsAndAlphaInTiff) {
    Picture picture = PictureWithFacts();
    picture.pixels[0] = picture.pixels[1] = 0.25f;
    picture.pixels[3] = 0.5f;
    WritePicture(folder.path("a.tif"), picture);
    OIIO::ImageSpec hints;
    hints.attribute("oiio:UnassociatedAlpha", 1);
    const auto input = OIIO::ImageInput::open(folder.path("a.tif"), &hints);
    ASSERT_TRUE(input);
    EXPECT_EQ(input->spec().format, OIIO::TypeDesc::UINT16);
    std::vector<std::uint16_t> values(20 * 10 * 4);
    ASSERT_TRUE(input->read_image(0, 0, 0, 4, OIIO::TypeDesc::UINT16, values.data()));
    EXPECT_EQ(values[0], 48192); // 0.5 in sRGB: not multiplied by alpha
    EXPECT_EQ(values[3], 32768);
    EXPECT_EQ(values[7], 65535);
}

TEST_F(PictureHeaderTest, IsOverBlackInJpeg) {
    Picture picture = PictureWithFacts();
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4)
        picture.pixels[i + 3] = 0.5f; // the colors are multiplied by it already
    const FoundFile file = written(picture, "a.jpg");
    EXPECT_EQ(file.spec.nchannels, 3);
    EXPECT_NEAR(file.bytes[0], 188, 2);
    EXPECT_NEAR(file.bytes[1], 137, 2);
    EXPECT_NEAR(file.bytes[2], 0, 2);
}

} // namespace
