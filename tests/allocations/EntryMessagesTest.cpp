#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarProducers/ClientFactory.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/TilePath.h>
#include <OxTellarSDK/AttributeSuite.h>

#include "CameraScenes.h"
#include "CountedAllocations.h"
#include "SceneBuilders.h"
#include "SuiteHandles.h"

// Messages about entries of C suites that run out of memory, and the cost of messages that nobody
// wants.

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;

// Longer than what a string keeps without an allocation.
constexpr const char* kLongName = "a name that no string keeps in itself";

const OxRenderOutputUtilsHostSuite_v3& Utils() {
    return *static_cast<const OxRenderOutputUtilsHostSuite_v3*>(
        Host()->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3));
}

const OxAttributeSuite_v1& Attributes() {
    return *OxGetBuiltInAttributeSuite();
}

OxSgIteratorStruct* Kept(OxSgIteratorStruct* iterator) {
    Iterators().retainIterator(iterator);
    return iterator;
}

void Release(OxSgIteratorStruct* unretained) {
    Iterators().releaseIterator(Kept(unretained));
}

void Release(OxAttributeStruct* attribute) {
    Attributes().release(attribute);
}

/// The objects that the entries are called with.
struct Subject {
    OxSgIteratorStruct* root = Kept(TELLAR::OxGeometryProducerToHandle(StaticRoot(
        CameraScene(CameraAttrs(UnitLens()), {{"material", material}, {"textures", textures}}))));
    OxSgIteratorStruct* geo = Kept(Iterators().getProducerByPath(root, kGeo, false));
    OxSgIteratorStruct* cam = Kept(Iterators().getProducerByPath(root, "/root/world/cam", false));
    OxAttributeStruct* group = Group({{"a", Int(1)}}).getRetainedHandle();
    OxShadingNodeMapStruct* nodes = Utils().getShadingNetworkNodes(geo);
    OxShadingStruct* node = Utils().findShadingNode(nodes, kLongName);

    static inline const Attribute connections = Group({{kLongName, Text("out@dots")}});
    static inline const Attribute clay =
        Group({{"name", Text(kLongName)}, {"type", Text("matte")}, {"connections", connections}});
    static inline const Attribute material =
        Group({{"style", Text("network")}, {"nodes", Group({{"clay", clay}})}});
    static inline const Attribute textures = Group({{"dirt", Text("dirt.exr")}});
};

struct Row {
    const char* logger;
    const char* entry;
    std::function<void(const Subject&)> call;
};

std::vector<Row> AttributeRows() {
    static const std::int32_t ints[] = {1};
    static const float floats[] = {1};
    static const double doubles[] = {1};
    static const char* const texts[] = {"a"};
    const char* const logger = "AttributeHost";
    return {
        {logger, "createInt", [](auto&) { Release(Attributes().createInt(ints, 1, 1)); }},
        {logger, "createFloat", [](auto&) { Release(Attributes().createFloat(floats, 1, 1)); }},
        {logger, "createDouble", [](auto&) { Release(Attributes().createDouble(doubles, 1, 1)); }},
        {logger, "createString", [](auto&) { Release(Attributes().createString(texts, 1, 1)); }},
        {logger, "createNull", [](auto&) { Release(Attributes().createNull()); }},
        {logger, "createGroup",
         [](auto& of) { Release(Attributes().createGroup(texts, &of.group, 1, 0)); }},
        {logger, "getXml", [](auto& of) { Release(Attributes().getXml(of.group)); }},
    };
}

std::vector<Row> IteratorRows() {
    const char* const logger = "ScenegraphIteratorHost";
    return {
        {logger, "getFirstChild",
         [](auto& of) { Release(Iterators().getFirstChild(of.root, false)); }},
        {logger, "getNextSibling",
         [](auto& of) { Release(Iterators().getNextSibling(of.cam, false)); }},
        {logger, "getChildByName",
         [](auto& of) { Release(Iterators().getChildByName(of.root, "world", false)); }},
        {logger, "getProducerByPath",
         [](auto& of) { Release(Iterators().getProducerByPath(of.root, kGeo, false)); }},
        {logger, "getName", [](auto& of) { Release(Iterators().getName(of.geo)); }},
        {logger, "getFullName", [](auto& of) { Release(Iterators().getFullName(of.geo)); }},
        {logger, "getGlobalAttribute",
         [](auto& of) { Release(Iterators().getGlobalAttribute(of.geo, kLongName)); }},
        {logger, "getAttributeNames",
         [](auto& of) { Release(Iterators().getAttributeNames(of.geo)); }},
        {logger, "getGlobalXFormGroup",
         [](auto& of) { Release(Iterators().getGlobalXFormGroup(of.geo)); }},
    };
}

