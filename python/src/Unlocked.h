#ifndef TELLAR_PYTHON_UNLOCKED_H
#define TELLAR_PYTHON_UNLOCKED_H

#include <nanobind/nanobind.h>

namespace TellarPython {

/// Gives the interpreter's lock away for as long as it lives.
///
/// When the interpreter ends meanwhile, the thread never gets the lock again. It then stops here
/// for good, as threads of later versions of Python do, instead of ending the process by an
/// exception that older ones send through it.
class Unlock {
public:
    Unlock() : state(PyEval_SaveThread()) {}
    ~Unlock();
    Unlock(const Unlock&) = delete;
    Unlock& operator=(const Unlock&) = delete;

private:
    PyThreadState* const state;
};

/// Calls a function without the interpreter's lock. It must not touch Python's objects.
template <typename Function>
auto Unlocked(Function function) {
    const Unlock unlock;
    return function();
}

} // namespace TellarPython

#endif
