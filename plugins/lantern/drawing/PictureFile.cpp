#include "drawing/PictureFile.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <locale>
#include <memory>
#include <sstream>
#include <system_error>

#include <Imath/half.h>
#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>

#include "drawing/FileKind.h"
#include "drawing/Numbers.h"
#include "drawing/ReplaceFile.h"
#include "drawing/ToneCurve.h"

namespace lantern {
namespace {

using Imath::half;
using OIIO::ImageInput;
using OIIO::ImageOutput;
using OIIO::ImageSpec;
using OIIO::TypeDesc;

constexpr int kMostPixels = 65536; // per side
constexpr float kLargestHalf = 65504;
/// Neither format can compress more than 1032 bytes into one, the limit of deflate.
constexpr double kMostBytesPerByte = 1100;

constexpr const char* kSoftware = "OxTellarProducers lantern " LANTERN_VERSION;

// PNG has no fields for the size of the whole picture and the matrices. They are text chunks.
constexpr const char* kPngSize = "pictureSize";
constexpr const char* kPngToCamera = "worldToCamera";
constexpr const char* kPngToNdc = "worldToNDC";

// The image library's names of the EXR attributes worldToCamera and worldToNDC.
constexpr const char* kExrToCamera = "worldtocamera";
constexpr const char* kExrToNdc = "worldtoNDC";

std::string NumberText(const M44f& matrix) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(9); // enough digits to read the same float
    for (int i = 0; i < 16; ++i)
        text << (i ? " " : "") << matrix.getValue()[i];
    return text.str();
}

std::optional<M44f> MatrixOf(const std::string& text) {
    std::istringstream numbers(text);
    numbers.imbue(std::locale::classic());
    M44f matrix;
    for (int i = 0; i < 16; ++i)
        if (!(numbers >> matrix.getValue()[i])) return std::nullopt;
    return matrix;
}

[[noreturn]] void FailToRead(const std::string& path, const std::string& why) {
    throw RenderError("cannot read the picture \"" + path + "\": " + why);
}

std::string OneLine(std::string text) {
    while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back())))
        text.pop_back();
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text.empty() ? "no reason is known" : text;
}

// Pixels ------------------------------------------------------------------------------------------

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

void StoreBytes(const float* pixel, unsigned char* bytes) {
    const float alpha = Clamp01(pixel[3]);
    for (int i = 0; i < 3; ++i)
        bytes[i] = alpha > 0 ? ToByte(SrgbFromLinear(RolledOff(pixel[i] / alpha))) : 0;
    bytes[3] = ToByte(alpha);
}

StoredPicture WithoutPixels(const StoredPicture& like, PictureFormat format) {
    StoredPicture result;
    result.format = format;
    result.width = like.width;
    result.height = like.height;
    result.window = like.window;
    result.worldToCamera = like.worldToCamera;
    result.worldToNdc = like.worldToNdc;
    result.bytes.resize(result.bytesPerPixel() * like.window.width() * like.window.height());
    return result;
}

// Writing -----------------------------------------------------------------------------------------

ImageSpec SpecOf(const StoredPicture& picture) {
    const bool isExr = picture.format == PictureFormat::Exr;
    ImageSpec spec(picture.window.width(), picture.window.height(), 4,
                   isExr ? TypeDesc::HALF : TypeDesc::UINT8);
    spec.x = picture.window.x0;
    spec.y = picture.window.y0;
    spec.full_width = picture.width;
    spec.full_height = picture.height;
    spec.attribute("Software", kSoftware);
    spec.attribute("DateTime", ""); // the same picture gives the same bytes
    spec.attribute("oiio:UnassociatedAlpha", isExr ? 0 : 1);
    return spec;
}

void AddExrAttributes(const StoredPicture& picture, ImageSpec& spec) {
    spec.attribute("compression", "zip");
    spec.attribute("oiio:ColorSpace", "Linear");
    if (picture.worldToCamera)
        spec.attribute(kExrToCamera, OIIO::TypeMatrix, picture.worldToCamera->getValue());
    if (picture.worldToNdc)
        spec.attribute(kExrToNdc, OIIO::TypeMatrix, picture.worldToNdc->getValue());
}

void AddPngAttributes(const StoredPicture& picture, ImageSpec& spec) {
    spec.attribute("oiio:ColorSpace", "sRGB");
    spec.attribute(kPngSize, std::to_string(picture.width) + " " + std::to_string(picture.height));
    if (picture.worldToCamera) spec.attribute(kPngToCamera, NumberText(*picture.worldToCamera));
    if (picture.worldToNdc) spec.attribute(kPngToNdc, NumberText(*picture.worldToNdc));
}

std::vector<unsigned char> Encoded(const StoredPicture& picture, std::string& error) {
    const bool isExr = picture.format == PictureFormat::Exr;
    ImageSpec spec = SpecOf(picture);
    if (isExr)
        AddExrAttributes(picture, spec);
    else
        AddPngAttributes(picture, spec);
    std::vector<unsigned char> file;
    OIIO::Filesystem::IOVecOutput target(file);
    const auto output = ImageOutput::create(isExr ? "exr" : "png", &target);
    if (!output) {
        error = OIIO::geterror();
        return {};
    }
    if (!output->open(isExr ? "picture.exr" : "picture.png", spec) ||
        !output->write_image(spec.format, picture.bytes.data()) || !output->close()) {
        error = output->geterror();
        return {};
    }
    return file;
}

