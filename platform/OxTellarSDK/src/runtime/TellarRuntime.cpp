#include <OxTellarSDK/TellarRuntime.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <mutex>
#include <stdexcept>

#include "AttributeJsonWriter.h"
#include "Container.h"
#include "CookedIndex.h"
#include "LocationStore.h"
#include "OpDescription.h"
#include "OpGraph.h"
#include "PerThread.h"

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxAttribute::StringAttribute;
using OxTellarRuntimeDetail::CookedIndex;
using OxTellarRuntimeDetail::LocationNode;
using OxTellarRuntimeDetail::LocationRecord;
using OxTellarRuntimeDetail::LocationStore;
using OxTellarRuntimeDetail::OpNode;

/// The results that a client looks at.
struct TellarRuntime::Client::View {
    std::shared_ptr<LocationStore> store; // null when the Op has a defect
    CookedIndex* cooked; // of the runtime; shared by its clients that are pointed at equal Ops

    /// Whether the data's place is in the store.
    bool keeps(const LocationData& data) const {
        return store && data.place.storeId == store->id();
    }
    /// Notes that the runtime has cooked the location, and in its data where that is.
    void present(LocationNode& node, LocationData& data) const {
        if (!cooked->contains(node.serial)) cooked->add(node.serial);
        data.place = {&node, store->id()};
    }
    /// Invalid data for a location that the runtime has not cooked, and for null.
    LocationData cached(LocationNode* node) const {
        if (!node || !cooked->contains(node->serial)) return {};
        LocationData data(node->acquireRecord());
        data.place = {node, store->id()};
        return data;
    }
};

/// The lock guards all members; an index, once made, lives as long as the runtime and is used
/// without it.
struct OxTellarRuntimeDetail::RuntimeState {
    struct Cooked {
        std::shared_ptr<LocationStore> store;
        std::unique_ptr<CookedIndex> index;
    };
    std::mutex lock;
    std::int32_t nextOpId = 0;
    std::vector<std::weak_ptr<TellarRuntime::Op>> ops;
    std::vector<Cooked> cooked;
    std::size_t lookingClients = 0; // those with a view
    bool areResultsTaken = false;   // from the Ops; so no client has a view

    /// Forgets results and Ops at which neither an Op nor a client looks any more. The results are
    /// the caller's to let go of, without the lock: what an op type keeps with them may be a client
    /// of this very runtime.
    [[nodiscard]] std::vector<Cooked> takeUnused() {
        const auto isUsed = [](const Cooked& entry) { return entry.store.use_count() != 1; };
        const auto unused = std::partition(cooked.begin(), cooked.end(), isUsed);
        std::vector<Cooked> taken(std::make_move_iterator(unused),
                                  std::make_move_iterator(cooked.end()));
        cooked.erase(unused, cooked.end());
        const auto isGone = [](const std::weak_ptr<TellarRuntime::Op>& op) { return op.expired(); };
        ops.erase(std::remove_if(ops.begin(), ops.end(), isGone), ops.end());
        return taken;
    }

    using Ops = std::vector<std::shared_ptr<TellarRuntime::Op>>;

    /// The caller's to let go of without the lock, as the last one to hold them perhaps.
    [[nodiscard]] Ops livingOps() const {
        Ops living;
        for (const std::weak_ptr<TellarRuntime::Op>& op : ops)
            if (auto held = op.lock()) living.push_back(std::move(held));
        return living;
    }

    /// Before a client looks at Ops whose results were taken. Returns livingOps, or nothing.
    [[nodiscard]] Ops findResultsAgain() {
        if (!areResultsTaken) return {};
        Ops living = livingOps();
        for (const auto& op : living) {
            OpNode& node = OpNode::Of(*op);
            if (!node.defect && !node.store) node.store = LocationStore::ForIdentity(node.identity);
        }
        areResultsTaken = false;
        return living;
    }

    CookedIndex* indexOf(const std::shared_ptr<LocationStore>& store) {
        for (const Cooked& entry : cooked)
            if (entry.store == store) return entry.index.get();
        cooked.push_back({store, std::make_unique<CookedIndex>()});
        return cooked.back().index.get();
    }
};

std::shared_ptr<TellarRuntime> TellarRuntime::create() {
    return std::shared_ptr<TellarRuntime>(new TellarRuntime);
}

TellarRuntime::TellarRuntime() : state(std::make_unique<OxTellarRuntimeDetail::RuntimeState>()) {}

TellarRuntime::~TellarRuntime() {
    state.reset();
    OxAttribute::Container::Collect();
}

std::shared_ptr<TellarRuntime::Transaction> TellarRuntime::createTransaction() {
    return std::shared_ptr<Transaction>(new Transaction(shared_from_this()));
}

