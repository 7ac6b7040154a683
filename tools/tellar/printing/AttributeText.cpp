#include "AttributeText.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "NumberText.h"
#include "PrintableText.h"
#include "text/Utf8.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

constexpr std::size_t kShownBytes = 80; // longer strings are cut

void AppendValue(std::string& out, std::string_view text) {
    const std::string_view shown = TellarInternal::Utf8Beginning(text, kShownBytes);
    out += '"';
    AppendPrintable(out, shown);
    out += shown.size() < text.size() ? "...\"" : "\"";
}
void AppendValue(std::string& out, std::int32_t value) {
    AppendNumber(out, value);
}
void AppendValue(std::string& out, float value) {
    AppendNumber(out, value);
}
void AppendValue(std::string& out, double value) {
    AppendNumber(out, value);
}

/// The text ", 2 samples from 0 to 1"; empty for a single sample.
void AppendTimes(std::string& out, const DataAttribute& attribute) {
    const std::int64_t samples = attribute.getNumberOfTimeSamples();
    if (samples <= 1) return;
    out += ", " + std::to_string(samples) + " samples from ";
    AppendNumber(out, attribute.getSampleTime(0));
    out += " to ";
    AppendNumber(out, attribute.getSampleTime(samples - 1));
}

/// "(float, 8 x 3, 2 samples from 0 to 1)"; nothing for one string.
void AppendShape(std::string& out, const DataAttribute& attribute) {
    const std::int64_t values = attribute.getNumberOfValues();
    const std::int64_t tupleSize = attribute.getTupleSize();
    const bool isString = attribute.getType() == kAttributeTypeString;
    if (isString && values == 1 && tupleSize == 1 && attribute.getNumberOfTimeSamples() == 1)
        return;
    out += out.empty() ? "(" : " (";
    out += TypeName(attribute);
    if (values == 0)
        out += ", no values";
    else if (tupleSize > 1 && values % tupleSize == 0)
        out += ", " + std::to_string(values / tupleSize) + " x " + std::to_string(tupleSize);
    else if (values > 1 || tupleSize > 1)
        out += ", " + std::to_string(values) + " values";
    AppendTimes(out, attribute);
    out += ')';
}

/// The values of the sample nearest to time 0, with their type and number.
template <typename AttributeT>
std::string DescribeData(const AttributeT& attribute, std::size_t mostValues) {
    std::string out;
    const auto values = attribute.getNearestSample(0.0f);
    const auto tupleSize = static_cast<std::size_t>(attribute.getTupleSize());
    // Tuples are shown whole, unless a single one is too long already.
    std::size_t shown = std::min(values.size(), mostValues);
    if (shown < values.size() && tupleSize <= mostValues) shown -= shown % tupleSize;
    for (std::size_t i = 0; i < shown; ++i) {
        if (i > 0) out += tupleSize > 1 && i % tupleSize != 0 ? " " : ", ";
        AppendValue(out, values[i]);
    }
    if (shown < values.size()) out += ", ...";
    AppendShape(out, attribute);
    return out;
}

/// Walks the values of nested groups. It keeps its own stack, because groups may be nested deeply.
class ValueWalk {
public:
    using Line = std::function<void(const std::string&, const std::string&)>;

    explicit ValueWalk(const Line& line) : line(line) {}

    void visit(const std::string& path, const Attribute& value) {
        const GroupAttribute group(value);
        if (group.getNumberOfChildren() == 0)
            line(path, DescribeValue(value));
        else
            open.push_back({group, 0, path.empty() ? path : path + '.'});
    }

    /// Visits the next child of the innermost open group. Returns false when all groups are done.
    bool next() {
        while (!open.empty() && open.back().next == open.back().group.getNumberOfChildren())
            open.pop_back();
        if (open.empty()) return false;
        Level& level = open.back();
        const std::int64_t index = level.next++;
        std::string path = level.prefix;
        AppendPrintable(path, level.group.getChildNameView(index));
        visit(path, level.group.getChildByIndex(index));
        return true;
    }

private:
    struct Level {
        GroupAttribute group;
        std::int64_t next;
        std::string prefix;
    };

    const Line& line;
    std::vector<Level> open;
};

} // namespace

std::string DescribeValue(const Attribute& attribute, std::size_t mostValues) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return DescribeData(IntAttribute(attribute), mostValues);
    case kAttributeTypeFloat:
        return DescribeData(FloatAttribute(attribute), mostValues);
    case kAttributeTypeDouble:
        return DescribeData(DoubleAttribute(attribute), mostValues);
    case kAttributeTypeString:
        return DescribeData(StringAttribute(attribute), mostValues);
    case kAttributeTypeGroup:
        return "(group, " + std::to_string(GroupAttribute(attribute).getNumberOfChildren()) +
               " children)";
    case kAttributeTypeNull:
        return "(null)";
    default:
        return "(none)";
    }
}

std::string DescribeShape(const Attribute& attribute) {
    std::string out;
    const DataAttribute data = DataOf(attribute);
    if (data.isValid()) AppendShape(out, data);
    return out;
}

const char* TypeName(const Attribute& attribute) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return "int";
    case kAttributeTypeFloat:
        return "float";
    case kAttributeTypeDouble:
        return "double";
    case kAttributeTypeString:
        return "string";
    case kAttributeTypeGroup:
        return "group";
    case kAttributeTypeNull:
        return "null";
    default:
        return "";
    }
}

DataAttribute DataOf(const Attribute& attribute) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return IntAttribute(attribute);
    case kAttributeTypeFloat:
        return FloatAttribute(attribute);
    case kAttributeTypeDouble:
        return DoubleAttribute(attribute);
    case kAttributeTypeString:
        return StringAttribute(attribute);
    default:
        return {};
    }
}

void ForEachValue(const std::string& name, const Attribute& attribute,
                  const std::function<void(const std::string&, const std::string&)>& line) {
    ValueWalk walk(line);
    walk.visit(name, attribute);
    while (walk.next()) {
    }
}

} // namespace TellarTool
