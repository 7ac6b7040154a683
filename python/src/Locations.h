#ifndef TELLAR_PYTHON_LOCATIONS_H
#define TELLAR_PYTHON_LOCATIONS_H

#include <memory>
#include <string>

#include <OxTellarProducers/GeometryProducer.h>
#include <nanobind/nanobind.h>

namespace TellarPython {

/// A location of a scene, which it keeps alive. Python's class Location.
struct Location {
    TELLAR::GeometryProducer::Ptr producer; // never null
};

/// Throws the Python exception NotFoundError.
[[noreturn]] void RaiseNotFound(const std::string& text, const std::string& location,
                                const std::string& attribute = {});

} // namespace TellarPython

#endif
