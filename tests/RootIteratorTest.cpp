#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "CapturedErrors.h"
#include "CapturedLog.h"
#include "IteratorScenes.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "ScopedEnvironment.h"
#include "ScopedRuntimeFactory.h"
#include "SuiteHandles.h"
#include "TempDirectory.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using TELLAR::OxHandleToGeometryProducer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr const char* kLogger = "ScenegraphIteratorHost";
constexpr const char* kNoProducer = "Tellar3 producer create failed.";

std::shared_ptr<TellarRuntime> PublishedRuntime() {
    return OxTellarServicesHost::GetRuntimeInstance("renderRuntime");
}

bool IsThreadAware(const Handle& handle) {
    return dynamic_cast<TELLAR::ThreadAwareGeometryProducer*>(
        OxHandleToGeometryProducer(handle.get()).get());
}

TEST(IteratorHost, LoadsADescriptionAndOpensIt) {
    const TempDirectory folder;
    const auto ops = WideScene(UniqueTag());
    OxAttribute::WriteAttributeFile(folder.path("scene.oxattr"), ops);
    const Attribute loaded =
        Owned(Iterators().loadOpTreeDescription(folder.path("scene.oxattr").c_str()));
    EXPECT_EQ(loaded, ops);
    const Handle root =
        Handle::owning(Iterators().createRootIteratorFromOpTreeDescription(loaded.getHandle()));
    EXPECT_EQ(PathOf(root), "/root");
    EXPECT_TRUE(IsThreadAware(root));
    EXPECT_TRUE(loaded.isValid()) << "its reference is still the caller's";
}

TEST(IteratorHost, TellsAboutADescriptionThatIsNotThere) {
    const CapturedErrors errors;
    EXPECT_EQ(Iterators().loadOpTreeDescription("/no/such/scene.oxattr"), nullptr);
    EXPECT_EQ(errors.text(), "LoadOpTreeDescriptionFromFile(): Op tree file "
                             "\"/no/such/scene.oxattr\" does not exist.\n");
}

TEST(IteratorHost, GivesNullForAStreamThatHoldsNoGroup) {
    const TempDirectory folder;
    OxAttribute::WriteAttributeFile(folder.path("scene.oxattr"), Int(3));
    EXPECT_EQ(Iterators().loadOpTreeDescription(folder.path("scene.oxattr").c_str()), nullptr);
}

TEST(IteratorHost, LogsADamagedDescription) {
    const TempDirectory folder;
    const std::string path = folder.write("scene.oxattr", "no stream at all, but long enough ...");
    const CapturedLog log;
    EXPECT_EQ(Iterators().loadOpTreeDescription(path.c_str()), nullptr);
    EXPECT_THAT(log.textsOf(kLogger), ElementsAre(HasSubstr("loadOpTreeDescription: ")));
}

TEST(IteratorHost, LogsADescriptionThatIsAPipeWithoutWaiting) {
    const TempDirectory folder;
    const std::string pipe = folder.makePipe("pipe");
    const CapturedLog log;
    EXPECT_EQ(Iterators().loadOpTreeDescription(pipe.c_str()), nullptr);
    EXPECT_THAT(log.textsOf(kLogger),
                ElementsAre(HasSubstr("\"" + pipe + "\": not a regular file")));
}

/// The result of opening a scene, with all that was printed and logged.
struct Opened {
    explicit Opened(const std::function<OxSgIteratorStruct*()>& open) {
        const CapturedErrors errors;
        const CapturedLog log;
        handle = open();
        said = errors.text();
        logged = log.textsOf(kLogger);
    }
    OxSgIteratorStruct* handle;
    std::string said;
    std::vector<std::string> logged;
};

