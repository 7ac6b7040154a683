#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>

#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "CameraScenes.h"
#include "CapturedLog.h"
#include "SceneBuilders.h"
#include "SuiteHandles.h"

// Every entry of the C suites that runs code of others, with code that throws.

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::StringAttribute;
using testing::EndsWith;

const OxRenderOutputUtilsHostSuite_v3& Utils() {
    return *static_cast<const OxRenderOutputUtilsHostSuite_v3*>(
        Host()->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3));
}

/// Throws wherever it is asked for anything.
class ThrowingProducer : public TELLAR::GeometryProducer {
public:
    explicit ThrowingProducer(std::function<void()> throwIt, Ptr parent = nullptr)
        : GeometryProducer(std::move(parent)), throwIt(std::move(throwIt)) {}
    void getAttributeNames(std::set<std::string>*) override { throwIt(); }
    StringAttribute getPotentialChildren() override { return fail<StringAttribute>(); }
    Attribute getAttribute(const char*) override { return fail<Attribute>(); }
    std::string getName() override { return fail<std::string>(); }
    std::string getFullName() override { return fail<std::string>(); }
    std::string getHash() override { return fail<std::string>(); }
    Ptr getChildByName(const char*, bool) override { return fail<Ptr>(); }
    Ptr getFirstChild(bool) override { return fail<Ptr>(); }
    Ptr getNextSibling(bool) override { return fail<Ptr>(); }
    std::shared_ptr<TellarRuntime::Client> getClient() override {
        return fail<std::shared_ptr<TellarRuntime::Client>>();
    }

private:
    template <typename Result>
    Result fail() const {
        throwIt();
        return {};
    }

    const std::function<void()> throwIt;
};

// Whether a result is null. One that is not is let go of as a plug-in would.
bool IsNull(OxAttributeStruct* result) {
    return !Owned(result).isValid();
}
bool IsNull(OxSgIteratorStruct* result) {
    return !Handle::retaining(result);
}
bool IsNull(OxShadingNodeMapStruct* result) {
    Utils().destroyShadingNodeMap(result);
    return !result;
}
bool IsNull(CameraInfoStruct* result) {
    Utils().releaseCameraInfo(result);
    return !result;
}

struct Entry {
    const char* file;
    const char* name;
    /// Calls it, and tells whether it gave its null result.
    bool (*call)(OxSgIteratorStruct* location);
};

constexpr const char* kIteratorFile = "OxScenegraphIteratorHost.cpp";
constexpr const char* kUtilsFile = "OxRenderOutputUtilsHost.cpp";

const Entry kIteratorEntries[] = {
    {kIteratorFile, "getFirstChild",
     [](auto* at) { return IsNull(Iterators().getFirstChild(at, false)); }},
    {kIteratorFile, "getNextSibling",
     [](auto* at) { return IsNull(Iterators().getNextSibling(at, false)); }},
    {kIteratorFile, "getChildByName",
     [](auto* at) { return IsNull(Iterators().getChildByName(at, "a", false)); }},
    {kIteratorFile, "getProducerByPath",
     [](auto* at) { return IsNull(Iterators().getProducerByPath(at, "/root/a", false)); }},
    {kIteratorFile, "getName", [](auto* at) { return IsNull(Iterators().getName(at)); }},
    {kIteratorFile, "getFullName", [](auto* at) { return IsNull(Iterators().getFullName(at)); }},
    {kIteratorFile, "getAttribute",
     [](auto* at) { return IsNull(Iterators().getAttribute(at, "a")); }},
    {kIteratorFile, "getGlobalAttribute",
     [](auto* at) { return IsNull(Iterators().getGlobalAttribute(at, "a")); }},
    {kIteratorFile, "getAttributeNames",
     [](auto* at) { return IsNull(Iterators().getAttributeNames(at)); }},
    {kIteratorFile, "getGlobalXFormGroup",
     [](auto* at) { return IsNull(Iterators().getGlobalXFormGroup(at)); }},
    {kIteratorFile, "getPotentialChildren",
     [](auto* at) { return IsNull(Iterators().getPotentialChildren(at)); }},
    {kIteratorFile, "finalizeRuntime", [](auto* at) {
         Iterators().finalizeRuntime(at);
         return true;
     }}};

const char* const kTerminals[] = {"surface"};

