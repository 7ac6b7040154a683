#include "SceneSettings.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <vector>

#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarSDK/Attribute.h>

#include "JsonText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;

template <typename Numbers>
std::vector<double> Doubles(const Numbers& attribute) {
    const auto sample = attribute.getNearestSample(0.0f);
    return {sample.begin(), sample.end()};
}

/// Empty when it is no numeric attribute.
std::vector<double> NumbersOf(const Attribute& attribute) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return Doubles(IntAttribute(attribute));
    case kAttributeTypeFloat:
        return Doubles(FloatAttribute(attribute));
    case kAttributeTypeDouble:
        return Doubles(DoubleAttribute(attribute));
    default:
        return {};
    }
}

/// False for NaN, too.
bool IsFloat(double value) {
    return std::abs(value) <= std::numeric_limits<float>::max();
}

/// Replaces the values by those of a setting, if the scene has it.
void ReadSetting(const Scene& scene, const GeometryProducer::Ptr& root, const char* name,
                 const char* meaning, float* values, std::size_t count) {
    const std::string path = std::string("renderSettings.") + name;
    const Attribute setting = root->getAttribute(path.c_str());
    if (!setting.isValid()) return;
    const std::vector<double> numbers = NumbersOf(setting);
    if (numbers.size() != count || !std::all_of(numbers.begin(), numbers.end(), IsFloat))
        throw std::runtime_error(scene.getPath() + ": \"" + path + "\" of " + root->getFullName() +
                                 " must be " + meaning);
    std::transform(numbers.begin(), numbers.end(), values,
                   [](double number) { return static_cast<float>(number); });
}

} // namespace

Resolution ReadResolution(const GeometryProducer::Ptr& root) {
    Resolution resolution;
    TELLAR::GetRenderResolution(&resolution.name, &resolution.width, &resolution.height, root);
    return resolution;
}

std::string ResolutionText(const Resolution& resolution) {
    return resolution.name + ", " + std::to_string(resolution.width) + " x " +
           std::to_string(resolution.height) + " pixels";
}

std::string Json(const Resolution& resolution) {
    return JsonObject()
        .add("name", resolution.name)
        .add("width", resolution.width)
        .add("height", resolution.height)
        .add("aspect", resolution.aspect())
        .line();
}

Shutter ReadShutter(const Scene& scene, const GeometryProducer::Ptr& root) {
    Shutter shutter;
    ReadSetting(scene, root, "shutterOpen", "one finite number", &shutter.open, 1);
    ReadSetting(scene, root, "shutterClose", "one finite number", &shutter.close, 1);
    return shutter;
}

std::array<float, 4> ReadCropWindow(const Scene& scene, const GeometryProducer::Ptr& root) {
    std::array<float, 4> window = {0, 1, 0, 1};
    ReadSetting(scene, root, "cropWindow", "four finite numbers", window.data(), window.size());
    return window;
}

} // namespace TellarTool
