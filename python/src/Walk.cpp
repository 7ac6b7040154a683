#include "Walk.h"

#include <memory>
#include <utility>

#include <OxTellarSDK/TellarError.h>

#include "Classes.h"
#include "CookAhead.h"
#include "Errors.h"
#include "LocationSteps.h"
#include "Locations.h"
#include "Unlocked.h"

namespace nb = nanobind;

namespace TellarPython {

namespace {

/// Python's class Walk. For one thread at a time.
class Walk {
public:
    Walk(TELLAR::GeometryProducer::Ptr start, Selection selection, int threadCount,
         nb::object errorHandler)
        : steps(std::make_unique<LocationSteps>(start, selection)),
          onError(std::move(errorHandler)) {
        if (threadCount != 1 && start)
            ahead = std::make_unique<CookAhead>(start, std::move(selection), threadCount);
    }
    Walk(Walk&&) = default;
    ~Walk() { end(); }

    nb::object next() {
        for (;;) {
            checkIdle();
            if (position == batch.size() && !refill()) throw nb::stop_iteration();
            WalkedLocation& walked = batch[position++];
            if (walked.location) return nb::cast(Location{std::move(walked.location)});
            report(walked.error);
        }
    }

    void close() {
        checkIdle();
        end();
    }

    int traverse(visitproc visit, void* arg) const {
        Py_VISIT(onError.ptr());
        return 0;
    }

private:
    /// Python threads may come while another one is without the interpreter's lock.
    void checkIdle() const {
        if (isWaiting) throw TellarError(kOxErrorBadCall, "the walk is in use by another thread");
    }

    /// Fetches the next batch without the interpreter's lock.
    void fetch() {
        const auto idle = [](bool* waiting) { *waiting = false; };
        isWaiting = true;
        const std::unique_ptr<bool, decltype(idle)> waiting(&isWaiting, idle);
        Unlocked([this] {
            if (ahead) ahead->setReached(steps->countVisited());
            steps->next(batch);
        });
    }

    void end() {
        if (!steps) return;
        position = 0;
        LocationSteps::Batch dropped = std::exchange(batch, {});
        std::unique_ptr<LocationSteps> ended = std::move(steps);
        std::unique_ptr<CookAhead> stopped = std::move(ahead);
        // The threads may need the lock for op types that are written in Python.
        Unlocked([&] {
            stopped.reset();
            ended.reset();
            dropped.clear();
        });
    }

    bool refill() {
        if (!steps) return false;
        position = 0;
        fetch();
        if (batch.empty()) end();
        return !batch.empty();
    }

    void report(const std::exception_ptr& error) const {
        if (onError.is_none()) std::rethrow_exception(error);
        onError(ExceptionObject(error));
    }

    std::unique_ptr<LocationSteps> steps; // null at the end
    std::unique_ptr<CookAhead> ahead;     // null with one thread
    LocationSteps::Batch batch;
    std::size_t position = 0; // in the batch
    nb::object onError;
    bool isWaiting = false; // without the lock
};

int TraverseWalk(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    return nb::inst_ready(self) ? nb::inst_ptr<Walk>(self)->traverse(visit, arg) : 0;
}

PyType_Slot walkSlots[] = {{Py_tp_traverse, reinterpret_cast<void*>(TraverseWalk)}, {0, nullptr}};

} // namespace

nb::object WalkOf(TELLAR::GeometryProducer::Ptr start, Selection selection, int threads,
                  nb::object onError) {
    return nb::cast(Walk(std::move(start), std::move(selection), threads, std::move(onError)));
}

void AddWalk(nb::module_& module) {
    nb::class_<Walk>(
        module, "Walk", nb::type_slots(walkSlots),
        "The locations of a walk, one by one, in the order of the tree.\n\n"
        "A context manager: leaving it, or `close`, ends the walk and its threads early. For one\n"
        "thread.")
        .def(
            "__iter__", [](nb::handle self) { return nb::borrow(self); },
            nb::sig("def __iter__(self) -> Walk"))
        .def("__next__", &Walk::next, nb::sig("def __next__(self) -> Location"))
        .def("close", &Walk::close, "Ends the walk and waits for its threads.")
        .def(
            "__enter__", [](nb::handle self) { return nb::borrow(self); },
            nb::sig("def __enter__(self) -> Walk"))
        .def(
            "__exit__", [](Walk& self, nb::args) { self.close(); },
            nb::sig("def __exit__(self, *exception: object) -> None"));
}

} // namespace TellarPython
