#ifndef OXTELLARSDK_LOCATIONSET_H
#define OXTELLARSDK_LOCATIONSET_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Export.h>

namespace OxLocationPath {

/// A set of locations that is described by paths and patterns instead of being listed. It says
/// where a change can show, so it may be larger than necessary but never too small: "may contain"
/// means that the answer no is certain.
///
/// A value: copies share their content, which never changes. The size of a set is limited. One that
/// would have more than some ten thousand paths, or a thousand patterns, becomes the subtree of
/// their common ancestor.
class OXTELLARSDK_API LocationSet {
public:
    /// The empty set.
    LocationSet() = default;
    static LocationSet everything();
    /// The locations at these paths, which are absolute.
    static LocationSet exactly(const std::vector<std::string>& paths);
    /// The locations at these paths and all below them.
    static LocationSet subtrees(const std::vector<std::string>& paths);
    /// All ancestors of a location, without the location itself.
    static LocationSet ancestorsOf(std::string_view path);
    /// The locations that match a pattern (OxLocationPath::Patterns). Throws std::runtime_error for
    /// a pattern that is not sound.
    static LocationSet matching(const std::vector<std::string>& patterns);
    static LocationSet unionOf(const std::vector<LocationSet>& sets);

    bool isEmpty() const { return !content; }
    bool isEverything() const;

    bool mayContain(std::string_view path) const;
    /// True when the set may contain a location below the path.
    bool mayContainBelow(std::string_view path) const;
    /// The names of the children of a location of which the set may contain something, the child
    /// itself or a location below it. Nothing when it may be children of any name.
    std::optional<std::vector<std::string>> childrenTowards(std::string_view path) const;

    LocationSet& add(const LocationSet& other);
    /// The set and all locations below its members.
    LocationSet withBelow() const;
    /// The set and the parents of its members.
    LocationSet withParents() const;
    /// The members at and below `from`, with `to` in its place.
    LocationSet moved(std::string_view from, std::string_view to) const;
    /// The same for every location that `pattern` matches in the place of `from`. Throws
    /// std::runtime_error for a pattern that is not sound.
    LocationSet movedToEach(std::string_view from, const std::string& pattern) const;

    /// The paths and patterns in alphabetical order, for messages and tests:
    /// "/root/a", "/root/b/**", "/root/*/c". Everything is "/**".
    std::vector<std::string> describe() const;

private:
    struct Content;
    explicit LocationSet(Content&& made);
    std::shared_ptr<const Content> content; // null for the empty set
};

} // namespace OxLocationPath

#endif
