#ifndef TELLAR_PYTHON_UNLOCKED_H
#define TELLAR_PYTHON_UNLOCKED_H

#include <nanobind/nanobind.h>

namespace TellarPython {

/// Calls a function without the interpreter's lock. It must not touch Python's objects.
template <typename Function>
auto Unlocked(Function function) {
    const nanobind::gil_scoped_release released;
    return function();
}

} // namespace TellarPython

#endif
