#ifndef TELLAR_PYTHON_MATERIALS_H
#define TELLAR_PYTHON_MATERIALS_H

#include <OxTellarProducers/GeometryProducer.h>
#include <nanobind/nanobind.h>

namespace TellarPython {

/// Python's class Material for the materials of a location and its ancestors; None if there are
/// none.
nanobind::object MaterialOf(const TELLAR::GeometryProducer::Ptr& location);

} // namespace TellarPython

#endif
