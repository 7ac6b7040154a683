#ifndef OXTELLARPRODUCERS_ITERATORENTRIES_H
#define OXTELLARPRODUCERS_ITERATORENTRIES_H

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>
#include <utility>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include "ErrorEntry.h"
#include "LocationHandle.h"

// The parts that the entries of the suite "ScenegraphIteratorHost", version 4, share. A function
// for each subject fills its slots.

namespace TELLAR::ScenegraphIteratorHost4 {

using Suite = OxScenegraphIteratorHostSuite_v4;

void FillSceneSlots(Suite& suite);
void FillNavigationSlots(Suite& suite);
void FillValueSlots(Suite& suite);
void FillSubtreeSlots(Suite& suite);
void FillVisitSlots(Suite& suite);
void FillChangeSlots(Suite& suite);

/// A handle with one reference onto the location of a step; null when there is none. When the
/// location could not be cooked, sets the error.
OxSgIteratorStruct* ToHandle(LocationStep step, OxErrorStruct*& error);
/// The same for a location that an OwnLocation led to.
OxSgIteratorStruct* ToOwnHandle(LocationStep step, OxErrorStruct*& error);

/// The producer of a handle. Throws BadCall for null.
inline GeometryProducer& At(OxSgIteratorStruct* location) {
    return *NotNull(location, "location")->producer;
}

/// The same for the location "/root" that `getRoot` returns, or cannot cook.
template <typename GetRoot>
OxSgIteratorStruct* ToRootHandle(GetRoot getRoot, OxErrorStruct*& error) {
    LocationStep root;
    try {
        root.location = getRoot();
    } catch (...) {
        root.error = std::current_exception();
        root.location = MakeFailedLocation(nullptr, "/root");
    }
    return ToHandle(std::move(root), error);
}

/// A text for C. Its length goes to *length, unless `length` is null.
inline const char* Lend(std::string_view text, std::int64_t* length) {
    if (length) *length = static_cast<std::int64_t>(text.size());
    return text.data() ? text.data() : "";
}

} // namespace TELLAR::ScenegraphIteratorHost4

#endif
