#include "HistoryRows.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "HistoryDetails.h"
#include "HistoryWords.h"
#include "PrintableText.h"
#include "ValueText.h"

namespace TellarTool {

namespace {

using TELLAR::HistoryAction;
using TELLAR::HistoryOutcome;
using TELLAR::HistoryRead;
using TELLAR::HistoryRole;
using TELLAR::HistoryStep;
using TELLAR::LocationHistory;

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max() / 2;
constexpr std::size_t kMostDetails = 10;
constexpr std::size_t kMostReads = 6;     // that a row names
constexpr std::size_t kDeepestBranch = 8; // deeper ones are indented like this
constexpr std::size_t kLongHistory = 30;  // steps from which on ops share rows
constexpr std::size_t kBranchRows = 6;    // one after the other, which branches have in long ones
constexpr std::size_t kShortRun = 3;      // ops that do not share a row

std::string Printable(const std::string& text) {
    std::string printable;
    AppendPrintable(printable, text);
    return printable;
}

/// The number of branches that a step is away from the main line, which leads from the last step to
/// the origin of each.
std::vector<std::size_t> DepthsOf(const LocationHistory& history) {
    std::vector<std::size_t> depths(history.steps.size(), kDeepestBranch);
    if (!depths.empty()) depths.back() = 0;
    for (std::size_t i = depths.size(); i-- > 0;)
        for (const HistoryRead& read : history.steps[i].reads) {
            const std::size_t depth = depths[i] + (read.role == HistoryRole::Origin ? 0 : 1);
            depths[read.step] = std::min(depths[read.step], depth);
        }
    return depths;
}

std::string NumberOf(std::size_t index) {
    return std::to_string(index + 1);
}

class Rows {
public:
    Rows(const LocationHistory& history, bool all)
        : history(history), depths(DepthsOf(history)), all(all),
          isAboutName(history.outcome == HistoryOutcome::Unnamed),
          attribute(IsAboutAttribute(history) ? history.attribute : std::string()),
          isCut(!all && history.steps.size() > kLongHistory) {}

    std::vector<HistoryRow> make() {
        for (std::size_t i = 0; i < history.steps.size();) {
            const std::size_t end = isCut ? endOfSharedRow(i) : i;
            if (end > i)
                rows.push_back(rowOfRun(i, end));
            else
                rows.push_back(rowOf(i));
            i = std::max(end, i + 1);
        }
        return std::move(rows);
    }

private:
    const LocationHistory& history;
    const std::vector<std::size_t> depths;
    const bool all;
    const bool isAboutName;
    const std::string attribute; // empty for steps about a location
    const bool isCut;            // whether steps share rows
    std::size_t branchRows = 0;  // the last ones
    std::vector<HistoryRow> rows;

    bool isQuiet(std::size_t i) const {
        const HistoryAction action = history.steps[i].action;
        return action == HistoryAction::Passed || action == HistoryAction::Absent;
    }

    /// Whether the step's only read is the step before it.
    bool isPlain(std::size_t i) const {
        const HistoryStep& step = history.steps[i];
        return isQuiet(i) && step.reads.size() == 1 && step.reads.front().step + 1 == i &&
               step.location == history.steps[i - 1].location;
    }

    /// The end of the steps that share a row from here on; the step itself if it has its own.
    std::size_t endOfSharedRow(std::size_t i) {
        const std::size_t plain = runFrom(i);
        if (plain - i > kShortRun) return plain;
        if (depths[i] == 0) branchRows = 0;
        if (depths[i] == 0 || ++branchRows <= kBranchRows) return i;
        std::size_t end = i;
        while (depths[end] > 0 && history.decidedBy != end)
            ++end; // the last step is on no branch
        return end - i > kShortRun ? end : i;
    }

    /// The end of the plain steps from here on, on one branch.
    std::size_t runFrom(std::size_t i) const {
        const std::size_t begin = i;
        while (i < history.steps.size() && isPlain(i) && depths[i] == depths[begin] &&
               history.steps[i].action == history.steps[begin].action)
            ++i;
        return i;
    }

    HistoryRow rowOfRun(std::size_t begin, std::size_t end) const {
        const HistoryAction action = history.steps[begin].action;
        const bool isPlainRun = end <= runFrom(begin);
        HistoryRow row;
        row.cells = {NumberOf(begin) + "-" + NumberOf(end - 1),
                     branchBars(begin) + Counted(end - begin, isPlainRun ? "op" : "step",
                                                 isPlainRun ? "ops" : "steps"),
                     "",
                     "",
                     isPlainRun ? ActionWord(action) : "",
                     ""};
        row.isQuiet = true;
        return row;
    }

