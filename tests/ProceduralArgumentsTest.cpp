#include <OxTellarProducers/ProceduralArguments.h>

#include <locale>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxAssetHost/OxAssetPluginManager.h>
#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/CreateGeometryProducer.h>

#include "CameraScenes.h"
#include "DrawnArguments.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::ParseAttributeXml;
using OxAttribute::StringAttribute;
using TELLAR::BuildClassicProceduralArgumentsString;
using TELLAR::BuildScenegraphAttrProceduralArgumentsString;
using TELLAR::ProceduralOutputContextInfo;
using testing::ElementsAre;
using testing::IsEmpty;

using Ptr = TELLAR::GeometryProducer::Ptr;

/// The end of every classic text for the default context.
constexpr const char* kDefaultEnd = " -frame 1 -shutter 0 0 -cropwindow 0 1 0 1";

/// The texts that the callback got since the test began.
struct Told {
    std::vector<std::string> messages;
    std::vector<Ptr> producers;
};
Told told;

void Tell(const std::string& message, Ptr producer) {
    told.messages.push_back(message);
    told.producers.push_back(producer);
}

/// Resolves "asset:NAME" to "/assets/NAME.FRAME", with a "!" behind it if the reference must be
/// resolved, and refuses everything that begins with "bad".
class TestAssets : public OxAssetPlugin {
public:
    std::string resolvePath(const std::string& reference, int frame,
                            bool mustResolve) const override {
        if (reference.compare(0, 3, "bad") == 0) throw std::runtime_error("There is no such file.");
        if (reference.compare(0, 6, "asset:") != 0) return reference;
        return "/assets/" + reference.substr(6) + "." + std::to_string(frame) +
               (mustResolve ? "!" : "");
    }
};

class Procedural : public testing::Test {
protected:
    void SetUp() override {
        TELLAR::ClearCameraInfoCache();
        OxAssetPluginManager::setDefaultAssetPlugin(std::make_shared<TestAssets>());
        told = {};
    }
    void TearDown() override { OxAssetPluginManager::setDefaultAssetPlugin(nullptr); }

    Ptr geo = StaticRoot(CameraScene(CameraAttrs(UnitLens())))->getProducerByPath(kGeo);
    ProceduralOutputContextInfo context;

    std::string classic(const GroupAttribute& procedural) {
        return BuildClassicProceduralArgumentsString(geo, context, procedural, Tell);
    }
    std::string classicArgs(const Children& args) {
        return classic(Group({{"args", Group(args)}}));
    }

    std::string attributesXml(const GroupAttribute& procedural) {
        return BuildScenegraphAttrProceduralArgumentsString(geo, context, procedural, Tell);
    }
    GroupAttribute attributes(const GroupAttribute& procedural) {
        return ParseAttributeXml(attributesXml(procedural));
    }
};
using ClassicArguments = Procedural;
using AttributeArguments = Procedural;
using CameraArguments = Procedural;

std::vector<std::string> NamesOf(const GroupAttribute& group) {
    std::vector<std::string> names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        names.push_back(group.getChildName(i));
    return names;
}

GroupAttribute WantingCamera(const char* how, const GroupAttribute& which = {}) {
    return Group({{"args", Group({})}, {"includeCameraInfo", Text(how)}, {"cameraInfo", which}});
}

// Context -----------------------------------------------------------------------------------------

TEST(ProceduralContext, HasDefaultsAndIsCopiedAndMovedWhole) {
    ProceduralOutputContextInfo context;
    EXPECT_EQ(context.frame, 1);
    EXPECT_EQ(context.shutterOpen, 0.0f);
    EXPECT_EQ(context.shutterClose, 0.0f);
    EXPECT_THAT(context.cropWindow, ElementsAre(0, 1, 0, 1));
    EXPECT_EQ(context.xres, 0);
    EXPECT_EQ(context.yres, 0);

    context.frame = 7;
    context.shutterOpen = -0.25f;
    context.shutterClose = 0.25f;
    context.cropWindow[2] = 0.5f;
    context.xres = 640;
    context.yres = 480;
    ProceduralOutputContextInfo copy;
    copy = context;
    ProceduralOutputContextInfo moved;
    moved = std::move(copy);
    EXPECT_EQ(moved.frame, 7);
    EXPECT_EQ(moved.shutterOpen, -0.25f);
    EXPECT_EQ(moved.shutterClose, 0.25f);
    EXPECT_THAT(moved.cropWindow, ElementsAre(0, 1, 0.5f, 1));
    EXPECT_EQ(moved.xres, 640);
    EXPECT_EQ(moved.yres, 480);
}