std::vector<Row> UtilsRows() {
    static const float times[] = {0};
    const char* const logger = "RenderOutputUtils";
    return {
        {logger, "getProceduralArguments",
         [](auto&) {
             Release(Utils().getProceduralArguments(nullptr, nullptr, nullptr, kOxProceduralClassic,
                                                    nullptr, nullptr));
         }},
        {logger, "getPixelAreaThroughCamera",
         [](auto& of) { Utils().getPixelAreaThroughCamera(of.geo, kCamera, kLongName); }},
        {logger, "getSampleTimesRelevantToShutterRange",
         [](auto&) { Release(Utils().getSampleTimesRelevantToShutterRange(times, 1, 0, 1)); }},
        {logger, "getRenderResolution",
         [](auto&) { Release(Utils().getRenderResolution(nullptr, nullptr, nullptr)); }},
        {logger, "getCameraPath", [](auto&) { Release(Utils().getCameraPath(nullptr)); }},
        {logger, "convertTexturesToArbitraryAttr",
         [](auto& of) {
             Release(Utils().convertTexturesToArbitraryAttr(of.textures.getHandle()));
         }},
        {logger, "getArchString", [](auto&) { Release(Utils().getArchString()); }},
        {logger, "expandArchPath", [](auto&) { Release(Utils().expandArchPath(kLongName)); }},
        {logger, "getFlattenedMaterialAttr",
         [](auto& of) {
             const char* const terminals[] = {kLongName};
             Release(Utils().getFlattenedMaterialAttr(of.geo, terminals, 1));
         }},
        {logger, "getShadingNetworkNodesOfMaterial",
         [](auto& of) {
             const auto material = of.material.getHandle();
             Utils().destroyShadingNodeMap(Utils().getShadingNetworkNodesOfMaterial(material));
         }},
        {logger, "getShadingNetworkNodes",
         [](auto& of) { Utils().destroyShadingNodeMap(Utils().getShadingNetworkNodes(of.geo)); }},
        {logger, "findShadingNode",
         [](auto& of) {
             Utils().releaseShadingNode(Utils().findShadingNode(of.nodes, kLongName));
         }},
        {logger, "getShadingParameter",
         [](auto& of) { Release(Utils().getShadingParameter(of.node, kLongName)); }},
        {logger, "getShadingConnection",
         [](auto& of) {
             Utils().releaseShadingConnection(Utils().getShadingConnection(of.node, kLongName));
         }},
        {logger, "getCameraInfo",
         [](auto& of) { Utils().releaseCameraInfo(Utils().getCameraInfo(of.root, kCamera)); }},
        {logger, "getLocationDelegate",
         [](auto&) { Utils().getLocationDelegate("sphere", kLongName); }},
        {logger, "getLocationTypesWithDelegates",
         [](auto&) { Release(Utils().getLocationTypesWithDelegates(kLongName)); }},
        {logger, "getTempRenderLocation",
         [](auto& of) { Release(Utils().getTempRenderLocation(of.root, "beauty", 1)); }},
        {logger, "getTilePath",
         [](auto&) { Release(Utils().getTilePath(nullptr, "/pictures/beauty.exr")); }},
    };
}

std::vector<Row> HostRows() {
    static const int suite = 0;
    const char* const logger = "PluginHost";
    return {
        {logger, "getPluginName", [](auto&) { Host()->getPluginName(kLongName, 1, 0); }},
        {logger, "getPluginSuite", [](auto&) { Host()->getPluginSuite(kLongName, "a", 1); }},
        {logger, "getConfiguration", [](auto&) { Release(Host()->getConfiguration(kLongName)); }},
        {logger, "isLogged", [](auto&) { Host()->isLogged(kLongName, kOxLogError); }},
        {logger, "registerSuite", [](auto&) { Host()->registerSuite(&suite, kLongName, 1); }},
    };
}

