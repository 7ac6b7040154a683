// Reads any bytes as a texture and as the map of an environment light, as the renderer lantern
// does. The first line of an input is the file's extension, such as "png".

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>

#include "Check.h"
#include "SceneData.h"
#include "TempDirectory.h"
#include "drawing/EnvironmentMap.h"
#include "drawing/Numbers.h"
#include "drawing/Textures.h"

using namespace lantern;

// Turns LeakSanitizer off: libpng jumps out of functions of OpenImageIO, which leaks their strings.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off() {
    return 1;
}

namespace {

constexpr std::array<std::string_view, 10> kExtensions = {"bmp", "exr", "gif", "hdr", "jpg",
                                                          "png", "tga", "tif", "tx",  "webp"};

const std::string& Folder() {
    static const TempDirectory directory;
    static const std::string path = directory.path();
    return path;
}

/// A scene that uses the file as a color and as its alpha.
SceneData SceneWith(const std::string& file) {
    SceneData scene;
    scene.materials.emplace_back();
    scene.quality.textureMemory = 16;
    Texture texture;
    texture.file = file;
    scene.textures.push_back(texture);
    texture.channel = 3;
    texture.isSrgb = false;
    texture.wrapU = texture.wrapV = Texture::Wrap::Mirror;
    scene.textures.push_back(texture);
    return scene;
}

void UseTexture(const Textures& textures, Index index) {
    for (const float width : {0.0f, 0.01f, 0.3f, 4.0f})
        for (const float place : {-0.4f, 0.0f, 0.37f, 0.999f, 7.5f}) {
            Color value;
            if (textures.color(index, {place, 1 - place}, width, value))
                Check(IsFinite(value), "a value is finite");
        }
}

void UseEnvironment(const Textures& textures) {
    EnvironmentLight light;
    light.texture = 0;
    const EnvironmentMap map(light, textures);
    Check(std::isfinite(map.meanLuminance()), "the mean is finite");
    if (!(map.meanLuminance() > 0)) return; // a black map is never sampled
    for (const float u : {0.0f, 0.3f, 0.99f}) {
        const V3f direction = map.sample({u, 1 - u});
        Check(IsFinite(direction) && IsFinite(map.radiance(direction)), "a sample is finite");
        Check(map.pdf(direction) >= 0, "a density is a positive number or 0");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view extension = input.substr(0, input.find('\n'));
    if (std::find(kExtensions.begin(), kExtensions.end(), extension) == kExtensions.end()) return 0;
    const std::string path = Folder() + "/texture." + std::string(extension);
    std::ofstream(path, std::ios::binary) << input.substr(std::min(size, extension.size() + 1));
    const SceneData scene = SceneWith(path);
    Report report;
    const Textures textures(scene, report);
    UseTexture(textures, 0);
    UseTexture(textures, 1);
    UseEnvironment(textures);
    return 0;
}
