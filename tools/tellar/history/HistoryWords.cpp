#include "HistoryWords.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "AttributeText.h"
#include "OpPlaces.h"
#include "PrintableText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::HistoryAction;
using TELLAR::HistoryOutcome;
using TELLAR::HistoryRole;

constexpr std::size_t kFewValues = 6;
constexpr std::size_t kMostNames = 8;

/// The beginning of the type behind the values, " (double)" or " (float, 8 x 3)"; the length of the
/// text when it has none.
std::size_t TypeStart(const Attribute& value, const std::string& text) {
    const bool hasType = IntAttribute(value).isValid() || FloatAttribute(value).isValid() ||
                         DoubleAttribute(value).isValid();
    const std::size_t start = hasType ? text.rfind(" (") : std::string::npos;
    return start == std::string::npos ? text.size() : start;
}

std::string NamesText(const std::vector<std::string_view>& names) {
    std::string text;
    for (std::size_t i = 0; i < std::min(names.size(), kMostNames); ++i) {
        if (i > 0) text += ", ";
        AppendPrintable(text, names[i]);
    }
    if (names.size() > kMostNames)
        text += " and " + std::to_string(names.size() - kMostNames) + " more";
    return text;
}

} // namespace

const char* ActionWord(HistoryAction action) {
    switch (action) {
    case HistoryAction::Made:
        return "made";
    case HistoryAction::Passed:
        return "passed";
    case HistoryAction::Copied:
        return "copied";
    case HistoryAction::Set:
        return "set";
    case HistoryAction::Changed:
        return "changed";
    case HistoryAction::Deleted:
        return "deleted";
    case HistoryAction::Pruned:
        return "pruned";
    case HistoryAction::Absent:
        return "absent";
    case HistoryAction::Failed:
        break;
    }
    return "failed";
}

const char* RoleWord(HistoryRole role) {
    switch (role) {
    case HistoryRole::Origin:
        return "origin";
    case HistoryRole::Contributed:
        return "contributed";
    case HistoryRole::Overridden:
        break;
    }
    return "overridden";
}

const char* OutcomeWord(HistoryOutcome outcome) {
    switch (outcome) {
    case HistoryOutcome::Found:
        return "found";
    case HistoryOutcome::Inherited:
        return "inherited";
    case HistoryOutcome::Dropped:
        return "dropped";
    case HistoryOutcome::NeverMade:
        return "never made";
    case HistoryOutcome::Unnamed:
        return "unnamed";
    case HistoryOutcome::Failed:
        break;
    }
    return "failed";
}

bool IsThere(const TELLAR::LocationHistory& history) {
    return history.outcome == HistoryOutcome::Found || history.outcome == HistoryOutcome::Inherited;
}

bool IsAboutAttribute(const TELLAR::LocationHistory& history) {
    return !history.attribute.empty() && history.doesLocationExist;
}

std::string PlaceOf(const TellarRuntime::Op& op) {
    return PlaceOfOp(op.getName());
}

std::string ShortText(const Attribute& value) {
    const GroupAttribute group(value);
    if (!group.isValid()) return DescribeValue(value, kFewValues);
    std::vector<std::string_view> names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names.push_back(group.getChildNameView(i)); // lives as long as the group
    return '{' + NamesText(names) + '}';
}

std::string ChangeText(const Attribute& before, const Attribute& after) {
    std::string old = ShortText(before);
    const std::string now = ShortText(after);
    if (old == now) return now + ", with other values";
    // A type that both have is told once.
    const std::size_t oldType = TypeStart(before, old);
    if (old.compare(oldType, std::string::npos, now, TypeStart(after, now), std::string::npos) == 0)
        old.erase(oldType);
    return old + " -> " + now;
}

std::string NamesText(const StringAttribute& names) {
    std::vector<std::string_view> views;
    for (std::int64_t i = 0; i < names.getNumberOfValues(); ++i)
        views.push_back(names.getValueView(i)); // lives as long as the attribute
    return NamesText(views);
}

std::string Counted(std::size_t count, const char* noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

} // namespace TellarTool
