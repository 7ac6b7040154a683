#include "reading/Location.h"

#include <utility>

#include "reading/HostError.h"

namespace lantern {

Location Location::owning(const Suites& suites, OxSgIteratorStruct* handle) {
    return Location(suites, handle);
}

Location Location::retaining(const Suites& suites, OxSgIteratorStruct* handle) {
    suites.iterators().retainIterator(handle);
    Location location(suites, handle);
    HostError error(suites);
    *error.slot() = suites.iterators().getLocationError(handle);
    location.isBroken = static_cast<bool>(error);
    return location;
}

Location::Location(const Location& other)
    : suites(other.suites), handle(other.handle), isBroken(other.isBroken) {
    if (handle) suites->iterators().retainIterator(handle);
}

Location::Location(Location&& other) noexcept
    : suites(other.suites), handle(std::exchange(other.handle, nullptr)), isBroken(other.isBroken) {
}

Location& Location::operator=(Location other) noexcept {
    std::swap(suites, other.suites);
    std::swap(handle, other.handle);
    std::swap(isBroken, other.isBroken);
    return *this;
}

Location::~Location() {
    if (handle) suites->iterators().releaseIterator(handle);
}

Location Location::firstChild() const {
    return step(
        [this](OxErrorStruct** error) { return suites->iterators().getFirstChild(handle, error); });
}

Location Location::nextSibling() const {
    return step([this](OxErrorStruct** error) {
        return suites->iterators().getNextSibling(handle, error);
    });
}

Location Location::parent() const {
    return step(
        [this](OxErrorStruct** error) { return suites->iterators().getParent(handle, error); });
}

Location Location::childByName(const char* name) const {
    return step([this, name](OxErrorStruct** error) {
        return suites->iterators().getChildByName(handle, name, error);
    });
}

Location Location::byPath(const std::string& path) const {
    return step([this, &path](OxErrorStruct** error) {
        return suites->iterators().getProducerByPath(handle, path.c_str(), error);
    });
}

/// Throws a RenderError for an error without a location, such as missing memory.
template <typename Call>
Location Location::step(Call call) const {
    if (!handle) return {};
    HostError error(*suites);
    Location found = owning(*suites, call(error.slot()));
    found.isBroken = static_cast<bool>(error);
    if (!found) error.throwIfSet();
    return found;
}

RenderError Location::failure() const {
    HostError error(*suites);
    *error.slot() = suites->iterators().getLocationError(handle);
    return error ? error.asRenderError() : RenderError("the location cannot be cooked");
}

std::string Location::name() const {
    return handle ? suites->iterators().getName(handle, nullptr) : "";
}

std::string Location::path() const {
    return handle ? suites->iterators().getFullName(handle, nullptr) : "";
}

Attribute Location::attributes() const {
    return attribute("");
}

Attribute Location::attribute(const char* name) const {
    return handle ? owned(suites->iterators().getAttribute(handle, name, nullptr)) : Attribute();
}

Attribute Location::potentialChildren() const {
    return handle ? owned(suites->iterators().getPotentialChildren(handle, nullptr)) : Attribute();
}

Attribute Location::transformsFromTheRoot() const {
    return handle ? owned(suites->iterators().getGlobalXFormGroup(handle, nullptr)) : Attribute();
}

Attribute Location::owned(OxAttributeStruct* attribute) const {
    return Attribute::owning(suites->attributes(), attribute);
}

} // namespace lantern
