#include <OxTellarProducers/OxRendererPluginSuite2.h>

#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/ErrorHandle.h>
#include <OxTellarSDK/PluginManager.h>

#include "IteratorScenes.h"

// Each rule of validation, with the renderer "faulty", which breaks the one that a render names.

namespace {

using namespace TellarTest;
using OxPluginManager::PluginManager;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

void TurnOn(const char* value) {
    setenv("TELLAR_VALIDATE", value, 1);
    setenv("OX_PLUGIN_PATH",
           TELLAR_TEST_PLUGIN_DIR ":" TELLAR_TEST_OP_TYPE_DIR ":" TELLAR_TEST_DELEGATE_DIR, 1);
    Host();
}

const void* SuiteOfRenderer(unsigned int version) {
    return PluginManager::getPluginSuite(
        PluginManager::getPlugin("faulty", OX_RENDERER_API, version));
}

const OxRendererPluginSuite_v1& Renderer() {
    return *static_cast<const OxRendererPluginSuite_v1*>(SuiteOfRenderer(1));
}

const OxRendererPluginSuite_v2& Renderer2() {
    return *static_cast<const OxRendererPluginSuite_v2*>(SuiteOfRenderer(2));
}

/// The functions of a caller.
struct Listener {
    std::vector<std::string> messages;
    std::atomic<int> inProgress{0};
    bool isSlow = false; ///< progress waits until it is told in two threads

