#include <array>
#include <exception>
#include <utility>

#include <OxTellarSDK/Attribute.h>

#include "AttributeText.h"
#include "DifferenceParts.h"
#include "DifferencePrinter.h"
#include "NumberText.h"
#include "PrintableText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::DifferenceSummary;
using TELLAR::LocationDifference;
using TELLAR::ValueDifference;

std::string Counted(std::uint64_t count, const char* one, const char* several) {
    return std::to_string(count) + ' ' + (count == 1 ? one : several);
}

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

class TextPrinter final : public DifferencePrinter {
public:
    explicit TextPrinter(ScenePair scenes) : scenes(std::move(scenes)) {}

    std::string begin() const override { return {}; }

    std::string next(const LocationDifference& difference) override {
        constexpr std::array<const char*, 4> kWords = {"removed", "added  ", "changed", "error  "};
        std::string text = std::string(kWords[difference.kind]) + ' ';
        AppendPrintable(text, difference.path);
        if (difference.below > 0)
            text += " (" +
                    Counted(static_cast<std::uint64_t>(difference.below), "location", "locations") +
                    " below)";
        text += '\n';
        if (difference.isReordered) appendDetail(text, "children in another order");
        for (const ValueDifference& value : difference.values)
            appendDetail(text, value.attribute + ": ", ValueText(value));
        appendError(text, scenes.before, difference.oldError);
        appendError(text, scenes.after, difference.newError);
        return text;
    }

    std::string end(const DifferenceSummary& summary) const override {
        if (summary.areEqual()) return "no differences\n";
        std::string text = std::to_string(summary.removed) + " removed, " +
                           std::to_string(summary.added) + " added, " +
                           std::to_string(summary.changed) + " changed";
        if (summary.failed > 0) text += ", " + Counted(summary.failed, "error", "errors");
        return text + '\n';
    }

private:
    static void appendDetail(std::string& text, const std::string& name,
                             const std::string& printable = {}) {
        text += "        ";
        AppendPrintable(text, name);
        text += printable + '\n';
    }

    static void appendError(std::string& text, const std::string& scene,
                            const std::exception_ptr& error) {
        if (error) appendDetail(text, "in " + scene + ": " + ErrorText(error));
    }

    const ScenePair scenes;
};

} // namespace

DifferencePrinter::~DifferencePrinter() = default;

std::unique_ptr<DifferencePrinter> MakeDifferenceText(ScenePair scenes) {
    return std::make_unique<TextPrinter>(std::move(scenes));
}

} // namespace TellarTool
