#include "HistoryAnswer.h"

#include <algorithm>

#include <OxTellarSDK/LocationPath.h>

#include "HistoryWords.h"
#include "text/MessageText.h"
#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

using TELLAR::HistoryAction;
using TELLAR::HistoryAncestor;
using TELLAR::HistoryOutcome;
using TELLAR::HistoryStep;
using TELLAR::LocationHistory;
using TellarInternal::Quoted;
using Lines = std::vector<std::string>;

/// '"tidy" (Prune), garden.json:13:5'.
std::string OpText(const TellarRuntime::Op& op) {
    const std::string place = PlaceOf(op);
    return Quoted(op.getName()) + " (" + op.getType() + ")" +
           (place.empty() ? place : ", " + place);
}

const HistoryStep* DecisionOf(const LocationHistory& history) {
    return history.decidedBy ? &history.steps[*history.decidedBy] : nullptr;
}

void AddFound(const LocationHistory& history, Lines& lines) {
    if (history.attribute.empty()) {
        const std::size_t changes = static_cast<std::size_t>(
            std::count_if(history.steps.begin(), history.steps.end(), [](const HistoryStep& step) {
                return step.action != HistoryAction::Passed;
            }));
        lines.push_back(history.location);
        const HistoryStep* const step = DecisionOf(history);
        const bool isLast = changes > 1 && step && step->action != HistoryAction::Made;
        lines.push_back((isLast ? "last " : "") + DecisionText(history));
    } else {
        lines.push_back(history.location + "  " + history.attribute + " = " +
                        ShortText(history.value));
        lines.push_back(DecisionText(history));
    }
}

void AddInherited(const LocationHistory& history, Lines& lines) {
    lines.push_back(history.location + "  " + history.attribute + " = " + ShortText(history.value));
    lines.push_back("inherited from " + history.subject + ", there " + DecisionText(history));
    if (history.ownDeletedBy)
        lines.push_back("its own value was deleted by " + OpText(*history.ownDeletedBy));
}

void AddDropped(const LocationHistory& history, Lines& lines) {
    const HistoryStep* const step = DecisionOf(history);
    const std::string by = step ? " by " + OpText(*step->op) : std::string();
    if (step && step->action == HistoryAction::Deleted) {
        lines.push_back(history.location + " has no attribute " + Quoted(history.attribute));
        lines.push_back("deleted" + by);
        return;
    }
    lines.push_back(history.location + " is not there");
    lines.push_back((history.subject == history.location ? "" : history.subject + " was ") +
                    std::string("pruned") + by);
    if (!history.wasThereBefore)
        lines.push_back("before that, " + history.location + " was not there either");
}

/// "none of the 9 ops" or, of one, "no op".
std::string NoneOf(const LocationHistory& history) {
    if (history.numberOfOps < 2) return "no op";
    return "none of the " + std::to_string(history.numberOfOps) + " ops";
}

/// "; did you mean "/root/a"?" or, when nothing is similar, what there is instead.
std::string AlternativeText(const LocationHistory& history) {
    if (!history.similar.empty()) return TellarInternal::MeantQuestion(history.similar);
    if (history.siblings.getNumberOfValues() == 0) return {};
    return "; " + std::string(OxLocationPath::Parent(history.subject)) + " has the children " +
           NamesText(history.siblings);
}

void AddNeverMade(const LocationHistory& history, Lines& lines) {
    const std::string end = AlternativeText(history);
    if (!IsAboutAttribute(history)) {
        const bool isWhole = history.subject == history.location;
        lines.push_back(history.location + " is not there");
        lines.push_back("never made: " + NoneOf(history) + " makes " +
                        (isWhole ? "it" : history.subject) + end);
    } else {
        lines.push_back(history.location + " has no attribute " + Quoted(history.attribute));
        lines.push_back("never made: " + NoneOf(history) + " sets it here, and no ancestor has it" +
                        end);
    }
}

void AddUnnamed(const LocationHistory& history, Lines& lines) {
    const std::string parent(OxLocationPath::Parent(history.subject));
    const HistoryStep* const step = DecisionOf(history);
    lines.push_back(history.location + " is not there");
    lines.push_back(history.subject + " can be cooked, but " +
                    (parent.empty() ? "scenes begin at /root"
                                    : "it is no potential child of " + parent +
                                          ", so nobody who walks the scene comes there"));
    if (step)
        lines.push_back("its name was taken from " + parent + " by " + OpText(*step->op));
    else if (!parent.empty())
        lines.push_back("never named: " + NoneOf(history) + " names it");
}

void AddFailed(const LocationHistory& history, Lines& lines) {
    lines.push_back(history.location + " cannot be cooked");
    if (const HistoryStep* const step = DecisionOf(history)) lines.push_back(step->error.text);
}

void AddOutcome(const LocationHistory& history, Lines& lines) {
    switch (history.outcome) {
    case HistoryOutcome::Found:
        return AddFound(history, lines);
    case HistoryOutcome::Inherited:
        return AddInherited(history, lines);
    case HistoryOutcome::Dropped:
        return AddDropped(history, lines);
    case HistoryOutcome::NeverMade:
        return AddNeverMade(history, lines);
    case HistoryOutcome::Unnamed:
        return AddUnnamed(history, lines);
    case HistoryOutcome::Failed:
        return AddFailed(history, lines);
    }
}

/// Attributes that say what a location itself is, which nothing below it inherits.
bool IsOwn(const std::string& attribute) {
    for (const char* name : {"type", "xform", "bound", "geometry"})
        if (attribute.compare(0, attribute.find('.'), name) == 0) return true;
    return false;
}

/// A line for each ancestor that has the attribute too.
void AddAncestors(const LocationHistory& history, Lines& lines) {
    if (IsOwn(history.attribute)) return;
    for (std::size_t i = 1; i < history.ancestors.size(); ++i) {
        const HistoryAncestor& ancestor = history.ancestors[i];
        lines.push_back((ancestor.isSeen ? "merged with " : "wins over ") + ancestor.location +
                        ", which has " + ShortText(ancestor.value));
    }
}

} // namespace

std::string DecisionText(const LocationHistory& history) {
    const HistoryStep* const step = DecisionOf(history);
    if (!step) return {};
    std::string text = ActionWord(step->action);
    if (step->action == HistoryAction::Copied && !step->reads.empty())
        text += " from " + history.steps[step->reads.front().step].location;
    return text + " by " + OpText(*step->op);
}

Lines AnswerLines(const LocationHistory& history) {
    Lines lines;
    AddOutcome(history, lines);
    AddAncestors(history, lines);
    return lines;
}

} // namespace TellarTool
