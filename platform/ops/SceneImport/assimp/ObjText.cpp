#include "ObjText.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "model/ColorSpace.h"
#include "text/NumberText.h"

namespace TellarSceneImport {

namespace {

constexpr std::string_view kBlank = " \t\r";
constexpr std::size_t kPlaceNumbers = 3;
constexpr std::size_t kColorNumbers = 3;

using Color = std::array<float, kColorNumbers>;

std::string_view TakeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    return line;
}

std::string_view TakeWord(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlank), line.size()));
    const std::string_view word = line.substr(0, line.find_first_of(kBlank));
    line.remove_prefix(word.size());
    return word;
}

// The numbers of a point, after the word "v".
struct Point {
    std::string_view place; // the text up to the colour
    Color color = {1, 1, 1};
    bool hasColor = false;
};

// Returns false for a line that is no point.
bool ReadPoint(std::string_view line, Point& point) {
    if (TakeWord(line) != "v") return false;
    const char* const first = line.data();
    for (std::size_t i = 0; i < kPlaceNumbers; ++i)
        TakeWord(line);
    point = {
        std::string_view(first, static_cast<std::size_t>(line.data() - first)), {1, 1, 1}, true};
    Color color{};
    for (float& value : color)
        point.hasColor =
            point.hasColor && TellarInternal::ReadNumber(TakeWord(line), value) && value >= 0;
    if (point.hasColor) point.color = color;
    return true;
}

// The largest number of any colour; negative if there are no colours.
float LargestNumber(std::string_view content) {
    float largest = -1;
    Point point;
    while (!content.empty())
        if (ReadPoint(TakeLine(content), point) && point.hasColor)
            largest = std::max(largest, *std::max_element(point.color.begin(), point.color.end()));
    return largest;
}

void AppendPoint(std::string& text, const Point& point, float divisor) {
    text.append("v").append(point.place);
    for (const float value : point.color) {
        text += ' ';
        const float part = point.hasColor ? std::min(value / divisor, 1.0f) : 1.0f;
        TellarInternal::AppendNumber(text, LinearFromSrgb(part));
    }
    text += '\n';
}

std::string_view Trimmed(std::string_view line) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlank), line.size()));
    return line.substr(0, line.find_last_not_of(kBlank) + 1); // npos + 1 is 0, an empty text
}

// The name of an object if it contains blanks; otherwise empty.
std::string_view NameWithBlanks(std::string_view line) {
    if (TakeWord(line) != "o") return {};
    const std::string_view name = Trimmed(line);
    return name.find_first_of(kBlank) == std::string_view::npos ? std::string_view() : name;
}

bool IsPlain(std::string_view line) {
    const bool isIndented = !line.empty() && kBlank.find(line.front()) != std::string_view::npos;
    return !isIndented && NameWithBlanks(line).empty();
}

} // namespace

std::string WithPlainLines(std::string content) {
    bool isPlain = true;
    for (std::string_view rest = content; isPlain && !rest.empty();)
        isPlain = IsPlain(TakeLine(rest));
    if (isPlain) return content;
    std::string plain;
    plain.reserve(content.size());
    for (std::string_view rest = content; !rest.empty();) {
        const std::string_view line = TakeLine(rest);
        std::string name(NameWithBlanks(line));
        std::replace(name.begin(), name.end(), ' ', kBlankInName);
        std::replace(name.begin(), name.end(), '\t', kBlankInName);
        plain.append(name.empty() ? Trimmed(line) : "o " + name).push_back('\n');
    }
    return plain;
}

std::string WithPlainColors(std::string content) {
    const float largest = LargestNumber(content);
    if (largest < 0) return content;
    const float divisor = largest > 1 ? 255.0f : 1.0f;
    std::string plain;
    plain.reserve(content.size() + content.size() / 4);
    std::string_view rest = content;
    Point point;
    while (!rest.empty()) {
        const std::string_view line = TakeLine(rest);
        if (!ReadPoint(line, point)) {
            plain.append(line).push_back('\n');
            continue;
        }
        AppendPoint(plain, point, divisor);
    }
    return plain;
}

} // namespace TellarSceneImport