TEST(IteratorHost, TellsWhenAFileGivesNoScene) {
    const Opened missing(
        [] { return Iterators().createRootIteratorFromOpTreeFile("/no/such/scene.oxop"); });
    EXPECT_EQ(missing.handle, nullptr);
    EXPECT_EQ(missing.said, "Tellar3 producer create failed.\n");
    EXPECT_THAT(missing.logged, ElementsAre(kNoProducer));
    const Opened null([] { return Iterators().createRootIteratorFromOpTreeFile(nullptr); });
    EXPECT_EQ(null.handle, nullptr);
    EXPECT_EQ(null.said, "Tellar3 producer create failed.\n");
}

TEST(IteratorHost, RefusesPipesDevicesAndFoldersWithoutWaiting) {
    const TempDirectory folder;
    for (const std::string& path :
         {folder.makePipe("pipe"), std::string("/dev/zero"), folder.path()}) {
        const auto open = [&path] {
            return Iterators().createRootIteratorFromOpTreeFile(path.c_str());
        };
        const Opened threadAware(open);
        EXPECT_EQ(threadAware.handle, nullptr);
        EXPECT_EQ(threadAware.said, "Tellar3 producer create failed.\n");
        const SharedRuntime on;
        const Opened shared(open);
        EXPECT_EQ(shared.handle, nullptr);
        EXPECT_EQ(shared.said, "Error occurred creating ThreadAwareGeometyProducer.\n"
                               "Exception message: 'Cannot read file \"" +
                                   path +
                                   "\": not a regular file'\n"
                                   "Tellar3 producer create failed.\n");
    }
}

TEST(IteratorHost, TellsWhenADescriptionGivesNoScene) {
    for (const Attribute& description : {Attribute(), Attribute(Int(3)), Attribute(Group({}))}) {
        const Opened opened([&] {
            return Iterators().createRootIteratorFromOpTreeDescription(description.getHandle());
        });
        EXPECT_EQ(opened.handle, nullptr);
        EXPECT_EQ(opened.said, "Tellar3 producer create failed.\n");
        EXPECT_THAT(opened.logged, ElementsAre(kNoProducer));
    }
}

TEST(IteratorHost, TellsAboutExceptionsWhileASceneIsOpened) {
    const auto failing =
        Group({{"tree", OpEntry("TestTree", Group({{"tag", Text(UniqueTag())}}))},
               {"throw", OpEntry("TestThrow", Group({{"at", Text("/root")}}), {"tree"})}});
    const SceneFile file(failing);
    const std::string prefix = "Error occurred creating ThreadAwareGeometyProducer.\n"
                               "Exception message: '";
    const std::string suffix = "'\nTellar3 producer create failed.\n";
    const auto expectTold = [&](const Opened& opened) {
        EXPECT_EQ(opened.handle, nullptr);
        EXPECT_THAT(opened.said, testing::StartsWith(prefix));
        EXPECT_THAT(opened.said, HasSubstr("It fails on purpose."));
        EXPECT_THAT(opened.said, testing::EndsWith(suffix));
        EXPECT_THAT(opened.logged, ElementsAre(kNoProducer));
    };
    expectTold(Opened([&] { return file.root().get(); }));
    expectTold(Opened(
        [&] { return Iterators().createRootIteratorFromOpTreeDescription(failing.getHandle()); }));
    const SharedRuntime shared;
    expectTold(Opened([&] { return file.root().get(); }));
}

TEST(IteratorHost, TellsAboutADamagedFileInTheSharedRuntime) {
    const TempDirectory folder;
    const std::string path = folder.write("scene.oxop", "no op file at all, but long enough ...");
    const SharedRuntime shared;
    const Opened opened([&] { return Iterators().createRootIteratorFromOpTreeFile(path.c_str()); });
    EXPECT_EQ(opened.handle, nullptr);
    EXPECT_THAT(opened.said, HasSubstr("Exception message: '"));
    EXPECT_THAT(opened.said, HasSubstr(path));
}

