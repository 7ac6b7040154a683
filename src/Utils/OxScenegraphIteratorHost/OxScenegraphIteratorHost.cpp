#include "OxScenegraphIteratorHost.h"

#include <cstdlib>
#include <exception>
#include <functional>
#include <iostream>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OpTreeDescription.h>
#include <OxTellarProducers/OxSgIterator.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "ExceptionText.h"
#include "LocationHandle.h"
#include "SuiteEntry.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Suite = OxScenegraphIteratorHostSuite_v3;
using OldSuite = OxScenegraphIteratorHostSuite_v2;

const NamedLogger kLogger("ScenegraphIteratorHost");

constexpr const char* kRoot = "/root";
constexpr const char* kRenderRuntime = "renderRuntime";

void RetainIterator(OxSgIteratorStruct* iterator) noexcept {
    if (iterator) iterator->retain();
}

void ReleaseIterator(OxSgIteratorStruct* iterator) noexcept {
    if (iterator) iterator->release();
}

bool IsRuntimeShared() {
    const char* value = std::getenv("RUNTIME_USE_CONCURRENT");
    return value && std::string_view(value) == "1";
}

struct NoRuntime {};

/// Publishes a new runtime in place of the previous render's.
std::shared_ptr<TellarRuntime> PublishRuntime() {
    OxTellarServicesHost::RegisterRuntimeInstance(nullptr, kRenderRuntime);
    std::shared_ptr<TellarRuntime> runtime = OxTellarServicesHost().createRuntime();
    OxTellarServicesHost::RegisterRuntimeInstance(runtime, kRenderRuntime);
    if (!runtime) throw NoRuntime();
    return runtime;
}

/// One client for all threads.
GeometryProducer::Ptr CreateSharedRoot(const std::string& opTreeFile) {
    const auto runtime = PublishRuntime();
    const auto transaction = runtime->createTransaction();
    FileStream stream(opTreeFile, true);
    const auto op = transaction->deserializeOps(stream);
    const auto client = transaction->createClient();
    transaction->setClientOp(client, op);
    runtime->commit(transaction);
    return CreateSyncGeometryProducer(client, kRoot);
}

/// A handle with a count of 1 onto the producer that `create` makes. When it makes none or throws,
/// reports why and returns null.
template <typename Create>
OxSgIteratorStruct* CreateRoot(Create create) {
    GeometryProducer::Ptr root;
    try {
        root = create();
    } catch (const NoRuntime&) {
        kLogger.error("Runtime could not be loaded.");
        return nullptr;
    } catch (const std::exception& error) {
        std::cerr << "Error occurred creating ThreadAwareGeometyProducer.\n"
                  << "Exception message: '" << TextOf(error) << "'" << std::endl;
    }
    if (root) {
        OxSgIteratorStruct* const handle = OxGeometryProducerToHandle(std::move(root));
        RetainIterator(handle);
        return handle;
    }
    constexpr const char* kFailure = "Tellar3 producer create failed.";
    std::cerr << kFailure << std::endl;
    kLogger.error(kFailure);
    return nullptr;
}

OxSgIteratorStruct* CreateRootFromOpTreeFile(const char* path) {
    return CreateRoot([&] {
        const std::string file = path ? path : "";
        return IsRuntimeShared() ? CreateSharedRoot(file)
                                 : CreateThreadAwareGeometryProducer(file, kRoot);
    });
}

OxSgIteratorStruct* CreateRootFromOpTreeDescription(OxAttributeStruct* description) {
    return CreateRoot([&] {
        const GroupAttribute ops(Attribute::CreateAndRetain(description));
        return CreateThreadAwareGeometryProducer(ops, kRoot);
    });
}

/// Finalizes the runtime behind a location, unless its scene is being rendered live.
void FinalizeRuntime(OxSgIteratorStruct* iterator) {
    const auto location = OxHandleToGeometryProducer(iterator);
    const auto client = location ? location->getClient() : nullptr;
    if (!client) return;
    if (IsRenderedLive(*client)) {
        kLogger.info("Runtime finalize deferred while live rendering.");
        return;
    }
    if (const auto runtime = client->getRuntime()) runtime->finalize();
}

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

/// The body of an entry that asks a location: `question` is a member of its producer, or a function
/// that gets the producer first. A null handle gives null.
template <typename Question>
constexpr auto Ask(Question question) {
    return [question](OxSgIteratorStruct* iterator, auto... arguments) {
        // Kept during the call, even if another thread releases the handle.
        const GeometryProducer::Ptr location = OxHandleToGeometryProducer(iterator);
        return location ? ToC(std::invoke(question, *location, arguments...)) : nullptr;
    };
}

StringAttribute GetAttributeNames(GeometryProducer& location) {
    std::set<std::string> names;
    location.getAttributeNames(&names);
    return {std::vector<std::string>(names.begin(), names.end()), 1};
}

