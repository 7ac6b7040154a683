#include "StepAnalysis.h"

#include <algorithm>
#include <set>
#include <utility>

#include <OxTellarSDK/AttributeDifference.h>

#include "LocationDifferences.h"

namespace TELLAR {

namespace {

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::HaveEqualContent;
using OxOpType::CookRead;
using OxOpType::CookTrace;
using LocationData = TellarRuntime::LocationData;

/// The existing locations that were read, each once for each input.
CookReads ExistingReads(const CookTrace& trace) {
    CookReads reads;
    std::set<std::pair<std::size_t, std::string>> seen;
    for (const CookRead& read : trace.reads)
        if (read.data.doesLocationExist() && seen.emplace(read.input, read.location).second)
            reads.push_back(&read);
    return reads;
}

bool HasEqualContent(const LocationData& a, const LocationData& b) {
    return a.getRecord() == b.getRecord() ||
           (HaveEqualContent(a.getAttrs(), b.getAttrs()) &&
            HaveEqualContent(a.getPotentialChildren(), b.getPotentialChildren()));
}

/// The number of values that the two groups share in memory, one level down.
std::size_t CountShared(const GroupAttribute& a, const GroupAttribute& b) {
    std::size_t shared = 0;
    for (std::int64_t i = 0; i < a.getNumberOfChildren(); ++i) {
        const Attribute there = b.getChildByIndex(b.findChild(a.getChildNameView(i), i));
        if (there.isValid() && there.getHandle() == a.getChildByIndex(i).getHandle()) ++shared;
    }
    return shared;
}

/// True if every value of `part` is in the other group too. Groups are nested at most
/// kMaxGroupDepth levels deep.
bool HasAllOf(const GroupAttribute& whole, const GroupAttribute& part) {
    for (std::int64_t i = 0; i < part.getNumberOfChildren(); ++i) {
        const Attribute wanted = part.getChildByIndex(i);
        const Attribute there = whole.getChildByIndex(whole.findChild(part.getChildNameView(i), i));
        const GroupAttribute groupThere(there);
        const GroupAttribute groupWanted(wanted);
        const bool areGroups = groupThere.isValid() && groupWanted.isValid();
        if (areGroups ? !HasAllOf(groupThere, groupWanted) : !HaveEqualContent(there, wanted))
            return false;
    }
    return true;
}

/// How much of a location may have come from the other one: 0 for nothing.
std::size_t Likeness(const LocationData& made, const LocationData& read) {
    const auto& names = made.getPotentialChildren();
    const bool sharesNames =
        names.isValid() && names.getHandle() == read.getPotentialChildren().getHandle();
    const bool isSame = made.getRecord() == read.getRecord();
    return CountShared(made.getAttrs(), read.getAttrs()) + (sharesNames ? 1 : 0) + (isSame ? 1 : 0);
}

/// The first of the reads from which most of the location may have come; null when none has
/// anything of it.
const CookRead* MostLike(const LocationData& made, const CookReads& reads) {
    const CookRead* best = nullptr;
    std::size_t most = 0;
    for (const CookRead* read : reads) {
        const std::size_t likeness = Likeness(made, read->data);
        if (likeness > most) best = read;
        most = std::max(most, likeness);
    }
    return best;
}

class Analysis {
public:
    Analysis(const std::shared_ptr<TellarRuntime::Op>& op, const std::string& location,
             const HistorySubject& subject, const CookTrace& trace)
        : location(location), subject(subject), trace(trace), existing(ExistingReads(trace)) {
        for (const CookRead* read : existing)
            (read->location == location ? same : others).push_back(read);
        step().op = op;
        step().location = location;
    }

