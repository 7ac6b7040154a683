#ifndef OXTELLARSDK_LOCATIONPATH_H
#define OXTELLARSDK_LOCATIONPATH_H

#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Export.h>

namespace OxLocationPath {

/// The part before the last "/"; empty for a top-level path such as "/root".
OXTELLARSDK_API std::string_view Parent(std::string_view path);
/// The part after the last "/"; empty when there is none.
OXTELLARSDK_API std::string_view Name(std::string_view path);
/// True when `path` is `ancestor` or lies below it.
OXTELLARSDK_API bool IsSelfOrBelow(std::string_view path, std::string_view ancestor);

/// The pattern that matches just this location.
OXTELLARSDK_API std::string PatternOf(std::string_view path);

/// A set of glob patterns for location paths. "*" and "?" match within one level. "[abc]", "[a-z]"
/// and "[!abc]" match one UTF-8 character that is or is not in a set (a "]" in first place is a
/// member). "**" matches any number of whole levels, so "/root/**" matches /root and everything
/// below it. Matching takes at most the length of the path times that of the pattern. Immutable
/// after construction.
class OXTELLARSDK_API Patterns {
public:
    Patterns() = default;
    /// Throws std::runtime_error naming a pattern that is not absolute, or has an empty level
    /// ("/root/") or a set that is not closed within its level.
    explicit Patterns(const std::vector<std::string>& patterns);

    /// True when any pattern matches the whole path; never for a relative path.
    bool matches(std::string_view path) const;
    /// True when some pattern could match a location below `path`.
    bool mayMatchBelow(std::string_view path) const;
    bool isEmpty() const { return patterns.empty(); }

private:
    std::vector<std::vector<std::string>> patterns; // split into levels
};

} // namespace OxLocationPath

#endif
