#ifndef OXTELLARPRODUCERS_NAVIGATIONPOOL_H
#define OXTELLARPRODUCERS_NAVIGATIONPOOL_H

#include <cstddef>

/// Memory for producers, which come and go with every step of a walk: each thread keeps a few
/// blocks for its next step until it ends. A block may be given by another thread than took it.
namespace TELLAR::NavigationPool {

void* TakeMemory(std::size_t bytes);
void GiveMemory(void* memory, std::size_t bytes) noexcept;

} // namespace TELLAR::NavigationPool

#endif
