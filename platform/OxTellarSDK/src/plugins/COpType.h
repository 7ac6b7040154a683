#ifndef OXTELLARSDK_COPTYPE_H
#define OXTELLARSDK_COPTYPE_H

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/OpTypeSuite.h>

namespace OxOpType {

/// An op type that a plug-in offers as functions for C.
class COpType final : public OpType {
public:
    /// Why the table cannot be used; empty for a sound one. Calls its getDescription.
    static std::string FaultOf(const OxOpTypePluginSuite_v2* suite);

    /// `suite` is without a fault.
    explicit COpType(const OxOpTypePluginSuite_v2* suite);

    const Description& description() const override { return ownDescription; }
    std::shared_ptr<const State> prepare(const OxAttribute::GroupAttribute& args,
                                         std::size_t numberOfInputs) const override;
    void cook(CookContext& context) const override;

private:
    const OxOpTypePluginSuite_v2* const suite;
    const Description ownDescription;
};

} // namespace OxOpType

#endif
