#ifndef TELLAR_PYTHON_OPTYPES_H
#define TELLAR_PYTHON_OPTYPES_H

#include <OxTellarSDK/Attribute.h>

namespace TellarPython {

/// Whether an op type in Python was defined more than once.
bool HasRedefinedOpTypes();

/// The description with the newest definition of each op type in Python that was defined more than
/// once. Returns `description` itself if it has none of them. Needs no lock of the interpreter.
OxAttribute::GroupAttribute WithNewestOpTypes(const OxAttribute::GroupAttribute& description);

} // namespace TellarPython

#endif
