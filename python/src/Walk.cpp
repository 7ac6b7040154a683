#include "Walk.h"

#include <memory>
#include <utility>

#include "Classes.h"
#include "Errors.h"
#include "LocationStream.h"
#include "Locations.h"
#include "Unlocked.h"

namespace nb = nanobind;

namespace TellarPython {

namespace {

/// Python's class Walk. For one thread at a time.
class Walk {
public:
    Walk(std::unique_ptr<LocationStream> locations, nb::object errorHandler)
        : stream(std::move(locations)), onError(std::move(errorHandler)) {}
    Walk(Walk&&) = default;
    ~Walk() { close(); }

    nb::object next() {
        for (;;) {
            if (position == batch.size() && !refill()) throw nb::stop_iteration();
            StreamedLocation& streamed = batch[position++];
            if (streamed.location) return nb::cast(Location{std::move(streamed.location)});
            report(streamed.error);
        }
    }

    void close() {
        if (!stream) return;
        // The threads of the stream may need the lock for op types that are written in Python.
        Unlocked([this] { stream.reset(); });
        batch.clear();
        position = 0;
    }

    int traverse(visitproc visit, void* arg) const {
        Py_VISIT(onError.ptr());
        return 0;
    }

private:
    bool refill() {
        if (!stream) return false;
        batch.clear();
        position = 0;
        batch = Unlocked([this] { return stream->next(); });
        if (batch.empty()) close();
        return !batch.empty();
    }

    void report(const std::exception_ptr& error) const {
        if (onError.is_none()) std::rethrow_exception(error);
        onError(ExceptionObject(error));
    }

    std::unique_ptr<LocationStream> stream; // null at the end
    LocationStream::Batch batch;
    std::size_t position = 0; // in the batch
    nb::object onError;
};

int TraverseWalk(PyObject* self, visitproc visit, void* arg) {
    Py_VISIT(Py_TYPE(self));
    return nb::inst_ready(self) ? nb::inst_ptr<Walk>(self)->traverse(visit, arg) : 0;
}

PyType_Slot walkSlots[] = {{Py_tp_traverse, reinterpret_cast<void*>(TraverseWalk)}, {0, nullptr}};

} // namespace

nb::object WalkOf(TELLAR::GeometryProducer::Ptr start, Selection selection, int threads,
                  nb::object onError) {
    return nb::cast(
        Walk(std::make_unique<LocationStream>(std::move(start), std::move(selection), threads),
             std::move(onError)));
}

void AddWalk(nb::module_& module) {
    nb::class_<Walk>(
        module, "Walk", nb::type_slots(walkSlots),
        "The locations of a walk, one by one, in the order of the tree.\n\n"
        "Other threads compute a few hundred locations ahead. A context manager: leaving\n"
        "it, or `close`, ends the walk and its threads early.")
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
