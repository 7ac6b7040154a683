#include "ValueText.h"

#include "AttributeText.h"
#include "DifferenceParts.h"
#include "NumberText.h"

namespace TellarTool {

std::string Counted(std::uint64_t count, const char* one, const char* several) {
    return std::to_string(count) + ' ' + (count == 1 ? one : several);
}

namespace {

using namespace OxAttribute;
using TELLAR::ValueDifference;

/// "3 of 24 values differ, by up to 0.5"
std::string CountText(const ValueDifference& difference) {
    std::string text =
        std::to_string(difference.differing) + " of " +
        Counted(static_cast<std::uint64_t>(difference.compared), "value differs", "values differ");
    if (difference.differing > 0 && difference.after.getType() != kAttributeTypeString)
        text += ", by up to " + RoundedText(difference.largest);
    return text;
}

/// The times of a few samples: "0, 0.5".
std::string TimesText(const DataAttribute& value) {
    constexpr std::int64_t kMostTimes = 8;
    std::string text;
    for (std::int64_t i = 0; i < value.getNumberOfTimeSamples() && i < kMostTimes; ++i)
        text += (i > 0 ? ", " : "") + NumberText(value.getSampleTime(i));
    return value.getNumberOfTimeSamples() > kMostTimes ? text + ", ..." : text;
}

std::string BothValues(const ValueDifference& difference) {
    std::string before = DescribeValue(difference.before);
    const std::string after = DescribeValue(difference.after);
    const std::string shape = DescribeShape(difference.after);
    if (shape == DescribeShape(difference.before) && before.size() > shape.size() + 1)
        before.resize(before.size() - (shape.empty() ? 0 : shape.size() + 1)); // told once
    if (before != after) return before + " -> " + after;
    return after + " (" + CountText(difference) + ')'; // behind what is shown
}

} // namespace

std::string ValueText(const ValueDifference& difference) {
    switch (difference.kind) {
    case ValueDifference::Inheritance:
        return GroupAttribute(difference.after).getGroupInherit() ? "the group inherits now"
                                                                  : "the group inherits no more";
    case ValueDifference::OrderOfGroup:
        return "in another order";
    case ValueDifference::Times: {
        std::string text = "sample times " + TimesText(DataOf(difference.before)) + " -> " +
                           TimesText(DataOf(difference.after));
        return difference.compared > 0 ? text + "; " + CountText(difference) : text;
    }
    case ValueDifference::Values:
        if (IsShort(difference.before)) return BothValues(difference);
        return CountText(difference) + ' ' + DescribeShape(difference.after);
    default:
        return BothValues(difference);
    }
}

} // namespace TellarTool
