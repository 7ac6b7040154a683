#ifndef TELLARINTERNAL_INDENT_H
#define TELLARINTERNAL_INDENT_H

#include <algorithm>
#include <cstddef>
#include <string>

namespace TellarInternal {

/// Appends the indentation of a line, `spaces` for each level. Levels below the 32nd are indented
/// like that one, so that the text of a deep tree stays in proportion to the tree.
inline void AppendIndent(std::string& out, std::size_t levels, std::size_t spaces) {
    constexpr std::size_t kDeepest = 32;
    out.append(std::min(levels, kDeepest) * spaces, ' ');
}

} // namespace TellarInternal

#endif
