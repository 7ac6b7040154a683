// Many threads that are the first to use each of the process-wide objects, all at once.

#include <array>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/ClientFactory.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarProducers/ThreadLocalClient.h>
#include <OxTellarProducers/TilePath.h>
#include <OxTellarSDK/AttributeSuite.h>

#include "CameraScenes.h"
#include "CapturedLog.h"
#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using testing::Each;
using testing::SizeIs;

constexpr std::size_t kThreads = 8;

/// The results of many threads that call the function at the same time.
template <typename Call>
auto OfAllThreads(const Call& call) {
    std::array<decltype(call()), kThreads> results{};
    RunTogether(kThreads, [&](int number) { results[static_cast<std::size_t>(number)] = call(); });
    return results;
}

OxAttribute::GroupAttribute Description() {
    const Children materials = {{"material", Group({{"nodes", Group({{"n", Group({})}})}})}};
    return SceneTree(CameraScene(CameraAttrs(UnitLens()), materials));
}

/// The suite of this name and version, with the host set up and the library initialised.
const void* SuiteOf(const char* name, unsigned int version) {
    OxPluginHost* const host = OxGetPluginHost();
    return OxTellarProducersInitialize(host) == 0 ? host->getSuite(name, version) : nullptr;
}

// A process uses each of them for the first time once, so this is all of one test.
TEST(FirstUse, MayBeThatOfManyThreadsAtOnce) {
    EXPECT_THAT(OfAllThreads([] { return OxLoggingGetLevel("ClientFactory") < OxLogLevel::off; }),
                Each(true));
    const CapturedLog log;

    // Suites and the tables of their functions.
    for (const auto& [name, version] : {std::pair(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3u),
                                        std::pair(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 2u),
                                        std::pair(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3u)}) {
        const auto suites = OfAllThreads([&] { return SuiteOf(name, version); });
        EXPECT_NE(suites[0], nullptr);
        EXPECT_THAT(suites, Each(suites[0]));
    }

    // The loggers of the client factory, thread-local clients, the iterator suite and tile paths.
    const auto missing = TELLAR::OpTreeSource::createFromFile("");
    EXPECT_THAT(OfAllThreads([&] { return TELLAR::ClientCreateWithOpTree(missing); }),
                Each(nullptr));
    EXPECT_THAT(OfAllThreads([&] { return TELLAR::ThreadLocalClient(missing).getClient(); }),
                Each(nullptr));
    const auto* const iterators = static_cast<const OxScenegraphIteratorHostSuite_v3*>(
        SuiteOf(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3));
    EXPECT_THAT(OfAllThreads([&] { return iterators->createRootIteratorFromOpTreeFile(""); }),
                Each(nullptr));
    EXPECT_THAT(
        OfAllThreads([] { return TELLAR::RenderOutputUtilsHost::ProcessTilePath("a", {}); }),
        Each("a"));
    for (const char* name :
         {"ClientFactory", "ThreadLocalClient", "ScenegraphIteratorHost", "RenderOutputUtils"})
        EXPECT_THAT(log.textsOf(name), SizeIs(testing::Ge(kThreads))) << name;

    // The client factory: every client that the threads made and gave back is known to the same.
    const auto source = TELLAR::OpTreeSource::createFromGroupAttribute(Description());
    const auto clients = OfAllThreads([&] { return TELLAR::ClientCreateWithOpTree(source); });
    const std::set<std::shared_ptr<TellarRuntime::Client>> made(clients.begin(), clients.end());
    EXPECT_THAT(made, SizeIs(kThreads));
    for (const auto& client : clients)
        TELLAR::ClientInvalidate(client);
    auto left = made;
    while (left.erase(TELLAR::ClientCreateWithOpTree(source)) == 1) {
    }
    EXPECT_THAT(left, SizeIs(0));

    // Thread-local clients and what producers keep for a thread.
    const auto roots = OfAllThreads([] {
        const auto root = TELLAR::CreateThreadAwareGeometryProducer(Description(), "/root");
        const auto again = TELLAR::CreateThreadAwareGeometryProducer(Description(), "/root");
        const bool isOneStore = root->getClient() == again->getClient();
        return isOneStore && WalkChildren(root).size() == 1 ? root : nullptr;
    });
    EXPECT_THAT(roots, Each(testing::NotNull()));

    // Cameras, flattened materials, picture formats, settings and delegates.
    const TELLAR::GeometryProducer::Ptr root = roots[0];
    const auto cameras = OfAllThreads([&] { return TELLAR::GetCameraInfo(root, kCamera); });
    EXPECT_NE(cameras[0], nullptr);
    EXPECT_EQ(TELLAR::GetCameraInfo(root, kCamera), TELLAR::GetCameraInfo(root, kCamera));
    const auto materials = OfAllThreads(
        [&] { return TELLAR::GetFlattenedMaterialAttr(root->getProducerByPath(kGeo, false), {}); });
    EXPECT_TRUE(materials[0].isValid());
    EXPECT_THAT(materials, Each(materials[0]));
    EXPECT_THAT(OfAllThreads([&] {
                    std::string name;
                    int width = 0;
                    int height = 0;
                    TELLAR::GetRenderResolution(&name, &width, &height, root);
                    return width;
                }),
                Each(512));
    EXPECT_THAT(OfAllThreads([] {
                    return TELLAR::RenderOutputUtilsHost::ProcessTilePath("/a.exr", {1, 2});
                }),
                Each("/tile_1_2.a.exr"));
    EXPECT_THAT(OfAllThreads([] {
                    std::vector<std::string> types;
                    using Cache = TELLAR::OxScenegraphLocationDelegateCache;
                    Cache::getLocationTypesWithDelegates(types, "no renderer");
                    return Cache::isCacheInitialized() && types.empty();
                }),
                Each(true));
}

} // namespace
