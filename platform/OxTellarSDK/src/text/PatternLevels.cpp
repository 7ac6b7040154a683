#include "PatternLevels.h"

#include <algorithm>
#include <stdexcept>

#include "text/Utf8.h"

namespace OxLocationPath {
namespace {

constexpr std::string_view kGlobCharacters = "*?[";

/// The first UTF-8 character of `text`, which is not empty. A stray byte counts as one.
std::string_view FirstCharacter(std::string_view text) {
    std::size_t length = 1;
    while (length < text.size() && TellarInternal::IsUtf8Continuation(text[length]))
        ++length;
    return text.substr(0, length);
}

std::string_view TakeCharacter(std::string_view& text) {
    const std::string_view character = FirstCharacter(text);
    text.remove_prefix(character.size());
    return character;
}

/// The length of a set from behind its "[" up to its "]", or npos if it is not closed. A "]" at the
/// very beginning is a member of the set.
std::size_t SetLength(std::string_view afterBracket) {
    const std::size_t negation = !afterBracket.empty() && afterBracket[0] == '!' ? 1 : 0;
    return afterBracket.find(']', negation + 1);
}

bool IsInSet(std::string_view set, std::string_view character) {
    const bool negated = set[0] == '!';
    if (negated) set.remove_prefix(1);
    bool found = false;
    while (!set.empty()) {
        const std::string_view first = TakeCharacter(set);
        std::string_view last = first;
        if (set.size() > 1 && set[0] == '-') {
            set.remove_prefix(1);
            last = TakeCharacter(set);
        }
        // Bytewise order of UTF-8 is the order of the characters.
        found = found || (first <= character && character <= last);
    }
    return found != negated;
}

/// Matches one character of `name` against one element of `pattern`, neither empty, and takes
/// both off. The element must not be "*".
bool TakeMatch(std::string_view& pattern, std::string_view& name) {
    const std::string_view wanted = TakeCharacter(pattern);
    const std::string_view character = TakeCharacter(name);
    if (wanted == "?") return true;
    if (wanted != "[") return wanted == character;
    const std::string_view set = pattern.substr(0, SetLength(pattern));
    pattern.remove_prefix(set.size() + 1);
    return IsInSet(set, character);
}

/// Matches one level against one level. When characters differ, only the last "*" seen takes
/// another character: it can match everything that an earlier one could. So the cost is at most the
/// product of the two lengths.
bool LevelMatches(std::string_view pattern, std::string_view name) {
    bool starSeen = false;
    std::string_view patternAfterStar;
    std::string_view nameAfterStar;
    while (true) {
        if (!pattern.empty() && pattern[0] == '*') {
            pattern.remove_prefix(1);
            starSeen = true;
            patternAfterStar = pattern;
            nameAfterStar = name;
            continue;
        }
        if (pattern.empty() && name.empty()) return true;
        if (!pattern.empty() && !name.empty() && TakeMatch(pattern, name)) continue;
        if (!starSeen || nameAfterStar.empty()) return false;
        TakeCharacter(nameAfterStar);
        pattern = patternAfterStar;
        name = nameAfterStar;
    }
}

void CheckLevel(const std::string& pattern, std::string_view level) {
    if (level.empty())
        throw std::runtime_error("The location pattern \"" + pattern + "\" has an empty level.");
    while (!level.empty()) {
        if (TakeCharacter(level) != "[") continue;
        const std::size_t length = SetLength(level);
        if (length == std::string_view::npos)
            throw std::runtime_error("The location pattern \"" + pattern +
                                     "\" has a \"[\" without \"]\" in its level.");
        level.remove_prefix(length + 1);
    }
}

/// The set of one glob character that EscapedLevel() writes: "[*]", "[?]" or "[[]".
bool BeginsWithEscape(std::string_view level) {
    return level.size() >= 3 && level[0] == '[' && level[2] == ']' &&
           kGlobCharacters.find(level[1]) != std::string_view::npos;
}

/// Adds the levels behind those that match no levels at all.
void AddNextLevel(const PatternLevels& pattern, std::size_t index, std::vector<std::size_t>& next) {
    while (next.empty() || next.back() < index) {
        next.push_back(index);
        if (index == pattern.size() || pattern[index] != kAnyLevels) return;
        ++index;
    }
}

} // namespace

std::string_view TakeLevel(std::string_view& rest) {
    rest.remove_prefix(1);
    const std::string_view level = rest.substr(0, rest.find('/'));
    rest.remove_prefix(level.size());
    return level;
}

std::string_view Levels(std::string_view path) {
    return path == "/" ? std::string_view() : path;
}

// Like LevelMatches, it lets only the last "**" seen take another level.
bool PathMatches(const PatternLevels& pattern, std::string_view path) {
    std::size_t level = 0;
    bool starSeen = false;
    std::size_t levelAfterStar = 0;
    std::string_view pathAfterStar;
    while (true) {
        if (level < pattern.size() && pattern[level] == kAnyLevels) {
            starSeen = true;
            levelAfterStar = ++level;
            pathAfterStar = path;
            continue;
        }
        if (level == pattern.size() && path.empty()) return true;
        if (level < pattern.size() && !path.empty() &&
            LevelMatches(pattern[level], TakeLevel(path))) {
            ++level;
            continue;
        }
        if (!starSeen || pathAfterStar.empty()) return false;
        TakeLevel(pathAfterStar);
        level = levelAfterStar;
        path = pathAfterStar;
    }
}

bool MayMatchBelow(const PatternLevels& pattern, std::string_view path) {
    std::size_t level = 0;
    for (; !path.empty(); ++level) {
        if (level == pattern.size()) return false;
        // It matches the rest of the path, and the rest of the pattern may match below.
        if (pattern[level] == kAnyLevels) return true;
        if (!LevelMatches(pattern[level], TakeLevel(path))) return false;
    }
    return level < pattern.size();
}

PatternLevels SplitPattern(const std::string& pattern) {
    if (pattern.empty() || pattern[0] != '/')
        throw std::runtime_error("The location pattern \"" + pattern +
                                 "\" does not start with \"/\".");
    PatternLevels levels;
    for (std::string_view rest = pattern; !rest.empty();) {
        const std::string_view level = TakeLevel(rest);
        CheckLevel(pattern, level);
        levels.emplace_back(level);
    }
    return levels;
}

std::vector<std::size_t> NextLevels(const PatternLevels& pattern, std::string_view path) {
    std::vector<std::size_t> next;
    AddNextLevel(pattern, 0, next);
    while (!path.empty() && !next.empty()) {
        const std::string_view name = TakeLevel(path);
        const std::vector<std::size_t> before = std::move(next);
        next.clear();
        for (const std::size_t index : before) {
            if (index == pattern.size()) continue;
            if (pattern[index] == kAnyLevels)
                AddNextLevel(pattern, index, next);
            else if (LevelMatches(pattern[index], name))
                AddNextLevel(pattern, index + 1, next);
        }
    }
    return next;
}

bool IsGlob(std::string_view level) {
    while (!level.empty()) {
        if (BeginsWithEscape(level))
            level.remove_prefix(3);
        else if (kGlobCharacters.find(level[0]) != std::string_view::npos)
            return true;
        else
            level.remove_prefix(1);
    }
    return false;
}

std::string EscapedLevel(std::string_view name) {
    std::string level;
    for (const char character : name) {
        const bool isGlob = kGlobCharacters.find(character) != std::string_view::npos;
        level += isGlob ? std::string{'[', character, ']'} : std::string{character};
    }
    return level;
}

std::string NameOfLevel(std::string_view level) {
    std::string name;
    while (!level.empty()) {
        const bool isEscape = BeginsWithEscape(level);
        name += level[isEscape ? 1 : 0];
        level.remove_prefix(isEscape ? 3 : 1);
    }
    return name;
}

} // namespace OxLocationPath
