#ifndef TELLAR_PYTHON_ERRORS_H
#define TELLAR_PYTHON_ERRORS_H

#include <exception>

#include <nanobind/nanobind.h>

namespace TellarPython {

/// Turns every C++ exception of the library into one of tellar._errors, with its parts as fields.
void TranslateErrors();

/// The Python exception object that stands for an exception. The caller holds the interpreter's
/// lock.
nanobind::object ExceptionObject(const std::exception_ptr& error);

} // namespace TellarPython

#endif
