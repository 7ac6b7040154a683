#include "reading/Place.h"

#include <utility>

namespace lantern {

Place Place::replacing(const Location& replaced, const Attribute& replacement) {
    Place place(replaced);
    place.part = replacement;
    return place;
}

Place Place::partOf(const Location& replaced, const Attribute& siblings, std::int64_t index) {
    for (; index < siblings.childCount(); ++index) {
        Attribute part = siblings.childAt(index);
        if (!part.isGroup()) continue;
        Place place(replaced);
        place.part = std::move(part);
        place.siblings = siblings;
        place.index = index;
        return place;
    }
    return {};
}

Attribute Place::attributes() const {
    return isReplacement() ? part.child("a") : scene.attributes();
}

Place Place::firstChild() const {
    return isReplacement() ? partOf(scene, part.child("c"), 0) : Place(scene.firstChild());
}

Place Place::nextSibling() const {
    return isReplacement() ? partOf(scene, siblings, index + 1) : Place(scene.nextSibling());
}

std::string Place::path() const {
    if (!isReplacement()) return scene.path();
    const std::string name = siblings ? siblings.childName(index) : "";
    return scene.path() + " (what stands in its place" +
           (name.empty() ? ")" : ": \"" + name + "\")");
}

} // namespace lantern
