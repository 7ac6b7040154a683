#include "OpGraph.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <unordered_map>

#include <xxhash.h>

#include <OxTellarSDK/LocationPath.h>

#include "AttributeNode.h"
#include "CookWaits.h"
#include "PluginCall.h"
#include "ThreadSlot.h"

namespace OxTellarRuntimeDetail {

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxAttribute::StringAttribute;
using OxAttribute::ThreadSlot;
using LocationData = TellarRuntime::LocationData;

namespace {

// A cook calls itself once for every Op that it passes through.
constexpr int kMaxOpDepth = 512;

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

/// Where threads meet that want one location: they wait here for the one that cooks it.
struct alignas(64) Crossing {
    std::mutex lock;
    std::condition_variable cooked;
};

Crossing& CrossingOf(const LocationNode& node) {
    static auto* const crossings = new std::array<Crossing, 64>;
    return (*crossings)[reinterpret_cast<std::uintptr_t>(&node) / sizeof(LocationNode) % 64];
}

/// False, without waiting, when the cook cannot end before the calling thread goes on.
[[nodiscard]] bool WaitWhileCooked(LocationNode& node) {
    const WaitScope wait(&node);
    if (!wait.canEnd()) return false;
    Crossing& crossing = CrossingOf(node);
    std::unique_lock<std::mutex> guard(crossing.lock);
    std::uint8_t state = node.state.load(std::memory_order_acquire);
    while (state & LocationNode::kCooking) {
        const std::uint8_t awaited = state | LocationNode::kAwaited;
        if (!node.state.compare_exchange_weak(state, awaited, std::memory_order_acquire)) continue;
        crossing.cooked.wait(guard);
        state = node.state.load(std::memory_order_acquire);
    }
    return true;
}

/// After everything that the cook left in the node.
void EndCook(LocationNode& node) {
    constexpr std::uint8_t over = LocationNode::kCooking | LocationNode::kAwaited;
    const std::uint8_t before =
        node.state.fetch_and(static_cast<std::uint8_t>(~over), std::memory_order_acq_rel);
    if (!(before & LocationNode::kAwaited)) return;
    Crossing& crossing = CrossingOf(node);
    // Whoever announced to wait does so by now, or will see that the cook is over.
    { const std::lock_guard<std::mutex> guard(crossing.lock); }
    crossing.cooked.notify_all();
}

std::uint32_t NextEviction() {
    static std::atomic<std::uint32_t> last{0};
    return last.fetch_add(1, std::memory_order_relaxed) + 1;
}

LocationData MissingLocation() {
    return LocationData(LocationRecord::Missing());
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
        // A record that was passed through carries the note of another Op.
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
    /// A record that this cook alone knows: made now, or as a copy of what was passed.
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

LocationData OpNode::cook(const std::string& path, std::uint32_t eviction,
                          LocationNode** found) const {
    if (found) *found = nullptr;
    if (defect) throw CookError(label() + " at \"" + path + "\": " + *defect);
    LocationNode* node = store->findOrAdd(path);
    if (!node) return MissingLocation();
    if (found) *found = node;
    // While it is cooked anew, the record is still the one that was evicted.
    if (eviction == 0 && node->state.load(std::memory_order_acquire) == 0)
        if (LocationRecord* record = node->acquireRecord()) return LocationData(record);
    return cookAt(*node, path, eviction);
}

LocationData OpNode::cookAt(LocationNode& node, const std::string& path,
                            std::uint32_t eviction) const {
    std::uint8_t state = node.state.load(std::memory_order_acquire);
    for (;;) {
        if (state & LocationNode::kCooking) {
            if (IsMadeByThisThread(&node) || !WaitWhileCooked(node))
                throw CookError(label() + " at \"" + path + "\": the location needs itself");
            state = node.state.load(std::memory_order_acquire);
            continue;
        }
        // An eviction that comes from here on makes the location stale again.
        if (node.state.compare_exchange_weak(state, LocationNode::kCooking,
                                             std::memory_order_acq_rel, std::memory_order_acquire))
            break;
    }
    if (node.freshness < eviction) return cookNow(node, path, eviction);
    if (state & LocationNode::kStale) return cookNow(node, path, NextEviction());
    // Another thread may have come and gone since this one found no record.
    if (LocationRecord* record = node.acquireRecord()) {
        EndCook(node);
        return LocationData(record);
    }
    return cookNow(node, path, eviction);
}

/// By the thread that has set kCooking.
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
    std::string reason;
    try {
        const OxOpType::State* state = store->prepare(*type, args, inputs.size());
        Cook cook(*this, node, path, eviction, state);
        type->cook(cook);
        return cook.takeResult();
    } catch (const CookError&) {
        throw; // names the Op that failed already
    } catch (const std::exception& error) {
        reason = TELLAR::TextOf(error);
    } catch (...) {
        reason = "it threw something that is no std::exception";
    }
    throw CookError(label() + " at \"" + path + "\": " + reason);
}

namespace {

/// Op names in the text of a cycle; of a longer one the first and the last are named.
constexpr std::size_t kNamedInCycle = 16;
constexpr std::size_t kLongestNameInCycle = 64;

/// At most kLongestNameInCycle bytes of a name, cut between two characters of UTF-8.
std::string Shortened(const std::string& name) {
    if (name.size() <= kLongestNameInCycle) return name;
    std::size_t end = kLongestNameInCycle;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xc0) == 0x80)
        --end;
    return name.substr(0, end) + "...";
}

std::shared_ptr<const std::string> Defect(std::string text) {
    return std::make_shared<const std::string>(std::move(text));
}

/// Walks the graph below some Ops in post-order, inputs first. Without recursion: graphs come
/// from files.
///
/// All work and all texts are linear in the size of the graph. An Op that lies in several cycles
/// is marked for the first one found, and marked Ops are passed over at once: the topmost of those
/// that lie side by side on the stack knows where they begin.
class Committer {
public:
    void commit(TellarRuntime::Op& start) {
        enter(start);
        while (!stack.empty()) {
            Visit& visit = stack.back();
            OpNode& node = OpNode::Of(*visit.op);
            if (visit.nextInput == node.inputs.size()) {
                finish(node);
                leave();
                continue;
            }
            TellarRuntime::Op* input = node.inputs[visit.nextInput++].get();
            if (!input || OpNode::Of(*input).committed) continue;
            const auto known = onStack.find(input);
            if (known == onStack.end())
                enter(*input);
            else
                markCycle(known->second);
        }
    }

private:
    struct Visit {
        TellarRuntime::Op* op;
        std::size_t nextInput;
        std::size_t firstMarked; // of the marked Ops up to this one; its own place if there is none
    };

