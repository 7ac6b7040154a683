#ifndef TELLAR_PYTHON_WALK_H
#define TELLAR_PYTHON_WALK_H

#include <OxTellarProducers/GeometryProducer.h>
#include <nanobind/nanobind.h>

#include "Selection.h"

namespace TellarPython {

/// A Python iterator over the locations of a selection. `onError` is None or a callable.
nanobind::object WalkOf(TELLAR::GeometryProducer::Ptr start, Selection selection, int threads,
                        nanobind::object onError);

} // namespace TellarPython

#endif
