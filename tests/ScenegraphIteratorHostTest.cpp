#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

#include <cstring>
#include <functional>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/PluginManager.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "CapturedErrors.h"
#include "CapturedLog.h"
#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "ScopedEnvironment.h"
#include "ScopedRuntimeFactory.h"
#include "SuiteHandles.h"
#include "TempDirectory.h"
#include "TestOps.h"
#include "plugins/IteratorChecksSuite.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::GeometryProducer;
using TELLAR::OxGeometryProducerToHandle;
using TELLAR::OxHandleToGeometryProducer;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Ptr = GeometryProducer::Ptr;
using Suite = OxScenegraphIteratorHostSuite_v3;

constexpr const char* kLogger = "ScenegraphIteratorHost";
constexpr const char* kNoProducer = "Tellar3 producer create failed.";

std::string PathOf(const Handle& handle) {
    return handle ? TextOf(Owned(Iterators().getFullName(handle.get()))) : "nothing";
}

/// /root (inherited, tag) > world > group0..3 > leaf0..9; each has a number.
GroupAttribute WideScene(const std::string& tag) {
    Children groups;
    for (int i = 0; i < 4; ++i) {
        Children leaves;
        for (int j = 0; j < 10; ++j)
            leaves.emplace_back("leaf" + std::to_string(j), Location({{"number", Int(j)}}));
        groups.emplace_back("group" + std::to_string(i), Location({{"number", Int(i)}}, leaves));
    }
    return SceneTree(
        Location({{"number", Int(0)}, {"inherited", Text("from above")}, {"tag", Text(tag)}},
                 {{"world", Location({{"number", Int(1)}}, groups)}}));
}
constexpr long kWideSceneLocations = 2 + 4 + 40;

/// A scene in an op file that no other test opens.
class SceneFile {
public:
    explicit SceneFile(const GroupAttribute& ops = WideScene(UniqueTag()))
        : path(folder.path("scene.oxop")) {
        OxAttribute::WriteOpFile(path, ops);
    }

    const char* c_str() const { return path.c_str(); }
    Handle root() const {
        return Handle::owning(Iterators().createRootIteratorFromOpTreeFile(path.c_str()));
    }

private:
    TempDirectory folder;
    std::string path;
};

struct SharedRuntime {
    ScopedEnvironment on{"RUNTIME_USE_CONCURRENT", "1"};
    ~SharedRuntime() { OxTellarServicesHost::RegisterRuntimeInstance(nullptr, "renderRuntime"); }
};

std::shared_ptr<TellarRuntime> PublishedRuntime() {
    return OxTellarServicesHost::GetRuntimeInstance("renderRuntime");
}

bool IsThreadAware(const Handle& handle) {
    return dynamic_cast<TELLAR::ThreadAwareGeometryProducer*>(
        OxHandleToGeometryProducer(handle.get()).get());
}

// Registration ------------------------------------------------------------------------------------

struct Registration {
    const void* suite;
    std::string name;
    unsigned int version;
    friend bool operator==(const Registration& a, const Registration& b) {
        return a.suite == b.suite && a.name == b.name && a.version == b.version;
    }
};
std::vector<Registration> registrations;
std::vector<int> statuses; // what the host answers, in order

int Register(const void* suite, const char* name, unsigned int version) {
    registrations.push_back({suite, name, version});
    return registrations.size() <= statuses.size() ? statuses[registrations.size() - 1] : 0;
}

/// A host of somebody else's: ten members that must not be looked at, then the one.
struct OtherHost {
    const void* others[10];
    int (*registerSuite)(const void*, const char*, unsigned int);
};

int InitializeWith(const OtherHost& host) {
    registrations.clear();
    return OxTellarProducersInitialize(
        reinterpret_cast<OxPluginHost*>(const_cast<OtherHost*>(&host)));
}

OtherHost HostThatAnswers(const std::vector<int>& answers) {
    statuses = answers;
    OtherHost host{};
    host.registerSuite = Register;
    return host;
}

