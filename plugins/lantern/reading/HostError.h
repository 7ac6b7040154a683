#ifndef LANTERN_READING_HOSTERROR_H
#define LANTERN_READING_HOSTERROR_H

#include <memory>
#include <string>

#include <OxTellarSDK/ErrorSuite.h>

#include "Report.h"
#include "reading/Suites.h"

namespace lantern {

/// The error parameter of a call of the host.
class HostError {
public:
    explicit HostError(const Suites& suites) : suites(suites) {}
    ~HostError() { suites.attributes().releaseError(error); }
    HostError(const HostError&) = delete;
    HostError& operator=(const HostError&) = delete;

    /// For one call.
    OxErrorStruct** slot() { return &error; }
    explicit operator bool() const { return error != nullptr; }
    /// With all parts of the error.
    RenderError asRenderError() const;
    void throwIfSet() const {
        if (error) throw asRenderError();
    }

private:
    const Suites& suites;
    OxErrorStruct* error = nullptr;
};

} // namespace lantern

#endif
