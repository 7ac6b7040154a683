#ifndef TELLAROPS_INSTANCECHOICE_H
#define TELLAROPS_INSTANCECHOICE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "BuiltinOp.h"
#include "InstanceTree.h"

namespace TellarOps {

/// The source that each instance shows, and the instances that are hidden. Immutable.
class InstanceChoice {
public:
    using Range = InstanceTree::Range;

    /// All instances show source 0.
    InstanceChoice() = default;
    /// Reads the arguments "indices" and "hidden" for `count` instances of `sources` sources.
    InstanceChoice(const ArgReader& args, std::uint64_t count, std::uint32_t sources);

    std::uint32_t sourceOf(std::uint64_t instance) const {
        return sources.empty() ? 0 : static_cast<std::uint32_t>(sources[instance]);
    }
    bool isHidden(std::uint64_t instance) const;

    /// The number of instances in a range that are not hidden.
    std::uint64_t numberShown(const Range& range) const;
    /// The first instance that is not hidden at or after `instance`.
    std::uint64_t nextShown(std::uint64_t instance) const;
    /// Instance `place` of those at and after `begin` that are not hidden.
    std::uint64_t shown(std::uint64_t begin, std::uint64_t place) const;

    struct Use {
        std::uint64_t count = 0;
        std::uint64_t first = 0; ///< the first instance, if there is one
    };
    /// How often instances in a range show each of `number` sources, without hidden ones. Takes
    /// about a nanosecond for each instance if there are several sources.
    std::vector<Use> usesIn(const Range& range, std::uint32_t number) const;

private:
    OxAttribute::ConstSample<std::int32_t> sources; // empty: all show source 0
    std::vector<std::uint32_t> hidden;              // ascending
};

} // namespace TellarOps

#endif