// Classic -----------------------------------------------------------------------------------------

TEST_F(ClassicArguments, WithoutArgumentsAreTheContextAlone) {
    EXPECT_EQ(classicArgs({}), kDefaultEnd);
    EXPECT_EQ(classic(Group({})), kDefaultEnd);
    EXPECT_EQ(classic({}), kDefaultEnd);
}

TEST_F(ClassicArguments, EndWithTheContext) {
    context.frame = -3;
    context.shutterOpen = -0.25f;
    context.shutterClose = 0.5f;
    context.cropWindow[0] = 0.125f;
    EXPECT_EQ(classicArgs({}), " -frame -3 -shutter -0.25 0.5 -cropwindow 0.125 1 0 1");
}

TEST_F(ClassicArguments, WriteNumbersOfEveryTypeInStreamFormat) {
    EXPECT_EQ(classicArgs({{"count", IntAttribute({3, -4}, 2)},
                           {"width", FloatAttribute(0.1f)},
                           {"size", DoubleAttribute({1234567.0, 1e-7, 2.5}, 3)}}),
              std::string(" -count 3 -4 -width 0.1 -size 1.23457e+06 1e-07 2.5") + kDefaultEnd);
}

TEST_F(ClassicArguments, TakeTheSampleNearestToTheFrame) {
    EXPECT_EQ(
        classicArgs({{"x", FloatAttribute(Sampled<float>({5}, {6}, {7}), 1)},
                     {"y", StringAttribute(Sampled<std::string>({"a"}, {"b"}, {"c"}), 1)},
                     {"extraArgs", StringAttribute(Sampled<std::string>({"d"}, {"e"}, {"f"}), 1)}}),
        std::string(" -x 6 -y b e ") + kDefaultEnd);
}

TEST_F(ClassicArguments, WriteOneTextBareAndSeveralInQuotes) {
    EXPECT_EQ(classicArgs({{"size", Text("a")}}), std::string(" -size a") + kDefaultEnd);
    EXPECT_EQ(classicArgs({{"size", Texts({"a", "b"})}}),
              std::string(" -size 'a b'") + kDefaultEnd);
}

TEST_F(ClassicArguments, LeaveOutWhatHasNoValuesOrNoPlaceOnACommandLine) {
    EXPECT_EQ(classicArgs({{"none", IntAttribute({}, 1)},
                           {"noneEither", Texts({})},
                           {"extraArgsNone", Texts({})},
                           {"null", OxAttribute::NullAttribute()},
                           {"group", Group({{"inner", Int(1)}})}}),
              kDefaultEnd);
}

TEST_F(ClassicArguments, WriteExtraArgumentsWithoutAFlagBetweenBlanks) {
    EXPECT_EQ(classicArgs({{"extraArgs", Text("-fast -v 2")},
                           {"extraArgsToo", Texts({"-x", "y"})},
                           {"ExtraArgs", Text("z")}}),
              std::string(" -fast -v 2  -x  -ExtraArgs z") + kDefaultEnd);
}

TEST_F(ClassicArguments, OfExtraArgumentsThatAreNumbersAreAsUsual) {
    EXPECT_EQ(classicArgs({{"extraArgsCount", Int(2)}}),
              std::string(" -extraArgsCount 2") + kDefaultEnd);
}

TEST_F(ClassicArguments, OfTheSystemFollowThoseOfTheUser) {
    EXPECT_EQ(classic(Group({{"systemArgs", Group({{"threads", Int(2)}, {"a", Int(3)}})},
                             {"args", Group({{"a", Int(1)}})}})),
              std::string(" -a 1 -threads 2 -a 3") + kDefaultEnd);
}

TEST_F(ClassicArguments, AreResolvedAsAssetsAtTheFrame) {
    context.frame = 12;
    EXPECT_EQ(classicArgs({{"file", Text("asset:one")},
                           {"files", Texts({"asset:one", "two"})},
                           {"extraArgs", Text("asset:three")}}),
              " -file /assets/one.12! -files '/assets/one.12! two' /assets/three.12!  -frame 12 "
              "-shutter 0 0 -cropwindow 0 1 0 1");
    EXPECT_THAT(told.messages, IsEmpty());
}

