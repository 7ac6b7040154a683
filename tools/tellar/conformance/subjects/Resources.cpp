#include "Resources.h"

#include <filesystem>
#include <iterator>
#include <system_error>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace TellarTool {

namespace {

std::int64_t EntriesOf(const char* folder) {
    std::error_code error;
    const std::filesystem::directory_iterator entries(folder, error);
    return error ? 0 : std::distance(begin(entries), end(entries));
}

std::int64_t HeapBytes() {
#if defined(__GLIBC__)
#if __GLIBC_PREREQ(2, 33)
    const auto facts = mallinfo2();
    return static_cast<std::int64_t>(facts.uordblks + facts.hblkhd);
#endif
#endif
    return 0;
}

} // namespace

Resources ResourcesInUse() {
    return {EntriesOf("/proc/self/fd"), EntriesOf("/proc/self/task"), HeapBytes()};
}

} // namespace TellarTool
