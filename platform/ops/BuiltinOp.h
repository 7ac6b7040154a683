#ifndef TELLAROPS_BUILTINOP_H
#define TELLAROPS_BUILTINOP_H

#include <memory>
#include <string>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "ArgReader.h"

namespace TellarOps {

using OxAttribute::Attribute;
using OxAttribute::DoubleAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;
using OxOpType::CookContext;
using OxOpType::Description;
using OxOpType::State;
using LocationData = TellarRuntime::LocationData;

/// How many inputs an Op of a type may be wired to.
enum class Inputs { None, AtMostOne, Any };

/// What the built-in op types share: a fixed description, and arguments that are checked
/// against it before anything is read from them.
class BuiltinOp : public OxOpType::OpType {
public:
    const Description& description() const final { return ownDescription; }
    std::shared_ptr<const State> prepare(const GroupAttribute& args,
                                         std::size_t numberOfInputs) const final;

protected:
    BuiltinOp(Description description, Inputs inputs);

    /// Reads the arguments; their names are known to be those of the description.
    virtual std::shared_ptr<const State> parse(const ArgReader& args) const = 0;

private:
    const Description ownDescription;
    const Inputs inputs;
};

/// The state that the type's own parse() made.
template <typename T>
const T& StateOf(const CookContext& context) {
    return static_cast<const T&>(*context.state());
}

/// The location as the only input presents it; without an input it does not exist.
LocationData InputAt(CookContext& context, const std::string& path);

/// Presents what the only input presents at this location, be it nothing.
void PassInput(CookContext& context);

} // namespace TellarOps

#endif
