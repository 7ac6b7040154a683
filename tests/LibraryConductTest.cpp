// The conduct of the library as a whole: the threads, files and environment variables that it uses,
// memory for messages that nobody reads, and calls after the end of main.

#include <OxTellarProducers/OxTellarProducersInitialize.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <new>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <unistd.h>

#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/ClientFactory.h>
#include <OxTellarProducers/ConvertTextures.h>
#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>
#include <OxTellarProducers/ProceduralArguments.h>
#include <OxTellarProducers/ScreenSpace.h>
#include <OxTellarProducers/TilePath.h>
#include <OxTellarSDK/AttributeStream.h>

#include "CameraScenes.h"
#include "ProducerHelpers.h"
#include "ScopedEnvironment.h"
#include "SuiteHandles.h"
#include "TempDirectory.h"
#include "TestOps.h"

// Everything in the process allocates and reads its environment here.

namespace {

std::atomic<std::size_t> allocatedBytes{0};

/// Names that were asked for while it is on. Plain memory: the environment is read before any
/// constructor has run.
struct AskedVariables {
    std::array<char, 4096> text{};
    std::size_t length = 0;
    bool isOn = false;
} askedVariables;

} // namespace

void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept {
    allocatedBytes.fetch_add(bytes, std::memory_order_relaxed);
    return std::malloc(bytes > 0 ? bytes : 1);
}
void* operator new(std::size_t bytes) {
    if (void* memory = operator new(bytes, std::nothrow)) return memory;
    throw std::bad_alloc();
}
// Inlined, they would seem to free what they should not.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

extern "C" __attribute__((visibility("default"))) char* getenv(const char* name) noexcept {
    const std::size_t length = std::strlen(name);
    AskedVariables& asked = askedVariables;
    if (asked.isOn && asked.length + length < asked.text.size()) {
        std::memcpy(asked.text.data() + asked.length, name, length + 1);
        asked.length += length + 1;
    }
    for (char** variable = environ; variable && *variable; ++variable)
        if (std::strncmp(*variable, name, length) == 0 && (*variable)[length] == '=')
            return *variable + length + 1;
    return nullptr;
}

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using testing::Each;
using testing::ElementsAre;

using Ptr = TELLAR::GeometryProducer::Ptr;

GroupAttribute TourTree() {
    const auto node = Group({{"name", Text("red")}, {"type", Text("matte")}});
    const auto material = Group({{"style", Text("network")},
                                 {"nodes", Group({{"red", node}})},
                                 {"terminals", Group({{"surface", Text("red")}})}});
    const auto textures = Group({{"colour", Text("a.tx")}});
    const Children geo{{"type", Text("mesh")},
                       {"bound", Doubles({-1, 1, -1, 1, -2, -2})},
                       {"material", material},
                       {"textures", textures}};
    return Group({{"scene", OpEntry("StaticScene", CameraScene(CameraAttrs(UnitLens()), geo))},
                  {"hook", OpEntry("TestHook", {}, {"scene"})}});
}

/// Calls what a renderer would, from the suite's root iterator on, and tells what came of it.
std::string Tour(const Ptr& root) {
    const Ptr geo = root->getProducerByPath(kGeo);
    std::string seen = NameOf(geo) + " " + geo->getType();
    std::vector<Imath::V3d> points{{0, 0, -1}};
    TELLAR::ConvertPointListToNDC(geo, kCamera, points);
    seen += " " + std::to_string(points[0].x + TELLAR::GetLocalToScreenMatrix(geo)[3][3]);
    seen += " " + std::to_string(TELLAR::GetPixelAreaThroughCamera(geo, kCamera, "square_512"));
    TELLAR::ProceduralOutputContextInfo context;
    const auto procedural = Group({{"args", Group({{"a", Int(1)}})}});
    seen += TELLAR::BuildClassicProceduralArgumentsString(geo, context, procedural, nullptr);
    seen += TELLAR::BuildScenegraphAttrProceduralArgumentsString(geo, context, procedural, nullptr);
    seen += TELLAR::GetFlattenedMaterialAttr(geo, {"surface"}).getXML();
    seen += TELLAR::ConvertTexturesToArbitraryAttr(geo->getAttribute("textures")).getXML();
    seen += TELLAR::RenderOutputUtilsHost::ProcessTilePath("/out/a.exr", {1, 2});
    TELLAR::OxScenegraphLocationDelegateCache::getPluginSuite("no type", "no renderer");
    return seen;
}

/// The root iterator of an op file, which is written first.
Handle OpenFile(const TempDirectory& folder) {
    OxAttribute::WriteOpFile(folder.path("tour.oxop"), TourTree());
    return Handle::owning(
        Iterators().createRootIteratorFromOpTreeFile(folder.path("tour.oxop").c_str()));
}

std::string TourOfFile(const TempDirectory& folder) {
    const Handle root = OpenFile(folder);
    return Tour(TELLAR::OxHandleToGeometryProducer(root.get()));
}

