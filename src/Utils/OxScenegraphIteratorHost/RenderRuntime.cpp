#include "RenderRuntime.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <string>
#include <string_view>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/TellarRuntime.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "Utils/SuiteEntry.h"

using OxAttribute::Attribute;
using OxAttribute::FileStream;
using OxAttribute::GroupAttribute;

namespace TELLAR {

namespace {

constexpr const char* kRoot = "/root";
constexpr const char* kRenderRuntime = "renderRuntime";

void LogError(const char* message, int line) {
    if (IteratorHostLogger().errorEnabled()) IteratorHostLogger().error(message, __FILE__, line);
}

bool IsRuntimeShared() {
    const char* value = std::getenv("RUNTIME_USE_CONCURRENT");
    return value && std::string_view(value) == "1";
}

struct NoRuntime {};

/// A new runtime, published in place of the one of the render before.
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
    const auto op = transaction->deserializeOps(&stream, &FileStream::read);
    const auto client = transaction->createClient();
    transaction->setClientOp(client, op);
    runtime->commit(transaction);
    return CreateSyncGeometryProducer(client, kRoot);
}

/// The producer that `create` makes; null, with the reason told, when it makes none or throws.
template <typename Create>
GeometryProducer::Ptr CreateRoot(Create create) {
    GeometryProducer::Ptr root;
    try {
        root = create();
    } catch (const NoRuntime&) {
        LogError("Runtime could not be loaded.", __LINE__);
        return nullptr;
    } catch (const std::exception& error) {
        std::cerr << "Error occurred creating ThreadAwareGeometyProducer.\n"
                  << "Exception message: '" << TextOf(error) << "'" << std::endl;
    }
    if (root) return root;
    constexpr const char* kFailure = "Tellar3 producer create failed.";
    std::cerr << kFailure << std::endl;
    LogError(kFailure, __LINE__);
    return nullptr;
}

} // namespace

const OxLoggerGlue& IteratorHostLogger() {
    static const auto* const logger = new OxLoggerGlue("ScenegraphIteratorHost");
    return *logger;
}

GeometryProducer::Ptr CreateRootFromOpTreeFile(const char* path) {
    return CreateRoot([&] {
        const std::string file = path ? path : "";
        return IsRuntimeShared() ? CreateSharedRoot(file)
                                 : CreateThreadAwareGeometryProducer(file, kRoot);
    });
}

GeometryProducer::Ptr CreateRootFromOpTreeDescription(OxAttributeStruct* description) {
    return CreateRoot([&] {
        const GroupAttribute ops(Attribute::CreateAndRetain(description));
        return CreateThreadAwareGeometryProducer(ops, kRoot);
    });
}

void FinalizeRenderRuntime(GeometryProducer& producer) {
    const auto client = producer.getClient();
    if (!client) return;
    const GroupAttribute attrs = client->cookLocation(kRoot).getAttrs();
    for (const char* name : {"liveRenderSettings", "liveRender"}) {
        if (!attrs.getChildByName(name).isValid()) continue;
        if (IteratorHostLogger().infoEnabled())
            IteratorHostLogger().info("Runtime finalize deferred while live rendering.", __FILE__,
                                      __LINE__);
        return;
    }
    if (const auto runtime = client->getRuntime()) runtime->finalize();
}

} // namespace TELLAR
