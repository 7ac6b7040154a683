#include "drawing/TextureImage.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <system_error>

namespace lantern {
namespace {

const std::string kUdim = "<UDIM>";
constexpr std::size_t kUdimDigits = 4;

std::array<float, 256> LinearBytes() {
    std::array<float, 256> values{};
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = LinearFromSrgb(static_cast<float>(i) / 255);
    return values;
}

} // namespace

float LinearFromByte(std::uint8_t byte) {
    static const std::array<float, 256> bytes = LinearBytes();
    return bytes[byte];
}

TextureChannels ChannelsOf(const Texture& texture, int channels) {
    const bool isGrey = channels < 3;
    if (texture.channel < 0) return {0, isGrey ? 1 : 3};
    if (texture.channel < 3) return {isGrey ? 0 : texture.channel, 1};
    const int alpha = isGrey ? 1 : 3;
    return alpha < channels ? TextureChannels{alpha, 1} : TextureChannels{};
}

double PieceBytes(const OIIO::ImageSpec& spec) {
    const double width = spec.tile_width > 0 ? spec.tile_width : spec.width;
    const double height = spec.tile_height > 0 ? spec.tile_height : spec.height;
    const auto type = spec.format.basetype;
    const bool isKept = type == OIIO::TypeDesc::UINT8 || type == OIIO::TypeDesc::UINT16 ||
                        type == OIIO::TypeDesc::HALF; // the cache converts all others to floats
    return width * height * spec.nchannels * double(isKept ? spec.format.size() : sizeof(float));
}

bool IsPieceSound(const OIIO::ImageSpec& spec) {
    return PieceBytes(spec) <= 0x7fffffff;
}

bool IsPlausible(const OIIO::ImageSpec& spec, const std::string& file) {
    constexpr double kAnyFile = double(std::uint64_t(1) << 26);
    constexpr double kMostBytesPerByte = 8192;
    if (PieceBytes(spec) <= kAnyFile) return true;
    std::error_code error;
    const auto size = std::filesystem::file_size(file, error);
    return error || PieceBytes(spec) <= kMostBytesPerByte * double(size);
}

TextureLevel LevelOf(OIIO::ImageCache::ImageHandle* handle, int mipLevel,
                     const OIIO::ImageSpec& spec) {
    TextureLevel level;
    level.handle = handle;
    level.mipLevel = mipLevel;
    level.width = spec.width;
    level.height = spec.height;
    level.originX = spec.x;
    level.originY = spec.y;
    level.tileWidth = spec.tile_width > 0 ? spec.tile_width : spec.width;
    level.tileHeight = spec.tile_height > 0 ? spec.tile_height : spec.height;
    return level;
}

bool IsUdim(const std::string& file) {
    return file.find(kUdim) != std::string::npos;
}

std::map<int, std::string> UdimFiles(const std::string& pattern) {
    const std::filesystem::path path(pattern);
    const std::string name = path.filename().string();
    const std::size_t place = name.find(kUdim);
    std::map<int, std::string> files;
    if (place == std::string::npos) return files;
    const std::string start = name.substr(0, place);
    const std::string end = name.substr(place + kUdim.size());
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), last; !error && entry != last;
         entry.increment(error)) {
        const std::string found = entry->path().filename().string();
        if (found.size() != start.size() + kUdimDigits + end.size()) continue;
        if (found.compare(0, place, start) != 0) continue;
        if (found.compare(place + kUdimDigits, std::string::npos, end) != 0) continue;
        const std::string digits = found.substr(place, kUdimDigits);
        const bool isNumber = std::all_of(digits.begin(), digits.end(),
                                          [](unsigned char c) { return std::isdigit(c); });
        if (isNumber && digits > "1000") files[std::stoi(digits)] = entry->path().string();
    }
    return files;
}

} // namespace lantern
