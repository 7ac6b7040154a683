#ifndef OXTELLARSDK_COOK_H
#define OXTELLARSDK_COOK_H

#include <cstdint>
#include <string>
#include <string_view>

#include <OxTellarSDK/OpType.h>

#include "OpGraph.h"
#include "ResultMemory.h"

namespace OxTellarRuntimeDetail {

TellarRuntime::LocationData MissingLocation();

/// The context of one cook.
class Cook : public OxOpType::CookContext {
public:
    Cook(const OpNode& op, const LocationNode& node, const NodePath& path, std::uint32_t eviction,
         const OxOpType::State* state)
        : op(op), node(node), location(path), eviction(eviction), opState(state) {}
    virtual ~Cook() = default;

    const std::string& path() const final { return location.text(); }
    const OxAttribute::GroupAttribute& args() const final { return op.args; }
    const OxOpType::State* state() const final { return opState; }
    std::size_t numberOfInputs() const final { return op.inputs.size(); }
    TellarRuntime::LocationData input(std::size_t index, const std::string& path) override;
    void pass(const TellarRuntime::LocationData& data) final;
    void setAttrs(const OxAttribute::GroupAttribute& attrs) final;
    void setPotentialChildren(const OxAttribute::StringAttribute& names) final;
    void setNote(const OxAttribute::Attribute& note) final;
    OxAttribute::Attribute parentNote() const final;
    std::int64_t probableIndex() const final { return node.probableIndex(); }
    bool isFresh() const final { return eviction != 0; }
    std::string_view name() const final { return node.name(); }

    /// Whether the result is data that was passed on.
    bool isPassed() const { return result.isValid() && !isOwn; }
    TellarRuntime::LocationData takeResult();

private:
    LocationRecord& ownRecord();

    const OpNode& op;
    const LocationNode& node;
    const NodePath& location;
    const std::uint32_t eviction;
    const OxOpType::State* opState;
    TellarRuntime::LocationData result;
    bool isOwn = false;
    ValueBytes::Meter values; // that the cook makes
};

} // namespace OxTellarRuntimeDetail

#endif