    OxRenderListener_v1 functions() {
        OxRenderListener_v1 listener{};
        listener.user = this;
        listener.onMessage = [](int, const char* message, void* user) {
            static_cast<Listener*>(user)->messages.push_back(message);
        };
        listener.onProgress = [](double, const char*, void* user) {
            auto& self = *static_cast<Listener*>(user);
            ++self.inProgress;
            while (self.isSlow && self.inProgress < 2)
                std::this_thread::yield();
        };
        return listener;
    }
};

void Render(const std::string& fault, Listener& listener) {
    static const SceneFile* const file = new SceneFile;
    const Handle root = file->root();
    OxRenderJob_v1 job{};
    job.root = root.get();
    job.picture = fault.c_str();
    job.listener = listener.functions();
    EXPECT_EQ(Renderer().render(&job), kOxRenderDone);
}

/// What a render writes to the standard error stream.
std::string ErrorsOf(const std::string& fault, Listener& listener) {
    testing::internal::CaptureStderr();
    Render(fault, listener);
    return testing::internal::GetCapturedStderr();
}

std::string ErrorsOf(const std::string& fault) {
    Listener listener;
    return ErrorsOf(fault, listener);
}

class Validation : public testing::Test {
protected:
    Validation() { TurnOn("1"); }
};

testing::Matcher<std::string> IsOneFinding(const std::string& text) {
    return AllOf(ContainsRegex("^TELLAR_VALIDATE: " + text),
                 ContainsRegex("TELLAR_VALIDATE: render [0-9]+ by \"faulty\": 1 finding in [0-9]+ "
                               "calls\n$"));
}

TEST_F(Validation, FindsNothingInASoundPlugin) {
    const std::string errors = ErrorsOf("nothing");
    EXPECT_THAT(errors, ContainsRegex("^TELLAR_VALIDATE: render [0-9]+ by \"faulty\": no findings "
                                      "in [0-9]+ calls\n$"));
}

TEST_F(Validation, FindsAHandleThatIsUsedAfterItsRelease) {
    EXPECT_THAT(ErrorsOf("use after release"),
                IsOneFinding("used after release: getName \\(ScenegraphIteratorHost 3\\) got a "
                             "location of call [0-9]+ \\(getParent, thread [0-9]+\\), which call "
                             "[0-9]+ \\(releaseIterator, thread [0-9]+\\) released\n"));
}

TEST_F(Validation, FindsAHandleThatIsReleasedTwice) {
    EXPECT_THAT(ErrorsOf("release twice"),
                IsOneFinding("released twice: release \\(AttributeHost 1\\) got an attribute of "
                             "call [0-9]+ \\(getName, "));
}

TEST_F(Validation, FindsALeakedAttribute) {
    EXPECT_THAT(ErrorsOf("leak an attribute"),
                IsOneFinding("leaked: an attribute of call [0-9]+ \\(getAttributeNames, thread "
                             "[0-9]+\\) was not released\n"));
}

TEST_F(Validation, FindsALeakedReferenceOfALocation) {
    EXPECT_THAT(ErrorsOf("leak a location"),
                IsOneFinding(std::string("leaked: a location of call [0-9]+ \\(getRoot, thread ") +
                             "[0-9]+\\) with a reference of call [0-9]+ \\(retainIterator, thread "
                             "[0-9]+\\) was not released\n"));
}

TEST_F(Validation, FindsALocationThatIsReleasedWithoutHavingBeenRetained) {
    EXPECT_THAT(ErrorsOf("release what was not retained"),
                IsOneFinding("leaked: releaseIterator \\(ScenegraphIteratorHost 3\\) got a "
                             "location of call [0-9]+ \\(getFirstChild, thread [0-9]+\\) that was "
                             "not retained, so it is never freed\n"));
}

TEST_F(Validation, FindsALocationThatIsNeverRetained) {
    EXPECT_THAT(ErrorsOf("forget what was not retained"),
                IsOneFinding("leaked: a location of call [0-9]+ \\(getFirstChild, thread [0-9]+\\) "
                             "was not retained, so it is never freed\n"));
}

TEST_F(Validation, FindsTheWrongKindOfHandle) {
    EXPECT_THAT(ErrorsOf("pass the wrong kind"),
                IsOneFinding("wrong kind of handle: getParent \\(ScenegraphIteratorHost 3\\) takes "
                             "a location and got an attribute of "));
}

TEST_F(Validation, FindsAForeignHandle) {
    EXPECT_THAT(ErrorsOf("pass a foreign handle"),
                IsOneFinding("foreign handle: getTupleSize \\(AttributeHost 1\\) got an attribute "
                             "0x[0-9a-f]+ that no function has given to a plug-in\n"));
}

TEST_F(Validation, FindsATextThatIsBorrowedTooLong) {
    EXPECT_THAT(ErrorsOf("pass an old text"),
                IsOneFinding("borrowed too long: getAttribute \\(ScenegraphIteratorHost 3\\) got a "
                             "text of call [0-9]+ \\(getString, thread [0-9]+\\), whose handle "
                             "call [0-9]+ \\(release, thread [0-9]+\\) released\n"));
}

TEST_F(Validation, FindsValuesThatAreBorrowedTooLong) {
    EXPECT_THAT(ErrorsOf("pass old values"),
                IsOneFinding("borrowed too long: createInt \\(AttributeHost 1\\) got values of "
                             "call [0-9]+ \\(getIntSample, "));
}

TEST_F(Validation, LetsALateReaderSeeThatATextIsGone) {
    Listener listener;
    ErrorsOf("read an old text", listener);
    ASSERT_THAT(listener.messages, testing::SizeIs(1));
    EXPECT_THAT(listener.messages[0], testing::StartsWith("released re"));
}

TEST_F(Validation, FindsAHandleThatIsUsedAfterTheEndOfItsRender) {
    EXPECT_THAT(ErrorsOf("keep a location"), IsOneFinding("leaked: a location of call "));
    EXPECT_THAT(ErrorsOf("use the kept location"),
                IsOneFinding("after the end of the render: getName \\(ScenegraphIteratorHost 3\\) "
                             "got a location of call [0-9]+ \\(getFirstChild, "));
}

TEST_F(Validation, FindsAListenerThatIsCalledAfterTheEndOfItsRender) {
    Listener first;
    EXPECT_THAT(ErrorsOf("keep the listener", first), HasSubstr(": no findings in "));
    EXPECT_THAT(ErrorsOf("call the kept listener"),
                IsOneFinding("after the end of the render: onMessage of the listener of render "
                             "[0-9]+ was called\n"));
    EXPECT_THAT(first.messages, testing::IsEmpty());
}

TEST_F(Validation, FindsAListenerThatTwoThreadsCallAtOnce) {
    Listener listener;
    listener.isSlow = true;
    EXPECT_THAT(ErrorsOf("call the listener twice at once", listener),
                IsOneFinding("two calls at once: onProgress of the listener of render [0-9]+ was "
                             "called while another function of it was running\n"));
}

TEST_F(Validation, FindsANullHandleWhereNoneIsAllowed) {
    EXPECT_THAT(ErrorsOf("pass null"),
                HasSubstr("null: getFirstChild (ScenegraphIteratorHost 4) got null for its "
                          "argument 1\n"));
}

TEST_F(Validation, FindsALeakedHandleOfVersion4) {
    EXPECT_THAT(ErrorsOf("leak a child"),
                IsOneFinding("leaked: a location of call [0-9]+ \\(getChild, thread "));
}

TEST_F(Validation, FindsALeakedError) {
    EXPECT_THAT(ErrorsOf("leak an error"),
                IsOneFinding("leaked: an error of call [0-9]+ \\(openScene, thread "));
}

TEST_F(Validation, FindsALocationThatIsUsedAfterItsVisit) {
    EXPECT_THAT(ErrorsOf("use what was visited"),
                IsOneFinding("used after the call that lent it: getName "
                             "\\(ScenegraphIteratorHost 4\\) got a location that was lent by call "
                             "[0-9]+ \\(visit: visitor, thread [0-9]+\\)\n"));
}

TEST_F(Validation, FindsTheReleaseOfALocationThatIsLent) {
    EXPECT_THAT(ErrorsOf("release what was lent"),
                IsOneFinding("released without a reference: releaseIterator "
                             "\\(ScenegraphIteratorHost 4\\) got a location that was lent by call "
                             "[0-9]+ \\(visit: visitor, thread [0-9]+\\) and not retained\n"));
}

TEST_F(Validation, FindsTheTextOfAnErrorThatIsBorrowedTooLong) {
    EXPECT_THAT(ErrorsOf("pass an old text of an error"),
                AllOf(HasSubstr("borrowed too long: openScene (ScenegraphIteratorHost 4) got a "
                                "text of call "),
                      ContainsRegex("\\(getErrorFacts, thread [0-9]+\\), whose handle call [0-9]+ "
                                    "\\(releaseError, ")));
}

TEST_F(Validation, FindsSamplesThatAreBorrowedTooLong) {
    EXPECT_THAT(ErrorsOf("pass old samples"),
                IsOneFinding("borrowed too long: createFloat \\(AttributeHost 1\\) got values of "
                             "call [0-9]+ \\(getSamples, "));
}

OxRenderStruct* Start(const std::string& fault, const Handle& root) {
    OxRenderJob_v2 job{};
    job.size = sizeof job;
    job.root = root.get();
    job.picture = fault.c_str();
    job.listener.size = sizeof job.listener;
    job.listener.onProgress = [](double, const char*, void*) {};
    return Renderer2().start(&job, nullptr);
}

TEST_F(Validation, TellsRendersOfVersion2ApartThatGoOnAtOnce) {
    const SceneFile file;
    const Handle firstRoot = file.root();
    const Handle secondRoot = file.root();
    OxRenderStruct* const first = Start("leak a child", firstRoot);
    OxRenderStruct* const second = Start("nothing", secondRoot);
    testing::internal::CaptureStderr();
    Renderer2().release(second);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(": no findings in "));
    testing::internal::CaptureStderr();
    Renderer2().release(first);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(": 1 finding in "));
}