    StepAnalysis run() {
        found.exists = trace.result.doesLocationExist();
        if (trace.error)
            fail();
        else if (!found.exists)
            lookForLocation();
        else if (subject.kind == HistorySubject::Location)
            explainLocation();
        else
            explainValue();
        return std::move(found);
    }

private:
    const std::string& location;
    const HistorySubject& subject;
    const CookTrace& trace;
    const CookReads existing;
    CookReads same;   // those of the same location as the one that was made
    CookReads others; // the rest
    StepAnalysis found;

    HistoryStep& step() { return found.step; }
    const HistoryStep& step() const { return found.step; }

    void want(const CookRead* read, HistoryRole role) {
        found.reads.push_back({read->input, read->location, role});
    }

    /// Wants all reads of the location but the origin.
    void wantRest(const CookRead* origin, HistoryRole role) {
        for (const CookRead* read : same)
            if (read != origin) want(read, role);
    }

    Attribute valueAt(const CookRead* read) const { return ValueOf(subject, read->data); }

    /// An error of an input is that of the Op as well.
    void fail() {
        step().action = HistoryAction::Failed;
        step().error = FactsOf(trace.error);
        const auto cause = std::find_if(trace.reads.begin(), trace.reads.end(),
                                        [](const CookRead& read) { return !read.data.isValid(); });
        if (cause != trace.reads.end()) want(&*cause, HistoryRole::Origin);
    }

    /// An Op that removes a location need not read it.
    void lookForLocation() {
        step().action = HistoryAction::Absent;
        const auto inputs = step().op->getInputs();
        for (std::size_t i = 0; i < inputs.size(); ++i)
            if (inputs[i]) found.reads.push_back({i, location, HistoryRole::Origin});
    }

    // ---- the history of a location ----

    void explainLocation() {
        const LocationData& result = trace.result;
        const auto passed = std::find_if(same.begin(), same.end(), [&](const CookRead* read) {
            return HasEqualContent(read->data, result);
        });
        if (passed != same.end()) {
            step().action = HistoryAction::Passed;
            want(*passed, HistoryRole::Origin);
            for (const CookRead* read : same)
                if (read != *passed && !HasAllOf(result.getAttrs(), read->data.getAttrs()))
                    want(read, HistoryRole::Overridden);
            return;
        }
        const CookRead* const origin = chooseLocationOrigin();
        const LocationData before = origin ? origin->data : LocationData();
        const CookReads sources = otherThan(origin);
        const DifferenceFinder differences(location, sources);
        step().changes = differences.compareAll(before.getAttrs(), result.getAttrs());
        CompareChildren(before.getPotentialChildren(), result.getPotentialChildren(), step());
    }

    /// Null for a location that the Op made.
    const CookRead* chooseLocationOrigin() {
        const CookRead* const origin = same.empty() ? MostLike(trace.result, others) : same.front();
        step().action = !origin        ? HistoryAction::Made
                        : same.empty() ? HistoryAction::Copied
                                       : HistoryAction::Changed;
        if (origin) want(origin, HistoryRole::Origin);
        wantRest(origin, HistoryRole::Contributed);
        return origin;
    }

    CookReads otherThan(const CookRead* origin) const {
        CookReads rest;
        for (const CookRead* read : existing)
            if (read != origin) rest.push_back(read);
        return rest;
    }

    // ---- the history of a value ----

    void explainValue() {
        step().after = ValueOf(subject, trace.result);
        if (!step().after.isValid())
            explainMissingValue();
        else if (!isPassed() && !isCopied() && !isChanged())
            explainNewValue();
    }

    /// The first read of the location that has the subject; null when none has.
    const CookRead* firstWithValue(const CookReads& reads) const {
        const auto has = [this](const CookRead* read) { return valueAt(read).isValid(); };
        const auto first = std::find_if(reads.begin(), reads.end(), has);
        return first == reads.end() ? nullptr : *first;
    }

    const CookRead* findValue(const Attribute& value) const {
        const CookRead* equal = nullptr;
        for (const CookRead* read : same) {
            const Attribute there = valueAt(read);
            if (there.getHandle() == value.getHandle()) return read;
            if (!equal && there.isValid() && HaveEqualContent(there, value)) equal = read;
        }
        return equal;
    }

