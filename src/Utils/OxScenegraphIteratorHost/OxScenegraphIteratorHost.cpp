#include "OxScenegraphIteratorHost.h"

#include <atomic>
#include <cstdint>
#include <utility>
#include <vector>

#include <OxTellarProducers/OpTreeDescription.h>
#include <OxTellarProducers/OxSgIterator.h>

#include "RenderRuntime.h"
#include "SuiteEntry.h"
#include "SuiteTable.h"

using namespace OxAttribute;

/// The object behind a C location handle: a count and the producer that it keeps.
struct OxSgIteratorStruct {
    explicit OxSgIteratorStruct(TELLAR::GeometryProducer::Ptr producer)
        : producer(std::move(producer)) {}

    std::atomic<std::int32_t> refCount{0};
    const TELLAR::GeometryProducer::Ptr producer;
};

namespace TELLAR {

namespace {

using Suite = OxScenegraphIteratorHostSuite_v3;
using OldSuite = OxScenegraphIteratorHostSuite_v2;

/// A new handle with a count of 0.
OxSgIteratorStruct* ToC(GeometryProducer::Ptr producer) {
    return OxGeometryProducerToHandle(std::move(producer));
}

/// A handle that carries the attribute's reference.
OxAttributeStruct* ToC(Attribute attribute) {
    return attribute.detach();
}

OxAttributeStruct* ToC(const std::string& text) {
    return StringAttribute(text).detach();
}

void RetainIterator(OxSgIteratorStruct* iterator) noexcept {
    if (iterator) iterator->refCount.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseIterator(OxSgIteratorStruct* iterator) noexcept {
    // Acquire and release: the thread that frees the handle must see the writes of the others.
    if (iterator && iterator->refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete iterator;
}

template <typename Body>
auto Enter(const SuiteEntry& entry, Body body) {
    return RunSuiteEntry(kIteratorHostLogger, entry, body);
}

/// An entry that asks a location. The producer is kept during the call, even if another thread
/// releases the handle. A null handle gives null.
template <typename Ask>
auto EnterWith(const SuiteEntry& entry, OxSgIteratorStruct* iterator, Ask ask) {
    return Enter(entry, [&] {
        const GeometryProducer::Ptr producer = OxHandleToGeometryProducer(iterator);
        return producer ? ask(*producer) : decltype(ask(*producer))();
    });
}

/// An entry that calls one function of the producer.
template <auto Function, typename... Arguments>
auto Ask(const SuiteEntry& entry, OxSgIteratorStruct* iterator, Arguments... arguments) {
    return EnterWith(entry, iterator, [&](GeometryProducer& location) {
        return ToC((location.*Function)(arguments...));
    });
}

OxSgIteratorStruct* Retained(OxSgIteratorStruct* handle) {
    RetainIterator(handle);
    return handle;
}

OxAttributeStruct* LoadOpTreeDescription(const char* path) {
    return Enter("loadOpTreeDescription",
                 [&] { return ToC(LoadOpTreeDescriptionFromFile(path ? path : "", false)); });
}

OxSgIteratorStruct* CreateRootIteratorFromOpTreeFile(const char* path) {
    return Enter("createRootIteratorFromOpTreeFile",
                 [&] { return Retained(ToC(CreateRootFromOpTreeFile(path))); });
}

OxSgIteratorStruct* CreateRootIteratorFromOpTreeDescription(OxAttributeStruct* description) {
    return Enter("createRootIteratorFromOpTreeDescription",
                 [&] { return Retained(ToC(CreateRootFromOpTreeDescription(description))); });
}

OxSgIteratorStruct* GetFirstChild(OxSgIteratorStruct* iterator, bool evict) {
    return Ask<&GeometryProducer::getFirstChild>("getFirstChild", iterator, evict);
}

OxSgIteratorStruct* GetNextSibling(OxSgIteratorStruct* iterator, bool evict) {
    return Ask<&GeometryProducer::getNextSibling>("getNextSibling", iterator, evict);
}

OxSgIteratorStruct* GetParent(OxSgIteratorStruct* iterator) {
    return Ask<&GeometryProducer::getParent>("getParent", iterator);
}

OxSgIteratorStruct* GetRoot(OxSgIteratorStruct* iterator) {
    return Ask<&GeometryProducer::getRootProducer>("getRoot", iterator);
}

OxSgIteratorStruct* GetChildByName(OxSgIteratorStruct* iterator, const char* name, bool evict) {
    return Ask<&GeometryProducer::getChildByName>("getChildByName", iterator, name, evict);
}

OxSgIteratorStruct* GetProducerByPath(OxSgIteratorStruct* iterator, const char* path, bool evict) {
    return EnterWith("getProducerByPath", iterator, [&](auto& location) {
        return ToC(location.getProducerByPath(path ? path : "", evict));
    });
}

OxAttributeStruct* GetName(OxSgIteratorStruct* iterator) {
    return Ask<&GeometryProducer::getName>("getName", iterator);
}

OxAttributeStruct* GetFullName(OxSgIteratorStruct* iterator) {
    return Ask<&GeometryProducer::getFullName>("getFullName", iterator);
}

OxAttributeStruct* GetAttribute(OxSgIteratorStruct* iterator, const char* name) {
    return Ask<&GeometryProducer::getAttribute>("getAttribute", iterator, name);
}

OxAttributeStruct* GetGlobalAttribute(OxSgIteratorStruct* iterator, const char* name) {
    return EnterWith("getGlobalAttribute", iterator, [&](auto& location) {
        return ToC(name ? location.getGlobalAttribute(name) : Attribute());
    });
}

OxAttributeStruct* GetAttributeNames(OxSgIteratorStruct* iterator) {
    return EnterWith("getAttributeNames", iterator, [](auto& location) {
        std::set<std::string> names;
        location.getAttributeNames(&names);
        return ToC(StringAttribute(std::vector<std::string>(names.begin(), names.end()), 1));
    });
}

OxAttributeStruct* GetGlobalXFormGroup(OxSgIteratorStruct* iterator) {
    return Ask<&GeometryProducer::getGlobalXFormGroup>("getGlobalXFormGroup", iterator);
}

OxAttributeStruct* GetPotentialChildren(OxSgIteratorStruct* iterator) {
    return Ask<&GeometryProducer::getPotentialChildren>("getPotentialChildren", iterator);
}

void FinalizeRuntime(OxSgIteratorStruct* iterator) {
    EnterWith("finalizeRuntime", iterator, [](auto& location) { FinalizeRenderRuntime(location); });
}

constexpr Suite MakeSuite() {
    static_assert(sizeof(Suite) == 19 * sizeof(void*));
    Suite suite{};
    TELLAR_SET_SLOT(suite, 0, retainIterator, RetainIterator);
    TELLAR_SET_SLOT(suite, 1, releaseIterator, ReleaseIterator);
    TELLAR_SET_SLOT(suite, 2, loadOpTreeDescription, LoadOpTreeDescription);
    TELLAR_SET_SLOT(suite, 3, createRootIteratorFromOpTreeFile, CreateRootIteratorFromOpTreeFile);
    TELLAR_SET_SLOT(suite, 4, createRootIteratorFromOpTreeDescription,
                    CreateRootIteratorFromOpTreeDescription);
    TELLAR_SET_SLOT(suite, 5, getFirstChild, GetFirstChild);
    TELLAR_SET_SLOT(suite, 6, getNextSibling, GetNextSibling);
    TELLAR_SET_SLOT(suite, 7, getParent, GetParent);
    TELLAR_SET_SLOT(suite, 8, getRoot, GetRoot);
    TELLAR_SET_SLOT(suite, 9, getChildByName, GetChildByName);
    TELLAR_SET_SLOT(suite, 10, getProducerByPath, GetProducerByPath);
    TELLAR_SET_SLOT(suite, 11, getName, GetName);
    TELLAR_SET_SLOT(suite, 12, getFullName, GetFullName);
    TELLAR_SET_SLOT(suite, 13, getAttribute, GetAttribute);
    TELLAR_SET_SLOT(suite, 14, getGlobalAttribute, GetGlobalAttribute);
    TELLAR_SET_SLOT(suite, 15, getAttributeNames, GetAttributeNames);
    TELLAR_SET_SLOT(suite, 16, getGlobalXFormGroup, GetGlobalXFormGroup);
    TELLAR_SET_SLOT(suite, 17, getPotentialChildren, GetPotentialChildren);
    TELLAR_SET_SLOT(suite, 18, finalizeRuntime, FinalizeRuntime);
    return suite;
}
constexpr Suite kSuite = MakeSuite();

constexpr OldSuite MakeOldSuite() {
    static_assert(sizeof(OldSuite) == 16 * sizeof(void*));
    OldSuite old{};
    TELLAR_SET_SLOT(old, 0, retainIterator, kSuite.retainIterator);
    TELLAR_SET_SLOT(old, 1, releaseIterator, kSuite.releaseIterator);
    TELLAR_SET_SLOT(old, 2, createRootIteratorFromOpTreeFile,
                    kSuite.createRootIteratorFromOpTreeFile);
    TELLAR_SET_SLOT(old, 3, getFirstChild, kSuite.getFirstChild);
    TELLAR_SET_SLOT(old, 4, getNextSibling, kSuite.getNextSibling);
    TELLAR_SET_SLOT(old, 5, getParent, kSuite.getParent);
    TELLAR_SET_SLOT(old, 6, getRoot, kSuite.getRoot);
    TELLAR_SET_SLOT(old, 7, getChildByName, kSuite.getChildByName);
    TELLAR_SET_SLOT(old, 8, getProducerByPath, kSuite.getProducerByPath);
    TELLAR_SET_SLOT(old, 9, getName, kSuite.getName);
    TELLAR_SET_SLOT(old, 10, getFullName, kSuite.getFullName);
    TELLAR_SET_SLOT(old, 11, getAttribute, kSuite.getAttribute);
    TELLAR_SET_SLOT(old, 12, getGlobalAttribute, kSuite.getGlobalAttribute);
    TELLAR_SET_SLOT(old, 13, getAttributeNames, kSuite.getAttributeNames);
    TELLAR_SET_SLOT(old, 14, getGlobalXFormGroup, kSuite.getGlobalXFormGroup);
    TELLAR_SET_SLOT(old, 15, getPotentialChildren, kSuite.getPotentialChildren);
    return old;
}
constexpr OldSuite kOldSuite = MakeOldSuite();

} // namespace

OxSgIteratorStruct* OxGeometryProducerToHandle(GeometryProducer::Ptr producer) {
    return producer ? new OxSgIteratorStruct(std::move(producer)) : nullptr;
}

GeometryProducer::Ptr OxHandleToGeometryProducer(OxSgIteratorStruct* handle) {
    return handle ? handle->producer : nullptr;
}

const Suite* GetScenegraphIteratorHostSuite_v3() {
    return &kSuite;
}

const OldSuite* GetScenegraphIteratorHostSuite_v2() {
    return &kOldSuite;
}

} // namespace TELLAR
