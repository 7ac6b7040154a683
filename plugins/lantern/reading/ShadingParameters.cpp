#include "reading/ShadingParameters.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstddef>

namespace lantern {

int ChannelOf(const std::string& port) {
    const std::size_t colon = port.rfind(':');
    const std::string last = colon == std::string::npos ? port : port.substr(colon + 1);
    const auto place = std::string("rgba").find(last);
    return last.size() == 1 && place != std::string::npos ? static_cast<int>(place) : -1;
}

std::vector<float> FiniteNumbers(const Attribute& value) {
    std::vector<float> numbers = value.floatsNearest();
    const auto isFinite = [](float number) { return std::isfinite(number); };
    if (!std::all_of(numbers.begin(), numbers.end(), isFinite)) numbers.clear();
    return numbers;
}

std::string NameOfNode(const std::string& flattened) {
    return flattened.substr(0, flattened.rfind(':'));
}

Texture::Wrap ReadWrap(const Attribute& mode) {
    if (mode.isTextEqual("clamp")) return Texture::Wrap::Clamp;
    if (mode.isTextEqual("mirror")) return Texture::Wrap::Mirror;
    if (mode.isTextEqual("decal") || mode.isTextEqual("black")) return Texture::Wrap::Black;
    return Texture::Wrap::Repeat;
}

bool IsSrgbByItself(const std::string& file, bool isColor) {
    std::string extension = file.substr(std::min(file.rfind('.'), file.size()));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return isColor && extension != ".exr" && extension != ".hdr";
}

UvTransform MakeUvTransform(const V2f& move, const V2f& scale, float turn) {
    const float c = std::cos(turn);
    const float s = std::sin(turn);
    return {V2f(c, s) * scale.x, V2f(-s, c) * scale.y, move};
}

UvTransform Composed(const UvTransform& first, const UvTransform& second) {
    const V2f origin = second(V2f(0, 0));
    return {second(first.alongS) - origin, second(first.alongT) - origin, second(first.offset)};
}

V2f ReadPair(const Attribute& value, const V2f& otherwise) {
    const std::vector<float> numbers = FiniteNumbers(value);
    if (numbers.empty()) return otherwise;
    return {numbers[0], numbers.size() > 1 ? numbers[1] : numbers[0]};
}

UvTransform ReadUvTransform(const Attribute& value) {
    const std::vector<float> v = FiniteNumbers(value);
    return v.size() < 5 ? UvTransform() : MakeUvTransform({v[0], v[1]}, {v[2], v[3]}, v[4]);
}

Color ReadColor(const Attribute& value, const Color& otherwise) {
    const std::vector<float> numbers = FiniteNumbers(value);
    if (numbers.empty()) return otherwise;
    return numbers.size() < 3 ? Color(numbers[0]) : Color(numbers[0], numbers[1], numbers[2]);
}

Color ReadMultiply(const Attribute& multiply, int channel, float opacity) {
    const std::vector<float> factors = FiniteNumbers(multiply);
    if (factors.empty()) return Color(1);
    const auto at = [&](int i) {
        return factors[std::min(static_cast<std::size_t>(i), factors.size() - 1)];
    };
    if (channel < 0) return {at(0), at(1), at(2)};
    // The factors of a color do not apply to its alpha, which the surface's opacity multiplies.
    if (channel == 3 && factors.size() == 3) return Color(opacity);
    return Color(at(channel));
}

} // namespace lantern
