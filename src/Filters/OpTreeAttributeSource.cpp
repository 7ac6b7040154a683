#include <OxTellarProducers/OpTreeSource.h>

#include <map>
#include <type_traits>
#include <vector>

using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

namespace {

using Op = std::shared_ptr<TellarRuntime::Op>;

/// Lets errors call the Op by its name in the description, where the platform has names for Ops.
template <typename Transaction>
auto NameOp(Transaction& transaction, const Op& op, const std::string& name, int)
    -> decltype(transaction.setOpName(op, name)) {
    transaction.setOpName(op, name);
}
template <typename Transaction>
void NameOp(Transaction&, const Op&, const std::string&, long) {}

std::vector<Op> FindInputs(const GroupAttribute& entry, std::map<std::string, Op>& opsByName) {
    std::vector<Op> inputs;
    const StringAttribute names(entry.getChildByName("opInputs"));
    if (!names.isValid()) return inputs;
    for (const auto name : names.getNearestSample(0.0f))
        inputs.push_back(opsByName[std::string(name)]); // null for an unknown name
    return inputs;
}

} // namespace

OpTreeAttributeSource::OpTreeAttributeSource(const GroupAttribute& opTreeDescription)
    : AbstractOpTreeSource(opTreeDescription.getHash().uint64()), description(opTreeDescription) {}

bool OpTreeAttributeSource::isValid(std::string* error) const {
    if (description.isValid()) return true;
    if (error) *error = "Invalid GroupAttribute provided.";
    return false;
}

std::shared_ptr<TellarRuntime::Op>
OpTreeAttributeSource::getOp(const std::shared_ptr<TellarRuntime::Transaction>& transaction) const {
    if (!description.isValid()) return nullptr;
    std::vector<Op> ops;
    std::map<std::string, Op> opsByName;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const std::string name = description.getChildName(i);
        const GroupAttribute entry(description.getChildByIndex(i));
        if (!entry.isValid()) return nullptr;
        const Op op = transaction->createOp();
        transaction->setOpArgs(op,
                               StringAttribute(entry.getChildByName("opType")).getValue("", false),
                               GroupAttribute(entry.getChildByName("opArgs")));
        NameOp(*transaction, op, name, 0);
        opsByName[name] = op;
        ops.push_back(op);
    }
    if (ops.empty()) return nullptr;

    // An Op may name one that comes after it, so wiring waits until all exist.
    for (std::size_t i = 0; i < ops.size(); ++i) {
        const GroupAttribute entry(description.getChildByIndex(static_cast<std::int64_t>(i)));
        transaction->setOpInputs(ops[i], FindInputs(entry, opsByName));
    }
    return ops.back();
}

std::string OpTreeAttributeSource::describe() const {
    return "GroupAttribute";
}

} // namespace TELLAR
