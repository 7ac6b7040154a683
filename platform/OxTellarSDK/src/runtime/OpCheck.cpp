#include <OxTellarSDK/OpCheck.h>

#include <new>
#include <unordered_set>
#include <utility>

#include "OpGraph.h"

namespace OxOpType {

namespace {

using OxTellarRuntimeDetail::OpNode;
using LocationData = TellarRuntime::LocationData;
using OpPtr = std::shared_ptr<TellarRuntime::Op>;

/// Thrown when a check has asked for too many locations. It does not derive from std::exception, so
/// that op types do not catch it together with their own errors.
struct TooManyLocations {};

class Check final : public CheckContext {
public:
    Check(const OpNode& op, const OpNode& last, const State* state, std::uint64_t mostLocations,
          std::vector<Warning>& warnings)
        : op(op), last(last), opState(state), locationsLeft(mostLocations), warnings(warnings) {}
    virtual ~Check() = default;

    const OxAttribute::GroupAttribute& args() const override { return op.args; }
    const State* state() const override { return opState; }
    std::size_t numberOfInputs() const override { return op.inputs.size(); }

    const TellarRuntime::Op* inputOp(std::size_t index) const override {
        return index < op.inputs.size() ? op.inputs[index].get() : nullptr;
    }

    LocationData input(std::size_t index, const std::string& path) override {
        const TellarRuntime::Op* const from = inputOp(index);
        return from ? cook(OpNode::Of(*from), path) : LocationData();
    }

    LocationData scene(const std::string& path) override { return cook(last, path); }

    void countLocation() override {
        if (locationsLeft == 0) throw TooManyLocations();
        --locationsLeft;
    }

    void warn(const std::string& text, const std::string& file) override {
        const WarningKind kind = file.empty() ? WarningKind::Other : WarningKind::MissingFile;
        warnings.push_back({op.name, op.typeName, text, file, kind, op.place});
    }

    void warnOf(WarningKind kind, const std::string& text) override {
        warnings.push_back({op.name, op.typeName, text, {}, kind, op.place});
    }

private:
    LocationData cook(const OpNode& from, const std::string& path) {
        countLocation();
        return from.cook(path, 0);
    }

    const OpNode& op;
    const OpNode& last;
    const State* opState;
    std::uint64_t locationsLeft;
    std::vector<Warning>& warnings;
};

/// An Op and all Ops that it depends on, inputs first. Not recursive, because graphs come from
/// files and may be deep.
std::vector<OpPtr> InputsFirst(const OpPtr& last) {
    std::vector<OpPtr> ordered;
    std::unordered_set<const TellarRuntime::Op*> seen{last.get()};
    std::vector<std::pair<OpPtr, std::size_t>> open{{last, 0}};
    while (!open.empty()) {
        auto& [op, nextInput] = open.back();
        const auto& inputs = OpNode::Of(*op).inputs;
        if (nextInput == inputs.size()) {
            ordered.push_back(op);
            open.pop_back();
            continue;
        }
        const OpPtr input = inputs[nextInput++];
        if (input && seen.insert(input.get()).second) open.emplace_back(input, 0);
    }
    return ordered;
}

void CheckOp(const OpNode& op, const OpNode& last, std::uint64_t mostLocations,
             std::vector<Warning>& warnings) {
    // Kept here, because the Op may lose its store meanwhile (TellarRuntime::Client::takeResults).
    const auto store = op.store;
    if (!op.type || !store) return;
    const OxTellarRuntimeDetail::CurrentOp current(op);
    try {
        const State* const state = store->prepare(*op.type, op.args, op.inputs.size());
        Check check(op, last, state, mostLocations, warnings);
        op.type->check(check);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) { // too many locations, or an error that cooking the Op reports
    }
}

} // namespace

std::vector<Warning> CheckOps(const std::shared_ptr<TellarRuntime::Op>& op,
                              std::uint64_t mostLocations) {
    std::vector<Warning> warnings;
    if (!op) return warnings;
    for (const OpPtr& each : InputsFirst(op))
        CheckOp(OpNode::Of(*each), OpNode::Of(*op), mostLocations, warnings);
    return warnings;
}

} // namespace OxOpType
