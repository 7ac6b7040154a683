#ifndef TELLAROPS_STATICFACTS_H
#define TELLAROPS_STATICFACTS_H

#include <mutex>
#include <string>
#include <unordered_map>

#include "BuiltinOp.h"

namespace TellarOps {

/// The facts of the locations of a StaticScene, found from their descriptions on demand and kept.
/// Safe from many threads.
class StaticFacts {
public:
    /// `description` is that of the location. The facts about a subtree with very many locations or
    /// points are not known.
    SubtreeFacts find(const std::string& path, const GroupAttribute& description) const;

private:
    class Search;

    mutable std::mutex lock;
    mutable std::unordered_map<std::string, SubtreeFacts> known;
};

} // namespace TellarOps

#endif