TEST(Initialize, RegistersAllSuitesInOrder) {
    InitializeWith(HostThatAnswers({}));
    const char* const utils = "RenderOutputUtilsHost";
    EXPECT_THAT(registrations, ElementsAre(Registration{Host()->getSuite(kLogger, 3), kLogger, 3},
                                           Registration{Host()->getSuite(kLogger, 2), kLogger, 2},
                                           Registration{Host()->getSuite(utils, 3), utils, 3}));
}

TEST(Initialize, GoesOnAfterAFailureAndReturnsTheLastStatus) {
    EXPECT_EQ(InitializeWith(HostThatAnswers({7, 6, 5})), 5);
    EXPECT_EQ(registrations.size(), 3u);
    EXPECT_EQ(InitializeWith(HostThatAnswers({7, 6, 0})), 0);
}

TEST(Initialize, RegistersTheSameTablesEveryTime) {
    InitializeWith(HostThatAnswers({}));
    const auto first = registrations;
    InitializeWith(HostThatAnswers({}));
    EXPECT_EQ(registrations, first);
}

TEST(Initialize, DoesNothingWithoutAHost) {
    EXPECT_EQ(OxTellarProducersInitialize(nullptr), -1);
    EXPECT_EQ(InitializeWith(OtherHost{}), -1);
}

TEST(Initialize, HasANumberToLinkTo) {
    EXPECT_EQ(_tellar3_dummy_dll_export, 0);
}

TEST(IteratorHost, HasTheEntriesOfVersion3InVersion2) {
    const auto& old = *static_cast<const OxScenegraphIteratorHostSuite_v2*>(
        Host()->getSuite("ScenegraphIteratorHost", 2));
    void* three[19];
    void* two[16];
    static_assert(sizeof three == sizeof(Suite) && sizeof two == sizeof old);
    std::memcpy(three, &Iterators(), sizeof three);
    std::memcpy(two, &old, sizeof two);
    std::vector<void*> kept;
    for (int slot = 0; slot < 19; ++slot)
        if (slot != 2 && slot != 4 && slot != 18) kept.push_back(three[slot]);
    EXPECT_THAT(two, testing::ElementsAreArray(kept));
    EXPECT_EQ(std::set<void*>(three, three + 19).size(), 19u) << "no entry stands twice";
}

// Handles -----------------------------------------------------------------------------------------

/// How many references there are to a producer but for the one that asks.
unsigned int OthersOf(const Ptr& producer) {
    return producer->use_count() - 1;
}

TEST(IteratorHandle, KeepsItsProducerUntilTheLastRelease) {
    const Ptr producer = TELLAR::CreateStaticGeometryProducer("/root", Location({}), nullptr);
    OxSgIteratorStruct* const handle = OxGeometryProducerToHandle(producer);
    EXPECT_EQ(OthersOf(producer), 1u);
    Iterators().retainIterator(handle);
    Iterators().retainIterator(handle);
    Iterators().releaseIterator(handle);
    EXPECT_EQ(OthersOf(producer), 1u);
    EXPECT_EQ(OxHandleToGeometryProducer(handle), producer);
    Iterators().releaseIterator(handle);
    EXPECT_EQ(OthersOf(producer), 0u);
}

TEST(IteratorHandle, OutlivesAReleaseThatNobodyRetainedItFor) {
    const Ptr producer = TELLAR::CreateStaticGeometryProducer("/root", Location({}), nullptr);
    OxSgIteratorStruct* const handle = OxGeometryProducerToHandle(producer);
    Iterators().releaseIterator(handle); // an error of the host's
    EXPECT_EQ(OthersOf(producer), 1u);
    Iterators().retainIterator(handle);
    Iterators().retainIterator(handle);
    Iterators().releaseIterator(handle);
    EXPECT_EQ(OthersOf(producer), 0u);
}

TEST(IteratorHandle, IsANewOneForTheSameProducer) {
    const Ptr producer = TELLAR::CreateStaticGeometryProducer("/root", Location({}), nullptr);
    const Handle one = Handle::of((producer));
    const Handle other = Handle::of((producer));
    EXPECT_NE(one.get(), other.get());
    EXPECT_EQ(OxHandleToGeometryProducer(one.get()), OxHandleToGeometryProducer(other.get()));
}