TEST_F(Validation, LetsRendersThatGoOnAtOnceShareTheirRoot) {
    const SceneFile file;
    const Handle root = file.root();
    OxRenderStruct* const first = Start("keep the root", root);
    OxRenderStruct* const second = Start("keep the root", root);
    for (OxRenderStruct* const render : {first, second})
        Renderer2().wait(render, -1, nullptr);
    for (OxRenderStruct* const render : {second, first}) {
        testing::internal::CaptureStderr();
        Renderer2().release(render);
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(": no findings in "));
    }
}

TEST_F(Validation, LetsARendererHandAnErrorToItsCaller) {
    const SceneFile file;
    const Handle root = file.root();
    OxRenderStruct* const render = Start("fail", root);
    OxErrorStruct* error = nullptr;
    EXPECT_EQ(Renderer2().wait(render, -1, &error), kOxRenderFailed);
    testing::internal::CaptureStderr();
    Renderer2().release(render);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr(": no findings in "));
    ASSERT_NE(error, nullptr);
    EXPECT_STREQ(OxHandleToErrorFacts(error).text, "the paint has dried up");
    OxReleaseError(error);
}

TEST_F(Validation, LetsHostAndPluginsUseALocationDelegate) {
    const SceneFile file;
    const Handle root = file.root();
    const auto& utils = *static_cast<const OxRenderOutputUtilsHostSuite_v3*>(
        Host()->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3));
    const auto& attributes =
        *static_cast<const OxAttributeSuite_v1*>(Host()->getSuite("AttributeHost", 1));
    testing::internal::CaptureStderr();

    const auto* const ofPlugin = utils.getLocationDelegate("sphere", "lantern");
    ASSERT_NE(ofPlugin, nullptr);
    OxLocationDelegateInstance instance = ofPlugin->create();
    attributes.release(ofPlugin->getReplacement(instance, root.get()));

    const auto* const ofHost =
        TELLAR::OxScenegraphLocationDelegateCache::getPluginSuite("sphere", "lantern");
    EXPECT_NE(ofHost, ofPlugin);
    OxGetBuiltInAttributeSuite()->release(ofHost->getReplacement(instance, root.get()));
    ofHost->destroy(instance);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

/// The text that is written while the op type "Faulty" cooks a location.
std::string ErrorsOfCook(const std::string& fault) {
    const auto client =
        MakeClient(Group({{"op", OpEntry("Faulty", Group({{"fault", Text(fault)}}))}}));
    testing::internal::CaptureStderr();
    EXPECT_TRUE(client->cookLocation("/root").doesLocationExist());
    return testing::internal::GetCapturedStderr();
}

