#include <OxTellarProducers/LocationHistory.h>

#include <new>
#include <set>
#include <stdexcept>
#include <string_view>
#include <utility>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/LocationPath.h>

#include "AncestorValues.h"
#include "HistorySubject.h"
#include "HistoryWalk.h"
#include "text/SimilarNames.h"

namespace TELLAR {

namespace {

using OxAttribute::GroupAttribute;
using Client = std::shared_ptr<TellarRuntime::Client>;
using Op = std::shared_ptr<TellarRuntime::Op>;

constexpr std::string_view kRoot = "/root";

void CheckQuestion(const Client& client, const std::string& location) {
    if (!client) throw std::invalid_argument("a history needs a client");
    const bool isAbsolute = !location.empty() && location.front() == '/';
    if (!isAbsolute || location.back() == '/' || location.find("//") != std::string::npos)
        throw std::invalid_argument('"' + location + "\" is no absolute location path");
}

/// The paths of a location and its ancestors, from the top.
std::vector<std::string> PathsTo(const std::string& location) {
    std::vector<std::string> paths;
    for (std::size_t slash = 1; slash != std::string::npos;) {
        slash = location.find('/', slash);
        paths.push_back(location.substr(0, slash));
        if (slash != std::string::npos) ++slash;
    }
    return paths;
}

std::size_t CountOps(const Op& last) {
    std::set<const TellarRuntime::Op*> seen{last.get()};
    std::vector<Op> open{last};
    while (!open.empty()) {
        const Op op = std::move(open.back());
        open.pop_back();
        for (const Op& input : op->getInputs())
            if (input && seen.insert(input.get()).second) open.push_back(input);
    }
    return seen.size();
}

/// Follows the subject back to the step that did more than pass it.
std::optional<std::size_t> FindDecision(const std::vector<HistoryStep>& steps) {
    if (steps.empty()) return std::nullopt;
    std::size_t index = steps.size() - 1;
    for (;;) {
        const HistoryStep& step = steps[index];
        const bool isPassed = step.action == HistoryAction::Passed ||
                              step.action == HistoryAction::Absent ||
                              // The failure of an input.
                              step.action == HistoryAction::Failed;
        if (!isPassed || step.reads.empty()) return index;
        index = step.reads.front().step;
    }
}

/// The last step that deleted an attribute, in whichever input of the others that was.
std::optional<std::size_t> FindDeletion(const std::vector<HistoryStep>& steps) {
    for (std::size_t i = steps.size(); i-- > 0;)
        if (steps[i].action == HistoryAction::Deleted) return i;
    return std::nullopt;
}

/// Appends the dotted names of all attributes in a group.
void AppendNames(const std::string& prefix, const GroupAttribute& group,
                 std::vector<std::string>& names) {
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        names.push_back(prefix + group.getChildName(i));
        const GroupAttribute child(group.getChildByIndex(i));
        const std::string longer = names.back() + '.';
        if (child.isValid()) AppendNames(longer, child, names);
    }
}

/// The attributes of a location that somebody may have meant: those with this name in a group, or
/// with a similar one.
std::vector<std::string> SimilarAttributes(const GroupAttribute& attrs,
                                           const std::string& missing) {
    constexpr std::size_t kMost = 3;
    std::vector<std::string> names;
    AppendNames({}, attrs, names);
    std::vector<std::string> similar;
    const std::string ending = '.' + missing;
    for (const std::string& name : names) {
        const bool ends = name.size() > ending.size() &&
                          name.compare(name.size() - ending.size(), ending.size(), ending) == 0;
        if (ends && similar.size() < kMost) similar.push_back(name);
    }
    return similar.empty() ? TellarInternal::SimilarNames(names, missing) : similar;
}

/// One question and its answer.
class Question {
public:
    Question(Client askedClient, const std::string& location, const std::string& attribute)
        : client(std::move(askedClient)), op(client->getOp()) {
        history.location = location;
        history.attribute = attribute;
        history.subject = location;
    }

    LocationHistory answer() {
        if (!op) return std::move(history);
        history.numberOfOps = CountOps(op);
        history.doesLocationExist = followPath();
        if (history.doesLocationExist) {
            if (history.attribute.empty())
                tellLocation();
            else
                tellAttribute();
        }
        return std::move(history);
    }

private:
    const Client client;
    const Op op;
    LocationHistory history;
    std::vector<PathLevel> levels; // those that exist, from /root

