#ifndef TELLAR_PYTHON_COOKFAILURES_H
#define TELLAR_PYTHON_COOKFAILURES_H

#include <string>

#include <OxTellarSDK/TellarError.h>
#include <nanobind/nanobind.h>

namespace TellarPython {

// Exceptions of op types that are written in Python, and the errors that they become. All functions
// need the interpreter's lock.

/// False where the comparison itself fails.
bool IsInstance(nanobind::handle object, nanobind::handle kind);

/// The facts of an exception of a type in Python.
ErrorFacts FactsOfException(nanobind::handle exception);

/// Keeps the exception that made the cook of a location fail with this text. Only the last ones are
/// kept.
void RememberFailure(const std::string& location, const std::string& text,
                     nanobind::handle exception);

/// The Python exception that made a cook fail; none if it was not one, or if many have come after
/// it.
nanobind::object CauseOf(const ErrorFacts& facts);

/// Lets go of all exceptions that are kept, at the end of the interpreter.
void ForgetFailures();

} // namespace TellarPython

#endif
