#ifndef TELLAR_PYTHON_TABLE_H
#define TELLAR_PYTHON_TABLE_H

#include <OxTellarProducers/GeometryProducer.h>
#include <nanobind/nanobind.h>

#include "Selection.h"

namespace TellarPython {

/// A tellar.Table of the selected locations. `columns` is a mapping of names to what they are
/// about, `onError` None or a callable. A null start has no locations.
nanobind::object TableOf(TELLAR::GeometryProducer::Ptr start, Selection selection,
                         nanobind::object columns, int threads, nanobind::object onError);

} // namespace TellarPython

#endif
