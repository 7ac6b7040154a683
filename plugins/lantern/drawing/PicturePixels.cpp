// The conversions of PictureFile.h between drawn and stored pixels.

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>

#include <Imath/half.h>

#include "drawing/Numbers.h"
#include "drawing/PictureFile.h"
#include "drawing/ToneCurve.h"

namespace lantern {
namespace {

using Imath::half;

constexpr float kLargestHalf = 65504;
constexpr std::size_t kHalvesPerPixel = 4;

half ToHalf(float value) {
    // Finite values beyond the range become the largest half, not infinity.
    return half(std::isfinite(value) ? std::max(-kLargestHalf, std::min(value, kLargestHalf))
                                     : value);
}

void StoreHalves(const float* pixel, unsigned char* bytes) {
    const std::array<half, 4> halves{ToHalf(pixel[0]), ToHalf(pixel[1]), ToHalf(pixel[2]),
                                     ToHalf(pixel[3])};
    std::memcpy(bytes, halves.data(), sizeof halves);
}

/// A color that is not multiplied by alpha, as the screen shows it: from 0 to 1.
float Shown(float value, float alpha) {
    return alpha > 0 ? SrgbFromLinear(RolledOff(value / alpha)) : 0;
}

void StoreBytes(const float* pixel, unsigned char* bytes) {
    const float alpha = Clamp01(pixel[3]);
    for (int i = 0; i < 3; ++i)
        bytes[i] = ToByte(Shown(pixel[i], alpha));
    bytes[3] = ToByte(alpha);
}

std::uint16_t ToShort(float value) {
    return static_cast<std::uint16_t>(Clamp01(value) * 65535 + 0.5f);
}

void StoreShorts(const float* pixel, unsigned char* bytes) {
    const float alpha = Clamp01(pixel[3]);
    const std::array<std::uint16_t, 4> shorts{ToShort(Shown(pixel[0], alpha)),
                                              ToShort(Shown(pixel[1], alpha)),
                                              ToShort(Shown(pixel[2], alpha)), ToShort(alpha)};
    std::memcpy(bytes, shorts.data(), sizeof shorts);
}

/// Over black: the colors are multiplied by alpha already.
void StoreOpaqueBytes(const float* pixel, unsigned char* bytes) {
    for (int i = 0; i < 3; ++i)
        bytes[i] = ToByte(Shown(pixel[i], 1));
}

using Store = void (*)(const float* pixel, unsigned char* bytes);

Store StoreOf(PictureFormat format) {
    switch (format) {
    case PictureFormat::Exr:
        return StoreHalves;
    case PictureFormat::Png:
        return StoreBytes;
    case PictureFormat::Tiff:
        return StoreShorts;
    case PictureFormat::Jpeg:
        break;
    }
    return StoreOpaqueBytes;
}

std::size_t ColorBytesOf(PictureFormat format) {
    switch (format) {
    case PictureFormat::Exr:
    case PictureFormat::Tiff:
        return 8;
    case PictureFormat::Png:
        return 4;
    case PictureFormat::Jpeg:
        break;
    }
    return 3;
}

std::size_t PixelsOf(const Window& window) {
    return std::size_t(window.width()) * static_cast<std::size_t>(window.height());
}

} // namespace

std::size_t StoredPicture::bytesPerPixel() const {
    return ColorBytesOf(format) + 4 * layers.size();
}

PictureFormat FormatOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& letter : extension)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    if (extension == ".exr") return PictureFormat::Exr;
    if (extension == ".png") return PictureFormat::Png;
    if (extension == ".tif" || extension == ".tiff") return PictureFormat::Tiff;
    if (extension == ".jpg" || extension == ".jpeg") return PictureFormat::Jpeg;
    throw RenderError("\"" + path + "\" is no picture: its name must end in \".exr\", \".png\", " +
                      "\".tif\" or \".jpg\"");
}

StoredPicture ToStored(const Picture& picture, PictureFormat format) {
    StoredPicture result;
    result.format = format;
    result.width = picture.width;
    result.height = picture.height;
    result.window = picture.window;
    result.worldToCamera = picture.worldToCamera;
    result.worldToNdc = picture.worldToNdc;
    result.facts = picture.facts;
    if (format == PictureFormat::Exr) {
        result.manifests = picture.manifests;
        for (const Channel& channel : picture.channels)
            result.layers.push_back({channel.name, channel.isInteger});
    }
    const std::size_t pixels = PixelsOf(result.window);
    result.bytes.resize(result.bytesPerPixel() * pixels);
    const Store store = StoreOf(format);
    unsigned char* bytes = result.bytes.data();
    for (std::size_t pixel = 0; pixel < pixels; ++pixel) {
        store(&picture.pixels[4 * pixel], bytes);
        bytes += ColorBytesOf(format);
        for (std::size_t i = 0; i < result.layers.size(); ++i, bytes += 4)
            std::memcpy(bytes, &picture.channels[i].bits[pixel], 4);
    }
    return result;
}

StoredPicture ToFormat(const StoredPicture& picture, PictureFormat format) {
    if (picture.format == format) return picture;
    StoredPicture result = picture;
    result.format = format;
    result.layers.clear();
    result.manifests.clear();
    const std::size_t pixels = PixelsOf(result.window);
    result.bytes.assign(result.bytesPerPixel() * pixels, 0);
    const Store store = StoreOf(format);
    for (std::size_t i = 0; i < pixels; ++i) {
        std::array<half, kHalvesPerPixel> halves{};
        std::memcpy(halves.data(), &picture.bytes[i * picture.bytesPerPixel()], sizeof halves);
        const std::array<float, 4> pixel{halves[0], halves[1], halves[2], halves[3]};
        store(pixel.data(), &result.bytes[i * result.bytesPerPixel()]);
    }
    return result;
}

} // namespace lantern
