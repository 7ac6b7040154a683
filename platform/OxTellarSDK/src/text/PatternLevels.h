#ifndef OXTELLARSDK_PATTERNLEVELS_H
#define OXTELLARSDK_PATTERNLEVELS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Location patterns, split into their levels. <OxTellarSDK/LocationPath.h> has their syntax.

namespace OxLocationPath {

/// The levels of one pattern. The pattern "/" has none.
using PatternLevels = std::vector<std::string>;

/// The level that matches any number of levels.
constexpr std::string_view kAnyLevels = "**";

/// Takes the first level off a path such as "/root/world" and returns its name.
std::string_view TakeLevel(std::string_view& rest);

/// The path as levels for TakeLevel. "/" has no levels, so it becomes the empty text.
std::string_view Levels(std::string_view path);

/// Throws std::runtime_error for a pattern that is not sound.
PatternLevels SplitPattern(const std::string& pattern);

/// Matches a whole path, as Levels() returns it, against a whole pattern.
bool PathMatches(const PatternLevels& pattern, std::string_view path);

/// True when the pattern could match a location below the path, which is as Levels() returns it.
bool MayMatchBelow(const PatternLevels& pattern, std::string_view path);

/// The indices of the levels that may come next once the pattern has matched the path, which is as
/// Levels() returns it. The index behind the last level says that the pattern matches the path
/// itself. Ascending; empty when the pattern does not match anything at or below the path.
std::vector<std::size_t> NextLevels(const PatternLevels& pattern, std::string_view path);

/// True for a level that matches more than one name.
bool IsGlob(std::string_view level);

/// The level that matches just this name.
std::string EscapedLevel(std::string_view name);

/// The name that the level matches. The level must not be a glob.
std::string NameOfLevel(std::string_view level);

} // namespace OxLocationPath

#endif