std::string TourOfStaticScene() {
    return Tour(StaticRoot(GroupAttribute(TourTree().getChildByName("scene.opArgs"))));
}

int CountThreads() {
    int count = 0;
    std::error_code ignored;
    for ([[maybe_unused]] const auto& thread :
         std::filesystem::directory_iterator("/proc/self/task", ignored))
        ++count;
    return count; // 0 where that cannot be seen
}

class LibraryConduct : public testing::Test {
protected:
    void SetUp() override {
        TELLAR::ClearCameraInfoCache();
        TELLAR::EmptyFlattenedMaterialCache();
    }
    const TempDirectory folder;
};

TEST_F(LibraryConduct, CooksOnTheCallersThreadAndStartsNone) {
    std::thread([] {}).join(); // sanitizers start a thread of their own with the first one
    const int threads = CountThreads();
    std::vector<std::thread::id> cookedOn;
    TestHookNow() = [&cookedOn] { cookedOn.push_back(std::this_thread::get_id()); };
    std::thread::id other;
    std::thread([&] {
        other = std::this_thread::get_id();
        TourOfFile(folder);
    }).join();
    TestHookNow() = [] {};
    EXPECT_FALSE(cookedOn.empty());
    EXPECT_THAT(cookedOn, Each(other));
    TourOfFile(folder);
    EXPECT_EQ(CountThreads(), threads);
}

TEST_F(LibraryConduct, WritesNoFiles) {
    const TempDirectory empty;
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(empty.path());
    {
        const ScopedEnvironment home("HOME", empty.path());
        const ScopedEnvironment temporary("TMPDIR", empty.path());
        TourOfFile(folder);
    }
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_empty(empty.path()));
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
        files.push_back(entry.path().filename());
    EXPECT_THAT(files, ElementsAre("tour.oxop"));
}

TEST_F(LibraryConduct, ReadsOneVariableOfTheEnvironment) {
    askedVariables.isOn = true;
    TourOfFile(folder);
    askedVariables.isOn = false;
    std::set<std::string> names;
    const char* name = askedVariables.text.data();
    for (; name < askedVariables.text.data() + askedVariables.length; name += strlen(name) + 1)
        if (std::strncmp(name, "OX_", 3) != 0) names.insert(name); // those are the platform's
    EXPECT_THAT(names, ElementsAre("RUNTIME_USE_CONCURRENT"));
}

template <typename Call>
std::size_t BytesAllocatedIn(Call call) {
    const std::size_t before = allocatedBytes;
    call();
    return allocatedBytes - before;
}

TEST_F(LibraryConduct, PutsNoMessageTogetherThatNobodyReads) {
    using TELLAR::OpTreeSource;
    const std::string name(1000000, 'x'); // too long for a file
    const std::size_t bytesOfTheReason = BytesAllocatedIn([&name] {
        std::string reason;
        EXPECT_FALSE(OpTreeSource::createFromFile(name).isValid(&reason));
    });
    EXPECT_GE(bytesOfTheReason, name.size());
    const auto bytesOfAFailure = [](const char* logger, auto call) {
        const OxLogLevel level = OxLoggingGetLevel(logger);
        OxLoggingSetLevel(logger, OxLogLevel::off);
        const std::size_t bytes = BytesAllocatedIn([&call] { EXPECT_FALSE(call()); });
        OxLoggingSetLevel(logger, level);
        return bytes;
    };
    const auto makeClient = [&name] {
        return TELLAR::ClientCreateWithOpTree(OpTreeSource::createFromFile(name));
    };
    const auto makeProducer = [&name] {
        return TELLAR::CreateThreadAwareGeometryProducer(name, "/root");
    };
    const std::size_t limit = bytesOfTheReason + name.size() / 2;
    EXPECT_LT(bytesOfAFailure("ClientFactory", makeClient), limit);
    EXPECT_LT(bytesOfAFailure("ThreadLocalClient", makeProducer), limit);
}

// The end of the process --------------------------------------------------------------------------

/// Made before anything of the library, so that it goes after all that is destroyed with it.
struct AfterMain {
    std::string expected;
    ~AfterMain() {
        if (expected.empty()) return;
        TELLAR::ClearCameraInfoCache();
        TELLAR::EmptyFlattenedMaterialCache();
        const auto client = TELLAR::ClientCreateWithOpTree(
            TELLAR::OpTreeSource::createFromGroupAttribute(SceneTree(Location({}))));
        const bool isCooked = client && client->cookLocation("/root").doesLocationExist();
        if (isCooked && TourOfStaticScene() == expected && Iterators().retainIterator) return;
        std::fputs("The library no longer works after main.\n", stderr);
        std::_Exit(EXIT_FAILURE);
    }
} afterMain;

TEST_F(LibraryConduct, IsTheSameAfterTheEndOfMain) {
    afterMain.expected = TourOfStaticScene();
    EXPECT_FALSE(afterMain.expected.empty());
}

} // namespace
