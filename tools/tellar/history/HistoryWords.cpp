#include "HistoryWords.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <vector>

#include "AttributeText.h"
#include "NumberText.h"
#include "PrintableText.h"
#include "ValueText.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::HistoryAction;
using TELLAR::HistoryOutcome;
using TELLAR::HistoryRole;

constexpr std::size_t kFewValues = 6;
constexpr std::size_t kMostNames = 8;
constexpr std::int64_t kExactValues = 3; // doubles that are printed with all of their digits

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

/// The first numbers with seven digits each, which all 17 of several doubles would make unreadable.
std::string RoundedTextOf(const DoubleAttribute& value) {
    const auto numbers = value.getNearestSample(0.0f);
    const char* const separator = value.getTupleSize() > 1 ? " " : ", ";
    std::string text;
    for (std::size_t i = 0; i < std::min(numbers.size(), kFewValues); ++i) {
        if (i > 0) text += separator;
        text += RoundedText(numbers[i]);
    }
    if (numbers.size() > kFewValues) text += ", ...";
    return text + ' ' + DescribeShape(value);
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
    return op.getPlace();
}

std::string ShortText(const Attribute& value) {
    const GroupAttribute group(value);
    const DoubleAttribute numbers(value);
    if (numbers.getNumberOfValues() > kExactValues) return RoundedTextOf(numbers);
    if (!group.isValid()) return DescribeValue(value, kFewValues);
    std::vector<std::string_view> names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names.push_back(group.getChildNameView(i)); // lives as long as the group
    return '{' + NamesText(names) + '}';
}

std::string ChangeText(const TELLAR::HistoryChange& change) {
    using TELLAR::ValueDifference;
    const bool haveValues = DataOf(change.before).isValid() && DataOf(change.after).isValid();
    const bool isAboutGroup =
        change.kind == ValueDifference::Inheritance || change.kind == ValueDifference::OrderOfGroup;
    if (haveValues || isAboutGroup) return ValueText(change);
    const std::string before = ShortText(change.before);
    const std::string after = ShortText(change.after);
    return before == after ? after : before + " -> " + after;
}

std::string NamesText(const StringAttribute& names) {
    std::vector<std::string_view> views;
    for (std::int64_t i = 0; i < names.getNumberOfValues(); ++i)
        views.push_back(names.getValueView(i)); // lives as long as the attribute
    return NamesText(views);
}

} // namespace TellarTool
