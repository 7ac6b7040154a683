#include "BuiltinOp.h"

#include <stdexcept>
#include <utility>

namespace TellarOps {
namespace {

void CheckInputs(Inputs allowed, std::size_t count) {
    if (allowed == Inputs::None && count > 0)
        throw std::runtime_error("The Op takes no inputs, but is wired to " +
                                 std::to_string(count) + ".");
    if (allowed == Inputs::AtMostOne && count > 1)
        throw std::runtime_error("The Op takes one input, but is wired to " +
                                 std::to_string(count) + ".");
}

} // namespace

BuiltinOp::BuiltinOp(Description description, Inputs inputs)
    : ownDescription(std::move(description)), inputs(inputs) {}

std::shared_ptr<const State> BuiltinOp::prepare(const GroupAttribute& args,
                                                std::size_t numberOfInputs) const {
    CheckInputs(inputs, numberOfInputs);
    return parse(ArgReader(ownDescription, args));
}

LocationData InputAt(CookContext& context, const std::string& path) {
    return context.numberOfInputs() > 0 ? context.input(0, path) : LocationData();
}

void PassInput(CookContext& context) {
    const LocationData data = InputAt(context, context.path());
    if (data.doesLocationExist()) context.pass(data);
}

} // namespace TellarOps
