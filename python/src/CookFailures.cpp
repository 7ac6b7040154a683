#include "CookFailures.h"

#include <cstddef>
#include <deque>
#include <utility>

#include "Values.h"

namespace nb = nanobind;

namespace TellarPython {

namespace {

constexpr std::size_t kMostFailures = 64; // kept for the causes of errors

struct Failure {
    std::string location;
    std::string text;
    PyObject* exception; // one reference
};

/// The last exceptions of cooks. The interpreter's lock guards them.
std::deque<Failure>& LastFailures() {
    static auto* const failures = new std::deque<Failure>;
    return *failures;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string FieldOf(nb::handle error, const char* name) {
    return BytesOf(nb::str(error.attr(name)));
}

OxErrorCode CodeOf(nb::handle exception) {
    const nb::module_ errors = nb::module_::import_("tellar._errors");
    if (IsInstance(exception, errors.attr("InvalidValueError"))) return kOxErrorValue;
    if (IsInstance(exception, errors.attr("FileError"))) return kOxErrorFile;
    if (IsInstance(exception, errors.attr("CancelledError"))) return kOxErrorCancelled;
    return kOxErrorCook;
}

} // namespace

bool IsInstance(nb::handle object, nb::handle kind) {
    return PyObject_IsInstance(object.ptr(), kind.ptr()) == 1;
}

ErrorFacts FactsOfException(nb::handle exception) {
    ErrorFacts facts;
    facts.code = CodeOf(exception);
    facts.text = BytesOf(nb::module_::import_("tellar._op_types").attr("failure_text")(exception));
    if (!IsInstance(exception, nb::module_::import_("tellar._errors").attr("Error"))) return facts;
    facts.attribute = FieldOf(exception, "attribute");
    facts.file = FieldOf(exception, "file");
    return facts;
}

void RememberFailure(const std::string& location, const std::string& text, nb::handle exception) {
    std::deque<Failure>& failures = LastFailures();
    failures.push_back({location, text, exception.inc_ref().ptr()});
    if (failures.size() <= kMostFailures) return;
    PyObject* const oldest = failures.front().exception;
    failures.pop_front();
    Py_DECREF(oldest); // may run any code
}

nb::object CauseOf(const ErrorFacts& facts) {
    const std::deque<Failure>& failures = LastFailures();
    for (auto failure = failures.rbegin(); failure != failures.rend(); ++failure)
        if (failure->location == facts.location && EndsWith(facts.text, failure->text))
            return nb::borrow(failure->exception);
    return nb::none();
}

void ForgetFailures() {
    for (const Failure& failure : std::exchange(LastFailures(), {}))
        Py_DECREF(failure.exception);
}

} // namespace TellarPython
