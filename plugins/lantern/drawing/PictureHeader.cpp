#include "drawing/PictureHeader.h"

#include <algorithm>
#include <locale>
#include <sstream>

// EXR has typed attributes of any name, PNG has texts of any name. TIFF and JPEG have one text, the
// description, in which each line is "name: value".

namespace lantern {
namespace {

using OIIO::ImageSpec;

constexpr const char* kSoftware = "OxTellarProducers lantern " LANTERN_VERSION;

constexpr const char* kSize = "pictureSize";
constexpr const char* kWindow = "pictureWindow";
constexpr const char* kToCamera = "worldToCamera";
constexpr const char* kToNdc = "worldToNDC";
constexpr const char* kScene = "Scene";
constexpr const char* kFrame = "Frame";
constexpr const char* kCamera = "Camera";
constexpr const char* kSamples = "Samples";
constexpr const char* kRenderTime = "RenderTime"; // seconds

// The image library's names of the EXR attributes worldToCamera and worldToNDC.
constexpr const char* kExrToCamera = "worldtocamera";
constexpr const char* kExrToNdc = "worldtoNDC";

using Texts = std::map<std::string, std::string>;

std::ostringstream NumberStream() {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.precision(9); // enough digits to read the same float
    return text;
}

template <typename... Numbers>
std::string NumberText(Numbers... numbers) {
    std::ostringstream text = NumberStream();
    const char* separator = "";
    ((text << separator << numbers, separator = " "), ...);
    return text.str();
}

std::string NumberText(const M44f& matrix) {
    std::ostringstream text = NumberStream();
    for (int i = 0; i < 16; ++i)
        text << (i ? " " : "") << matrix.getValue()[i];
    return text.str();
}

/// Reads `count` numbers. Returns false if the text is anything else.
template <typename Number>
bool ReadNumbers(const Texts& texts, const char* name, int count, Number* numbers) {
    const auto found = texts.find(name);
    if (found == texts.end()) return false;
    std::istringstream stream(found->second);
    stream.imbue(std::locale::classic());
    for (int i = 0; i < count; ++i)
        if (!(stream >> numbers[i])) return false;
    return true;
}

template <typename Number>
std::optional<Number> NumberOf(const Texts& texts, const char* name) {
    Number number{};
    return ReadNumbers(texts, name, 1, &number) ? std::optional<Number>(number) : std::nullopt;
}

std::optional<M44f> MatrixOf(const Texts& texts, const char* name) {
    M44f matrix;
    if (!ReadNumbers(texts, name, 16, matrix.getValue())) return std::nullopt;
    return matrix;
}

std::string TextOf(const Texts& texts, const char* name) {
    const auto found = texts.find(name);
    return found == texts.end() ? std::string() : found->second;
}

// Facts as texts ----------------------------------------------------------------------------------

Texts FactTexts(const PictureFacts& facts) {
    Texts texts;
    if (!facts.scene.empty()) texts[kScene] = facts.scene;
    if (!facts.camera.empty()) texts[kCamera] = facts.camera;
    if (facts.frame) texts[kFrame] = NumberText(*facts.frame);
    if (facts.samples) texts[kSamples] = NumberText(*facts.samples);
    if (facts.seconds) texts[kRenderTime] = NumberText(*facts.seconds);
    return texts;
}

PictureFacts FactsOf(const Texts& texts) {
    PictureFacts facts;
    facts.scene = TextOf(texts, kScene);
    facts.camera = TextOf(texts, kCamera);
    facts.frame = NumberOf<float>(texts, kFrame);
    facts.samples = NumberOf<int>(texts, kSamples);
    facts.seconds = NumberOf<double>(texts, kRenderTime);
    return facts;
}

/// All that a file without typed attributes has in texts.
Texts TextsOf(const StoredPicture& picture) {
    Texts texts = FactTexts(picture.facts);
    const Window& window = picture.window;
    texts[kSize] = NumberText(picture.width, picture.height);
    if (picture.format == PictureFormat::Tiff)
        texts[kWindow] = NumberText(window.x0, window.y0, window.x1, window.y1);
    if (picture.worldToCamera) texts[kToCamera] = NumberText(*picture.worldToCamera);
    if (picture.worldToNdc) texts[kToNdc] = NumberText(*picture.worldToNdc);
    return texts;
}

std::string ReadTexts(const Texts& texts, StoredPicture& picture) {
    int size[2] = {};
    if (!ReadNumbers(texts, kSize, 2, size))
        return "it does not tell the size of the whole picture";
    picture.width = size[0];
    picture.height = size[1];
    picture.worldToCamera = MatrixOf(texts, kToCamera);
    picture.worldToNdc = MatrixOf(texts, kToNdc);
    picture.facts = FactsOf(texts);
    return {};
}

// Descriptions ------------------------------------------------------------------------------------

std::string DescriptionOf(const Texts& texts) {
    std::string description;
    for (const auto& [name, value] : texts) {
        std::string line = name + ": " + value;
        std::replace(line.begin(), line.end(), '\n', ' ');
        description += line + '\n';
    }
    return description;
}

Texts TextsOf(const std::string& description) {
    Texts texts;
    std::istringstream lines(description);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": ");
        if (colon != std::string::npos)
            texts.emplace(line.substr(0, colon), line.substr(colon + 2));
    }
    return texts;
}

// EXR ---------------------------------------------------------------------------------------------