    void wantOverridden(const CookRead* origin) {
        for (const CookRead* read : same) {
            if (read == origin) continue;
            const Attribute lost = valueAt(read);
            if (lost.isValid() && !HaveEqualContent(lost, step().after))
                want(read, HistoryRole::Overridden);
        }
    }

    bool isPassed() {
        const CookRead* const origin = findValue(step().after);
        if (!origin) return false;
        step().action = HistoryAction::Passed;
        step().before = step().after;
        want(origin, HistoryRole::Origin);
        wantOverridden(origin);
        return true;
    }

    bool isCopied() {
        if (subject.kind != HistorySubject::Attribute) return false;
        for (const CookRead* read : others) {
            if (!HasValue(*read, subject.name, step().after, false)) continue;
            step().action = HistoryAction::Copied;
            if (const CookRead* replaced = firstWithValue(same)) compareWithReplaced(replaced);
            want(read, HistoryRole::Origin);
            wantOverridden(read);
            return true;
        }
        return false;
    }

    /// Tells what is different in the value of the other location.
    void compareWithReplaced(const CookRead* replaced) {
        step().before = valueAt(replaced);
        const CookReads noSources; // all of it is from there
        step().changes = DifferenceFinder(location, noSources)
                             .compare(subject.name, step().before, step().after);
    }

    bool isChanged() {
        const CookRead* origin = firstWithValue(same);
        if (!origin && subject.kind == HistorySubject::Attribute) origin = findPartlyCopied();
        if (!origin) return false;
        step().action = HistoryAction::Changed;
        step().before = valueAt(origin);
        want(origin, HistoryRole::Origin);
        compareWith(origin);
        return true;
    }

    /// Another location whose group of this name has children in the result.
    const CookRead* findPartlyCopied() const {
        const GroupAttribute after(step().after);
        for (const CookRead* read : others)
            if (CountShared(after, valueAt(read)) > 0) return read;
        return nullptr;
    }

    /// Lists the changes since the origin. The other reads have contributed to them or are
    /// overridden.
    void compareWith(const CookRead* origin) {
        const CookReads sources = otherThan(origin);
        const DifferenceFinder differences(location, sources);
        step().changes = differences.compare(subject.name, step().before, step().after);
        for (const CookRead* read : sources) {
            const auto isSource = [read](const HistoryChange& change) {
                return change.copiedFrom == read->location && change.copiedInput == read->input;
            };
            const auto& changes = step().changes;
            if (std::any_of(changes.begin(), changes.end(), isSource))
                want(read, HistoryRole::Contributed);
            else if (read->location == location && valueAt(read).isValid())
                want(read, HistoryRole::Overridden);
        }
    }

    void explainNewValue() {
        const CookRead* const origin = chooseLocationOrigin();
        if (origin) step().action = HistoryAction::Set;
        found.reads.resize(origin ? 1 : 0);
        if (subject.kind != HistorySubject::Attribute) return;
        const CookReads sources = otherThan(origin);
        const DifferenceFinder differences(location, sources);
        step().changes = differences.compare(subject.name, {}, step().after);
    }

    void explainMissingValue() {
        if (const CookRead* const origin = firstWithValue(same)) {
            step().action = HistoryAction::Deleted;
            step().before = valueAt(origin);
            want(origin, HistoryRole::Origin);
            wantRest(origin, HistoryRole::Contributed);
        } else {
            chooseLocationOrigin();
            if (step().action == HistoryAction::Changed) step().action = HistoryAction::Passed;
        }
    }
};

} // namespace

StepAnalysis AnalyseStep(const std::shared_ptr<TellarRuntime::Op>& op, const std::string& location,
                         const HistorySubject& subject, const CookTrace& trace) {
    return Analysis(op, location, subject, trace).run();
}

} // namespace TELLAR