    void tell(const HistorySubject& subject) { tell(subject, history.subject); }
    void tell(const HistorySubject& subject, const std::string& location) {
        history.steps = WalkHistory(op, location, subject);
        history.decidedBy = FindDecision(history.steps);
    }

    /// Goes down to the location. Returns false, with the answer, when that is not possible.
    bool followPath() {
        for (const std::string& path : PathsTo(history.location)) {
            history.subject = path;
            TellarRuntime::LocationData data;
            if (!cook(path, data)) return false;
            if (!data.doesLocationExist()) return explainMissing();
            if (!isNamed(path)) return explainUnnamed();
            levels.push_back({path, std::move(data)});
        }
        return true;
    }

    /// Returns false, with the answer, for a location that cannot be cooked.
    bool cook(const std::string& path, TellarRuntime::LocationData& data) {
        try {
            data = client->cookLocation(path);
            return true;
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            history.outcome = HistoryOutcome::Failed;
            tell({HistorySubject::Location, {}});
            return false;
        }
    }

    bool isNamed(const std::string& path) const {
        if (levels.empty()) return path == kRoot;
        return NamesChild(levels.back().data, OxLocationPath::Name(path));
    }

    bool explainMissing() {
        if (!levels.empty()) history.siblings = levels.back().data.getPotentialChildren();
        tell({HistorySubject::Location, {}});
        history.outcome =
            history.steps.empty() ? HistoryOutcome::NeverMade : HistoryOutcome::Dropped;
        if (history.steps.empty())
            findSimilarLocations();
        else
            lookBeforeTheDrop();
        return false;
    }

    /// Looks for the location itself where the ancestor that was dropped is still there.
    void lookBeforeTheDrop() {
        history.wasThereBefore = history.subject == history.location;
        if (history.wasThereBefore) return;
        const auto steps = WalkHistory(op, history.location, {HistorySubject::Location, {}});
        history.wasThereBefore = !steps.empty();
    }

    bool explainUnnamed() {
        history.outcome = HistoryOutcome::Unnamed;
        if (levels.empty()) return false;
        const std::string name(OxLocationPath::Name(history.subject));
        tell({HistorySubject::ChildName, name}, levels.back().location);
        history.decidedBy = FindDeletion(history.steps);
        return false;
    }

    void findSimilarLocations() {
        try {
            history.similar = SimilarLocations(
                CreateSyncGeometryProducer(client, std::string(kRoot)), history.location);
        } catch (const std::bad_alloc&) {
            throw;
        } catch (const std::exception&) {
            // A location that cannot be cooked is no suggestion.
        }
    }

    void tellLocation() {
        history.outcome = HistoryOutcome::Found;
        tell({HistorySubject::Location, {}});
    }

    void lookForOwnValue(const HistorySubject& subject) {
        const auto steps = WalkHistory(op, history.location, subject);
        if (const auto deletion = FindDeletion(steps)) history.ownDeletedBy = steps[*deletion].op;
    }

    void tellAttribute() {
        const HistorySubject subject{HistorySubject::Attribute, history.attribute};
        InheritedValue inherited = FindInherited(levels, history.attribute);
        history.value = inherited.value;
        history.ancestors = std::move(inherited.ancestors);
        if (!history.ancestors.empty()) {
            history.subject = history.ancestors.front().location;
            history.outcome = history.subject == history.location ? HistoryOutcome::Found
                                                                  : HistoryOutcome::Inherited;
            if (history.outcome == HistoryOutcome::Inherited) lookForOwnValue(subject);
            tell(subject);
            return;
        }
        tell(subject);
        history.decidedBy = FindDeletion(history.steps);
        history.outcome = history.decidedBy ? HistoryOutcome::Dropped : HistoryOutcome::NeverMade;
        if (!history.decidedBy)
            history.similar = SimilarAttributes(levels.back().data.getAttrs(), history.attribute);
    }
};

} // namespace

LocationHistory GetLocationHistory(const Client& client, const std::string& location,
                                   const std::string& attribute) {
    CheckQuestion(client, location);
    return Question(client, location, attribute).answer();
}

} // namespace TELLAR
