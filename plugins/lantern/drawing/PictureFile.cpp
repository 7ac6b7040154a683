#include "drawing/PictureFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include "drawing/FileKind.h"
#include "drawing/PictureHeader.h"
#include "drawing/ReplaceFile.h"

namespace lantern {
namespace {

using OIIO::ImageInput;
using OIIO::ImageOutput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

constexpr int kMostPixels = 65536; // per side
constexpr int kMostChannels = 1024;
/// No format can compress more than 1032 bytes into one, the limit of deflate.
constexpr double kMostBytesPerByte = 1100;

[[noreturn]] void FailToRead(const std::string& path, const std::string& why) {
    throw RenderError("cannot read the picture \"" + path + "\": " + why);
}

std::string OneLine(std::string text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.pop_back();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text.empty() ? "no reason is known" : text;
}

/// The image library's name of a format.
const char* PluginOf(PictureFormat format) {
    switch (format) {
    case PictureFormat::Exr:
        return "openexr";
    case PictureFormat::Png:
        return "png";
    case PictureFormat::Tiff:
        return "tiff";
    case PictureFormat::Jpeg:
        break;
    }
    return "jpeg";
}

/// The type of the colors.
TypeDesc TypeOf(PictureFormat format) {
    if (format == PictureFormat::Exr) return TypeDesc::HALF;
    return format == PictureFormat::Tiff ? TypeDesc::UINT16 : TypeDesc::UINT8;
}

// Writing -----------------------------------------------------------------------------------------

ImageSpec SpecOf(const StoredPicture& picture) {
    const bool isExr = picture.format == PictureFormat::Exr;
    const int colors = picture.format == PictureFormat::Jpeg ? 3 : 4;
    ImageSpec spec(picture.window.width(), picture.window.height(), colors, TypeOf(picture.format));
    spec.x = picture.window.x0;
    spec.y = picture.window.y0;
    spec.full_width = picture.width;
    spec.full_height = picture.height;
    spec.attribute("oiio:UnassociatedAlpha", isExr ? 0 : 1);
    if (!picture.layers.empty()) spec.channelformats.assign(4, TypeDesc::HALF);
    for (const StoredPicture::LayerChannel& channel : picture.layers) {
        spec.channelnames.push_back(channel.name);
        spec.channelformats.emplace_back(channel.isInteger ? TypeDesc::UINT32 : TypeDesc::FLOAT);
        ++spec.nchannels;
    }
    AddHeader(picture, spec);
    return spec;
}

std::vector<unsigned char> Encoded(const StoredPicture& picture, std::string& error) {
    const ImageSpec spec = SpecOf(picture);
    std::vector<unsigned char> file;
    OIIO::Filesystem::IOVecOutput target(file);
    const auto output = ImageOutput::create(PluginOf(picture.format), &target);
    if (!output) {
        error = OIIO::geterror();
        return {};
    }
    const std::string name = std::string("picture.") + PluginOf(picture.format);
    if (!output->open(name, spec) ||
        !output->write_image(TypeDesc::UNKNOWN, picture.bytes.data()) || !output->close()) {
        error = output->geterror();
        return {};
    }
    return file;
}

// Reading -----------------------------------------------------------------------------------------

/// Checks the channels and adds those of layers to the picture. Returns the places of all channels
/// in the file: red, green, blue, alpha, then the layers.
std::vector<int> ReadChannels(const std::string& path, const ImageSpec& spec,
                              StoredPicture& picture) {
    std::vector<int> places;
    for (const char* name : {"R", "G", "B", "A"}) {
        const int place = spec.channelindex(name);
        if (place < 0 || spec.nchannels > kMostChannels || spec.deep || spec.depth != 1)
            FailToRead(path, "it does not have the channels R, G, B and A");
        if (spec.channelformat(place) != TypeOf(picture.format))
            FailToRead(path, "its colors are of another type than ours");
        places.push_back(place);
    }
    if (picture.format != PictureFormat::Exr && spec.nchannels != 4)
        FailToRead(path, "it has more channels than R, G, B and A");
    for (int i = 0; i < spec.nchannels; ++i) {
        if (std::find(places.begin(), places.begin() + 4, i) != places.begin() + 4) continue;
        const TypeDesc type = spec.channelformat(i);
        if (type != TypeDesc::FLOAT && type != TypeDesc::UINT32)
            FailToRead(path, "its channel \"" + std::string(spec.channel_name(i)) +
                                 "\" has neither floats nor integers of 32 bits");
        picture.layers.push_back({std::string(spec.channel_name(i)), type == TypeDesc::UINT32});
        places.push_back(i);
    }
    return places;
}

void CheckSize(const std::string& path, const StoredPicture& picture) {
    const Window& window = picture.window;
    const std::string size =
        std::to_string(window.width()) + " x " + std::to_string(window.height());
    const std::string whole =
        std::to_string(picture.width) + " x " + std::to_string(picture.height);
    if (picture.width < 1 || picture.height < 1 || picture.width > kMostPixels ||
        picture.height > kMostPixels)
        FailToRead(path, "the whole picture cannot have " + whole + " pixels");
    if (window.x0 < 0 || window.y0 < 0 || window.x1 > picture.width || window.y1 > picture.height ||
        window.width() < 1 || window.height() < 1)
        FailToRead(path, "its " + size + " pixels are not inside of the whole picture's " + whole);
    std::error_code error;
    const double bytes = static_cast<double>(std::filesystem::file_size(path, error));
    const double pixels = double(window.width()) * window.height();
    if (error || pixels * double(picture.bytesPerPixel()) > bytes * kMostBytesPerByte)
        FailToRead(path, "it is too short for " + size + " pixels");
}

/// Checks that all chunks of a PNG are there. For a truncated file the image library would leak
/// memory and write to standard error.
void CheckPngIsWhole(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::array<char, 8> head{};
    if (!file.read(head.data(), 8)) FailToRead(path, "it is no \".png\", or cannot be opened");
    if (std::memcmp(head.data(), "\x89PNG\r\n\x1a\n", 8) != 0)
        FailToRead(path, "it is no \".png\"");
    std::error_code error;
    const std::uint64_t size = std::filesystem::file_size(path, error);
    std::uint64_t at = 8;
    while (file.read(head.data(), 8)) { // length and type of the chunk
        std::uint32_t length = 0;
        for (int i = 0; i < 4; ++i)
            length = length << 8 | static_cast<unsigned char>(head[i]);
        at += std::uint64_t(length) + 12; // 8 bytes of header and 4 of checksum
        if (at > size) break;
        if (std::memcmp(&head[4], "IEND", 4) == 0) return;
        file.seekg(static_cast<std::streamoff>(at));
    }
    FailToRead(path, "it is cut short");
}

/// Reads the pixels, whose channels may have another order in the file.
void ReadPixels(const std::string& path, ImageInput& input, const std::vector<int>& places,
                StoredPicture& picture) {
    const ImageSpec& spec = input.spec();
    std::vector<unsigned char> file(spec.pixel_bytes(true) * spec.image_pixels());
    if (!input.read_image(0, 0, 0, spec.nchannels, TypeDesc::UNKNOWN, file.data()))
        FailToRead(path, OneLine(input.geterror()));
    struct Piece {
        std::size_t at, size;
    };
    std::vector<Piece> pieces;
    for (const int place : places)
        pieces.push_back({spec.pixel_bytes(0, place, true), spec.channelformat(place).size()});
    picture.bytes.resize(file.size());
    unsigned char* to = picture.bytes.data();
    for (std::size_t pixel = 0; pixel < file.size(); pixel += spec.pixel_bytes(true)) {
        for (const Piece& piece : pieces) {
            std::memcpy(to, &file[pixel + piece.at], piece.size);
            to += piece.size;
        }
    }
}

} // namespace

void WriteStored(const std::string& path, const StoredPicture& picture) {
    std::string error;
    const std::vector<unsigned char> file = Encoded(picture, error);
    if (file.empty())
        throw RenderError("cannot write the picture \"" + path + "\": " + OneLine(error));
    ReplaceFile(path, file);
}

StoredPicture ReadStored(const std::string& path) {
    StoredPicture picture;
    picture.format = FormatOf(path);
    if (IsOtherThanFile(path)) FailToRead(path, "it is not a regular file");
    if (picture.format == PictureFormat::Jpeg)
        FailToRead(path, "a \".jpg\" does not have its exact pixels");
    if (picture.format == PictureFormat::Png) CheckPngIsWhole(path);
    ImageSpec hints;
    hints.attribute("oiio:UnassociatedAlpha", 1); // the bytes as they are
    const auto input = ImageInput::open(path, &hints);
    if (!input) FailToRead(path, OneLine(OIIO::geterror()));
    if (std::string(input->format_name()) != PluginOf(picture.format))
        FailToRead(path, "it is not what its name says");
    const ImageSpec& spec = input->spec();
    const std::vector<int> places = ReadChannels(path, spec, picture);
    const std::string problem = ReadHeader(spec, picture);
    if (!problem.empty()) FailToRead(path, problem);
    CheckSize(path, picture);
    ReadPixels(path, *input, places, picture);
    return picture;
}

void CheckPicturePath(const std::string& path, bool hasLayers) {
    if (FormatOf(path) != PictureFormat::Exr && hasLayers)
        throw RenderError("\"" + path + "\" cannot have layers: only an \".exr\" can");
    CheckFolderOf(path);
}

void WritePicture(const std::string& path, const Picture& picture) {
    WriteStored(path, ToStored(picture, FormatOf(path)));
}

} // namespace lantern
