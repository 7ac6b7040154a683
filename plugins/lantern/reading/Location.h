#ifndef LANTERN_READING_LOCATION_H
#define LANTERN_READING_LOCATION_H

#include <string>

#include "Report.h"
#include "reading/Attribute.h"
#include "reading/Suites.h"

namespace lantern {

/// A counted reference to a location of the scene, or none. Safe from several threads at once.
class Location {
public:
    Location() = default;
    /// Takes over the reference of a handle, which may be null.
    static Location owning(const Suites& suites, OxSgIteratorStruct* handle);
    /// Adds a reference to a handle, which may be null.
    static Location retaining(const Suites& suites, OxSgIteratorStruct* handle);
    Location(const Location& other);
    Location(Location&& other) noexcept;
    Location& operator=(Location other) noexcept;
    ~Location();

    explicit operator bool() const { return handle != nullptr; }
    OxSgIteratorStruct* get() const { return handle; }
    /// Whether the location could not be cooked. It then has siblings, but no attributes and no
    /// children.
    bool hasFailed() const { return isBroken; }
    /// Why the location has failed.
    RenderError failure() const;

    // Throw a RenderError when there is not enough memory.
    Location firstChild() const;
    Location nextSibling() const;
    Location parent() const;
    Location childByName(const char* name) const;
    Location byPath(const std::string& path) const;

    std::string name() const;
    std::string path() const;
    /// The group of all attributes.
    Attribute attributes() const;
    /// The attribute at a dotted path.
    Attribute attribute(const char* name) const;
    Attribute potentialChildren() const;
    Attribute transformsFromTheRoot() const;

private:
    Location(const Suites& suites, OxSgIteratorStruct* handle) : suites(&suites), handle(handle) {}
    template <typename Call>
    Location step(Call call) const;
    Attribute owned(OxAttributeStruct* attribute) const;

    const Suites* suites = nullptr;
    OxSgIteratorStruct* handle = nullptr;
    bool isBroken = false;
};

} // namespace lantern

#endif