TEST_F(ClassicArguments, ThatCannotBeResolvedAreWrittenAsTheyAreAndTold) {
    EXPECT_EQ(classicArgs({{"file", Text("bad one")},
                           {"files", Texts({"asset:a", "bad two"})},
                           {"extraArgs", Text("bad three")}}),
              std::string(" -file bad one -files '/assets/a.1! bad two' bad three ") + kDefaultEnd);
    EXPECT_THAT(told.messages,
                ElementsAre("asset resolve failed on  'bad one' when building an procedural call.",
                            "asset resolve failed on  'bad two' when building an procedural call.",
                            "asset resolve failed on 'bad three' when building an procedural."));
    EXPECT_THAT(told.producers, ElementsAre(geo, geo, geo));
}

TEST_F(ClassicArguments, ThatCannotBeResolvedNeedNobodyWhoIsTold) {
    EXPECT_EQ(BuildClassicProceduralArgumentsString(
                  geo, context, Group({{"args", Group({{"file", Text("bad")}})}}), nullptr),
              std::string(" -file bad") + kDefaultEnd);
}

TEST_F(ClassicArguments, AreNoneWhereTheyAreNoGroup) {
    const auto one = Group({{"a", Int(1)}});
    EXPECT_EQ(classic(Group({{"args", one}, {"systemArgs", Int(2)}})),
              std::string(" -a 1") + kDefaultEnd);
    EXPECT_EQ(classic(Group({{"args", Text("a")}, {"systemArgs", one}})),
              std::string(" -a 1") + kDefaultEnd);
    EXPECT_EQ(classic(Group({{"args", Text("a")}, {"systemArgs", Text("b")}})), kDefaultEnd);
}

TEST_F(ClassicArguments, OfANullProducerHaveNoCamera) {
    EXPECT_EQ(BuildClassicProceduralArgumentsString(nullptr, context,
                                                    WantingCamera("As Parameters"), Tell),
              kDefaultEnd);
}

/// Commas for points, and points between thousands.
class CommaNumbers : public std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

TEST_F(ClassicArguments, AreTheSameInEveryLocale) {
    const std::locale previous =
        std::locale::global(std::locale(std::locale::classic(), new CommaNumbers));
    const std::string text = classicArgs({{"big", Int(1234567)}, {"half", FloatAttribute(0.5f)}});
    std::locale::global(previous);
    EXPECT_EQ(text, std::string(" -big 1234567 -half 0.5") + kDefaultEnd);
}

// Camera ------------------------------------------------------------------------------------------

constexpr const char* kUnitCameraFlags =
    " -cameraInfo_fov 90 -cameraInfo_near 1 -cameraInfo_far 101 -cameraInfo_left -1"
    " -cameraInfo_right 1 -cameraInfo_top 1 -cameraInfo_bottom -1"
    " -cameraInfo_xform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1";

TEST_F(CameraArguments, AreWrittenWhenWantedAsParameters) {
    EXPECT_EQ(classic(WantingCamera("As Parameters")),
              std::string(" -cameraInfo_path /root/world/cam/camera") + kUnitCameraFlags +
                  kDefaultEnd);
}

TEST_F(CameraArguments, AreNotWrittenWhenWantedOtherwise) {
    EXPECT_EQ(classic(WantingCamera("None")), kDefaultEnd);
    EXPECT_EQ(classic(WantingCamera("As Attributes")), kDefaultEnd);
    EXPECT_EQ(classic(WantingCamera("as parameters")), kDefaultEnd);
    EXPECT_THAT(NamesOf(attributes(WantingCamera("As Attributes"))),
                ElementsAre("frame", "shutter", "cropwindow", "ombraFullName"));
}

TEST_F(CameraArguments, AreThoseOfTheRenderCamera) {
    const auto settings = Group({{"cameraName", Text(kGeo)}});
    geo = StaticRoot(CameraScene({}, CameraAttrs(With(UnitLens(), "fov", Double(33.3))),
                                 {{"renderSettings", settings}}))
              ->getProducerByPath(kGeo);
    EXPECT_THAT(classic(WantingCamera("As Parameters")),
                testing::StartsWith(" -cameraInfo_path /root/world/geo -cameraInfo_fov 33.3 "));
}

TEST_F(CameraArguments, MayBeThoseOfAnotherCamera) {
    geo = StaticRoot(CameraScene({}, CameraAttrs(UnitLens())))->getProducerByPath(kGeo);
    const auto other = Group({{"whichCamera", Text("Other Camera")}, {"cameraPath", Text(kGeo)}});
    EXPECT_THAT(classic(WantingCamera("As Parameters", other)),
                testing::StartsWith(" -cameraInfo_path /root/world/geo "));
    const auto render = Group({{"whichCamera", Text("Render Camera")}, {"cameraPath", Text(kGeo)}});
    EXPECT_EQ(classic(WantingCamera("As Parameters", render)), kDefaultEnd);
}