const Entry kUtilsEntries[] = {
    {kUtilsFile, "getProceduralArguments",
     [](auto* at) {
         const auto procedural = Group({{"includeCameraInfo", Text("As Parameters")}});
         return IsNull(Utils().getProceduralArguments(at, nullptr, procedural.getHandle(),
                                                      kOxProceduralClassic, nullptr, nullptr));
     }},
    {"CameraEntries.cpp", "getPixelAreaThroughCamera",
     [](auto* at) { return Utils().getPixelAreaThroughCamera(at, kCamera, "square_512") == 0; }},
    {"CameraEntries.cpp", "getRenderResolution",
     [](auto* at) { return IsNull(Utils().getRenderResolution(at, nullptr, nullptr)); }},
    {"CameraEntries.cpp", "getCameraPath",
     [](auto* at) { return IsNull(Utils().getCameraPath(at)); }},
    {"MaterialEntries.cpp", "getFlattenedMaterialAttr",
     [](auto* at) { return IsNull(Utils().getFlattenedMaterialAttr(at, kTerminals, 1)); }},
    {"MaterialEntries.cpp", "getShadingNetworkNodes",
     [](auto* at) { return IsNull(Utils().getShadingNetworkNodes(at)); }},
    {"CameraEntries.cpp", "getCameraInfo",
     [](auto* at) { return IsNull(Utils().getCameraInfo(at, kCamera)); }},
    {kUtilsFile, "getTempRenderLocation",
     [](auto* at) { return IsNull(Utils().getTempRenderLocation(at, "beauty", 1)); }},
    {kUtilsFile, "getTilePath",
     [](auto* at) { return IsNull(Utils().getTilePath(at, "/out/b.exr")); }}};

struct Suite {
    const char* logger;
    std::vector<Entry> entries;
};

const Suite kSuites[] = {
    {"ScenegraphIteratorHost", {std::begin(kIteratorEntries), std::end(kIteratorEntries)}},
    {"RenderOutputUtils", {std::begin(kUtilsEntries), std::end(kUtilsEntries)}}};

void ExpectEveryEntryToLog(const Suite& suite, const std::function<void()>& throwIt,
                           const std::string& reason) {
    const Handle location = Handle::of(new ThrowingProducer(throwIt));
    std::set<std::pair<std::string, int>> places;
    for (const Entry& entry : suite.entries) {
        SCOPED_TRACE(entry.name);
        const CapturedLog log;
        EXPECT_TRUE(entry.call(location.get()));
        ASSERT_EQ(log.messages().size(), 1u);
        const OxLogMessage message = log.messages()[0];
        EXPECT_EQ(message.loggerName, suite.logger);
        EXPECT_EQ(message.level, OxLogLevel::error);
        EXPECT_EQ(message.text, entry.name + (": " + reason));
        EXPECT_THAT(message.file, EndsWith(entry.file));
        places.emplace(message.file, message.line);
    }
    EXPECT_EQ(places.size(), suite.entries.size()) << "each entry tells its own place";
}

TEST(SuiteEntries, LogTheirNameAndPlaceWithWhatAnExceptionSays) {
    for (const Suite& suite : kSuites)
        ExpectEveryEntryToLog(
            suite, [] { throw std::runtime_error("It fails."); }, "It fails.");
}

TEST(SuiteEntries, LetNothingOutThatIsNoStandardException) {
    for (const Suite& suite : kSuites)
        ExpectEveryEntryToLog(
            suite, [] { throw 7; }, "unknown exception");
}

/// Counts how often somebody wants to know what it says.
class CountedError : public std::exception {
public:
    explicit CountedError(int* asked) : asked(asked) {}
    const char* what() const noexcept override {
        ++*asked;
        return "It fails.";
    }

private:
    int* asked;
};

TEST(SuiteEntries, DoNoWorkForAMessageThatIsOff) {
    int asked = 0;
    const Handle location = Handle::of(new ThrowingProducer([&] { throw CountedError(&asked); }));
    for (const Suite& suite : kSuites) {
        const OxLogLevel before = OxLoggingGetLevel(suite.logger);
        OxLoggingSetLevel(suite.logger, OxLogLevel::off);
        for (const Entry& entry : suite.entries)
            EXPECT_TRUE(entry.call(location.get())) << entry.name;
        OxLoggingSetLevel(suite.logger, before);
    }
    EXPECT_EQ(asked, 0);
}

TEST(SuiteEntries, KeepALocationWhoseHandleIsReleasedMeanwhile) {
    // All that is asked for lets go of the handle first, as another thread might.
    OxSgIteratorStruct* handle = nullptr;
    bool isReleased = false;
    const auto letGo = [&] {
        if (!isReleased) Iterators().releaseIterator(handle);
        isReleased = true;
    };
    for (const Suite& suite : kSuites)
        for (const Entry& entry : suite.entries) {
            SCOPED_TRACE(entry.name);
            isReleased = false;
            handle = TELLAR::OxGeometryProducerToHandle(new ThrowingProducer(letGo));
            Iterators().retainIterator(handle);
            entry.call(handle);
            EXPECT_TRUE(isReleased);
        }
}

} // namespace
