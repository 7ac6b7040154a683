#include "PythonCode.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <thread>
#include <vector>

#include <OxTellarSDK/TellarError.h>

#include "Unlocked.h"

namespace TellarPython {

namespace {

constexpr auto kLookAgain = std::chrono::milliseconds(1);

/// The threads that run Python code, or are about to. A thread that asked for the interpreter's
/// lock once the interpreter has begun to end would be stopped in the middle of a C++ function.
struct Gate {
    std::atomic<std::size_t> inside{0};
    std::atomic<bool> isClosed{false};
    std::thread::id closer; // set before isClosed
};

/// Threads of the library may outlive all statics.
Gate& GetGate() {
    static auto* const gate = new Gate;
    return *gate;
}

thread_local std::size_t depth = 0; // of PythonCode in this thread

/// The caller leaves later if this returns true. Either this sees that the gate is closed, or the
/// closer sees that this thread is inside.
bool TryEnter() {
    Gate& gate = GetGate();
    ++gate.inside;
    if (!gate.isClosed) return true;
    --gate.inside;
    return false;
}

void Leave() {
    --GetGate().inside;
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

/// Whether the calling thread ends the interpreter, which frees its objects, and holds its lock.
bool IsEndOfInterpreter() {
    const Gate& gate = GetGate();
    return gate.isClosed && gate.closer == std::this_thread::get_id() && nanobind::is_alive() &&
           PyGILState_Check();
}

} // namespace

PythonCode::PythonCode() {
    if (!TryEnter())
        throw TellarError(kOxErrorCancelled, "the Python interpreter ends, in which its type runs");
    lock.emplace();
    ++depth;
    DropDiscarded(nullptr);
}

PythonCode::~PythonCode() {
    --depth;
    lock.reset();
    Leave();
}

void ReleaseLater(PyObject* object) noexcept {
    if (IsEndOfInterpreter()) return Py_DECREF(object);
    Discarded& discarded = GetDiscarded();
    const std::lock_guard guard(discarded.mutex);
    try {
        discarded.objects.push_back(object);
    } catch (...) {
        return; // without memory it is never dropped
    }
    if (discarded.isCallPending || !TryEnter()) return;
    // Needs no lock of the interpreter. Fails when too many calls are pending; then the next
    // PythonCode drops the references.
    discarded.isCallPending = Py_AddPendingCall(DropDiscarded, nullptr) == 0;
    Leave();
}

void EndPythonCode() {
    Gate& gate = GetGate();
    gate.closer = std::this_thread::get_id();
    gate.isClosed = true;
    Unlocked([&] {
        while (gate.inside > 0)
            std::this_thread::sleep_for(kLookAgain);
    });
    DropDiscarded(nullptr);
}

void ForgetOtherThreads() {
    GetGate().inside = depth;
}

} // namespace TellarPython
