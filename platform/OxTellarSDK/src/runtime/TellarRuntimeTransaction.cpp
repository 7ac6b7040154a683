#include <OxTellarSDK/TellarRuntime.h>

#include <algorithm>
#include <mutex>
#include <stdexcept>

#include <OxTellarSDK/DescriptionFolder.h>
#include <OxTellarSDK/FileStream.h>

#include "OpDescription.h"
#include "OpGraph.h"
#include "RuntimeState.h"

using OxAttribute::FileStream;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

namespace {

/// The inputs of one op of a description. An input without an op is null.
std::vector<std::shared_ptr<TellarRuntime::Op>>
InputsOf(const GroupAttribute& description, std::int64_t op,
         const std::vector<std::shared_ptr<TellarRuntime::Op>>& created) {
    const GroupAttribute entry(description.getChildByIndex(op));
    std::vector<std::shared_ptr<TellarRuntime::Op>> inputs;
    for (const std::string_view input :
         StringAttribute(entry.getChildByName("opInputs")).getNearestSample(0.0f)) {
        const std::int64_t index = input.empty() ? -1 : description.findChild(input);
        inputs.push_back(index < 0 ? nullptr : created[static_cast<std::size_t>(index)]);
    }
    return inputs;
}

} // namespace

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

void TellarRuntime::Transaction::setOpPlace(const std::shared_ptr<Op>& op,
                                            const std::string& place) {
    checkOpen(op);
    op->node->place = place;
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
    return createOps(OxAttribute::ReadOpStream(stream, read), {});
}

std::shared_ptr<TellarRuntime::Op> TellarRuntime::Transaction::deserializeOps(FileStream& file) {
    const GroupAttribute description = OxAttribute::ReadOpStream(&file, &FileStream::read);
    return createOps(OxAttribute::WithFolderOfFile(description, file.getPath()), file.getPath());
}

std::shared_ptr<TellarRuntime::Op>
TellarRuntime::Transaction::createOps(const GroupAttribute& description, const std::string& place) {
    const std::int64_t count = description.getNumberOfChildren();
    std::vector<std::shared_ptr<Op>> created;
    for (std::int64_t i = 0; i < count; ++i) {
        const GroupAttribute entry(description.getChildByIndex(i));
        created.push_back(createOp());
        setOpName(created.back(), description.getChildName(i));
        setOpPlace(created.back(), place);
        setOpArgs(created.back(), StringAttribute(entry.getChildByName("opType")).getValue(),
                  GroupAttribute(entry.getChildByName("opArgs")));
    }
    for (std::int64_t i = 0; i < count; ++i)
        setOpInputs(created[static_cast<std::size_t>(i)], InputsOf(description, i, created));
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
