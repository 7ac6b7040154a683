#include <utility>

#include "IteratorEntries.h"

namespace TELLAR::ScenegraphIteratorHost4 {

namespace {

OxSgIteratorStruct* MakeHandle(LocationStep step, bool isOwn, OxErrorStruct*& error) {
    if (!step.location) return nullptr;
    if (!step.error) return new OxSgIteratorStruct(std::move(step.location), isOwn, nullptr);
    error = OxErrorToHandle(step.error);
    auto* const handle = new OxSgIteratorStruct(std::move(step.location), isOwn, error);
    OxRetainError(error); // the reference of the handle
    return handle;
}

/// A handle with one reference onto a location that is known to be sound; null for null.
OxSgIteratorStruct* MakeHandle(GeometryProducer::Ptr location) {
    return location ? new OxSgIteratorStruct(std::move(location), false, nullptr) : nullptr;
}

OxSgIteratorStruct* Retained(OxSgIteratorStruct* location) {
    location->retain();
    return location;
}

OxSgIteratorStruct* GetFirstChild(OxSgIteratorStruct* location, OxErrorStruct*& error) {
    GeometryProducer& producer = At(location);
    const OwnLocation own = location->getOwn();
    return own ? ToOwnHandle(own.getChildFrom(0), error)
               : ToHandle(StepToFirstChild(producer), error);
}

OxSgIteratorStruct* GetNextSibling(OxSgIteratorStruct* location, OxErrorStruct*& error) {
    GeometryProducer& producer = At(location);
    const OwnLocation own = location->getOwn();
    return own ? ToOwnHandle(own.getNextSibling(), error)
               : ToHandle(StepToNextSibling(producer), error);
}

OxSgIteratorStruct* GetRoot(OxSgIteratorStruct* location) {
    GeometryProducer& producer = At(location);
    return producer.getRawParentPtr() ? MakeHandle(producer.getRootProducer()) : Retained(location);
}

OxSgIteratorStruct* GetChildByName(OxSgIteratorStruct* location, const char* name,
                                   OxErrorStruct*& error) {
    GeometryProducer& producer = At(location);
    const std::string wanted = NotNull(name, "name");
    if (wanted == ".") return Retained(location);
    if (wanted.find('/') != std::string::npos) throw BadCall{"name", "has a \"/\""};
    return ToHandle(StepToChildNamed(producer, wanted), error);
}

OxSgIteratorStruct* GetProducerByPath(OxSgIteratorStruct* location, const char* path,
                                      OxErrorStruct*& error) {
    LocationStep step = StepAlong(At(location), NotNull(path, "path"));
    // The location itself may be one that could not be cooked.
    return step.location == location->producer ? Retained(location)
                                               : ToHandle(std::move(step), error);
}

std::int64_t GetNumberOfChildren(OxSgIteratorStruct* location) {
    if (!location) return 0;
    if (const OwnLocation own = location->getOwn()) return own.getNumberOfChildren();
    return location->getTexts().childNames.getNumberOfValues();
}

const char* GetChildName(OxSgIteratorStruct* location, std::int64_t index, std::int64_t* length) {
    if (length) *length = 0;
    if (index < 0 || index >= GetNumberOfChildren(location)) return nullptr;
    const OwnLocation own = location->getOwn();
    return Lend(own ? own.getChildName(index) : location->getTexts().childNames.getValueView(index),
                length);
}

OxSgIteratorStruct* GetChild(OxSgIteratorStruct* location, std::int64_t index,
                             OxErrorStruct*& error) {
    GeometryProducer& producer = At(location);
    const OwnLocation own = location->getOwn();
    return own ? ToOwnHandle(own.getChild(index), error)
               : ToHandle(StepToChild(producer, index), error);
}

OxErrorStruct* GetLocationError(OxSgIteratorStruct* location) noexcept {
    OxErrorStruct* const error = location ? location->error : nullptr;
    OxRetainError(error);
    return error;
}

} // namespace

OxSgIteratorStruct* ToHandle(LocationStep step, OxErrorStruct*& error) {
    return MakeHandle(std::move(step), false, error);
}

OxSgIteratorStruct* ToOwnHandle(LocationStep step, OxErrorStruct*& error) {
    return MakeHandle(std::move(step), true, error);
}

void FillNavigationSlots(Suite& suite) {
    TELLAR_SET_SLOT(suite, 10, retainIterator, [](OxSgIteratorStruct* location) {
        if (location) location->retain();
    });
    TELLAR_SET_SLOT(suite, 11, releaseIterator, [](OxSgIteratorStruct* location) {
        if (location) location->release();
    });
    TELLAR_SET_ERROR_ENTRY(suite, 12, getFirstChild, GetFirstChild);
    TELLAR_SET_ERROR_ENTRY(suite, 13, getNextSibling, GetNextSibling);
    TELLAR_SET_ERROR_ENTRY(suite, 14, getParent, [](OxSgIteratorStruct* location) {
        return MakeHandle(At(location).getParent());
    });
    TELLAR_SET_ERROR_ENTRY(suite, 15, getRoot, GetRoot);
    TELLAR_SET_ERROR_ENTRY(suite, 16, getChildByName, GetChildByName);
    TELLAR_SET_ERROR_ENTRY(suite, 17, getProducerByPath, GetProducerByPath);
    TELLAR_SET_SILENT_ENTRY(suite, 18, getNumberOfChildren, GetNumberOfChildren);
    TELLAR_SET_SILENT_ENTRY(suite, 19, getChildName, GetChildName);
    TELLAR_SET_ERROR_ENTRY(suite, 20, getChild, GetChild);
    TELLAR_SET_ERROR_ENTRY(suite, 21, evict,
                           [](OxSgIteratorStruct* location, OxErrorStruct*& error) {
                               return ToHandle(StepAnew(At(location)), error);
                           });
    TELLAR_SET_SLOT(suite, 22, getLocationError, GetLocationError);
}

} // namespace TELLAR::ScenegraphIteratorHost4