TEST(IteratorHandle, OfNullIsNull) {
    EXPECT_EQ(OxGeometryProducerToHandle(nullptr), nullptr);
    EXPECT_EQ(OxHandleToGeometryProducer(nullptr), nullptr);
}

TEST(IteratorHandle, OfARootIsFreedByOneRelease) {
    const SceneFile file;
    OxSgIteratorStruct* const root = Iterators().createRootIteratorFromOpTreeFile(file.c_str());
    const Ptr producer = OxHandleToGeometryProducer(root);
    EXPECT_EQ(OthersOf(producer), 1u);
    Iterators().releaseIterator(root);
    EXPECT_EQ(OthersOf(producer), 0u);
}

TEST(IteratorHandle, OfANavigationIsFreedByRetainAndRelease) {
    const SceneFile file;
    const Handle root = file.root();
    OxSgIteratorStruct* const child = Iterators().getFirstChild(root.get(), false);
    const Ptr producer = OxHandleToGeometryProducer(child);
    EXPECT_EQ(OthersOf(producer), 1u);
    Iterators().retainIterator(child);
    Iterators().releaseIterator(child);
    EXPECT_EQ(OthersOf(producer), 0u);
}

// Walking -----------------------------------------------------------------------------------------

TEST(IteratorHost, NavigatesAsProducersDo) {
    const SceneFile file;
    const Handle root = file.root();
    const Suite& suite = Iterators();
    const Handle world = Handle::retaining(suite.getFirstChild(root.get(), false));
    const Handle group1 = Handle::retaining(suite.getChildByName(world.get(), "group1", false));
    const Handle group2 = Handle::retaining(suite.getNextSibling(group1.get(), false));
    const Handle leaf =
        Handle::retaining(suite.getProducerByPath(root.get(), "/root/world/group2/leaf9", false));
    EXPECT_EQ(PathOf(root), "/root");
    EXPECT_EQ(PathOf(world), "/root/world");
    EXPECT_EQ(PathOf(group2), "/root/world/group2");
    EXPECT_EQ(PathOf(leaf), "/root/world/group2/leaf9");
    EXPECT_EQ(PathOf(Handle::retaining(suite.getParent(leaf.get()))), "/root/world/group2");
    EXPECT_EQ(PathOf(Handle::retaining(suite.getChildByName(leaf.get(), "..", false))),
              "/root/world/group2");
    EXPECT_EQ(TextOf(Owned(suite.getName(leaf.get()))), "leaf9");
}

TEST(IteratorHost, GivesNullForWhatIsNotThere) {
    const SceneFile file;
    const Handle root = file.root();
    const Suite& suite = Iterators();
    const Handle leaf =
        Handle::retaining(suite.getProducerByPath(root.get(), "/root/world/group2/leaf9", false));
    EXPECT_EQ(suite.getParent(root.get()), nullptr);
    EXPECT_EQ(suite.getNextSibling(root.get(), false), nullptr);
    EXPECT_EQ(suite.getFirstChild(leaf.get(), false), nullptr);
    EXPECT_EQ(suite.getNextSibling(leaf.get(), false), nullptr);
    EXPECT_EQ(suite.getChildByName(root.get(), "nothing", false), nullptr);
    EXPECT_EQ(suite.getChildByName(root.get(), nullptr, false), nullptr);
    EXPECT_EQ(suite.getProducerByPath(root.get(), "/root/nothing", false), nullptr);
    EXPECT_EQ(suite.getProducerByPath(root.get(), nullptr, false), nullptr);
    EXPECT_EQ(suite.getAttribute(root.get(), "nothing"), nullptr);
    EXPECT_EQ(suite.getGlobalAttribute(leaf.get(), "nothing"), nullptr);
    EXPECT_EQ(suite.getGlobalAttribute(leaf.get(), nullptr), nullptr);
    EXPECT_EQ(suite.getPotentialChildren(leaf.get()), nullptr);
}