TEST_F(Validation, FindsNothingInASoundOpType) {
    EXPECT_EQ(ErrorsOfCook("nothing"), "");
}

TEST_F(Validation, FindsACookThatIsUsedInAnotherThread) {
    EXPECT_THAT(ErrorsOfCook("use in another thread"),
                ContainsRegex("^TELLAR_VALIDATE: wrong thread: getNumberOfInputs \\(OpTypeCooks "
                              "1\\) got a cook of call [0-9]+ \\(cook, thread [0-9]+\\) in thread "
                              "[0-9]+\n$"));
}

TEST_F(Validation, FindsThePathOfACookThatIsBorrowedTooLong) {
    EXPECT_EQ(ErrorsOfCook("keep the path"), "");
    EXPECT_THAT(ErrorsOfCook("use the kept path"),
                ContainsRegex("^TELLAR_VALIDATE: borrowed too long: createString \\(AttributeHost "
                              "4\\) got a text of call [0-9]+ \\(getPath, thread [0-9]+\\), whose "
                              "handle is no longer lent\n$"));
}

TEST_F(Validation, CountsWhatIsRepeated) {
    ErrorsOf("leak an attribute"); // it may be the first in this process
    const std::string errors = ErrorsOf("leak an attribute");
    EXPECT_THAT(errors, Not(HasSubstr("was not released")));
    EXPECT_THAT(errors, ContainsRegex("\nTELLAR_VALIDATE:   leaked: getAttributeNames, [0-9]+ "
                                      "times\n$"));
}

TEST_F(Validation, LeavesTextsUnchanged) {
    const auto& attributes =
        *static_cast<const OxAttributeSuite_v1*>(Host()->getSuite("AttributeHost", 1));
    EXPECT_NE(&attributes, OxGetBuiltInAttributeSuite());
    const char* const texts[] = {"a", "b c"};
    OxAttributeStruct* made = attributes.createString(texts, 2, 1);
    EXPECT_STREQ(attributes.getString(made, 0, 1), "b c");
    EXPECT_EQ(attributes.getString(made, 0, 1), attributes.getString(made, 0, 1));
    attributes.release(made);
}

TEST_F(Validation, LeavesSamplesUnchanged) {
    const auto& suite =
        *static_cast<const OxAttributeSuite_v4*>(Host()->getSuite("AttributeHost", 4));
    const double values[] = {1, 2, 3, 4};
    const float times[] = {-0.5f, 0.5f};
    OxSamples samples{kAttributeTypeDouble, 2, 2, 2, times, values};
    OxAttributeStruct* made = suite.createSamples(&samples, nullptr);
    OxSamples read{};
    ASSERT_EQ(suite.getSamples(made, &read, nullptr), 1);
    EXPECT_THAT(std::vector<float>(read.times, read.times + 2), testing::ElementsAre(-0.5f, 0.5f));
    const auto* const found = static_cast<const double*>(read.values);
    EXPECT_THAT(std::vector<double>(found, found + 4), testing::ElementsAre(1, 2, 3, 4));
    suite.release(made);
}

TEST(ValidationDeathTest, EndsTheProcessAtTheFirstFindingWhenAsked) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            TurnOn("abort");
            Listener listener;
            Render("release twice", listener);
        },
        "^TELLAR_VALIDATE: released twice: .*\n$");
}

TEST(ValidationDeathTest, TellsOfLeaksAndSummarizesWhenTheProcessEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            TurnOn("1");
            const auto& attributes =
                *static_cast<const OxAttributeSuite_v1*>(Host()->getSuite("AttributeHost", 1));
            attributes.createNull();
            std::exit(0);
        },
        testing::ExitedWithCode(0),
        "leaked: an attribute of call 1 .createNull, thread 1. was not released\n"
        "TELLAR_VALIDATE: process: 1 finding in 1 call\n");
}

TEST(ValidationDeathTest, TellsOfWhatAnOpTypeLeaksWhenTheProcessEnds) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            TurnOn("1");
            ErrorsOfCook("leak an input");
            std::exit(0);
        },
        testing::ExitedWithCode(0), "leaked: a result of an input of call .* .getInput, thread");
}

TEST(ValidationDeathTest, LeavesTheTablesAsTheyAreWhenItIsOff) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            TurnOn("0");
            const bool isPlain =
                Host()->getSuite("AttributeHost", 1) == OxGetBuiltInAttributeSuite();
            std::exit(isPlain ? 0 : 1);
        },
        testing::ExitedWithCode(0), "^$");
}

} // namespace
