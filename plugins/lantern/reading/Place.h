#ifndef LANTERN_READING_PLACE_H
#define LANTERN_READING_PLACE_H

#include <string>

#include "reading/Location.h"

namespace lantern {

/// A location, or a part of what a delegate put in place of one. It may be none.
class Place {
public:
    Place() = default;
    explicit Place(Location location) : scene(std::move(location)) {}
    /// The whole of a replacement: a group of attributes "a" and children "c".
    static Place replacing(const Location& replaced, const Attribute& replacement);

    explicit operator bool() const { return static_cast<bool>(scene); }
    bool isReplacement() const { return static_cast<bool>(part); }
    /// Itself, or what is replaced.
    const Location& location() const { return scene; }

    Attribute attributes() const;
    Place firstChild() const;
    Place nextSibling() const;
    /// For people.
    std::string path() const;

private:
    /// The first group from this index on.
    static Place partOf(const Location& replaced, const Attribute& siblings, std::int64_t index);

    Location scene;
    // Of a replacement:
    Attribute part;
    Attribute siblings;
    std::int64_t index = 0;
};

} // namespace lantern

#endif
