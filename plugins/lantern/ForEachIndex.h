#ifndef LANTERN_FOREACHINDEX_H
#define LANTERN_FOREACHINDEX_H

#include <functional>

namespace lantern {

/// Calls `work` once for each number from 0 to `count` - 1, on up to `threads` threads including
/// the caller's. Each thread takes `portion` consecutive numbers at a time. Throws the first
/// exception of `work`; the numbers that no thread has taken by then are left out.
void ForEachIndex(int count, int portion, int threads, const std::function<void(int)>& work);

} // namespace lantern

#endif
