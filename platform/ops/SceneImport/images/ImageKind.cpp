#include "ImageKind.h"

#include <cctype>
#include <stdexcept>

namespace TellarSceneImport {

namespace {

using namespace std::string_view_literals;

// The bytes that a kind of file has at a place.
struct Signature {
    std::size_t place;
    std::string_view bytes;
    const char* extension;
};

constexpr Signature kSignatures[] = {
    {0, "\x89PNG\r\n\x1a\n"sv, ".png"},
    {0, "\xff\xd8\xff"sv, ".jpg"},
    {0, "GIF8"sv, ".gif"},
    {0, "BM"sv, ".bmp"},
    {0, "II*\0"sv, ".tif"},
    {0, "MM\0*"sv, ".tif"},
    {8, "WEBP"sv, ".webp"},
    {0, "DDS "sv, ".dds"},
    {0, "\xabKTX 20\xbb\r\n\x1a\n"sv, ".ktx2"},
    {0, "\x76\x2f\x31\x01"sv, ".exr"},
    {0, "#?RADIANCE"sv, ".hdr"},
    {0, "#?RGBE"sv, ".hdr"},
    {0, "8BPS"sv, ".psd"},
    {4, "jP  \r\n\x87\n"sv, ".jp2"},
};

constexpr std::size_t kLongestExtension = 5;

constexpr std::uint32_t kLargestTga = 65535;

std::string ExtensionOfHint(std::string_view hint) {
    std::string extension = ".";
    for (const char c : hint.substr(hint.find_last_of("./") + 1)) { // npos + 1 is 0
        if (!std::isalnum(static_cast<unsigned char>(c))) return ".img";
        extension += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    if (extension == ".jpeg") return ".jpg";
    return extension.size() > 1 && extension.size() <= kLongestExtension ? extension : ".img";
}

// Writes a number of two bytes, the low byte first.
void SetShort(std::string& file, std::size_t place, std::uint32_t number) {
    file[place] = static_cast<char>(number & 0xff);
    file[place + 1] = static_cast<char>(number >> 8 & 0xff);
}

} // namespace

std::string ImageExtension(std::string_view bytes, std::string_view hint) {
    for (const Signature& signature : kSignatures)
        if (bytes.size() > signature.place &&
            bytes.substr(signature.place, signature.bytes.size()) == signature.bytes)
            return signature.extension;
    return ExtensionOfHint(hint);
}

std::string TgaFile(std::uint32_t width, std::uint32_t height, std::string_view texels) {
    constexpr std::size_t kHeaderSize = 18;
    constexpr char kTrueColor = 2;
    constexpr char kBits = 32;
    constexpr char kTopFirstWithAlpha = 0x28; // bit 5, and the number of bits of alpha
    if (width == 0 || height == 0 || width > kLargestTga || height > kLargestTga)
        throw std::runtime_error("its size is " + std::to_string(width) + " x " +
                                 std::to_string(height));
    if (texels.size() != std::uint64_t(width) * height * 4)
        throw std::runtime_error("its texels are not complete");
    std::string file(kHeaderSize, '\0');
    file[2] = kTrueColor;
    SetShort(file, 12, width);
    SetShort(file, 14, height);
    file[16] = kBits;
    file[17] = kTopFirstWithAlpha;
    return file.append(texels);
}

} // namespace TellarSceneImport
