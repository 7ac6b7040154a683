#ifndef OXTELLARPRODUCERS_NAVIGATIONPOOL_H
#define OXTELLARPRODUCERS_NAVIGATIONPOOL_H

#include <cstddef>
#include <string>
#include <utility>

namespace TELLAR {

/// What navigation makes and drops again at every step, kept for the thread's next step: memory
/// for producers, and path strings with the room that they have grown to. Bounded per thread;
/// let go when the thread ends. What one thread took another may give.
namespace NavigationPool {

void* TakeMemory(std::size_t bytes);
void GiveMemory(void* memory, std::size_t bytes) noexcept;

/// With any content.
std::string* TakePath();
void GivePath(std::string* path) noexcept;

} // namespace NavigationPool

/// A path string of the pool; it goes back unless it is released to a producer.
class PooledPath {
public:
    PooledPath() : path(NavigationPool::TakePath()) {}
    ~PooledPath() {
        if (path) NavigationPool::GivePath(path);
    }
    PooledPath(const PooledPath&) = delete;
    PooledPath& operator=(const PooledPath&) = delete;

    std::string& operator*() const { return *path; }
    std::string* release() { return std::exchange(path, nullptr); }

private:
    std::string* path;
};

} // namespace TELLAR

#endif
