#include "FrameRange.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

#include <CLI/CLI.hpp>

#include "NumberText.h"
#include "text/Characters.h"

namespace TellarTool {

namespace {

constexpr std::int64_t kMostFrames = 100000;

[[noreturn]] void Refuse(const std::string& text, const std::string& why) {
    throw CLI::ValidationError("--frames", '"' + text + "\" " + why);
}

std::optional<std::vector<int>> NumbersBetweenColons(std::string_view text) {
    std::vector<int> numbers;
    for (;;) {
        const std::size_t colon = text.find(':');
        int number = 0;
        if (!ReadNumber(text.substr(0, colon), number)) return std::nullopt;
        numbers.push_back(number);
        if (colon == std::string_view::npos) return numbers;
        text.remove_prefix(colon + 1);
    }
}

/// A place for the frame in a file's name.
struct FramePlace {
    std::size_t begin;
    std::size_t end;
    std::size_t width; // least number of digits
};

std::optional<FramePlace> FindHashes(const std::string& name) {
    const std::size_t begin = name.find("##");
    if (begin == std::string::npos) return std::nullopt;
    const std::size_t end = std::min(name.find_first_not_of('#', begin), name.size());
    return FramePlace{begin, end, end - begin};
}

std::optional<FramePlace> FindPercent(const std::string& name) {
    for (std::size_t begin = name.find('%'); begin != std::string::npos;
         begin = name.find('%', begin + 1)) {
        std::size_t end = begin + 1;
        while (end < name.size() && TellarInternal::IsDigit(name[end]))
            ++end;
        const std::string digits = name.substr(begin + 1, end - begin - 1);
        const bool isPlace = end < name.size() && name[end] == 'd' && digits.size() <= 3 &&
                             (digits.empty() || digits[0] == '0');
        if (isPlace) return FramePlace{begin, end + 1, digits.empty() ? 1 : std::stoul(digits)};
    }
    return std::nullopt;
}

} // namespace

std::vector<int> FramesFromText(const std::string& text) {
    const auto numbers = NumbersBetweenColons(text);
    if (!numbers || numbers->size() < 2 || numbers->size() > 3)
        Refuse(text, "is not A:B or A:B:STEP, such as 1:48 or 1:48:2");
    const std::int64_t first = (*numbers)[0];
    const std::int64_t last = (*numbers)[1];
    const std::int64_t step = numbers->size() == 3 ? (*numbers)[2] : last < first ? -1 : 1;
    if (step == 0 || (step > 0 ? last < first : last > first))
        Refuse(text, "never comes to its end: the step must lead from A to B");
    if ((last - first) / step >= kMostFrames)
        Refuse(text, "has more than " + std::to_string(kMostFrames) + " frames");
    std::vector<int> frames;
    for (std::int64_t i = 0; i <= (last - first) / step; ++i)
        frames.push_back(static_cast<int>(first + i * step));
    return frames;
}

std::optional<std::string> WithFrame(const std::string& path, int frame) {
    const std::size_t nameBegin = path.rfind('/') + 1; // 0 without a folder
    std::string name = path.substr(nameBegin);
    std::optional<FramePlace> place = FindHashes(name);
    if (!place) place = FindPercent(name);
    if (!place) return std::nullopt;
    name.replace(place->begin, place->end - place->begin,
                 TellarInternal::PaddedFrame(frame, place->width));
    return path.substr(0, nameBegin) + name;
}

} // namespace TellarTool
