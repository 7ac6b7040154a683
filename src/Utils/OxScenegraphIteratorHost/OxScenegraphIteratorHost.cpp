#include "OxScenegraphIteratorHost.h"

#include <cstddef>
#include <set>
#include <string>
#include <vector>

#include <OxTellarProducers/OpTreeDescription.h>
#include <OxTellarProducers/OxSgIterator.h>

#include "OxSgIteratorStruct.h"
#include "RenderRuntime.h"
#include "SuiteEntry.h"

using OxAttribute::Attribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

namespace {

using Suite = OxScenegraphIteratorHostSuite_v3;
using OldSuite = OxScenegraphIteratorHostSuite_v2;

const NamedLogger kLogger("ScenegraphIteratorHost");

// What goes to C: a location in a handle that is still to be retained, an attribute with its
// reference.

OxSgIteratorStruct* ToC(GeometryProducer::Ptr producer) {
    return OxGeometryProducerToHandle(std::move(producer));
}

OxAttributeStruct* ToC(Attribute attribute) {
    return attribute.detach();
}

template <typename Body>
auto Enter(const SuiteEntry& entry, Body body) {
    return RunSuiteEntry(kLogger, entry, body);
}

/// An entry that asks a location: `ask` gets the producer, which is kept meanwhile even if
/// another thread releases the handle. A null handle gives null.
template <typename Ask>
auto EnterWith(const SuiteEntry& entry, OxSgIteratorStruct* iterator, Ask ask) {
    return Enter(entry, [&] {
        const GeometryProducer::Ptr producer = OxHandleToGeometryProducer(iterator);
        return producer ? ask(*producer) : decltype(ask(*producer))();
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
    return EnterWith("getFirstChild", iterator, [&](GeometryProducer& location) {
        return ToC(location.getFirstChild(evict));
    });
}

OxSgIteratorStruct* GetNextSibling(OxSgIteratorStruct* iterator, bool evict) {
    return EnterWith("getNextSibling", iterator, [&](GeometryProducer& location) {
        return ToC(location.getNextSibling(evict));
    });
}

OxSgIteratorStruct* GetParent(OxSgIteratorStruct* iterator) {
    return EnterWith("getParent", iterator,
                     [](GeometryProducer& location) { return ToC(location.getParent()); });
}

OxSgIteratorStruct* GetRoot(OxSgIteratorStruct* iterator) {
    return EnterWith("getRoot", iterator,
                     [](GeometryProducer& location) { return ToC(location.getRootProducer()); });
}

OxSgIteratorStruct* GetChildByName(OxSgIteratorStruct* iterator, const char* name, bool evict) {
    return EnterWith("getChildByName", iterator, [&](GeometryProducer& location) {
        return ToC(location.getChildByName(name, evict));
    });
}

OxSgIteratorStruct* GetProducerByPath(OxSgIteratorStruct* iterator, const char* path, bool evict) {
    return EnterWith("getProducerByPath", iterator, [&](GeometryProducer& location) {
        return ToC(location.getProducerByPath(path ? path : "", evict));
    });
}

OxAttributeStruct* GetName(OxSgIteratorStruct* iterator) {
    return EnterWith("getName", iterator, [](GeometryProducer& location) {
        return ToC(StringAttribute(location.getName()));
    });
}

OxAttributeStruct* GetFullName(OxSgIteratorStruct* iterator) {
    return EnterWith("getFullName", iterator, [](GeometryProducer& location) {
        return ToC(StringAttribute(location.getFullName()));
    });
}

OxAttributeStruct* GetAttribute(OxSgIteratorStruct* iterator, const char* name) {
    return EnterWith("getAttribute", iterator,
                     [&](GeometryProducer& location) { return ToC(location.getAttribute(name)); });
}

OxAttributeStruct* GetGlobalAttribute(OxSgIteratorStruct* iterator, const char* name) {
    return EnterWith("getGlobalAttribute", iterator, [&](GeometryProducer& location) {
        return ToC(name ? location.getGlobalAttribute(name) : Attribute());
    });
}

OxAttributeStruct* GetAttributeNames(OxSgIteratorStruct* iterator) {
    return EnterWith("getAttributeNames", iterator, [](GeometryProducer& location) {
        std::set<std::string> names;
        location.getAttributeNames(&names);
        return ToC(StringAttribute(std::vector<std::string>(names.begin(), names.end()), 1));
    });
}

OxAttributeStruct* GetGlobalXFormGroup(OxSgIteratorStruct* iterator) {
    return EnterWith("getGlobalXFormGroup", iterator, [](GeometryProducer& location) {
        return ToC(location.getGlobalXFormGroup());
    });
}

OxAttributeStruct* GetPotentialChildren(OxSgIteratorStruct* iterator) {
    return EnterWith("getPotentialChildren", iterator, [](GeometryProducer& location) {
        return ToC(location.getPotentialChildren());
    });
}

void FinalizeRuntime(OxSgIteratorStruct* iterator) {
    EnterWith("finalizeRuntime", iterator,
              [](GeometryProducer& location) { FinalizeRenderRuntime(location); });
}

Suite MakeSuite() {
    Suite suite{};
    suite.retainIterator = RetainIterator;
    suite.releaseIterator = ReleaseIterator;
    suite.loadOpTreeDescription = LoadOpTreeDescription;
    suite.createRootIteratorFromOpTreeFile = CreateRootIteratorFromOpTreeFile;
    suite.createRootIteratorFromOpTreeDescription = CreateRootIteratorFromOpTreeDescription;
    suite.getFirstChild = GetFirstChild;
    suite.getNextSibling = GetNextSibling;
    suite.getParent = GetParent;
    suite.getRoot = GetRoot;
    suite.getChildByName = GetChildByName;
    suite.getProducerByPath = GetProducerByPath;
    suite.getName = GetName;
    suite.getFullName = GetFullName;
    suite.getAttribute = GetAttribute;
    suite.getGlobalAttribute = GetGlobalAttribute;
    suite.getAttributeNames = GetAttributeNames;
    suite.getGlobalXFormGroup = GetGlobalXFormGroup;
    suite.getPotentialChildren = GetPotentialChildren;
    suite.finalizeRuntime = FinalizeRuntime;
    return suite;
}

OldSuite MakeOldSuite(const Suite& suite) {
    OldSuite old{};
    old.retainIterator = suite.retainIterator;
    old.releaseIterator = suite.releaseIterator;
    old.createRootIteratorFromOpTreeFile = suite.createRootIteratorFromOpTreeFile;
    old.getFirstChild = suite.getFirstChild;
    old.getNextSibling = suite.getNextSibling;
    old.getParent = suite.getParent;
    old.getRoot = suite.getRoot;
    old.getChildByName = suite.getChildByName;
    old.getProducerByPath = suite.getProducerByPath;
    old.getName = suite.getName;
    old.getFullName = suite.getFullName;
    old.getAttribute = suite.getAttribute;
    old.getGlobalAttribute = suite.getGlobalAttribute;
    old.getAttributeNames = suite.getAttributeNames;
    old.getGlobalXFormGroup = suite.getGlobalXFormGroup;
    old.getPotentialChildren = suite.getPotentialChildren;
    return old;
}

constexpr std::size_t Slot(std::size_t offset) {
    return offset / sizeof(void*);
}

static_assert(sizeof(Suite) == 19 * sizeof(void*), "19 slots, for ever");
static_assert(Slot(offsetof(Suite, retainIterator)) == 0);
static_assert(Slot(offsetof(Suite, releaseIterator)) == 1);
static_assert(Slot(offsetof(Suite, loadOpTreeDescription)) == 2);
static_assert(Slot(offsetof(Suite, createRootIteratorFromOpTreeFile)) == 3);
static_assert(Slot(offsetof(Suite, createRootIteratorFromOpTreeDescription)) == 4);
static_assert(Slot(offsetof(Suite, getFirstChild)) == 5);
static_assert(Slot(offsetof(Suite, getNextSibling)) == 6);
static_assert(Slot(offsetof(Suite, getParent)) == 7);
static_assert(Slot(offsetof(Suite, getRoot)) == 8);
static_assert(Slot(offsetof(Suite, getChildByName)) == 9);
static_assert(Slot(offsetof(Suite, getProducerByPath)) == 10);
static_assert(Slot(offsetof(Suite, getName)) == 11);
static_assert(Slot(offsetof(Suite, getFullName)) == 12);
static_assert(Slot(offsetof(Suite, getAttribute)) == 13);
static_assert(Slot(offsetof(Suite, getGlobalAttribute)) == 14);
static_assert(Slot(offsetof(Suite, getAttributeNames)) == 15);
static_assert(Slot(offsetof(Suite, getGlobalXFormGroup)) == 16);
static_assert(Slot(offsetof(Suite, getPotentialChildren)) == 17);
static_assert(Slot(offsetof(Suite, finalizeRuntime)) == 18);

static_assert(sizeof(OldSuite) == 16 * sizeof(void*), "16 slots, for ever");
static_assert(Slot(offsetof(OldSuite, retainIterator)) == 0);
static_assert(Slot(offsetof(OldSuite, releaseIterator)) == 1);
static_assert(Slot(offsetof(OldSuite, createRootIteratorFromOpTreeFile)) == 2);
static_assert(Slot(offsetof(OldSuite, getFirstChild)) == 3);
static_assert(Slot(offsetof(OldSuite, getNextSibling)) == 4);
static_assert(Slot(offsetof(OldSuite, getParent)) == 5);
static_assert(Slot(offsetof(OldSuite, getRoot)) == 6);
static_assert(Slot(offsetof(OldSuite, getChildByName)) == 7);
static_assert(Slot(offsetof(OldSuite, getProducerByPath)) == 8);
static_assert(Slot(offsetof(OldSuite, getName)) == 9);
static_assert(Slot(offsetof(OldSuite, getFullName)) == 10);
static_assert(Slot(offsetof(OldSuite, getAttribute)) == 11);
static_assert(Slot(offsetof(OldSuite, getGlobalAttribute)) == 12);
static_assert(Slot(offsetof(OldSuite, getAttributeNames)) == 13);
static_assert(Slot(offsetof(OldSuite, getGlobalXFormGroup)) == 14);
static_assert(Slot(offsetof(OldSuite, getPotentialChildren)) == 15);

} // namespace

const Suite* GetScenegraphIteratorHostSuite_v3() {
    static const Suite suite = MakeSuite();
    return &suite;
}

const OldSuite* GetScenegraphIteratorHostSuite_v2() {
    static const OldSuite suite = MakeOldSuite(*GetScenegraphIteratorHostSuite_v3());
    return &suite;
}

} // namespace TELLAR
