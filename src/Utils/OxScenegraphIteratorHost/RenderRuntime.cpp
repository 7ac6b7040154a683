#include "RenderRuntime.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string_view>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "ExceptionText.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

constexpr const char* kRoot = "/root";
constexpr const char* kRenderRuntime = "renderRuntime";

bool IsRuntimeShared() {
    const char* value = std::getenv("RUNTIME_USE_CONCURRENT");
    return value && std::string_view(value) == "1";
}

struct NoRuntime {};

/// A new runtime, published in place of that of the previous render.
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

/// The producer that `create` makes. When it makes none or throws, reports why and returns null.
template <typename Create>
GeometryProducer::Ptr CreateRoot(Create create) {
    GeometryProducer::Ptr root;
    try {
        root = create();
    } catch (const NoRuntime&) {
        kIteratorHostLogger.error("Runtime could not be loaded.");
        return nullptr;
    } catch (const std::exception& error) {
        std::cerr << "Error occurred creating ThreadAwareGeometyProducer.\n"
                  << "Exception message: '" << TextOf(error) << "'" << std::endl;
    }
    if (root) return root;
    constexpr const char* kFailure = "Tellar3 producer create failed.";
    std::cerr << kFailure << std::endl;
    kIteratorHostLogger.error(kFailure);
    return nullptr;
}

} // namespace

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
        kIteratorHostLogger.info("Runtime finalize deferred while live rendering.");
        return;
    }
    if (const auto runtime = client->getRuntime()) runtime->finalize();
}

} // namespace TELLAR