    HistoryRow rowOf(std::size_t i) const {
        const HistoryStep& step = history.steps[i];
        HistoryRow row;
        row.cells = {NumberOf(i),
                     branchBars(i) + Printable(step.op->getName()),
                     Printable(step.op->getType()),
                     Printable(PlaceOf(*step.op)),
                     actionText(step),
                     valueText(i)};
        if (hasDetails(i)) row.details = DetailsOf(step, attribute, all ? kNoLimit : kMostDetails);
        row.isDecision = history.decidedBy == i;
        row.isQuiet = isQuiet(i);
        return row;
    }

    std::string branchBars(std::size_t i) const {
        std::string bars;
        for (std::size_t level = 0; level < depths[i]; ++level)
            bars += "| ";
        return bars;
    }

    /// What the step did. For the name of a child, "set" and "deleted" are not the words.
    std::string actionText(const HistoryStep& step) const {
        if (!isAboutName) return ActionWord(step.action);
        if (step.action == HistoryAction::Set) return "named";
        if (step.action == HistoryAction::Deleted) return "unnamed";
        return ActionWord(step.action);
    }

    /// A row tells one value; more are details.
    bool hasDetails(std::size_t i) const {
        const HistoryStep& step = history.steps[i];
        const bool isLost = depths[i] > 0 && !attribute.empty();
        if (isAboutName || (isLost && !all)) return false;
        if (step.changes.size() != 1 || attribute.empty()) return true;
        const auto& change = step.changes.front();
        return change.attribute != attribute || OxAttribute::GroupAttribute(change.after).isValid();
    }

    std::string valueText(std::size_t i) const {
        const HistoryStep& step = history.steps[i];
        std::vector<std::string> parts;
        const std::string value = ownValueText(step);
        if (!value.empty()) parts.push_back(value);
        if (step.location != subjectOfSteps()) parts.push_back("at " + Printable(step.location));
        addReads(i, parts);
        std::string text;
        for (const std::string& part : parts)
            text += (text.empty() ? "" : ", ") + part;
        return text;
    }

    /// The location of most steps: that of the last one.
    const std::string& subjectOfSteps() const { return history.steps.back().location; }

    std::string ownValueText(const HistoryStep& step) const {
        if (attribute.empty() || isAboutName) return {};
        switch (step.action) {
        case HistoryAction::Made:
            return step.after.isValid() ? ShortText(step.after) : "without it";
        case HistoryAction::Set:
            return ShortText(step.after);
        case HistoryAction::Copied:
            if (!step.after.isValid()) return "without it";
            return step.before.isValid() ? changeText(step) : ShortText(step.after);
        case HistoryAction::Changed:
            return changeText(step);
        case HistoryAction::Deleted:
        case HistoryAction::Pruned:
            return step.before.isValid() ? ShortText(step.before) : "";
        default:
            return {};
        }
    }

    /// The details tell what changed in a group.
    std::string changeText(const HistoryStep& step) const {
        const bool isOne = step.changes.size() == 1 && step.changes.front().attribute == attribute;
        if (isOne) return ChangeText(step.changes.front());
        TELLAR::HistoryChange whole;
        whole.before = step.before;
        whole.after = step.after;
        return ChangeText(whole);
    }

    /// Says which steps the step reads, unless that is only the one in the row above.
    void addReads(std::size_t i, std::vector<std::string>& parts) const {
        const std::vector<HistoryRead>& reads = history.steps[i].reads;
        if (reads.size() == 1 && reads.front().step + 1 == i) return;
        const std::size_t named = all ? reads.size() : std::min(reads.size(), kMostReads);
        std::string from;
        std::string over;
        for (std::size_t r = 0; r < named; ++r) {
            if (reads[r].role == HistoryRole::Overridden)
                over += (over.empty() ? "not " : " or ") + overriddenText(reads[r]);
            else
                from += (from.empty() ? "from " : " and ") + NumberOf(reads[r].step);
        }
        if (!from.empty()) parts.push_back(from);
        if (!over.empty()) parts.push_back(over);
        if (named < reads.size())
            parts.push_back("and " + std::to_string(reads.size() - named) + " more");
    }

    /// "2 (int) from 4". The names in a group would say little.
    std::string overriddenText(const HistoryRead& read) const {
        const OxAttribute::Attribute& lost = history.steps[read.step].after;
        const bool isTold = lost.isValid() && !OxAttribute::GroupAttribute(lost).isValid();
        return (isTold ? ShortText(lost) + " from " : "") + NumberOf(read.step);
    }
};

} // namespace

std::vector<HistoryRow> RowsOf(const LocationHistory& history, bool all) {
    // None of the ops has anything to do with it.
    if (history.outcome == HistoryOutcome::NeverMade && !all) return {};
    return Rows(history, all).make();
}

} // namespace TellarTool
