#include "PythonCode.h"

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <utility>
#include <vector>

#include <OxTellarSDK/TellarError.h>

#include "Unlocked.h"

namespace TellarPython {

namespace {

/// The threads that run Python code. A thread that asked for the interpreter's lock once the
/// interpreter has begun to end would be stopped in the middle of a C++ function.
struct Gate {
    std::mutex mutex; // guards the members below
    std::condition_variable left;
    std::size_t inside = 0;
    bool isClosed = false;
};

/// Threads of the library may outlive all statics.
Gate& GetGate() {
    static auto* const gate = new Gate;
    return *gate;
}

struct Discarded {
    std::mutex mutex; // guards the members below
    std::vector<PyObject*> objects;
    bool isCallPending = false;
};

Discarded& GetDiscarded() {
    static auto* const discarded = new Discarded;
    return *discarded;
}

/// The caller holds the interpreter's lock. Dropping a reference may run any code, which may
/// discard more.
int DropDiscarded(void*) {
    Discarded& discarded = GetDiscarded();
    std::vector<PyObject*> objects;
    {
        const std::lock_guard guard(discarded.mutex);
        discarded.isCallPending = false;
        objects.swap(discarded.objects);
    }
    for (PyObject* const object : objects)
        Py_DECREF(object);
    return 0;
}

void Enter() {
    Gate& gate = GetGate();
    const std::lock_guard guard(gate.mutex);
    if (gate.isClosed)
        throw TellarError(kOxErrorCancelled, "the Python interpreter ends, in which its type runs");
    ++gate.inside;
}

void Leave() {
    Gate& gate = GetGate();
    const std::lock_guard guard(gate.mutex);
    --gate.inside;
    gate.left.notify_all();
}

} // namespace

PythonCode::PythonCode() {
    Enter();
    lock.emplace();
    DropDiscarded(nullptr);
}

PythonCode::~PythonCode() {
    lock.reset();
    Leave();
}

void ReleaseLater(PyObject* object) noexcept {
    Discarded& discarded = GetDiscarded();
    const std::lock_guard guard(discarded.mutex);
    try {
        discarded.objects.push_back(object);
    } catch (...) {
        return; // without memory it is never dropped
    }
    Gate& gate = GetGate();
    const std::lock_guard gateGuard(gate.mutex);
    if (discarded.isCallPending || gate.isClosed) return;
    // Needs no lock of the interpreter. Fails when too many calls are pending; then the next
    // PythonCode drops the references.
    discarded.isCallPending = Py_AddPendingCall(DropDiscarded, nullptr) == 0;
}

void EndPythonCode() {
    Unlocked([] {
        Gate& gate = GetGate();
        std::unique_lock guard(gate.mutex);
        gate.isClosed = true;
        gate.left.wait(guard, [&] { return gate.inside == 0; });
    });
    DropDiscarded(nullptr);
}

} // namespace TellarPython
