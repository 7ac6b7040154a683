#ifndef TELLAR_VISIT_WORKSTACK_H
#define TELLAR_VISIT_WORKSTACK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "DepthFirst.h"

namespace TELLAR {

/// The work that one thread has left in a depth-first visit: the locations behind the one that it
/// visits now. Other threads may take from it at any time, also during a long call of the visitor.
class WorkStack {
public:
    /// Siblings on one level, and what the visitor passed down to them.
    struct Level {
        Siblings siblings;
        std::shared_ptr<const void> inherited;
    };

    /// Work that changes hands.
    struct Share {
        Level level;
        std::vector<std::int64_t> parentPlace; // VisitedLocation::place of the parent
    };

    /// The location to be visited now.
    struct Next {
        const Level* level; // null when nothing is left; valid until the next call of advance
        std::int64_t index;
        bool isMoreLeft; // for other threads to take
    };

    /// `isShared`: other threads may take from it.
    explicit WorkStack(bool isShared) : isShared(isShared) {}

    // For the thread itself:

    /// To be called when nothing is left.
    void start(Share share);
    /// Goes to the next location: the first one of the children of the last location, if there are
    /// some.
    Next advance(std::optional<Level> children);
    /// VisitedLocation::place of the last location, until the next call of advance.
    const std::vector<std::int64_t>& getPlace() const { return place; }

    // For any thread:

    /// Takes the last half of the siblings that are left on the uppermost level that has any.
    std::optional<Share> takeShare();

private:
    std::unique_lock<std::mutex> guardShared();

    const bool isShared;
    std::mutex lock; // guards the members below, if the stack is shared
    std::vector<Level> levels;
    std::int64_t left = 0; // locations in `levels`
    std::vector<std::int64_t> place;
};

} // namespace TELLAR

#endif