/// Notes the messages of a logger that are sent while it lives.
class Messages {
public:
    explicit Messages(const char* logger) {
        before = OxLoggingSetSink([this, logger](const OxLogMessage& message) {
            if (message.loggerName == logger) texts.push_back(message.text);
        });
    }
    ~Messages() { OxLoggingSetSink(std::move(before)); }
    Messages(const Messages&) = delete;
    Messages& operator=(const Messages&) = delete;

    std::vector<std::string> texts;

private:
    OxLogSink before;
};

TEST(EntryMessages, NameTheEntryThatHadNoMemory) {
    const Subject subject;
    for (const auto& rows : {AttributeRows(), IteratorRows(), UtilsRows(), HostRows()})
        for (const Row& row : rows) {
            SCOPED_TRACE(row.entry);
            row.call(subject); // so that nothing is made on first use below
            const Messages messages(row.logger);
            FailAllocation(1);
            row.call(subject);
            FailAllocation(0);
            EXPECT_THAT(messages.texts,
                        testing::ElementsAre(row.entry + std::string(": std::bad_alloc")));
        }
}

// Handles come from a pool, and these two entries make nothing else.
TEST(EntryMessages, AreNotNeededForHandlesAlone) {
    const Subject subject;
    for (const auto entry : {Iterators().getParent, Iterators().getRoot}) {
        Release(entry(subject.geo)); // fills the pool
        const Messages messages("ScenegraphIteratorHost");
        FailAllocation(1);
        OxSgIteratorStruct* const made = entry(subject.geo);
        FailAllocation(0);
        EXPECT_NE(made, nullptr);
        EXPECT_THAT(messages.texts, testing::IsEmpty());
        Release(made);
    }
}

long AllocationsOf(const std::function<void()>& call) {
    constexpr long kNone = 1L << 60;
    FailAllocation(kNone);
    call();
    const long number = NumberOfAllocations();
    FailAllocation(0);
    return number;
}

/// Something that logs one message of a level each time.
struct Talker {
    const char* logger;
    OxLogLevel level;
    std::function<void()> talk;
};

TEST(EntryMessages, ArePutTogetherOnlyWhenTheirLevelIsOn) {
    const Subject subject;
    const std::string missing = "/no/such/folder/of/any/scene.oxop";
    const auto noFile = TELLAR::OpTreeSource::createFromFile(missing);
    const auto noOps = TELLAR::OpTreeSource::createFromGroupAttribute(Group({}));
    const std::int32_t number = 1;
    const std::vector<int> tooFew = {1};
    const Talker talkers[] = {
        {"ScenegraphIteratorHost", OxLogLevel::error,
         [&] { Iterators().getChildByName(subject.root, "a/b", false); }},
        {"RenderOutputUtils", OxLogLevel::error,
         [&] { TELLAR::RenderOutputUtilsHost::ProcessTilePath("/pictures/beauty.exr", tooFew); }},
        {"AttributeHost", OxLogLevel::error,
         [&] { Attributes().createInt(&number, 1, std::int64_t(1) << 40); }},
        {"PluginHost", OxLogLevel::warn, [] { Host()->registerSuite(nullptr, kLongName, 1); }},
        {"ClientFactory", OxLogLevel::error, [&] { TELLAR::ClientCreateWithOpTree(noFile); }},
        {"ClientFactory", OxLogLevel::error, [&] { TELLAR::ClientCreateWithOpTree(noOps); }}};
    for (const Talker& talker : talkers) {
        SCOPED_TRACE(talker.logger);
        Messages messages(talker.logger);
        talker.talk();
        ASSERT_EQ(messages.texts.size(), 1u);
        OxLoggingSetLevel(talker.logger, OxLogLevel::off);
        const long off = AllocationsOf(talker.talk);
        OxLoggingSetLevel(talker.logger, talker.level);
        messages.texts.reserve(16);
        const long on = AllocationsOf(talker.talk);
        const OxLoggerGlue logger(talker.logger);
        const std::string text = messages.texts.back();
        const long sending = AllocationsOf([&] { logger.error(text, __FILE__, __LINE__); });
        EXPECT_GT(on - off, sending) << "it was put together, and then not sent";
        OxLoggingSetLevel(talker.logger, OxLogLevel::warn);
    }
}

} // namespace