Suite MakeSuite() {
    static_assert(sizeof(Suite) == 19 * sizeof(void*));
    using Location = GeometryProducer;
    Suite suite{};
    TELLAR_SET_SLOT(suite, 0, retainIterator, RetainIterator);
    TELLAR_SET_SLOT(suite, 1, releaseIterator, ReleaseIterator);
    TELLAR_SET_ENTRY(suite, 2, loadOpTreeDescription, [](const char* path) {
        return ToC(LoadOpTreeDescriptionFromFile(path ? path : "", false));
    });
    TELLAR_SET_ENTRY(suite, 3, createRootIteratorFromOpTreeFile, CreateRootFromOpTreeFile);
    TELLAR_SET_ENTRY(suite, 4, createRootIteratorFromOpTreeDescription,
                     CreateRootFromOpTreeDescription);
    TELLAR_SET_ENTRY(suite, 5, getFirstChild, Ask(&Location::getFirstChild));
    TELLAR_SET_ENTRY(suite, 6, getNextSibling, Ask(&Location::getNextSibling));
    TELLAR_SET_ENTRY(suite, 7, getParent, Ask(&Location::getParent));
    TELLAR_SET_ENTRY(suite, 8, getRoot, Ask(&Location::getRootProducer));
    TELLAR_SET_ENTRY(suite, 9, getChildByName, Ask(&Location::getChildByName));
    TELLAR_SET_ENTRY(suite, 10, getProducerByPath,
                     Ask([](Location& location, const char* path, bool evict) {
                         return location.getProducerByPath(path ? path : "", evict);
                     }));
    TELLAR_SET_ENTRY(suite, 11, getName, Ask(&Location::getName));
    TELLAR_SET_ENTRY(suite, 12, getFullName, Ask(&Location::getFullName));
    TELLAR_SET_ENTRY(suite, 13, getAttribute, Ask(&Location::getAttribute));
    TELLAR_SET_ENTRY(suite, 14, getGlobalAttribute, Ask([](Location& location, const char* name) {
                         return name ? location.getGlobalAttribute(name) : Attribute();
                     }));
    TELLAR_SET_ENTRY(suite, 15, getAttributeNames, Ask(GetAttributeNames));
    TELLAR_SET_ENTRY(suite, 16, getGlobalXFormGroup, Ask(&Location::getGlobalXFormGroup));
    TELLAR_SET_ENTRY(suite, 17, getPotentialChildren, Ask(&Location::getPotentialChildren));
    TELLAR_SET_ENTRY(suite, 18, finalizeRuntime, FinalizeRuntime);
    return suite;
}

OldSuite MakeOldSuite() {
    static_assert(sizeof(OldSuite) == 16 * sizeof(void*));
    const Suite& suite = *GetScenegraphIteratorHostSuite_v3();
    OldSuite old{};
    TELLAR_SET_SLOT(old, 0, retainIterator, suite.retainIterator);
    TELLAR_SET_SLOT(old, 1, releaseIterator, suite.releaseIterator);
    TELLAR_SET_SLOT(old, 2, createRootIteratorFromOpTreeFile,
                    suite.createRootIteratorFromOpTreeFile);
    TELLAR_SET_SLOT(old, 3, getFirstChild, suite.getFirstChild);
    TELLAR_SET_SLOT(old, 4, getNextSibling, suite.getNextSibling);
    TELLAR_SET_SLOT(old, 5, getParent, suite.getParent);
    TELLAR_SET_SLOT(old, 6, getRoot, suite.getRoot);
    TELLAR_SET_SLOT(old, 7, getChildByName, suite.getChildByName);
    TELLAR_SET_SLOT(old, 8, getProducerByPath, suite.getProducerByPath);
    TELLAR_SET_SLOT(old, 9, getName, suite.getName);
    TELLAR_SET_SLOT(old, 10, getFullName, suite.getFullName);
    TELLAR_SET_SLOT(old, 11, getAttribute, suite.getAttribute);
    TELLAR_SET_SLOT(old, 12, getGlobalAttribute, suite.getGlobalAttribute);
    TELLAR_SET_SLOT(old, 13, getAttributeNames, suite.getAttributeNames);
    TELLAR_SET_SLOT(old, 14, getGlobalXFormGroup, suite.getGlobalXFormGroup);
    TELLAR_SET_SLOT(old, 15, getPotentialChildren, suite.getPotentialChildren);
    return old;
}

std::atomic<void (*)(const OxSgIteratorStruct*)> handleObserver{nullptr};

} // namespace

bool IsRenderedLive(TellarRuntime::Client& client) {
    const GroupAttribute attrs = client.cookLocation(kRoot).getAttrs();
    return attrs.getChildByName("liveRenderSettings").isValid() ||
           attrs.getChildByName("liveRender").isValid();
}

void ObserveMadeHandles(void (*function)(const OxSgIteratorStruct*)) {
    handleObserver = function;
}

OxSgIteratorStruct* OxGeometryProducerToHandle(GeometryProducer::Ptr producer) {
    if (!producer) return nullptr;
    auto* const handle = new OxSgIteratorStruct(std::move(producer));
    if (const auto observe = handleObserver.load(std::memory_order_acquire)) observe(handle);
    return handle;
}

GeometryProducer::Ptr OxHandleToGeometryProducer(OxSgIteratorStruct* handle) {
    return handle ? handle->producer : nullptr;
}

const Suite* GetScenegraphIteratorHostSuite_v3() {
    static const Suite suite = MakeSuite();
    return &suite;
}

const OldSuite* GetScenegraphIteratorHostSuite_v2() {
    static const OldSuite suite = MakeOldSuite();
    return &suite;
}

} // namespace TELLAR