void TellarRuntime::commit(const std::shared_ptr<Transaction>& transaction) {
    if (!transaction || transaction->runtime.get() != this)
        throw std::invalid_argument("commit: the transaction is not one of this runtime");
    if (transaction->committed)
        throw std::runtime_error("commit: the transaction is committed already");
    transaction->committed = true;
    OxTellarRuntimeDetail::CommitOps(transaction->ops);

    std::vector<OxTellarRuntimeDetail::RuntimeState::Cooked> unused;
    OxTellarRuntimeDetail::RuntimeState::Ops living;
    const std::lock_guard<std::mutex> guard(state->lock);
    unused = state->takeUnused();
    living = state->findResultsAgain();
    state->ops.insert(state->ops.end(), transaction->ops.begin(), transaction->ops.end());
    for (const std::shared_ptr<Client>& client : transaction->clients)
        if (client->op) client->look();
}

void TellarRuntime::evict(const std::string& path) {
    const std::lock_guard<std::mutex> guard(state->lock);
    for (const auto& entry : state->cooked) {
        LocationNode* node = entry.store->find(path);
        if (!node || !node->wasCooked.load(std::memory_order_acquire)) continue;
        entry.index->remove(node->serial);
        node->state.fetch_or(LocationNode::kStale, std::memory_order_acq_rel);
    }
}

void TellarRuntime::finalize() {
    {
        std::vector<OxTellarRuntimeDetail::RuntimeState::Cooked> unused;
        const std::lock_guard<std::mutex> guard(state->lock);
        for (const auto& entry : state->cooked)
            entry.index->clear();
        unused = state->takeUnused();
    }
    OxAttribute::Container::Collect();
}

namespace {

using TellarInternal::JsonWriter;

void WriteType(JsonWriter& json, const std::string& type) {
    json.nextMember("type");
    OxAttribute::WriteAttribute(json, StringAttribute(type));
}

std::string DescribeOps(const std::vector<std::shared_ptr<TellarRuntime::Op>>& ops) {
    std::map<const TellarRuntime::Op*, std::size_t> places;
    for (const auto& op : ops)
        places.emplace(op.get(), places.size());
    JsonWriter json(JsonWriter::kDense);
    json.open('{');
    json.nextMember("ops");
    json.list(ops.size(), [&](std::size_t i) {
        const auto inputs = ops[i]->getInputs();
        json.open('{');
        WriteType(json, ops[i]->getType());
        json.nextMember("inputs");
        json.list(inputs.size(), [&](std::size_t input) {
            const auto place = places.find(inputs[input].get());
            json.raw(place == places.end() ? "null" : std::to_string(place->second));
        });
        json.close('}');
    });
    json.close('}');
    return json.take();
}

std::string DescribeOpTypes(const std::vector<std::shared_ptr<TellarRuntime::Op>>& ops) {
    std::map<std::string, std::size_t> uses;
    for (const auto& op : ops)
        ++uses[op->getType()];
    JsonWriter json(JsonWriter::kDense);
    json.open('{');
    json.nextMember("opTypes");
    json.open('[');
    for (const auto& [type, count] : uses) {
        json.nextItem();
        json.open('{');
        WriteType(json, type);
        json.nextMember("ops");
        json.number(count);
        json.close('}');
    }
    json.close(']');
    json.close('}');
    return json.take();
}

} // namespace

void TellarRuntime::queryText(const std::string& query, TextReceiver receive, void* user) const {
    constexpr std::size_t kPieceBytes = 4096;
    std::vector<std::shared_ptr<Op>> ops;
    {
        const std::lock_guard<std::mutex> guard(state->lock);
        ops = state->livingOps();
    }
    std::string text;
    if (query == "getAnonymousOpTree")
        text = DescribeOps(ops);
    else if (query == "getAnonymousOpRegistry")
        text = DescribeOpTypes(ops);
    else
        return receive("", 0, 1, user);
    for (std::size_t start = 0; start < text.size(); start += kPieceBytes)
        receive(text.data() + start, std::min(kPieceBytes, text.size() - start), 0, user);
}

std::uint64_t TellarRuntime::getNumberOfCooks() {
    return OxTellarRuntimeDetail::NumberOfCooks();
}

TellarRuntime::Op::Op(std::int32_t id) : node(std::make_unique<OpNode>()) {
    node->id = id;
    node->name = "op" + std::to_string(id);
}

