#ifndef TELLAR_TEST_SUITEHANDLES4_H
#define TELLAR_TEST_SUITEHANDLES4_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <utility>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/ErrorHandle.h>

#include "SuiteHandles.h"

// Version 4 of the library's suites as plug-ins get them, and handles that are released
// automatically.
namespace TellarTest {

template <typename Suite>
const Suite& SuiteOf(const char* name) {
    const auto* const suite = static_cast<const Suite*>(Host()->getSuite(name, 4));
    if (!suite) throw std::runtime_error(std::string(name) + " has no version 4");
    return *suite;
}

inline const OxScenegraphIteratorHostSuite_v4& Scenes4() {
    return SuiteOf<OxScenegraphIteratorHostSuite_v4>(OX_SCENEGRAPH_ITERATOR_HOST_SUITE);
}

inline const OxRenderOutputUtilsHostSuite_v4& Utils4() {
    return SuiteOf<OxRenderOutputUtilsHostSuite_v4>(OX_RENDER_OUTPUT_UTILS_HOST_SUITE);
}

/// The error of a call, for a parameter `OxErrorStruct** error`. Before the call it holds a value
/// that is no handle, so that a call which assigns nothing is noticed.
class CallError {
public:
    CallError() = default;
    ~CallError() { forget(); }
    CallError(const CallError&) = delete;
    CallError& operator=(const CallError&) = delete;

    /// For the next call.
    OxErrorStruct** out() {
        forget();
        error = unassigned();
        return &error;
    }

    bool isAssigned() const { return error != unassigned(); }
    bool isNull() const { return error == nullptr; }
    OxErrorStruct* get() const { return isAssigned() ? error : nullptr; }
    OxErrorFacts facts() const { return OxHandleToErrorFacts(get()); }
    OxErrorCode code() const { return facts().code; }
    /// "no error" for none.
    std::string text() const {
        if (!isAssigned()) return "nothing was assigned";
        return isNull() ? "no error" : facts().text;
    }

private:
    static OxErrorStruct* unassigned() {
        return reinterpret_cast<OxErrorStruct*>(std::uintptr_t{1});
    }
    void forget() {
        OxReleaseError(get());
        error = nullptr;
    }

    OxErrorStruct* error = nullptr;
};

/// A location handle that version 4 returned, with its reference.
class At {
public:
    At() = default;
    At(OxSgIteratorStruct* location) : location(location) {}
    At(At&& other) noexcept : location(std::exchange(other.location, nullptr)) {}
    At& operator=(At&& other) noexcept {
        std::swap(location, other.location);
        return *this;
    }
    ~At() { Iterators().releaseIterator(location); }

    /// A handle onto a producer.
    static At of(const TELLAR::GeometryProducer::Ptr& producer) {
        OxSgIteratorStruct* const handle = TELLAR::OxGeometryProducerToHandle(producer);
        Iterators().retainIterator(handle);
        return handle;
    }

    OxSgIteratorStruct* get() const { return location; }
    explicit operator bool() const { return location != nullptr; }

private:
    OxSgIteratorStruct* location = nullptr;
};

} // namespace TellarTest

#endif