// Reading -----------------------------------------------------------------------------------------

void CheckPixels(const std::string& path, const ImageSpec& spec) {
    const bool hasChannels =
        spec.nchannels == 4 && spec.channelnames == std::vector<std::string>{"R", "G", "B", "A"};
    if (!hasChannels || spec.deep || spec.depth != 1)
        FailToRead(path, "it does not have the channels R, G, B and A");
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
    if (error || pixels * picture.bytesPerPixel() > bytes * kMostBytesPerByte)
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

void ReadExrHeader(const std::string& path, const ImageSpec& spec, StoredPicture& picture) {
    if (spec.format != TypeDesc::HALF) FailToRead(path, "its pixels are no half floats");
    if (spec.full_x != 0 || spec.full_y != 0)
        FailToRead(path, "its display window does not begin at 0, 0");
    picture.width = spec.full_width;
    picture.height = spec.full_height;
    M44f matrix;
    if (spec.getattribute(kExrToCamera, OIIO::TypeMatrix, matrix.getValue()))
        picture.worldToCamera = matrix;
    if (spec.getattribute(kExrToNdc, OIIO::TypeMatrix, matrix.getValue()))
        picture.worldToNdc = matrix;
}

void ReadPngHeader(const std::string& path, const ImageSpec& spec, StoredPicture& picture) {
    if (spec.format != TypeDesc::UINT8) FailToRead(path, "its pixels do not have eight bits");
    std::istringstream size(spec.get_string_attribute(kPngSize));
    size.imbue(std::locale::classic());
    if (!(size >> picture.width >> picture.height))
        FailToRead(path, "it does not tell the size of the whole picture");
    picture.worldToCamera = MatrixOf(spec.get_string_attribute(kPngToCamera));
    picture.worldToNdc = MatrixOf(spec.get_string_attribute(kPngToNdc));
}

} // namespace

PictureFormat FormatOf(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& letter : extension)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    if (extension == ".exr") return PictureFormat::Exr;
    if (extension == ".png") return PictureFormat::Png;
    throw RenderError("\"" + path + "\" is no picture: its name ends neither in \".exr\" nor in " +
                      "\".png\"");
}

StoredPicture ToStored(const Picture& picture, PictureFormat format) {
    StoredPicture like;
    like.width = picture.width;
    like.height = picture.height;
    like.window = picture.window;
    like.worldToCamera = picture.worldToCamera;
    like.worldToNdc = picture.worldToNdc;
    StoredPicture result = WithoutPixels(like, format);
    const auto store = format == PictureFormat::Exr ? StoreHalves : StoreBytes;
    unsigned char* bytes = result.bytes.data();
    for (std::size_t i = 0; i + 4 <= picture.pixels.size(); i += 4) {
        store(&picture.pixels[i], bytes);
        bytes += result.bytesPerPixel();
    }
    return result;
}

StoredPicture ToFormat(const StoredPicture& picture, PictureFormat format) {
    if (picture.format == format) return picture;
    if (format == PictureFormat::Exr)
        throw RenderError("what eight bits hold does not make an \".exr\"");
    StoredPicture result = WithoutPixels(picture, format);
    const std::size_t count = picture.bytes.size() / picture.bytesPerPixel();
    for (std::size_t i = 0; i < count; ++i) {
        std::array<half, 4> halves;
        std::memcpy(halves.data(), &picture.bytes[i * sizeof halves], sizeof halves);
        const std::array<float, 4> pixel{halves[0], halves[1], halves[2], halves[3]};
        StoreBytes(pixel.data(), &result.bytes[i * 4]);
    }
    return result;
}

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
    const bool isExr = picture.format == PictureFormat::Exr;
    if (IsOtherThanFile(path)) FailToRead(path, "it is not a regular file");
    if (!isExr) CheckPngIsWhole(path);
    ImageSpec hints;
    hints.attribute("oiio:UnassociatedAlpha", 1); // the bytes as they are
    const auto input = ImageInput::open(path, &hints);
    if (!input) FailToRead(path, OneLine(OIIO::geterror()));
    const ImageSpec& spec = input->spec();
    if (std::string(input->format_name()) != (isExr ? "openexr" : "png"))
        FailToRead(path, "it is not what its name says");
    CheckPixels(path, spec);
    picture.window = {spec.x, spec.y, spec.x + spec.width, spec.y + spec.height};
    if (isExr)
        ReadExrHeader(path, spec, picture);
    else
        ReadPngHeader(path, spec, picture);
    CheckSize(path, picture);
    picture.bytes.resize(picture.bytesPerPixel() * spec.width * spec.height);
    if (!input->read_image(0, 0, 0, 4, isExr ? TypeDesc::HALF : TypeDesc::UINT8,
                           picture.bytes.data()))
        FailToRead(path, OneLine(input->geterror()));
    return picture;
}

void CheckPicturePath(const std::string& path) {
    FormatOf(path);
    CheckFolderOf(path);
}

void WritePicture(const std::string& path, const Picture& picture) {
    WriteStored(path, ToStored(picture, FormatOf(path)));
}

} // namespace lantern
