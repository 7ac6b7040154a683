#include <OxTellarSDK/TellarRuntime.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "AttributeJsonWriter.h"
#include "Container.h"
#include "OpGraph.h"
#include "RuntimeState.h"

using OxAttribute::StringAttribute;
using OxTellarRuntimeDetail::RuntimeState;

std::shared_ptr<TellarRuntime> TellarRuntime::create() {
    return std::shared_ptr<TellarRuntime>(new TellarRuntime);
}

TellarRuntime::TellarRuntime() : state(std::make_unique<RuntimeState>()) {}

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

    std::vector<RuntimeState::Cooked> unused;
    RuntimeState::Ops living;
    const std::lock_guard<std::mutex> guard(state->lock);
    unused = state->takeUnused();
    living = state->findResultsAgain();
    state->ops.insert(state->ops.end(), transaction->ops.begin(), transaction->ops.end());
    for (const std::shared_ptr<Client>& client : transaction->clients)
        if (client->op) client->look();
}

void TellarRuntime::evict(const std::string& path) {
    const std::lock_guard<std::mutex> guard(state->lock);
    for (const auto& entry : state->cooked)
        entry.store->evict(path, *entry.index);
}

void TellarRuntime::finalize() {
    {
        std::vector<RuntimeState::Cooked> unused;
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

using Places = std::map<const TellarRuntime::Op*, std::size_t>;

/// Writes the places of the inputs.
void WriteOp(JsonWriter& json, const TellarRuntime::Op& op, const Places& places) {
    const auto inputs = op.getInputs();
    json.open('{');
    WriteType(json, op.getType());
    json.nextMember("inputs");
    json.list(inputs.size(), [&](std::size_t input) {
        const auto place = places.find(inputs[input].get());
        json.raw(place == places.end() ? "null" : std::to_string(place->second));
    });
    json.close('}');
}

std::string DescribeOps(const std::vector<std::shared_ptr<TellarRuntime::Op>>& ops) {
    Places places;
    for (const auto& op : ops)
        places.emplace(op.get(), places.size());
    JsonWriter json(JsonWriter::kDense);
    json.open('{');
    json.nextMember("ops");
    json.list(ops.size(), [&](std::size_t i) { WriteOp(json, *ops[i], places); });
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
