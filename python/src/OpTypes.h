#ifndef TELLAR_PYTHON_OPTYPES_H
#define TELLAR_PYTHON_OPTYPES_H

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarError.h>
#include <nanobind/nanobind.h>

namespace TellarPython {

/// Whether an op type in Python was defined more than once.
bool HasRedefinedOpTypes();

/// The description with the newest definition of each op type in Python that was defined more than
/// once. Returns `description` itself if it has none of them. Needs no lock of the interpreter.
OxAttribute::GroupAttribute WithNewestOpTypes(const OxAttribute::GroupAttribute& description);

/// The Python exception that made a cook fail; none if it was not one, or if many have come after
/// it. The caller holds the interpreter's lock.
nanobind::object CauseOf(const ErrorFacts& facts);

} // namespace TellarPython

#endif
