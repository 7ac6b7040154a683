#ifndef TELLAR_PYTHON_PYTHONCODE_H
#define TELLAR_PYTHON_PYTHONCODE_H

#include <optional>

#include <nanobind/nanobind.h>

namespace TellarPython {

/// While it lives, a thread of the library runs Python code: it holds the interpreter's lock, and
/// the interpreter does not end. May be nested.
class PythonCode {
public:
    /// Waits for the lock. Throws TellarError of the kind kOxErrorCancelled when the interpreter
    /// ends.
    PythonCode();
    ~PythonCode();
    PythonCode(const PythonCode&) = delete;
    PythonCode& operator=(const PythonCode&) = delete;

private:
    std::optional<nanobind::gil_scoped_acquire> lock;
};

/// Gives up a reference from any thread, with or without the interpreter's lock and with any lock
/// of the library. The reference is dropped soon, by a thread that runs Python code. While the
/// interpreter ends it is dropped at once, and not at all by other threads than the one that ends
/// it.
void ReleaseLater(PyObject* object) noexcept;

/// Refuses further PythonCode, and returns when there is none any more. The caller, who ends the
/// interpreter, holds its lock and is no PythonCode itself.
void EndPythonCode();

/// For the child of a fork, which has one thread.
void ForgetOtherThreads();

} // namespace TellarPython

#endif