TEST(IteratorHost, ReadsAttributes) {
    const SceneFile file;
    const Handle root = file.root();
    const Suite& suite = Iterators();
    const Handle leaf =
        Handle::retaining(suite.getProducerByPath(root.get(), "/root/world/group2/leaf9", false));
    EXPECT_EQ(IntOf(Owned(suite.getAttribute(leaf.get(), "number"))), 9);
    EXPECT_EQ(TextOf(Owned(suite.getGlobalAttribute(leaf.get(), "inherited"))), "from above");
    EXPECT_EQ(GroupAttribute(Owned(suite.getAttribute(leaf.get(), nullptr))).getNumberOfChildren(),
              1);
    EXPECT_EQ(Owned(suite.getGlobalXFormGroup(leaf.get())).getType(), kAttributeTypeGroup);
    const StringAttribute children = Owned(suite.getPotentialChildren(root.get()));
    EXPECT_THAT(ValuesOf(children), ElementsAre("world"));
}

TEST(IteratorHost, GivesTheSameRootEveryTimeInAHandleOfItsOwn) {
    const SceneFile file;
    const Handle root = file.root();
    const Handle leaf = Handle::retaining(
        Iterators().getProducerByPath(root.get(), "/root/world/group2/leaf9", false));
    const Handle one = Handle::retaining(Iterators().getRoot(leaf.get()));
    const Handle other = Handle::retaining(Iterators().getRoot(root.get()));
    EXPECT_NE(one.get(), other.get());
    EXPECT_EQ(OxHandleToGeometryProducer(one.get()), OxHandleToGeometryProducer(other.get()));
}

TEST(IteratorHost, ComputesALocationAnewWhenItIsToBeEvicted) {
    TestVersionNow() = 1;
    const auto tree = Group({{"tree", OpEntry("TestTree", Group({{"children", Texts({"a", "b"})},
                                                                 {"tag", Text(UniqueTag())}}))},
                             {"version", OpEntry("TestVersion", {}, {"tree"})}});
    const Handle root =
        Handle::owning(Iterators().createRootIteratorFromOpTreeDescription(tree.getHandle()));
    const auto version = [&](bool evict) {
        const Handle child = Handle::retaining(Iterators().getFirstChild(root.get(), evict));
        return IntOf(Owned(Iterators().getAttribute(child.get(), "version")));
    };
    EXPECT_EQ(version(false), 1);
    TestVersionNow() = 2;
    EXPECT_EQ(version(false), 1);
    EXPECT_EQ(version(true), 2);

    const auto versionOf = [](OxSgIteratorStruct* iterator) {
        const Handle handle = Handle::retaining(iterator);
        return IntOf(Owned(Iterators().getAttribute(handle.get(), "version")));
    };
    TestVersionNow() = 3;
    EXPECT_EQ(versionOf(Iterators().getChildByName(root.get(), "a", true)), 3);
    TestVersionNow() = 4;
    EXPECT_EQ(versionOf(Iterators().getProducerByPath(root.get(), "/root/a", true)), 4);
    TestVersionNow() = 5;
    const Handle a = Handle::retaining(Iterators().getFirstChild(root.get(), false));
    EXPECT_EQ(versionOf(Iterators().getNextSibling(a.get(), false)), 5);
    TestVersionNow() = 6;
    EXPECT_EQ(versionOf(Iterators().getNextSibling(a.get(), false)), 5);
    EXPECT_EQ(versionOf(Iterators().getNextSibling(a.get(), true)), 6);
}

/// Reports what it is told to, whatever its base would.
class TalkativeProducer : public GeometryProducer {
public:
    explicit TalkativeProducer(std::vector<std::string> names)
        : GeometryProducer(nullptr), names(std::move(names)) {}
    void getAttributeNames(std::set<std::string>* result) override {
        for (const std::string& name : names)
            result->insert(name);
    }
    StringAttribute getPotentialChildren() override { throw std::runtime_error("It fails."); }
    Attribute getAttribute(const char*) override { throw 7; }
    std::string getName() override { return ""; }
    std::string getFullName() override { return ""; }
    std::string getHash() override { return ""; }
    Ptr getChildByName(const char*, bool) override { return nullptr; }
    Ptr getFirstChild(bool) override { throw std::runtime_error("It fails."); }
    Ptr getNextSibling(bool) override { return nullptr; }

private:
    std::vector<std::string> names;
};

