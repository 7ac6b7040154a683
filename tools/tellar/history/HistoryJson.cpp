#include "HistoryJson.h"

#include <cstdint>
#include <vector>

#include <OxTellarSDK/DescriptionJson.h>

#include "AttributeText.h"
#include "HistoryWords.h"
#include "JsonText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::HistoryAncestor;
using TELLAR::HistoryChange;
using TELLAR::HistoryRead;
using TELLAR::HistoryStep;
using TELLAR::LocationHistory;

constexpr std::int64_t kMostValues = 1000;

const char* BoolText(bool value) {
    return value ? "true" : "false";
}

template <typename Count>
std::string Number(Count value) {
    return std::to_string(value);
}

/// The values in all time samples. Counting ends behind the limit.
std::int64_t CountValues(const Attribute& attribute) {
    const GroupAttribute group(attribute);
    if (!group.isValid()) {
        const auto count = [](const DataAttribute& data) {
            return data.getNumberOfValues() * data.getNumberOfTimeSamples();
        };
        return count(IntAttribute(attribute)) + count(FloatAttribute(attribute)) +
               count(DoubleAttribute(attribute)) + count(StringAttribute(attribute));
    }
    std::int64_t sum = group.getNumberOfChildren();
    for (std::int64_t i = 0; i < group.getNumberOfChildren() && sum <= kMostValues; ++i)
        sum += CountValues(group.getChildByIndex(i));
    return sum;
}

/// {"text": "0.53 (double)", "value": 0.53}, or null.
std::string ValueJson(const Attribute& value) {
    if (!value.isValid()) return "null";
    JsonObject object;
    object.add("text", DescribeValue(value));
    if (CountValues(value) <= kMostValues) object.addJson("value", WriteAttributeJson(value, -1));
    return object.line();
}

std::string ChangeJson(const HistoryChange& change) {
    JsonObject object;
    object.add("attribute", change.attribute)
        .addJson("before", ValueJson(change.before))
        .addJson("after", ValueJson(change.after));
    const bool isText = StringAttribute(change.after).isValid();
    if (change.compared > 1)
        object.addJson("compared", Number(change.compared))
            .addJson("differing", Number(change.differing))
            .addJson("largest", isText ? "null" : Json(change.largest));
    if (!change.copiedFrom.empty())
        object.add("copiedFrom", change.copiedFrom)
            .addJson("copiedInput", Number(change.copiedInput));
    return object.line();
}

std::string ReadJson(const HistoryRead& read) {
    return JsonObject()
        .addJson("step", Number(read.step))
        .addJson("input", Number(read.input))
        .add("role", std::string(RoleWord(read.role)))
        .line();
}

template <typename Values, typename Write>
std::string ListJson(const Values& values, Write write) {
    std::vector<std::string> texts;
    texts.reserve(values.size());
    for (const auto& value : values)
        texts.push_back(write(value));
    return JsonArray(texts);
}

std::string NamesJson(const StringAttribute& names) {
    std::vector<std::string> texts;
    for (const std::string_view name : names.getNearestSample(0.0f))
        texts.push_back(Json(std::string(name)));
    return JsonArray(texts);
}

/// Whether the changes say more than the values before and after.
bool HasChanges(const HistoryStep& step, const std::string& attribute) {
    if (step.changes.size() != 1) return !step.changes.empty();
    const HistoryChange& change = step.changes.front();
    return change.attribute != attribute || change.compared > 1;
}

/// A step that passed the attribute on has no values, because they are those of its origin.
std::string StepJson(const HistoryStep& step, const std::string& attribute) {
    const bool isAboutValue = !attribute.empty();
    const bool isQuiet = step.action == TELLAR::HistoryAction::Passed ||
                         step.action == TELLAR::HistoryAction::Absent;
    JsonObject object;
    object.add("op", step.op->getName())
        .add("opType", step.op->getType())
        .addJson("place", JsonOrNull(PlaceOf(*step.op)))
        .add("location", step.location)
        .add("action", std::string(ActionWord(step.action)));
    if (isAboutValue && !isQuiet)
        object.addJson("before", ValueJson(step.before)).addJson("after", ValueJson(step.after));
    if (HasChanges(step, attribute)) object.addJson("changes", ListJson(step.changes, ChangeJson));
    if (step.addedChildren.isValid())
        object.addJson("addedChildren", NamesJson(step.addedChildren));
    if (step.removedChildren.isValid())
        object.addJson("removedChildren", NamesJson(step.removedChildren));
    if (step.areChildrenReordered) object.addJson("areChildrenReordered", "true");
    object.addJson("reads", ListJson(step.reads, ReadJson));
    if (!step.error.text.empty()) object.add("error", step.error.text);
    return object.line();
}

std::string AncestorJson(const HistoryAncestor& ancestor) {
    return JsonObject()
        .add("location", ancestor.location)
        .addJson("value", ValueJson(ancestor.value))
        .addJson("isSeen", BoolText(ancestor.isSeen))
        .line();
}

} // namespace

std::string HistoryJson(const LocationHistory& history) {
    const bool isAboutValue = !history.attribute.empty();
    std::vector<std::string> steps;
    steps.reserve(history.steps.size());
    for (const HistoryStep& step : history.steps)
        steps.push_back(StepJson(step, IsAboutAttribute(history) ? history.attribute : ""));
    JsonObject object;
    object.add("location", history.location)
        .addJson("attribute", JsonOrNull(history.attribute))
        .addJson("isThere", BoolText(IsThere(history)))
        .add("outcome", std::string(OutcomeWord(history.outcome)))
        .add("subject", history.subject);
    if (isAboutValue) object.addJson("value", ValueJson(history.value));
    if (isAboutValue) object.addJson("ancestors", ListJson(history.ancestors, AncestorJson));
    if (history.ownDeletedBy) object.add("ownDeletedBy", history.ownDeletedBy->getName());
    object.addJson("decidedBy", history.decidedBy ? Number(*history.decidedBy) : "null")
        .addJson("similar", JsonList(history.similar))
        .addJson("numberOfOps", Number(history.numberOfOps))
        .addJson("steps", JsonLines(steps));
    return object.document();
}

} // namespace TellarTool