TEST(IteratorHost, OnlyLogsThatThereIsNoRuntimeToShare) {
    const SceneFile file;
    const ScopedRuntimeFactory none([] { return nullptr; });
    const SharedRuntime shared;
    const Opened opened([&] { return file.root().get(); });
    EXPECT_EQ(opened.handle, nullptr);
    EXPECT_EQ(opened.said, "");
    EXPECT_THAT(opened.logged, ElementsAre("Runtime could not be loaded."));
    EXPECT_EQ(PublishedRuntime(), nullptr);
}

TEST(IteratorHost, LogsWhatIsNoStandardExceptionAsAnyEntryDoes) {
    const SceneFile file;
    const ScopedRuntimeFactory throwing([]() -> std::shared_ptr<TellarRuntime> { throw 7; });
    const SharedRuntime shared;
    const Opened opened([&] { return file.root().get(); });
    EXPECT_EQ(opened.handle, nullptr);
    EXPECT_EQ(opened.said, "");
    EXPECT_THAT(opened.logged, ElementsAre("createRootIteratorFromOpTreeFile: unknown exception"));
}

TEST(IteratorHost, GivesAllThreadsOneClientInTheSharedRuntime) {
    const SceneFile file;
    const SharedRuntime shared;
    const Handle root = file.root();
    const auto producer = OxHandleToGeometryProducer(root.get());
    EXPECT_TRUE(dynamic_cast<TELLAR::SyncGeometryProducer*>(producer.get()));
    const auto client = producer->getClient();
    RunTogether(4, [&](int) {
        const Handle world = Handle::retaining(Iterators().getFirstChild(root.get(), false));
        EXPECT_EQ(OxHandleToGeometryProducer(world.get())->getClient(), client);
    });
}

TEST(IteratorHost, LogsNoFailureToOpenWhileErrorsAreOff) {
    OxLoggingSetLevel(kLogger, OxLogLevel::off);
    const Opened missing(
        [] { return Iterators().createRootIteratorFromOpTreeFile("/no/such/scene.oxop"); });
    OxLoggingSetLevel(kLogger, OxLogLevel::warn);
    EXPECT_EQ(missing.said, "Tellar3 producer create failed.\n");
    EXPECT_THAT(missing.logged, IsEmpty());
}

TEST(IteratorHost, SharesOneRuntimeOnlyWhenToldByJustThatWord) {
    const SceneFile file;
    for (const char* value : {"1 ", "true", "", "0", "01"}) {
        const ScopedEnvironment set("RUNTIME_USE_CONCURRENT", value);
        EXPECT_TRUE(IsThreadAware(file.root())) << value;
    }
    const ScopedEnvironment unset("RUNTIME_USE_CONCURRENT", std::nullopt);
    EXPECT_TRUE(IsThreadAware(file.root()));
    EXPECT_EQ(PublishedRuntime(), nullptr);
    const SharedRuntime shared;
    EXPECT_FALSE(IsThreadAware(file.root()));
}

TEST(IteratorHost, PublishesTheSharedRuntimeInPlaceOfTheLast) {
    const SceneFile file;
    const SharedRuntime shared;
    const Handle first = file.root();
    const auto firstRuntime = PublishedRuntime();
    ASSERT_TRUE(firstRuntime);
    EXPECT_EQ(OxHandleToGeometryProducer(first.get())->getClient()->getRuntime(), firstRuntime);
    const Handle second = file.root();
    EXPECT_NE(PublishedRuntime(), firstRuntime);
    EXPECT_EQ(PathOf(Handle::retaining(Iterators().getFirstChild(first.get(), false))),
              "/root/world")
        << "the scene before is still usable";
}

TEST(IteratorHost, TakesTheLastSharedRuntimeAwayBeforeThereIsANewOne) {
    const SceneFile file;
    const SharedRuntime shared;
    const Handle first = file.root();
    ASSERT_TRUE(PublishedRuntime());
    bool wasTakenAway = false;
    const ScopedRuntimeFactory factory([&] {
        wasTakenAway = !PublishedRuntime();
        return TellarRuntime::create();
    });
    EXPECT_TRUE(file.root());
    EXPECT_TRUE(wasTakenAway);
}

} // namespace
