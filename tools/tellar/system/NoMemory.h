#ifndef TELLAR_TOOL_NOMEMORY_H
#define TELLAR_TOOL_NOMEMORY_H

namespace TellarTool {

/// Exit status for anything that is wrong with what the command was given, memory included.
constexpr int kBadInput = 2;

/// Writes "tellar: out of memory" to standard error, for which no memory is needed.
void WriteNoMemoryLine() noexcept;

/// Where an exception would find nobody, the command ends with that line and kBadInput itself: in
/// the initialisers before main, in what is destroyed after it, in threads and in destructors.
/// Between these two calls an allocation that fails throws std::bad_alloc as usual.
void LetNoMemoryThrow() noexcept;
void LetNoMemoryEnd() noexcept;

} // namespace TellarTool

#endif
