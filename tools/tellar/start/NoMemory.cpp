#include "NoMemory.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

namespace TellarTool {

namespace {

[[noreturn]] void EndWithoutMemory() {
    WriteNoMemoryLine();
    std::_Exit(kBadInput);
}

std::terminate_handler usualEnd = nullptr;

/// Any other uncaught exception is a bug and ends the process as usual.
[[noreturn]] void EndOfUncaught() {
    try {
        if (const std::exception_ptr uncaught = std::current_exception())
            std::rethrow_exception(uncaught);
    } catch (const std::bad_alloc&) {
        EndWithoutMemory();
    } catch (...) {
    }
    if (usualEnd) usualEnd();
    std::abort();
}

void WatchStart() {
    usualEnd = std::set_terminate(EndOfUncaught);
    LetNoMemoryEnd();
}

#ifdef __linux__
// Called before the initialisers of all libraries, where the first allocations are made.
[[gnu::section(".preinit_array"), gnu::used]] void (*const watchStart)() = WatchStart;
#else
[[maybe_unused]] const bool isWatched = (WatchStart(), true);
#endif

} // namespace

void WriteNoMemoryLine() noexcept {
    std::fputs("tellar: out of memory\n", stderr);
}

void LetNoMemoryThrow() noexcept {
    std::set_new_handler(nullptr);
}

void LetNoMemoryEnd() noexcept {
    std::set_new_handler(EndWithoutMemory);
}

} // namespace TellarTool