TEST_F(CameraArguments, AreLeftOutWithoutAPathOrACamera) {
    const auto other = [](const char* path) {
        return Group({{"whichCamera", Text("Other Camera")}, {"cameraPath", Text(path)}});
    };
    EXPECT_EQ(classic(WantingCamera("As Parameters", other(""))), kDefaultEnd);
    EXPECT_EQ(classic(WantingCamera("As Parameters", other("/root/nowhere"))), kDefaultEnd);
    EXPECT_EQ(attributes(WantingCamera("As Parameters", other(""))).getNumberOfChildren(), 4);
}

TEST_F(CameraArguments, LetTheErrorOfReadingTheCameraThrough) {
    const auto scene = CameraScene(CameraAttrs(UnitLens()));
    geo = TELLAR::CreateSyncGeometryProducer(
        MakeClient(
            Group({{"scene", OpEntry("StaticScene", scene)},
                   {"throw", OpEntry("TestThrow", Group({{"at", Text(kCamera)}}), {"scene"})}})),
        kGeo);
    ASSERT_TRUE(geo);
    EXPECT_THROW(classic(WantingCamera("As Parameters")), std::runtime_error);
    TELLAR::ClearCameraInfoCache();
    EXPECT_THROW(attributesXml(WantingCamera("As Parameters")), std::runtime_error);
    EXPECT_EQ(classic(WantingCamera("None")), kDefaultEnd) << "nobody reads the camera";
}

TEST_F(CameraArguments, HaveTheTransformRowByRow) {
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform", Translation(0.1, 2, 3));
    geo = StaticRoot(CameraScene(camera))->getProducerByPath(kGeo);
    EXPECT_THAT(classic(WantingCamera("As Parameters")),
                testing::HasSubstr(" -cameraInfo_xform 1 0 0 0 0 1 0 0 0 0 1 0 0.1 2 3 1 "));
    const FloatAttribute xform =
        attributes(WantingCamera("As Parameters")).getChildByName("cameraInfo_xform");
    EXPECT_EQ(xform.getTupleSize(), 16);
    EXPECT_EQ(xform.getNearestSample(0)[12], 0.1f);
}

// Attributes --------------------------------------------------------------------------------------

TEST_F(AttributeArguments, WithoutArgumentsAreTheContextAndTheName) {
    const GroupAttribute group = attributes(Group({{"args", Group({})}}));
    EXPECT_EQ(group, GroupAttribute({{"frame", FloatAttribute(1.0f)},
                                     {"shutter", FloatAttribute({0.0f, 0.0f}, 1)},
                                     {"cropwindow", FloatAttribute({0.0f, 1.0f, 0.0f, 1.0f}, 1)},
                                     {"ombraFullName", StringAttribute(kGeo)}},
                                    false));
}

TEST_F(AttributeArguments, AreTheXmlTextOfOneGroup) {
    const std::string text = attributesXml(Group({{"args", Group({{"count", Int(3)}})}}));
    EXPECT_EQ(text, ParseAttributeXml(text).getXML());
    EXPECT_EQ(attributesXml({}), attributesXml(Group({{"args", Group({})}})));
}

TEST_F(AttributeArguments, KeepTheirTypes) {
    const Attribute samples =
        DoubleAttribute(std::map<float, std::vector<double>>{{0.0f, {1, 2}}, {1.0f, {3, 4}}}, 2);
    const GroupAttribute group =
        attributes(Group({{"args", Group({{"moving", samples},
                                          {"count", Int(3)},
                                          {"null", OxAttribute::NullAttribute()}})}}));
    EXPECT_EQ(group.getChildByName("moving"), samples);
    EXPECT_EQ(group.getChildByName("count"), Int(3));
    EXPECT_EQ(group.getChildByName("null").getType(), kAttributeTypeNull);
}

