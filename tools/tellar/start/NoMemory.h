#ifndef TELLAR_TOOL_NOMEMORY_H
#define TELLAR_TOOL_NOMEMORY_H

namespace TellarTool {

/// The exit status when arguments or files are wrong, and when memory runs out.
constexpr int kBadInput = 2;

/// Writes "tellar: out of memory" to standard error, for which no memory is needed.
void WriteNoMemoryLine() noexcept;

/// Between these two calls an allocation that fails throws std::bad_alloc as usual. Before and
/// after them, where nothing could catch it (initialisers before main, destructors after it), the
/// command ends at once with that line and kBadInput. So it does when the exception leaves a thread
/// or a destructor.
void LetNoMemoryThrow() noexcept;
void LetNoMemoryEnd() noexcept;

} // namespace TellarTool

#endif
