#include "Values.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <type_traits>

#include "text/Utf8.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

constexpr std::size_t kMostBytesOfName = 200;

template <typename T>
bool IsFiniteSample(const ConstSample<T>& sample) {
    if constexpr (std::is_floating_point_v<T>) {
        return std::all_of(sample.begin(), sample.end(), [](T v) { return std::isfinite(v); });
    } else {
        (void)sample;
        return true;
    }
}

bool IsControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

} // namespace

std::optional<ValueCount> CountValues(const Attribute& attribute) {
    const auto count = [](const DataAttribute& data) {
        return ValueCount{data.getNumberOfValues(), data.getTupleSize(),
                          data.getNumberOfTimeSamples()};
    };
    if (attribute.getType() == kAttributeTypeString) return count(StringAttribute(attribute));
    std::optional<ValueCount> found;
    VisitNumbers(attribute, [&](const auto& numbers) { found = count(numbers); });
    return found;
}

bool IsNumeric(const Attribute& attribute) {
    return VisitNumbers(attribute, [](const auto&) {});
}

bool AreFinite(const Attribute& attribute) {
    bool areFinite = true;
    VisitNumbers(attribute, [&](const auto& numbers) {
        for (std::int64_t i = 0; areFinite && i < numbers.getNumberOfTimeSamples(); ++i)
            areFinite = IsFiniteSample(numbers.getNearestSample(numbers.getSampleTime(i)));
    });
    return areFinite;
}

std::vector<double> NumbersOf(const Attribute& attribute) {
    std::vector<double> found;
    VisitNumbers(attribute, [&](const auto& numbers) {
        const auto sample = numbers.getNearestSample(0.0f);
        found.assign(sample.begin(), sample.end());
    });
    return found;
}

std::optional<double> NumberOf(const Attribute& attribute) {
    std::optional<double> found;
    VisitNumbers(attribute, [&](const auto& numbers) {
        const auto sample = numbers.getNearestSample(0.0f);
        if (!sample.empty()) found = static_cast<double>(sample[0]);
    });
    return found;
}

Integers IntegersOf(const Attribute& attribute) {
    return {IntAttribute(attribute).getNearestSample(0.0f),
            !attribute.isValid() || attribute.getType() == kAttributeTypeInt};
}

Attribute ChildOf(const GroupAttribute& group, std::string_view name) {
    return group.getChildByIndex(group.findChild(name));
}

std::string_view TextOf(const Attribute& attribute) {
    return StringAttribute(attribute).getValueView();
}

std::string Quoted(std::string_view name) {
    std::string text = "\"";
    while (!name.empty()) {
        if (text.size() > kMostBytesOfName) return text + "...\"";
        const std::size_t length = TellarInternal::Utf8CharacterBytes(name);
        if (length == 0 || IsControl(name.front())) {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\x%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(name.front())));
            text += escaped;
            name.remove_prefix(1);
        } else {
            text += name.substr(0, length);
            name.remove_prefix(length);
        }
    }
    return text + '"';
}

std::string Counted(std::int64_t count, std::string_view noun) {
    return std::to_string(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

std::string ThereAre(std::int64_t count, std::string_view noun) {
    return (count == 1 ? "there is " : "there are ") + Counted(count, noun);
}

std::string NumberText(double value) {
    char text[32];
    std::snprintf(text, sizeof(text), "%.9g", value);
    return text;
}

} // namespace TELLAR