TEST_F(AttributeArguments, AreInOrder) {
    EXPECT_THAT(NamesOf(attributes(Group({{"systemArgs", Group({{"s", Int(1)}})},
                                          {"includeCameraInfo", Text("As Parameters")},
                                          {"args", Group({{"b", Int(1)}, {"a", Int(2)}})}}))),
                ElementsAre("b", "a", "s", "frame", "shutter", "cropwindow", "cameraInfo_path",
                            "cameraInfo_fov", "cameraInfo_near", "cameraInfo_far",
                            "cameraInfo_left", "cameraInfo_right", "cameraInfo_top",
                            "cameraInfo_bottom", "cameraInfo_xform", "cameraInfo_xres",
                            "cameraInfo_yres", "ombraFullName"));
}

TEST_F(AttributeArguments, HaveTheContextAndTheCameraAsNumbers) {
    context.frame = 24;
    context.xres = 640;
    context.yres = 360;
    const GroupAttribute group = attributes(WantingCamera("As Parameters"));
    EXPECT_EQ(group.getChildByName("frame"), FloatAttribute(24.0f));
    EXPECT_EQ(group.getChildByName("cameraInfo_path"), StringAttribute(kCamera));
    EXPECT_EQ(group.getChildByName("cameraInfo_far"), FloatAttribute(101.0f));
    EXPECT_EQ(group.getChildByName("cameraInfo_bottom"), FloatAttribute(-1.0f));
    EXPECT_EQ(group.getChildByName("cameraInfo_xres"), IntAttribute(640));
    EXPECT_EQ(group.getChildByName("cameraInfo_yres"), IntAttribute(360));
}

TEST_F(AttributeArguments, LoseWhatIsHiddenByItsNameAtEveryLevel) {
    const GroupAttribute group = attributes(
        Group({{"args", Group({{"__hidden", Int(1)},
                               {"_shown", Int(2)},
                               {"group", Group({{"__hidden", Text("x")}, {"shown", Int(3)}})}})},
               {"systemArgs", Group({{"__kept", Int(4)}})}}));
    EXPECT_FALSE(group.getChildByName("__hidden").isValid());
    EXPECT_EQ(IntOf(group.getChildByName("_shown")), 2);
    EXPECT_THAT(NamesOf(group.getChildByName("group")), ElementsAre("shown"));
    EXPECT_EQ(IntOf(group.getChildByName("__kept")), 4);
}

TEST_F(AttributeArguments, AreResolvedAsAssetsInGroupsToo) {
    context.frame = 5;
    const GroupAttribute group = attributes(
        Group({{"args", Group({{"files", StringAttribute({"asset:a", "b", "bad c", "asset:d"}, 2)},
                               {"group", GroupAttribute({{"file", Text("asset:e")}}, false)}})},
               {"systemArgs", Group({{"kept", Text("asset:f")}})}}));
    const StringAttribute files = group.getChildByName("files");
    EXPECT_EQ(files.getTupleSize(), 2);
    EXPECT_THAT(ValuesOf(files), ElementsAre("/assets/a.5", "b", "bad c", "/assets/d.5"));
    EXPECT_EQ(TextOf(group.getChildByName("group.file")), "/assets/e.5");
    EXPECT_TRUE(GroupAttribute(group.getChildByName("group")).getGroupInherit());
    EXPECT_EQ(TextOf(group.getChildByName("kept")), "asset:f");
    EXPECT_THAT(told.messages, IsEmpty());
}

TEST_F(AttributeArguments, KeepOneSampleOfTexts) {
    const auto texts = Sampled<std::string>({"a"}, {"b"}, {"c"});
    const StringAttribute text =
        attributes(Group({{"args", Group({{"text", StringAttribute(texts, 1)}})}}))
            .getChildByName("text");
    EXPECT_EQ(text.getNumberOfTimeSamples(), 1);
    EXPECT_EQ(text.getValue(), "b");
}

TEST_F(AttributeArguments, OfTheSystemReplaceThoseOfTheUserInPlace) {
    const GroupAttribute group = attributes(Group(
        {{"args", Group({{"a", Int(1)}, {"b", Int(2)}})}, {"systemArgs", Group({{"a", Int(3)}})}}));
    EXPECT_THAT(NamesOf(group),
                ElementsAre("a", "b", "frame", "shutter", "cropwindow", "ombraFullName"));
    EXPECT_EQ(IntOf(group.getChildByName("a")), 3);
}

TEST_F(AttributeArguments, AreNoneWhereTheyAreNoGroup) {
    const auto one = Group({{"a", Int(1)}});
    for (const GroupAttribute& procedural : {Group({{"args", one}, {"systemArgs", Int(2)}}),
                                             Group({{"args", Text("a")}, {"systemArgs", one}})})
        EXPECT_THAT(NamesOf(attributes(procedural)),
                    ElementsAre("a", "frame", "shutter", "cropwindow", "ombraFullName"));
}

