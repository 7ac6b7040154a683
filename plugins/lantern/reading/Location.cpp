#include "reading/Location.h"

#include <utility>

namespace lantern {

Location Location::owning(const Suites& suites, OxSgIteratorStruct* handle) {
    return Location(suites, handle);
}

Location Location::retaining(const Suites& suites, OxSgIteratorStruct* handle) {
    suites.iterators().retainIterator(handle);
    return Location(suites, handle);
}

Location::Location(const Location& other) : suites(other.suites), handle(other.handle) {
    if (handle) suites->iterators().retainIterator(handle);
}

Location::Location(Location&& other) noexcept
    : suites(other.suites), handle(std::exchange(other.handle, nullptr)) {}

Location& Location::operator=(Location other) noexcept {
    std::swap(suites, other.suites);
    std::swap(handle, other.handle);
    return *this;
}

Location::~Location() {
    if (handle) suites->iterators().releaseIterator(handle);
}

Location Location::firstChild() const {
    return handle ? retaining(*suites, suites->iterators().getFirstChild(handle, false))
                  : Location();
}

Location Location::nextSibling() const {
    return handle ? retaining(*suites, suites->iterators().getNextSibling(handle, false))
                  : Location();
}

Location Location::parent() const {
    return handle ? retaining(*suites, suites->iterators().getParent(handle)) : Location();
}

Location Location::childByName(const char* name) const {
    return handle ? retaining(*suites, suites->iterators().getChildByName(handle, name, false))
                  : Location();
}

Location Location::byPath(const std::string& path) const {
    if (!handle) return {};
    return retaining(*suites, suites->iterators().getProducerByPath(handle, path.c_str(), false));
}

std::string Location::name() const {
    return handle ? owned(suites->iterators().getName(handle)).text() : "";
}

std::string Location::path() const {
    return handle ? owned(suites->iterators().getFullName(handle)).text() : "";
}

Attribute Location::attributes() const {
    return attribute(nullptr);
}

Attribute Location::attribute(const char* name) const {
    return handle ? owned(suites->iterators().getAttribute(handle, name)) : Attribute();
}

Attribute Location::potentialChildren() const {
    return handle ? owned(suites->iterators().getPotentialChildren(handle)) : Attribute();
}

Attribute Location::transformsFromTheRoot() const {
    return handle ? owned(suites->iterators().getGlobalXFormGroup(handle)) : Attribute();
}

Attribute Location::owned(OxAttributeStruct* attribute) const {
    return Attribute::owning(suites->attributes(), attribute);
}

} // namespace lantern