TEST(IteratorHost, GivesAttributeNamesSortedAndOnce) {
    const Handle handle = Handle::of((new TalkativeProducer({"b", "a", "b"})));
    const StringAttribute names = Owned(Iterators().getAttributeNames(handle.get()));
    EXPECT_THAT(ValuesOf(names), ElementsAre("a", "b"));
    EXPECT_EQ(names.getTupleSize(), 1);
}

TEST(IteratorHost, GivesNoNamesAsAnEmptyStringAttribute) {
    const Handle handle = Handle::of((new TalkativeProducer({})));
    const StringAttribute names = Owned(Iterators().getAttributeNames(handle.get()));
    EXPECT_TRUE(names.isValid());
    EXPECT_THAT(ValuesOf(names), IsEmpty());
}

TEST(IteratorHost, LetsNoExceptionOutAndLogsTheEntry) {
    const CapturedLog log;
    const Handle handle = Handle::of((new TalkativeProducer({})));
    EXPECT_EQ(Iterators().getFirstChild(handle.get(), false), nullptr);
    EXPECT_EQ(Iterators().getPotentialChildren(handle.get()), nullptr);
    EXPECT_EQ(Iterators().getAttribute(handle.get(), "a"), nullptr);
    EXPECT_THAT(log.textsOf(kLogger),
                ElementsAre("getFirstChild: It fails.", "getPotentialChildren: It fails.",
                            "getAttribute: unknown exception"));
    EXPECT_EQ(log.messages()[0].level, OxLogLevel::error);
}

TEST(IteratorHost, LogsADeepNameAsAnErrorOfItsEntry) {
    const SceneFile file;
    const Handle root = file.root();
    const CapturedLog log;
    EXPECT_EQ(Iterators().getChildByName(root.get(), "world/group1", false), nullptr);
    EXPECT_THAT(log.textsOf(kLogger),
                ElementsAre("getChildByName: getChildByName does not support deep child lookups"));
}

// Opening -----------------------------------------------------------------------------------------

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

// Ending ------------------------------------------------------------------------------------------

/// The messages of finalizing a scene, and whether its runtime has forgotten "/root".
struct Finalized {
    explicit Finalized(const GroupAttribute& rootAttrs) {
        const SceneFile file(SceneTree(rootAttrs));
        const SharedRuntime shared; // all threads see one client's memory
        const Handle root = file.root();
        const auto client = OxHandleToGeometryProducer(root.get())->getClient();
        EXPECT_TRUE(client->getCachedLocation("/root").isValid());
        OxLoggingSetLevel(kLogger, OxLogLevel::info);
        const CapturedLog log;
        Iterators().finalizeRuntime(root.get());
        OxLoggingSetLevel(kLogger, OxLogLevel::warn);
        messages = log.messages();
        hasEnded = !client->getCachedLocation("/root").isValid();
    }
    std::vector<OxLogMessage> messages;
    bool hasEnded;
};

TEST(FinalizeRuntime, EndsTheRender) {
    const Finalized finalized(Location({{"tag", Text(UniqueTag())}}));
    EXPECT_TRUE(finalized.hasEnded);
    EXPECT_THAT(finalized.messages, IsEmpty());
}

TEST(FinalizeRuntime, IsDeferredWhileRenderingLive) {
    for (const char* name : {"liveRender", "liveRenderSettings"})
        for (const Attribute& value : {Int(0), Text(""), Attribute(Group({}))}) {
            SCOPED_TRACE(name);
            const Finalized finalized(Location({{name, value}, {"tag", Text(UniqueTag())}}));
            EXPECT_FALSE(finalized.hasEnded);
            ASSERT_EQ(finalized.messages.size(), 1u);
            EXPECT_EQ(finalized.messages[0].text,
                      "Runtime finalize deferred while live rendering.");
            EXPECT_EQ(finalized.messages[0].level, OxLogLevel::info);
            EXPECT_EQ(finalized.messages[0].loggerName, kLogger);
        }
}

TEST(FinalizeRuntime, IsDeferredWithoutAMessageWhileInfosAreOff) {
    const SceneFile file(SceneTree(Location({{"liveRender", Int(1)}, {"tag", Text(UniqueTag())}})));
    const SharedRuntime shared;
    const Handle root = file.root();
    const auto client = OxHandleToGeometryProducer(root.get())->getClient();
    const CapturedLog log;
    Iterators().finalizeRuntime(root.get());
    EXPECT_THAT(log.messages(), IsEmpty());
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
}