    void enter(TellarRuntime::Op& op) {
        if (OpNode::Of(op).committed) return;
        onStack.emplace(&op, stack.size());
        stack.push_back({&op, 0, stack.size()});
    }

    void leave() {
        const Visit left = stack.back();
        onStack.erase(left.op);
        stack.pop_back();
        if (left.firstMarked < stack.size())
            stack.back().firstMarked = std::min(stack.back().firstMarked, left.firstMarked);
    }

    const std::string& nameAt(std::size_t place) const { return OpNode::Of(*stack[place].op).name; }

    /// The Ops from `first` to the top of the stack are a cycle.
    void markCycle(std::size_t first) {
        std::shared_ptr<const std::string> text;
        std::size_t end = stack.size();
        while (end > first) {
            const Visit& visit = stack[end - 1];
            OpNode& node = OpNode::Of(*visit.op);
            if (!node.inCycle) {
                if (!text) text = Defect("it is part of a cycle: " + describeCycle(first));
                node.inCycle = true;
                node.defect = text;
            }
            end = visit.firstMarked;
        }
        stack.back().firstMarked = end;
    }

    std::string describeCycle(std::size_t first) const {
        const std::size_t length = stack.size() - first;
        std::string way;
        for (std::size_t i = 0; i < length; ++i) {
            if (length > kNamedInCycle && i == kNamedInCycle / 2) {
                way += "(" + std::to_string(length - kNamedInCycle) + " more) -> ";
                i = length - kNamedInCycle / 2;
            }
            way += Shortened(nameAt(first + i)) + " -> ";
        }
        return way + Shortened(nameAt(first));
    }

    static void finish(OpNode& node) {
        for (const auto& input : node.inputs)
            if (input) node.depth = std::max(node.depth, OpNode::Of(*input).depth + 1);
        node.type = OxOpType::FindOpType(node.typeName);
        if (!node.defect && !node.type) node.defect = Defect("there is no op type of this name");
        if (!node.defect && node.depth > kMaxOpDepth)
            node.defect = Defect("it depends on more than " + std::to_string(kMaxOpDepth) +
                                 " ops, one through the other");
        const int version = node.defect ? 0 : askForVersion(node);
        node.committed = true;
        node.identity = identify(node, version);
        if (!node.defect) node.store = LocationStore::ForIdentity(node.identity);
    }

    /// The version of the Op's type; if that throws, the Op gets a defect.
    static int askForVersion(OpNode& node) {
        int version = 0;
        const std::string thrown =
            OxPluginManager::ExceptionFrom([&] { version = node.type->description().version; });
        if (!thrown.empty()) node.defect = Defect("the description of its type " + thrown);
        return version;
    }

    static Hash identify(const OpNode& node, int version) {
        std::string described = node.typeName;
        described += '\0';
        const auto append = [&described](const void* data, std::size_t bytes) {
            described.append(static_cast<const char*>(data), bytes);
        };
        if (!node.defect) {
            append(&version, sizeof version);
            const Hash args = OxAttribute::ContentIdentity(node.args);
            append(&args, sizeof args);
            for (const auto& input : node.inputs) {
                const Hash inputIdentity = input ? OpNode::Of(*input).identity : Hash();
                append(&inputIdentity, sizeof inputIdentity);
            }
        } else {
            described += node.name + *node.defect;
        }
        const XXH128_hash_t value = XXH3_128bits(described.data(), described.size());
        return {{value.high64, value.low64}};
    }

    std::vector<Visit> stack;
    std::unordered_map<TellarRuntime::Op*, std::size_t> onStack;
};

} // namespace

void CommitOps(const std::vector<std::shared_ptr<TellarRuntime::Op>>& ops) {
    Committer committer;
    for (const auto& op : ops)
        committer.commit(*op);
    // Ops that hold each other would never be let go.
    for (const auto& op : ops) {
        OpNode& node = OpNode::Of(*op);
        if (node.inCycle) node.inputs.clear();
    }
}

} // namespace OxTellarRuntimeDetail
