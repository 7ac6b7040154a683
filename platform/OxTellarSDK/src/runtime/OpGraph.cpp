#include "OpGraph.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "CookWaiters.h"
#include "CookWaits.h"
#include "PluginCall.h"
#include "ThreadSlot.h"

namespace OxTellarRuntimeDetail {

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using OxAttribute::ThreadSlot;
using LocationData = TellarRuntime::LocationData;

namespace {

struct alignas(64) Counter {
    std::atomic<std::uint64_t> value{0};
};

std::array<Counter, ThreadSlot::kCount>& CookCounters() {
    static auto* const counters = new std::array<Counter, ThreadSlot::kCount>;
    return *counters;
}

void CountCook() {
    const std::uint32_t slot = ThreadSlot::Current();
    std::atomic<std::uint64_t>& value = CookCounters()[slot].value;
    if (slot == ThreadSlot::kShared)
        value.fetch_add(1, std::memory_order_relaxed);
    else
        value.store(value.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

std::uint32_t NextEviction() {
    static std::atomic<std::uint32_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

LocationData MissingLocation() {
    return LocationData(LocationRecord::Missing());
}

/// The record with one reference for the caller. Null when there is none, or when it is to be
/// replaced: while a location is cooked anew, its record is still the one that was evicted.
LocationRecord* FreshRecord(const LocationNode& node) {
    return node.state.load(std::memory_order_acquire) == 0 ? node.acquireRecord() : nullptr;
}

class Cook final : public OxOpType::CookContext {
public:
    Cook(const OpNode& op, const LocationNode& node, const std::string& path,
         std::uint32_t eviction, const OxOpType::State* state)
        : op(op), node(node), location(path), eviction(eviction), opState(state) {}
    virtual ~Cook() = default;

    const std::string& path() const override { return location; }
    const GroupAttribute& args() const override { return op.args; }
    const OxOpType::State* state() const override { return opState; }
    std::size_t numberOfInputs() const override { return op.inputs.size(); }

    LocationData input(std::size_t index, const std::string& path) override {
        if (index >= op.inputs.size() || !op.inputs[index]) return MissingLocation();
        return OpNode::Of(*op.inputs[index]).cook(path, eviction);
    }

    void pass(const LocationData& data) override {
        result = data;
        isOwn = false;
    }

    void setAttrs(const GroupAttribute& attrs) override {
        LocationRecord& record = ownRecord();
        record.exists = true;
        record.attrs = attrs;
    }

    void setPotentialChildren(const StringAttribute& names) override {
        LocationRecord& record = ownRecord();
        record.exists = true;
        record.potentialChildren = names;
    }

    void setNote(const Attribute& note) override {
        LocationRecord& record = ownRecord();
        record.note = note;
        record.noteStore = op.store->shortId();
    }

    Attribute parentNote() const override {
        const LocationData parent(node.parent->acquireRecord());
        const LocationRecord* record = parent.getRecord();
        // A record that was passed on carries the note of another Op.
        return record && record->noteStore == op.store->shortId() ? record->note : Attribute();
    }

    std::int64_t probableIndex() const override { return node.index; }

    bool isFresh() const override { return eviction != 0; }

    /// The result with two references, for the location's node and for whoever asked.
    LocationRecord* takeResult() {
        LocationRecord* record =
            result.isValid() ? result.detachRecord() : LocationRecord::Missing();
        record->retain();
        return record;
    }

private:
    /// The cook's own record, which it may change. On first use it is a copy of what was passed.
    LocationRecord& ownRecord() {
        if (isOwn) return *result.getRecord();
        isOwn = true;
        LocationData own(LocationRecord::Create());
        if (result.isValid()) {
            own.getRecord()->exists = result.doesLocationExist();
            own.getRecord()->attrs = result.getAttrs();
            own.getRecord()->potentialChildren = result.getPotentialChildren();
        }
        result = std::move(own);
        return *result.getRecord();
    }

    const OpNode& op;
    const LocationNode& node;
    const std::string& location;
    const std::uint32_t eviction;
    const OxOpType::State* opState;
    LocationData result;
    bool isOwn = false;
};

} // namespace

std::uint64_t NumberOfCooks() {
    std::uint64_t sum = 0;
    for (const Counter& counter : CookCounters())
        sum += counter.value.load(std::memory_order_relaxed);
    return sum;
}

std::string OpNode::label() const {
    return "Op \"" + name + "\" (" + typeName + ")";
}

void OpNode::fail(const std::string* path, ErrorFacts cause) const {
    // Types other than TellarError tell only that the cook failed.
    if (cause.code == kOxErrorUnknown) cause.code = kOxErrorCook;
    const std::string place = path ? " at \"" + *path + '"' : std::string();
    cause.text = label() + place + ": " + cause.text;
    cause.op = name;
    cause.opType = typeName;
    if (path) cause.location = *path;
    throw CookError(std::move(cause));
}

template <typename Call>
auto OpNode::guarded(const std::string* path, const Call& call) const {
    ErrorFacts cause;
    try {
        return call();
    } catch (const CookError&) {
        throw; // the text names the Op that failed
    } catch (const std::exception& error) {
        cause = FactsOf(error);
    } catch (...) {
        cause.text = "it threw something that is no std::exception";
    }
    fail(path, std::move(cause));
}

void OpNode::prepare() const {
    if (defect) fail(nullptr, {kOxErrorCook, *defect, {}, {}, {}, {}, {}});
    guarded(nullptr, [&] { store->prepare(*type, args, inputs.size()); });
}

LocationData OpNode::cook(const std::string& path, std::uint32_t eviction,
                          LocationNode** found) const {
    if (found) *found = nullptr;
    if (defect) fail(&path, {kOxErrorCook, *defect, {}, {}, {}, {}, {}});
    LocationNode* node = store->findOrAdd(path);
    if (!node) return MissingLocation();
    if (found) *found = node;
    if (eviction == 0)
        if (LocationRecord* record = FreshRecord(*node)) return LocationData(record);
    return cookAt(*node, path, eviction);
}

LocationData OpNode::cook(LocationNode& node) const {
    if (LocationRecord* record = FreshRecord(node)) return LocationData(record);
    return cookAt(node, store->pathOf(node), 0);
}

LocationData OpNode::cookAt(LocationNode& node, const std::string& path,
                            std::uint32_t eviction) const {
    std::uint8_t state = node.state.load(std::memory_order_acquire);
    for (;;) {
        if (state & LocationNode::kCooking) {
            if (IsMadeByThisThread(&node) || !WaitForCook(node))
                fail(&path, {kOxErrorCook, "the location needs itself", {}, {}, {}, {}, {}});
            state = node.state.load(std::memory_order_acquire);
            continue;
        }
        // An eviction after this point makes the location stale again.
        if (node.state.compare_exchange_weak(state, LocationNode::kCooking,
                                             std::memory_order_acq_rel, std::memory_order_acquire))
            break;
    }
    if (node.freshness < eviction) return cookNow(node, path, eviction);
    if (state & LocationNode::kStale) return cookNow(node, path, NextEviction());
    // Another thread may have cooked the location since this one found no record.
    if (LocationRecord* record = node.acquireRecord()) {
        EndCook(node);
        return LocationData(record);
    }
    return cookNow(node, path, eviction);
}

/// The calling thread must have set kCooking.
LocationData OpNode::cookNow(LocationNode& node, const std::string& path,
                             std::uint32_t eviction) const {
    node.wasCooked.store(true, std::memory_order_release);
    LocationRecord* record = nullptr;
    try {
        record = compute(node, path, eviction);
    } catch (...) {
        if (eviction != 0) node.state.fetch_or(LocationNode::kStale, std::memory_order_relaxed);
        EndCook(node);
        throw;
    }
    node.attrsAddress.store(record->attrs.getHandle(), std::memory_order_relaxed);
    LocationRecord* previous = node.record.load(std::memory_order_relaxed);
    node.record.store(record, std::memory_order_release);
    if (previous) previous->release();
    if (eviction != 0) node.freshness = std::max(node.freshness.load(), eviction);
    EndCook(node);
    return LocationData(record);
}

LocationRecord* OpNode::compute(LocationNode& node, const std::string& path,
                                std::uint32_t eviction) const {
    const MakingScope scope(&node);
    CountCook();
    return guarded(&path, [&] {
        const OxOpType::State* state = store->prepare(*type, args, inputs.size());
        Cook cook(*this, node, path, eviction, state);
        type->cook(cook);
        return cook.takeResult();
    });
}

} // namespace OxTellarRuntimeDetail
