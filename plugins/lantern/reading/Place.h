#ifndef LANTERN_READING_PLACE_H
#define LANTERN_READING_PLACE_H

#include <string>

#include "reading/Location.h"

namespace lantern {

/// A location, or a part of the replacement that a delegate gave for a location, or none.
class Place {
public:
    Place() = default;
    explicit Place(Location location) : scene(std::move(location)) {}
    /// The top of a replacement, which is a group of attributes "a" and children "c".
    static Place replacing(const Location& replaced, const Attribute& replacement);

    explicit operator bool() const { return static_cast<bool>(scene); }
    bool isReplacement() const { return static_cast<bool>(part); }
    /// The location itself, or the one that is replaced.
    const Location& location() const { return scene; }

    Attribute attributes() const;
    Place firstChild() const;
    Place nextSibling() const;
    /// For messages.
    std::string path() const;

private:
    /// The first sibling from this index on that is a group.
    static Place partOf(const Location& replaced, const Attribute& siblings, std::int64_t index);

    Location scene;
    // Only of a replacement:
    Attribute part;
    Attribute siblings;
    std::int64_t index = 0;
};

} // namespace lantern

#endif
