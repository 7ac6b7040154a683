#ifndef TELLAR_PLATFORM_GENERATIONCACHE_H
#define TELLAR_PLATFORM_GENERATIONCACHE_H

#include <cstdint>
#include <mutex>
#include <utility>

namespace TELLAR {

/// Tables that any number of threads fill and look up until `clear` drops all that is in them.
/// Values are made outside of the lock. Each is entered for the generation in which it was asked
/// for, so that nothing which was begun before a clear is kept after it.
template <typename Tables>
class GenerationCache {
public:
    using Generation = std::uint64_t;

    /// Calls `body` with the tables, under the lock, and returns their generation.
    template <typename Body>
    Generation access(Body body) {
        const std::lock_guard<std::mutex> guard(lock);
        body(tables);
        return generation;
    }

    /// Like the one above, but does nothing and returns false for an earlier generation.
    template <typename Body>
    bool access(Generation wanted, Body body) {
        const std::lock_guard<std::mutex> guard(lock);
        if (generation == wanted) body(tables);
        return generation == wanted;
    }

    void clear() {
        Tables dropped; // destroyed outside of the lock
        const std::lock_guard<std::mutex> guard(lock);
        std::swap(dropped, tables);
        ++generation;
    }

private:
    std::mutex lock; // guards everything below
    Tables tables;
    Generation generation = 0;
};

} // namespace TELLAR

#endif
