#include "MtlTexture.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace TellarSceneImport {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// Options and how many words they take at least and at most; the words after the first are numbers.
struct Option {
    std::string_view name;
    int least, most;
};

constexpr Option kOptions[] = {
    {"-blendu", 1, 1}, {"-blendv", 1, 1},     {"-bm", 1, 1},      {"-boost", 1, 1}, {"-cc", 1, 1},
    {"-clamp", 1, 1},  {"-colorspace", 1, 1}, {"-imfchan", 1, 1}, {"-mm", 2, 2},    {"-o", 1, 3},
    {"-s", 1, 3},      {"-t", 1, 3},          {"-texres", 1, 1},  {"-type", 1, 1},
};

// The values of an option.
struct Values {
    std::string_view word;
    std::vector<float> numbers;
};

Values TakeValues(std::string_view& rest, const Option& option) {
    Values values;
    for (int i = 0; i < option.most; ++i) {
        std::string_view ahead = rest;
        const std::string_view word = TakeWord(ahead);
        float number = 0;
        const bool isNumber = ReadMtlNumber(word, number);
        // After the numbers that an option requires, the file name begins at the first word that is
        // not a number, or at the last word.
        if (i >= option.least && (!isNumber || TrimmedMtl(ahead).empty())) break;
        if (i == 0) values.word = word;
        if (isNumber) values.numbers.push_back(number);
        rest = ahead;
    }
    return values;
}

float NumberAt(const std::vector<float>& numbers, std::size_t index, float fallback) {
    return index < numbers.size() ? numbers[index] : fallback;
}

std::vector<float> Transform(const std::vector<float>& offset, const std::vector<float>& scale) {
    const float scaleU = NumberAt(scale, 0, 1);
    const std::vector<float> transform = {NumberAt(offset, 0, 0), NumberAt(offset, 1, 0), scaleU,
                                          NumberAt(scale, 1, scale.empty() ? 1 : scaleU), 0};
    return transform == std::vector<float>{0, 0, 1, 1, 0} ? std::vector<float>() : transform;
}

void Apply(MtlTexture& texture, std::string_view name, const Values& values) {
    if (name == "-clamp") texture.isClamped = values.word == "on";
    if (name == "-imfchan" && !values.word.empty()) texture.channel = values.word[0];
    if (name == "-mm") texture.gain = NumberAt(values.numbers, 1, 1);
    if (name == "-bm") {
        texture.strength = NumberAt(values.numbers, 0, 1);
        texture.hasStrength = true;
    }
}

std::string_view Unquoted(std::string_view text) {
    const bool isQuoted = text.size() > 1 && text.front() == '"' && text.back() == '"';
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

} // namespace

std::string_view TrimmedMtl(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string_view TakeWord(std::string_view& line) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    const std::size_t length = std::min(line.find_first_of(kBlanks), line.size());
    const std::string_view word = line.substr(0, length);
    line.remove_prefix(length);
    return word;
}

bool ReadMtlNumber(std::string_view word, float& number) {
    if (!word.empty() && word.front() == '+') word.remove_prefix(1);
    const char* const end = word.data() + word.size();
    float read = 0;
    const auto [rest, error] = std::from_chars(word.data(), end, read);
    if (word.empty() || error != std::errc() || rest != end || !std::isfinite(read)) return false;
    number = read;
    return true;
}

MtlTexture ReadMtlTexture(std::string_view text) {
    MtlTexture texture;
    std::vector<float> offset, scale;
    std::string_view rest = TrimmedMtl(text);
    while (!rest.empty() && rest.front() == '-') {
        std::string_view ahead = rest;
        const std::string_view name = TakeWord(ahead);
        const auto option = std::find_if(std::begin(kOptions), std::end(kOptions),
                                         [&](const Option& known) { return known.name == name; });
        if (option == std::end(kOptions)) break; // the name of the file
        const Values values = TakeValues(ahead, *option);
        if (name == "-o") offset = values.numbers;
        if (name == "-s") scale = values.numbers;
        Apply(texture, name, values);
        rest = TrimmedMtl(ahead);
    }
    texture.transform = Transform(offset, scale);
    texture.file = std::string(Unquoted(rest));
    return texture;
}

} // namespace TellarSceneImport
