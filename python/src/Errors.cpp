#include "Errors.h"

#include <new>

#include <OxTellarSDK/TellarError.h>
#include <nanobind/stl/string.h>

#include "CookFailures.h"

namespace nb = nanobind;

namespace TellarPython {

namespace {

const char* ClassNameOf(OxErrorCode code) {
    switch (code) {
    case kOxErrorBadCall:
        return "BadCallError";
    case kOxErrorFile:
        return "FileError";
    case kOxErrorCook:
        return "CookError";
    case kOxErrorValue:
        return "InvalidValueError";
    case kOxErrorCancelled:
        return "CancelledError";
    default:
        return "Error";
    }
}

nb::str Text(const std::string& text) {
    return nb::steal<nb::str>(PyUnicode_DecodeUTF8(
        text.data(), static_cast<Py_ssize_t>(text.size()), "backslashreplace"));
}

void SetPythonError(const std::exception_ptr& error) {
    try {
        const nb::object object = ExceptionObject(error);
        PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(object.ptr())), object.ptr());
    } catch (nb::python_error& other) {
        other.restore(); // an interrupt, which came while the object was made
    }
}

/// Passes on what is no failure of the library: Python's own exceptions and lack of memory.
void Translate(const std::exception_ptr& error, void*) {
    try {
        std::rethrow_exception(error);
    } catch (const nb::python_error&) {
        throw;
    } catch (const nb::builtin_exception&) {
        throw;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        SetPythonError(error);
    }
}

} // namespace

nb::object ExceptionObject(const std::exception_ptr& error) {
    const ErrorFacts facts = FactsOf(error);
    if (facts.code == kOxErrorMemory) return nb::borrow(PyExc_MemoryError)(Text(facts.text));
    nb::object object =
        nb::module_::import_("tellar._errors")
            .attr(ClassNameOf(facts.code))(
                Text(facts.text), nb::arg("op") = Text(facts.op),
                nb::arg("op_type") = Text(facts.opType), nb::arg("op_place") = Text(facts.opPlace),
                nb::arg("location") = Text(facts.location),
                nb::arg("attribute") = Text(facts.attribute), nb::arg("file") = Text(facts.file));
    nb::object cause = CauseOf(facts);
    if (!cause.is_none()) PyException_SetCause(object.ptr(), cause.release().ptr());
    return object;
}

void TranslateErrors() {
    nb::register_exception_translator(Translate);
}

} // namespace TellarPython
