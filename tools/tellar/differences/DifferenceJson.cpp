#include <array>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "AttributeText.h"
#include "DifferenceParts.h"
#include "DifferencePrinter.h"
#include "JsonText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::DifferenceSummary;
using TELLAR::LocationDifference;
using TELLAR::ValueDifference;

/// Type and size; and the value itself if it is short.
std::string ValueJson(const Attribute& value) {
    if (!value.isValid()) return "null";
    JsonObject object;
    object.addJson("type", Json(std::string(TypeName(value))));
    const DataAttribute data = DataOf(value);
    if (data.isValid()) {
        std::vector<float> times;
        for (std::int64_t i = 0; i < data.getNumberOfTimeSamples(); ++i)
            times.push_back(data.getSampleTime(i));
        object.addJson("values", std::to_string(data.getNumberOfValues()))
            .addJson("tupleSize", std::to_string(data.getTupleSize()))
            .addJson("times", JsonList(times));
        if (IsShort(value)) object.addJson("value", WriteAttributeJson(value, -1));
    }
    return object.line();
}

std::string DifferenceJson(const ValueDifference& difference) {
    constexpr std::array<const char*, 8> kKinds = {"added", "removed", "type",        "size",
                                                   "times", "values",  "inheritance", "order"};
    JsonObject object;
    object.add("attribute", difference.attribute)
        .add("kind", std::string(kKinds[difference.kind]))
        .addJson("before", ValueJson(difference.before))
        .addJson("after", ValueJson(difference.after));
    if (difference.compared == 0) return object.line();
    object.addJson("compared", std::to_string(difference.compared))
        .addJson("differing", std::to_string(difference.differing));
    const bool isText = difference.after.getType() == kAttributeTypeString;
    return object.addJson("largest", isText ? "null" : Json(difference.largest)).line();
}

std::string LocationJson(const LocationDifference& difference) {
    constexpr std::array<const char*, 4> kKinds = {"removed", "added", "changed", "error"};
    JsonObject object;
    object.add("path", difference.path).add("kind", std::string(kKinds[difference.kind]));
    switch (difference.kind) {
    case LocationDifference::Removed:
    case LocationDifference::Added:
        object.addJson("below", std::to_string(difference.below));
        break;
    case LocationDifference::Changed: {
        std::vector<std::string> values;
        values.reserve(difference.values.size());
        for (const ValueDifference& value : difference.values)
            values.push_back(DifferenceJson(value));
        object.addJson("reordered", difference.isReordered ? "true" : "false")
            .addJson("values", JsonArray(values));
        break;
    }
    case LocationDifference::Failed:
        object.addJson("errorBefore", JsonOrNull(ErrorText(difference.oldError)))
            .addJson("errorAfter", JsonOrNull(ErrorText(difference.newError)));
        break;
    }
    return object.line();
}

class JsonPrinter final : public DifferencePrinter {
public:
    explicit JsonPrinter(ScenePair scenes) : scenes(std::move(scenes)) {}

    std::string begin() const override {
        return "{\"before\": " + Json(scenes.before) + ",\n\"after\": " + Json(scenes.after) +
               ",\n\"differences\": [";
    }

    std::string next(const LocationDifference& difference) override {
        return members.next(LocationJson(difference) + '\n');
    }

    std::string end(const DifferenceSummary& summary) const override {
        return "\n],\n\"removed\": " + std::to_string(summary.removed) +
               ",\n\"added\": " + std::to_string(summary.added) +
               ",\n\"changed\": " + std::to_string(summary.changed) +
               ",\n\"errors\": " + std::to_string(summary.failed) +
               ",\n\"equal\": " + (summary.areEqual() ? "true" : "false") + "}\n";
    }

private:
    const ScenePair scenes;
    JsonMembers members;
};

} // namespace

std::unique_ptr<DifferencePrinter> MakeDifferenceJson(ScenePair scenes) {
    return std::make_unique<JsonPrinter>(std::move(scenes));
}

} // namespace TellarTool
