#include <OxTellarSDK/TellarRuntime.h>

#include <stdexcept>
#include <utility>

#include "OpGraph.h"
#include "PerThread.h"

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxTellarRuntimeDetail::OpNode;

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
        current->inputs.clear(); // adds inputs without other users to `released`
    }
    pending = nullptr;
}

std::int32_t TellarRuntime::Op::getId() const noexcept {
    return node->id;
}
std::string TellarRuntime::Op::getName() const {
    return node->name;
}
std::string TellarRuntime::Op::getPlace() const {
    return node->place;
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
void TellarRuntime::Op::prepare() const {
    if (!node->committed) throw std::invalid_argument(node->label() + " is not committed");
    node->prepare();
}