// Chains of Ops may be longer than the stack is deep: an Op that goes with another one only hands
// its node over, and the first one lets the nodes go one after the other. That needs no memory.
TellarRuntime::Op::~Op() {
    static TELLAR_THREAD_WORD std::unique_ptr<OpNode>* pending = nullptr;
    if (pending) {
        node->nextReleased = std::move(*pending);
        *pending = std::move(node);
        return;
    }
    std::unique_ptr<OpNode> released = std::move(node);
    pending = &released;
    while (released) {
        const std::unique_ptr<OpNode> current = std::move(released);
        released = std::move(current->nextReleased);
        current->inputs.clear(); // what they hand over stands in front of the others
    }
    pending = nullptr;
}

std::int32_t TellarRuntime::Op::getId() const noexcept {
    return node->id;
}
std::string TellarRuntime::Op::getName() const {
    return node->name;
}
std::string TellarRuntime::Op::getType() const {
    return node->typeName;
}
GroupAttribute TellarRuntime::Op::getArgs() const {
    return node->args;
}
std::vector<std::shared_ptr<TellarRuntime::Op>> TellarRuntime::Op::getInputs() const {
    return node->inputs;
}
Hash TellarRuntime::Op::getIdentity() const {
    return node->identity;
}

TellarRuntime::Transaction::Transaction(std::shared_ptr<TellarRuntime> owner)
    : runtime(std::move(owner)) {}

TellarRuntime::Transaction::~Transaction() {
    if (committed) return;
    for (const std::shared_ptr<Op>& op : ops) {
        op->node->inputs.clear(); // wired into a circle, they would hold each other for ever
        op->node->transaction = nullptr;
    }
}

std::shared_ptr<TellarRuntime::Op> TellarRuntime::Transaction::createOp() {
    if (committed) throw std::invalid_argument("The transaction is committed already");
    const std::lock_guard<std::mutex> guard(runtime->state->lock);
    ops.push_back(std::shared_ptr<Op>(new Op(runtime->state->nextOpId++)));
    ops.back()->node->transaction = this;
    return ops.back();
}

void TellarRuntime::Transaction::checkOpen(const std::shared_ptr<Op>& op) const {
    if (committed) throw std::invalid_argument("The transaction is committed already");
    if (!op) throw std::invalid_argument("The op is null");
    if (op->node->committed)
        throw std::invalid_argument(op->node->label() + " is committed already");
    checkUsable(op);
}

void TellarRuntime::Transaction::checkUsable(const std::shared_ptr<Op>& op) const {
    if (op && !op->node->committed && op->node->transaction != this)
        throw std::invalid_argument(op->node->label() + " belongs to another transaction");
}

void TellarRuntime::Transaction::setOpName(const std::shared_ptr<Op>& op, const std::string& name) {
    checkOpen(op);
    op->node->name = name;
}

void TellarRuntime::Transaction::setOpArgs(const std::shared_ptr<Op>& op, const std::string& opType,
                                           const GroupAttribute& opArgs) {
    checkOpen(op);
    op->node->typeName = opType;
    op->node->args = opArgs;
}

void TellarRuntime::Transaction::setOpInputs(const std::shared_ptr<Op>& op,
                                             const std::vector<std::shared_ptr<Op>>& inputs) {
    checkOpen(op);
    for (const std::shared_ptr<Op>& input : inputs)
        checkUsable(input);
    op->node->inputs = inputs;
}

std::shared_ptr<TellarRuntime::Op> TellarRuntime::Transaction::deserializeOps(void* stream,
                                                                              StreamRead read) {
    const GroupAttribute description = OxAttribute::ReadOpStream(stream, read);
    const std::int64_t count = description.getNumberOfChildren();
    std::vector<std::shared_ptr<Op>> created;
    for (std::int64_t i = 0; i < count; ++i) {
        const GroupAttribute entry(description.getChildByIndex(i));
        created.push_back(createOp());
        setOpName(created.back(), description.getChildName(i));
        setOpArgs(created.back(), StringAttribute(entry.getChildByName("opType")).getValue(),
                  GroupAttribute(entry.getChildByName("opArgs")));
    }
    for (std::int64_t i = 0; i < count; ++i) {
        const GroupAttribute entry(description.getChildByIndex(i));
        std::vector<std::shared_ptr<Op>> inputs;
        for (const std::string_view input :
             StringAttribute(entry.getChildByName("opInputs")).getNearestSample(0.0f)) {
            const std::int64_t index = input.empty() ? -1 : description.findChild(input);
            inputs.push_back(index < 0 ? nullptr : created[static_cast<std::size_t>(index)]);
        }
        setOpInputs(created[static_cast<std::size_t>(i)], inputs);
    }
    return created.back();
}

std::shared_ptr<TellarRuntime::Client> TellarRuntime::Transaction::createClient() {
    if (committed) throw std::invalid_argument("The transaction is committed already");
    clients.push_back(std::shared_ptr<Client>(new Client(runtime)));
    return clients.back();
}

