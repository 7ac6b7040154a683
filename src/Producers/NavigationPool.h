#ifndef OXTELLARPRODUCERS_NAVIGATIONPOOL_H
#define OXTELLARPRODUCERS_NAVIGATIONPOOL_H

#include <cstddef>
#include <string>

namespace TELLAR {

/// What navigation makes and drops again at every step, kept for the thread's next step: memory
/// for producers, and path strings with the room that they have grown to. Bounded per thread;
/// let go when the thread ends. What one thread took another may give.
namespace NavigationPool {

void* TakeMemory(std::size_t bytes);
void GiveMemory(void* memory, std::size_t bytes) noexcept;

/// An empty string.
std::string TakePath();
void GivePath(std::string&& path) noexcept;

} // namespace NavigationPool

} // namespace TELLAR

#endif