TEST(FinalizeRuntime, LooksAtTheTopLevelOnly) {
    EXPECT_TRUE(Finalized(Location({{"group", Group({{"liveRender", Int(1)}})},
                                    {"tag", Text(UniqueTag())}}))
                    .hasEnded);
}

TEST(FinalizeRuntime, EndsARenderWithoutARoot) {
    const auto client =
        MakeClient(Group({{"tree", OpEntry("TestTree", Group({{"missing", Texts({"/root"})},
                                                              {"tag", Text(UniqueTag())}}))}}));
    const Handle handle = Handle::retaining(
        OxGeometryProducerToHandle(TELLAR::CreateSyncGeometryProducer(client, "/other")));
    ASSERT_TRUE(handle);
    Iterators().finalizeRuntime(handle.get());
    EXPECT_FALSE(client->getCachedLocation("/other").isValid());
}

TEST(FinalizeRuntime, DoesNothingWithoutAClient) {
    const CapturedLog log;
    const Handle handle =
        Handle::of((TELLAR::CreateStaticGeometryProducer("/root", Location({}), nullptr)));
    Iterators().finalizeRuntime(handle.get());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(FinalizeRuntime, LogsAnExceptionOfTheScene) {
    const auto client = MakeClient(
        Group({{"tree", OpEntry("TestTree", Group({{"tag", Text(UniqueTag())}}))},
               {"throw", OpEntry("TestThrow", Group({{"at", Text("/root")}}), {"tree"})}}));
    const Handle handle = Handle::retaining(
        OxGeometryProducerToHandle(TELLAR::CreateSyncGeometryProducer(client, "/other")));
    const CapturedLog log;
    Iterators().finalizeRuntime(handle.get());
    EXPECT_THAT(log.textsOf(kLogger), ElementsAre(HasSubstr("finalizeRuntime: ")));
}

// From a plug-in in C
// ------------------------------------------------------------------------------------------

/// The plug-in's table, by way of the host: it is found on the plug-in path, and finds the suites
/// of the library by name and version in turn.
const IteratorChecksSuite& Checks() {
    static const auto* const checks = [] {
        OxPluginManager::PluginManager::addSearchPath(TELLAR_TEST_PLUGIN_DIR);
        return static_cast<const IteratorChecksSuite*>(
            Host()->getPluginSuite("iterator checks", "TestIteratorChecks", 1));
    }();
    if (!checks) throw std::runtime_error("The plug-in with the checks is not found.");
    return *checks;
}

TEST(IteratorHostFromC, TakesNullHandlesAtEveryEntry) {
    const CapturedErrors expected;
    const CapturedLog expectedToo;
    EXPECT_EQ(Checks().checkNullHandles(), 0);
}

TEST(IteratorHostFromC, CountsReferences) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkCounts(file.c_str()), 0);
}

TEST(IteratorHostFromC, IsWalkedThroughVersion2) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkVersion2(file.c_str(), kWideSceneLocations), 0);
}

TEST(IteratorHostFromC, IsWalkedByManyThreadsAtOnce) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkThreads(file.c_str(), 8, kWideSceneLocations), 0);
}

TEST(IteratorHostFromC, IsWalkedByManyThreadsAtOnceInOneRuntime) {
    const SceneFile file;
    const SharedRuntime shared;
    EXPECT_EQ(Checks().checkThreads(file.c_str(), 8, kWideSceneLocations), 0);
}

TEST(IteratorHostFromC, OutlivesTheThreadThatOpenedTheScene) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkThreadThatEnds(file.c_str(), 8, kWideSceneLocations), 0);
}

TEST(IteratorHostFromC, OutlivesTheThreadThatOpenedTheSceneInOneRuntime) {
    const SceneFile file;
    const SharedRuntime shared;
    EXPECT_EQ(Checks().checkThreadThatEnds(file.c_str(), 8, kWideSceneLocations), 0);
}

} // namespace
