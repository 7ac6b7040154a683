#ifndef OXTELLARPRODUCERS_POISONEDCOPIES_H
#define OXTELLARPRODUCERS_POISONEDCOPIES_H

#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "CallStamp.h"

namespace TELLAR {

/// A text or values that a plug-in borrows from a handle: a copy of what the host returned.
struct BorrowedCopy {
    const void* original = nullptr;
    std::size_t size = 0;
    bool isText = false;
    std::unique_ptr<unsigned char[]> bytes;
    CallStamp borrowed;
    CallStamp released; ///< of the handle; the copy is poisoned from then on
};

/// The copies whose handles are gone. Their bytes say so to whoever reads them, and their addresses
/// are recognised. The oldest are freed when there are too many.
///
/// Any thread may call any function.
class PoisonedCopies {
public:
    void add(BorrowedCopy copy);

    /// The calls in which a copy that this pointer points into was borrowed and released.
    struct Found {
        CallStamp borrowed;
        CallStamp released;
        bool isText = false;
    };
    std::optional<Found> find(const void* pointer) const;

private:
    mutable std::mutex mutex;
    std::map<const unsigned char*, BorrowedCopy> copies;
    std::deque<const unsigned char*> order; // the oldest first
    std::size_t size = 0;                   // of all copies in bytes
};

} // namespace TELLAR

#endif
