#ifndef TELLAROPS_BUILTINOP_H
#define TELLAROPS_BUILTINOP_H

#include <memory>
#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/LocationSet.h>
#include <OxTellarSDK/OpCheck.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/SubtreeFacts.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "ArgReader.h"

namespace TellarOps {

using OxAttribute::Attribute;
using OxAttribute::DoubleAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;
using OxLocationPath::LocationSet;
using OxOpType::CheckContext;
using OxOpType::CookContext;
using OxOpType::Description;
using OxOpType::InstanceContext;
using OxOpType::Instances;
using OxOpType::State;
using OxOpType::SubtreeContext;
using OxOpType::SubtreeFacts;
using LocationData = TellarRuntime::LocationData;

/// How many inputs an Op of a type may be wired to.
enum class Inputs { None, AtMostOne, Any };

/// The base of the built-in op types: it has a fixed description and checks the arguments against
/// it before they are read.
class BuiltinOp : public OxOpType::OpType {
public:
    const Description& description() const final { return ownDescription; }
    std::shared_ptr<const State> prepare(const GroupAttribute& args,
                                         std::size_t numberOfInputs) const final;

protected:
    BuiltinOp(Description description, Inputs inputs);

    /// Reads the arguments. All their names are in the description.
    virtual std::shared_ptr<const State> parse(const ArgReader& args) const = 0;

private:
    const Description ownDescription;
    const Inputs inputs;
};

/// The state that parse() of the same type returned. `Context` is that of any call.
template <typename T, typename Context>
const T& StateOf(const Context& context) {
    return static_cast<const T&>(*context.state());
}

/// The location as the only input presents it. Without an input it does not exist.
LocationData InputAt(CookContext& context, const std::string& path);

/// Presents the location as the only input presents it, or nothing if the input has none.
void PassInput(CookContext& context);

} // namespace TellarOps

#endif