void AddExrHeader(const StoredPicture& picture, ImageSpec& spec) {
    spec.attribute("compression", "zip");
    spec.attribute("oiio:ColorSpace", "Linear");
    if (picture.worldToCamera)
        spec.attribute(kExrToCamera, OIIO::TypeMatrix, picture.worldToCamera->getValue());
    if (picture.worldToNdc)
        spec.attribute(kExrToNdc, OIIO::TypeMatrix, picture.worldToNdc->getValue());
    const PictureFacts& facts = picture.facts;
    if (!facts.scene.empty()) spec.attribute(kScene, facts.scene);
    if (!facts.camera.empty()) spec.attribute(kCamera, facts.camera);
    if (facts.frame) spec.attribute(kFrame, *facts.frame);
    if (facts.samples) spec.attribute(kSamples, *facts.samples);
    if (facts.seconds) spec.attribute(kRenderTime, static_cast<float>(*facts.seconds));
    for (const auto& [matte, manifest] : picture.manifests) {
        const std::string key = MatteKey(matte);
        spec.attribute(key + "name", matte);
        spec.attribute(key + "hash", "MurmurHash3_32");
        spec.attribute(key + "conversion", "uint32_to_float32");
        spec.attribute(key + "manifest", ManifestText(manifest));
    }
}

/// Reads the manifests of mattes whose keys fit their names.
void ReadManifests(const ImageSpec& spec, StoredPicture& picture) {
    for (const OIIO::ParamValue& attribute : spec.extra_attribs) {
        if (attribute.type() != OIIO::TypeString) continue;
        const std::string matte = attribute.get_string();
        const std::string key = MatteKey(matte);
        if (attribute.name() != key + "name") continue;
        const std::string text = spec.get_string_attribute(key + "manifest");
        if (std::optional<Manifest> manifest = ManifestOf(text))
            picture.manifests.emplace(matte, std::move(*manifest));
    }
}

std::string ReadExrHeader(const ImageSpec& spec, StoredPicture& picture) {
    if (spec.full_x != 0 || spec.full_y != 0) return "its display window does not begin at 0, 0";
    picture.width = spec.full_width;
    picture.height = spec.full_height;
    M44f matrix;
    if (spec.getattribute(kExrToCamera, OIIO::TypeMatrix, matrix.getValue()))
        picture.worldToCamera = matrix;
    if (spec.getattribute(kExrToNdc, OIIO::TypeMatrix, matrix.getValue()))
        picture.worldToNdc = matrix;
    PictureFacts& facts = picture.facts;
    facts.scene = spec.get_string_attribute(kScene);
    facts.camera = spec.get_string_attribute(kCamera);
    float number = 0;
    int count = 0;
    if (spec.getattribute(kFrame, OIIO::TypeFloat, &number)) facts.frame = number;
    if (spec.getattribute(kSamples, OIIO::TypeInt, &count)) facts.samples = count;
    if (spec.getattribute(kRenderTime, OIIO::TypeFloat, &number))
        facts.seconds = static_cast<double>(number);
    ReadManifests(spec, picture);
    return {};
}

// The other formats -------------------------------------------------------------------------------

Texts PngTexts(const ImageSpec& spec) {
    Texts texts;
    for (const char* name :
         {kSize, kToCamera, kToNdc, kScene, kFrame, kCamera, kSamples, kRenderTime}) {
        const std::string text = spec.get_string_attribute(name);
        if (!text.empty()) texts[name] = text;
    }
    return texts;
}

std::string ReadTiffHeader(const ImageSpec& spec, StoredPicture& picture) {
    const Texts texts = TextsOf(spec.get_string_attribute("ImageDescription"));
    int edges[4] = {};
    if (!ReadNumbers(texts, kWindow, 4, edges)) return "it does not tell its place in the picture";
    picture.window = {edges[0], edges[1], edges[2], edges[3]};
    const bool fits = std::int64_t(edges[2]) - edges[0] == spec.width &&
                      std::int64_t(edges[3]) - edges[1] == spec.height;
    return fits ? ReadTexts(texts, picture) : "it has another size than it tells";
}

} // namespace

void AddHeader(const StoredPicture& picture, ImageSpec& spec) {
    spec.attribute("Software", kSoftware);
    // An empty date keeps the library from adding the present one, but aborts it in JPEG.
    const bool isJpeg = picture.format == PictureFormat::Jpeg;
    if (!isJpeg || !picture.facts.date.empty()) spec.attribute("DateTime", picture.facts.date);
    if (picture.format == PictureFormat::Exr) return AddExrHeader(picture, spec);
    // TIFF has no color space here: the library would write it to an Exif directory, which it can
    // do in files but not in memory. Readers take whole numbers for sRGB.
    if (picture.format != PictureFormat::Tiff) spec.attribute("oiio:ColorSpace", "sRGB");
    if (picture.format == PictureFormat::Png) {
        for (const auto& [name, value] : TextsOf(picture))
            spec.attribute(name, value);
    } else if (picture.format == PictureFormat::Tiff) {
        spec.attribute("compression", "zip");
        spec.attribute("ImageDescription", DescriptionOf(TextsOf(picture)));
    } else {
        spec.attribute("Compression", "jpeg:95");
        spec.attribute("jpeg:subsampling", "4:4:4");
        const std::string description = DescriptionOf(FactTexts(picture.facts));
        if (!description.empty()) spec.attribute("ImageDescription", description);
    }
}

std::string ReadHeader(const ImageSpec& spec, StoredPicture& picture) {
    picture.window = {spec.x, spec.y, spec.x + spec.width, spec.y + spec.height};
    std::string problem;
    if (picture.format == PictureFormat::Exr)
        problem = ReadExrHeader(spec, picture);
    else if (picture.format == PictureFormat::Png)
        problem = ReadTexts(PngTexts(spec), picture);
    else
        problem = ReadTiffHeader(spec, picture);
    picture.facts.date = spec.get_string_attribute("DateTime");
    return problem;
}

} // namespace lantern