void TellarRuntime::Transaction::setClientOp(const std::shared_ptr<Client>& client,
                                             const std::shared_ptr<Op>& op) {
    if (committed) throw std::invalid_argument("The transaction is committed already");
    if (std::find(clients.begin(), clients.end(), client) == clients.end())
        throw std::invalid_argument("The client is not one of this transaction");
    checkUsable(op);
    client->op = op;
}

TellarRuntime::Client::Client(std::shared_ptr<TellarRuntime> owner) : runtime(std::move(owner)) {}
// Under the lock, so that whoever finds a store unused there also sees this client done with it.
TellarRuntime::Client::~Client() {
    const std::unique_ptr<View> last(view.load(std::memory_order_relaxed));
    if (!last) return;
    const std::lock_guard<std::mutex> guard(runtime->state->lock);
    --runtime->state->lookingClients;
    last->store.reset();
}

/// The runtime's lock is held.
void TellarRuntime::Client::look() {
    const std::shared_ptr<LocationStore>& store = OpNode::Of(*op).store;
    auto made =
        std::make_unique<View>(View{store, store ? runtime->state->indexOf(store) : nullptr});
    ++runtime->state->lookingClients;
    view.store(made.release(), std::memory_order_release);
}

/// For a client whose results were taken; null for one that never looked at anything.
TellarRuntime::Client::View* TellarRuntime::Client::lookAgain() {
    OxTellarRuntimeDetail::RuntimeState::Ops living;
    const std::lock_guard<std::mutex> guard(runtime->state->lock);
    if (hadResults && !view.load(std::memory_order_relaxed)) {
        living = runtime->state->findResultsAgain();
        look();
    }
    return view.load(std::memory_order_relaxed);
}

std::shared_ptr<const void> TellarRuntime::Client::takeResults() {
    struct Taken {
        std::unique_ptr<View> view;
        std::vector<OxTellarRuntimeDetail::RuntimeState::Cooked> cooked;
        std::vector<std::shared_ptr<LocationStore>> stores;
        OxTellarRuntimeDetail::RuntimeState::Ops living;
    };
    auto taken = std::make_shared<Taken>();
    OxTellarRuntimeDetail::RuntimeState& state = *runtime->state;
    const std::lock_guard<std::mutex> guard(state.lock);
    if (!view.load(std::memory_order_relaxed)) return nullptr;
    if (state.lookingClients == 1) {
        taken->living = state.livingOps();
        taken->stores.reserve(taken->living.size());
        for (const auto& living : taken->living)
            taken->stores.push_back(std::move(OpNode::Of(*living).store));
        taken->cooked.swap(state.cooked);
        state.areResultsTaken = true;
    }
    taken->view.reset(view.exchange(nullptr, std::memory_order_acq_rel));
    --state.lookingClients;
    hadResults = true;
    return taken;
}

TellarRuntime::LocationData TellarRuntime::Client::cookLocation(const std::string& path) {
    View* seen = view.load(std::memory_order_acquire);
    if (!seen) seen = lookAgain();
    if (!seen) return LocationData(LocationRecord::Missing());
    LocationNode* node = nullptr;
    LocationData data = OpNode::Of(*op).cook(path, 0, &node);
    if (node) seen->present(*node, data);
    return data;
}

TellarRuntime::LocationData TellarRuntime::Client::cookChild(const LocationData& parent,
                                                             std::int64_t index) {
    View* seen = view.load(std::memory_order_acquire);
    if (!seen || !seen->keeps(parent)) return {};
    const std::string_view name = parent.getPotentialChildren().getValueView(index);
    LocationNode* node = seen->store->findOrAddChild(*parent.place.node, name, index);
    if (!node) return {};
    LocationData data = OpNode::Of(*op).cook(*node);
    seen->present(*node, data);
    return data;
}

TellarRuntime::LocationData TellarRuntime::Client::getCachedLocation(const std::string& path) {
    const View* seen = view.load(std::memory_order_acquire);
    if (!seen || !seen->store) return {};
    return seen->cached(seen->store->find(path));
}

TellarRuntime::LocationData TellarRuntime::Client::getCachedChild(const LocationData& parent,
                                                                  std::int64_t index) {
    const View* seen = view.load(std::memory_order_acquire);
    if (!seen || !seen->keeps(parent)) return {};
    const std::string_view name = parent.getPotentialChildren().getValueView(index);
    return seen->cached(seen->store->findChild(*parent.place.node, name, index));
}

std::shared_ptr<TellarRuntime> TellarRuntime::Client::getRuntime() const {
    return runtime;
}
std::shared_ptr<TellarRuntime::Op> TellarRuntime::Client::getOp() const {
    return op;
}