TEST_F(AttributeArguments, OfANullProducerHaveNoCameraAndNoName) {
    const GroupAttribute group = ParseAttributeXml(BuildScenegraphAttrProceduralArgumentsString(
        nullptr, context, WantingCamera("As Parameters"), Tell));
    EXPECT_THAT(NamesOf(group), ElementsAre("frame", "shutter", "cropwindow", "ombraFullName"));
    EXPECT_EQ(TextOf(group.getChildByName("ombraFullName")), "");
}

// Random groups -----------------------------------------------------------------------------------

/// A request for camera information, and the camera that it leads to; null when it leads to none.
struct DrawnCamera {
    const char* include;
    const char* which;
    const char* path;
    const char* found;
};
const std::vector<DrawnCamera> kCameraQuestions{
    {"None", "Other Camera", kCamera, nullptr},
    {"As Attributes", "Other Camera", kCamera, nullptr},
    {"as parameters", "Other Camera", kCamera, nullptr},
    {"", "Other Camera", kCamera, nullptr},
    {"As Parameters", "Other Camera", kCamera, kCamera},
    {"As Parameters", "Other Camera", "", nullptr},
    {"As Parameters", "Other Camera", "/root/nowhere", nullptr},
    {"As Parameters", "Render Camera", kCamera, kGeo},
    {"As Parameters", "other camera", kCamera, kGeo},
    {"As Parameters", "", "", kGeo},
};

constexpr const char* kLensNames[] = {"fov", "near", "far", "left", "right", "top", "bottom"};
constexpr float kUnitLensValues[] = {90, 1, 101, -1, 1, 1, -1};

TEST_F(Procedural, OfRandomGroupsAreWhatWasDrawnInBothForms) {
    const auto settings = Group({{"cameraName", Text(kGeo)}}); // a camera as well
    geo = StaticRoot(CameraScene(CameraAttrs(UnitLens()), CameraAttrs(UnitLens()),
                                 {{"renderSettings", settings}}))
              ->getProducerByPath(kGeo);
    context.frame = 7;
    context.shutterClose = 0.5f;
    context.xres = 640;
    for (unsigned int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        Draw draw(i, context.frame);
        const DrawnArguments args = draw.arguments();
        DrawnArguments system = draw.arguments();
        const DrawnCamera camera = draw.pick(kCameraQuestions);
        const GroupAttribute procedural = Group(
            {{"args", Group(args.given)},
             {"systemArgs", Group(system.given)},
             {"includeCameraInfo", Text(camera.include)},
             {"cameraInfo",
              Group({{"whichCamera", Text(camera.which)}, {"cameraPath", Text(camera.path)}})}});

        const std::string cameraFlags =
            camera.found ? std::string(" -cameraInfo_path ") + camera.found + kUnitCameraFlags : "";
        told = {};
        EXPECT_EQ(classic(procedural), args.flags + system.flags + cameraFlags +
                                           " -frame 7 -shutter 0 0.5 -cropwindow 0 1 0 1");
        std::vector<std::string> complaints = args.complaints;
        complaints.insert(complaints.end(), system.complaints.begin(), system.complaints.end());
        EXPECT_EQ(told.messages, complaints);

        Children expected = args.resolved;
        expected.insert(expected.end(), system.given.begin(), system.given.end());
        expected.emplace_back("frame", FloatAttribute(7.0f));
        expected.emplace_back("shutter", FloatAttribute({0.0f, 0.5f}, 1));
        expected.emplace_back("cropwindow", FloatAttribute({0.0f, 1.0f, 0.0f, 1.0f}, 1));
        if (camera.found) {
            expected.emplace_back("cameraInfo_path", Text(camera.found));
            for (std::size_t lens = 0; lens < 7; ++lens)
                expected.emplace_back(std::string("cameraInfo_") + kLensNames[lens],
                                      FloatAttribute(kUnitLensValues[lens]));
            expected.emplace_back(
                "cameraInfo_xform",
                FloatAttribute({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, 16));
            expected.emplace_back("cameraInfo_xres", Int(640));
            expected.emplace_back("cameraInfo_yres", Int(0));
        }
        expected.emplace_back("ombraFullName", Text(kGeo));
        EXPECT_EQ(attributesXml(procedural), GroupAttribute(expected, false).getXML());
        EXPECT_EQ(told.messages, complaints) << "the builder of attributes tells nobody";
    }
}

} // namespace
