#ifndef TELLAR_TEST_SUITEHANDLES_H
#define TELLAR_TEST_SUITEHANDLES_H

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxSgIterator.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/Attribute.h>

/// The library's suites as plug-ins get them, and handles that are released automatically.
namespace TellarTest {

/// The process's host, with the library's suites.
inline const OxPluginHost* Host() {
    static const OxPluginHost* const host = [] {
        OxPluginHost* const made = OxGetPluginHost();
        OxTellarProducersInitialize(made);
        return made;
    }();
    return host;
}

inline const OxScenegraphIteratorHostSuite_v3& Iterators() {
    return *static_cast<const OxScenegraphIteratorHostSuite_v3*>(
        Host()->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3));
}

/// A handle onto a location with a reference of its own, as a plug-in would hold it.
class Handle {
public:
    /// Takes over the reference that the handle carries.
    static Handle owning(OxSgIteratorStruct* iterator) { return Handle(iterator); }
    /// Adds a reference to a handle that carries none.
    static Handle retaining(OxSgIteratorStruct* iterator) {
        Iterators().retainIterator(iterator);
        return Handle(iterator);
    }
    static Handle of(const TELLAR::GeometryProducer::Ptr& producer) {
        return retaining(TELLAR::OxGeometryProducerToHandle(producer));
    }
    ~Handle() { Iterators().releaseIterator(iterator); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;

    OxSgIteratorStruct* get() const { return iterator; }
    explicit operator bool() const { return iterator != nullptr; }

private:
    explicit Handle(OxSgIteratorStruct* iterator) : iterator(iterator) {}
    OxSgIteratorStruct* iterator;
};

/// An attribute that an entry returned, with the reference that it carries.
inline OxAttribute::Attribute Owned(OxAttributeStruct* attribute) {
    return OxAttribute::Attribute::CreateAndSteal(attribute);
}

} // namespace TellarTest

#endif
