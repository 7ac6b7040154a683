#include "ArrayState.h"

namespace TellarOps {

using OxLocationPath::IsSelfOrBelow;

InstanceTree::Place ArrayState::find(std::string_view path) const {
    const bool isBelowTarget = path.size() > target.size() && IsSelfOrBelow(path, target);
    return isBelowTarget ? tree.find(path.substr(target.size())) : InstanceTree::Place();
}

bool ArrayState::hidesSourceBelow(std::string_view path) const {
    return !keepsSource && path.size() < source.size() && IsSelfOrBelow(source, path);
}

} // namespace TellarOps
