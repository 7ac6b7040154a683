#include <OxTellarProducers/ThreadLocalClient.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>

#include <gmock/gmock.h>

#include <OxTellarProducers/ClientFactory.h>
#include <OxTellarSDK/AttributeStream.h>

#include "CapturedLog.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "ScopedRuntimeFactory.h"
#include "TempDirectory.h"
#include "VirtualSlot.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::OpTreeSource;
using TELLAR::ThreadLocalClient;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

using Client = std::shared_ptr<TellarRuntime::Client>;

/// A tree that no other test has: threads' clients are remembered for ever.
OpTreeSource UniqueSource() {
    return OpTreeSource::createFromGroupAttribute(
        SceneTree(Location({{"tag", Text(UniqueTag())}})));
}

/// The client that the object gives to a new thread, which has ended on return.
Client ClientOfEndedThread(ThreadLocalClient& threadLocalClient) {
    Client client;
    std::thread([&] { client = threadLocalClient.getClient(); }).join();
    return client;
}

/// Makes the factory take note of the clients that ended threads gave back.
void TakeInReleasedClients() {
    TELLAR::ClientCreateWithOpTree(UniqueSource());
}

TEST(ThreadLocalClient, GivesAThreadTheSameUsableClientOnEveryCall) {
    ThreadLocalClient threadLocalClient(UniqueSource());
    const Client client = threadLocalClient.getClient();
    ASSERT_TRUE(client);
    EXPECT_EQ(threadLocalClient.getClient(), client);
    EXPECT_TRUE(client->cookLocation("/root").doesLocationExist());
}

TEST(ThreadLocalClient, MakesNoClientBeforeAThreadAsks) {
    const ScopedRuntimeFactory runtimes;
    ThreadLocalClient threadLocalClient(UniqueSource());
    EXPECT_EQ(runtimes.count(), 0);
    threadLocalClient.getClient();
    threadLocalClient.getClient();
    EXPECT_EQ(runtimes.count(), 1);
}

TEST(ThreadLocalClient, GivesAThreadOneClientForAllObjectsOverTheSameFilePath) {
    const TempDirectory folder;
    const std::string path = folder.path("scene.oxop");
    OxAttribute::WriteOpFile(path, SceneTree(Location({})));
    ThreadLocalClient first(OpTreeSource::createFromFile(path));
    ThreadLocalClient second(OpTreeSource::createFromFile(path));
    ASSERT_TRUE(first.getClient());
    EXPECT_EQ(first.getClient(), second.getClient());
}

TEST(ThreadLocalClient, GivesAThreadOneClientForAllObjectsOverEqualDescriptions) {
    const std::string tag = UniqueTag();
    const auto source = [&tag] {
        return OpTreeSource::createFromGroupAttribute(SceneTree(Location({{"tag", Text(tag)}})));
    };
    ThreadLocalClient first(source());
    ThreadLocalClient second(source());
    EXPECT_EQ(first.getClient(), second.getClient());
}

TEST(ThreadLocalClient, GivesAThreadDifferentClientsForDifferentSources) {
    ThreadLocalClient first(UniqueSource());
    ThreadLocalClient second(UniqueSource());
    const Client ofFirst = first.getClient();
    const Client ofSecond = second.getClient();
    EXPECT_NE(ofFirst, ofSecond);
    EXPECT_EQ(first.getClient(), ofFirst);
    EXPECT_EQ(second.getClient(), ofSecond);
}

TEST(ThreadLocalClient, GivesTwoThreadsTwoClientsAndTheNextThreadThatOfAnEndedOne) {
    const ScopedRuntimeFactory runtimes;
    ThreadLocalClient threadLocalClient(UniqueSource());
    const Client mine = threadLocalClient.getClient();
    const Client ofSecondThread = ClientOfEndedThread(threadLocalClient);
    ASSERT_TRUE(mine && ofSecondThread);
    EXPECT_NE(ofSecondThread, mine);
    EXPECT_EQ(ClientOfEndedThread(threadLocalClient), ofSecondThread);
    EXPECT_EQ(threadLocalClient.getClient(), mine);
    EXPECT_EQ(runtimes.count(), 2);
}

TEST(ThreadLocalClient, HandsAnEndedThreadsClientToAnEqualSourceOfAnyCaller) {
    const OpTreeSource source = UniqueSource();
    ThreadLocalClient threadLocalClient(source);
    const Client ofThread = ClientOfEndedThread(threadLocalClient);
    EXPECT_EQ(TELLAR::ClientCreateWithOpTree(source), ofThread);
}

TEST(ThreadLocalClient, KeepsTheReferenceOfAThreadThatHasEnded) {
    ThreadLocalClient threadLocalClient(UniqueSource());
    const std::weak_ptr<TellarRuntime::Client> ofThread = ClientOfEndedThread(threadLocalClient);
    EXPECT_EQ(ofThread.use_count(), 3) << "of the factory, the thread and what it gave back";
    TakeInReleasedClients();
    EXPECT_EQ(ofThread.use_count(), 2) << "of the factory and the thread";
}

TEST(ThreadLocalClient, MayGoWhileThreadsStillHaveItsClients) {
    const OpTreeSource source = UniqueSource();
    std::optional<ThreadLocalClient> first(std::in_place, source);
    const Client client = first->getClient();
    first.reset();
    EXPECT_TRUE(client->cookLocation("/root").doesLocationExist());
    EXPECT_EQ(ThreadLocalClient(source).getClient(), client) << "the thread still has it";
}

TEST(ThreadLocalClient, GivesTheClientBackOfAThreadThatEndsAfterIt) {
    const OpTreeSource source = UniqueSource();
    Client ofThread;
    std::thread([&] {
        ofThread = ThreadLocalClient(source).getClient(); // the object goes, then the thread
    }).join();
    EXPECT_EQ(ThreadLocalClient(source).getClient(), ofThread);
}

// Failures ----------------------------------------------------------------------------------------

TEST(ThreadLocalClient, LogsAnInvalidSourceOnceAndIsEmptyInEveryThread) {
    const CapturedLog log;
    ThreadLocalClient threadLocalClient(OpTreeSource::createFromFile("/no such folder/a.oxop"));
    EXPECT_EQ(threadLocalClient.getClient(), nullptr);
    EXPECT_EQ(threadLocalClient.getClient(), nullptr);
    EXPECT_EQ(ClientOfEndedThread(threadLocalClient), nullptr);
    ASSERT_THAT(log.messages(), SizeIs(1)) << "the client factory is not even asked";
    const OxLogMessage message = log.messages()[0];
    EXPECT_EQ(message.loggerName, "ThreadLocalClient");
    EXPECT_EQ(message.level, OxLogLevel::error);
    EXPECT_EQ(message.text,
              "Invalid Op tree source: File \"/no such folder/a.oxop\" does not exist.");
    EXPECT_THAT(message.file, EndsWith("ThreadLocalClient.cpp"));
    EXPECT_GT(message.line, 0);
}

TEST(ThreadLocalClient, LogsWhatIsWrongWithSourcesOfEitherKind) {
    const CapturedLog log;
    const ThreadLocalClient ofFile(OpTreeSource::createFromFile(""));
    const ThreadLocalClient ofGroup(OpTreeSource::createFromGroupAttribute(GroupAttribute()));
    EXPECT_THAT(log.textsOf("ThreadLocalClient"),
                ElementsAre("Invalid Op tree source: Empty filename provided.",
                            "Invalid Op tree source: Invalid GroupAttribute provided."));
}

TEST(ThreadLocalClient, SaysNothingOfAnInvalidSourceWhenItsErrorsAreSwitchedOff) {
    const CapturedLog log;
    const OxLogLevel before = OxLoggingGetLevel("ThreadLocalClient");
    OxLoggingSetLevel("ThreadLocalClient", OxLogLevel::off);
    EXPECT_EQ(ThreadLocalClient(OpTreeSource::createFromFile("")).getClient(), nullptr);
    OxLoggingSetLevel("ThreadLocalClient", before);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(ThreadLocalClient, TriesASourceAgainThatWasInvalidForAnEarlierObject) {
    const TempDirectory folder;
    const std::string path = folder.path("later.oxop");
    const CapturedLog log;
    ThreadLocalClient early(OpTreeSource::createFromFile(path));
    OxAttribute::WriteOpFile(path, SceneTree(Location({})));
    ThreadLocalClient late(OpTreeSource::createFromFile(path));
    EXPECT_TRUE(late.getClient());
    EXPECT_EQ(early.getClient(), nullptr) << "it was made without a store";
    EXPECT_THAT(log.messages(), SizeIs(1));
}

TEST(ThreadLocalClient, TrustsASourceThatWasValidForAnEarlierObject) {
    const TempDirectory folder;
    const std::string path = folder.path("gone.oxop");
    OxAttribute::WriteOpFile(path, SceneTree(Location({})));
    ThreadLocalClient early(OpTreeSource::createFromFile(path));
    const Client client = early.getClient();
    std::filesystem::remove(path);
    const CapturedLog log;
    ThreadLocalClient late(OpTreeSource::createFromFile(path));
    EXPECT_EQ(late.getClient(), client);
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST(ThreadLocalClient, StaysEmptyInAThreadWhoseFirstTryFailedAndWorksInOthers) {
    ThreadLocalClient threadLocalClient(UniqueSource());
    ThreadLocalClient other(UniqueSource());
    const CapturedLog log;
    std::thread([&] {
        {
            const ScopedRuntimeFactory none([] { return std::shared_ptr<TellarRuntime>(); });
            EXPECT_EQ(threadLocalClient.getClient(), nullptr);
        }
        EXPECT_TRUE(other.getClient());
        const ScopedRuntimeFactory runtimes;
        EXPECT_EQ(threadLocalClient.getClient(), nullptr);
        EXPECT_EQ(runtimes.count(), 0) << "it is not tried again";
    }).join();
    EXPECT_THAT(log.messages(), SizeIs(1));
    EXPECT_THAT(log.textsOf("ClientFactory"), ElementsAre("Runtime could not be loaded."));
    EXPECT_TRUE(threadLocalClient.getClient());
}

TEST(ThreadLocalClient, SharesTheFailureOfAThreadBetweenObjectsOverOneSource) {
    const OpTreeSource source = UniqueSource();
    const CapturedLog log;
    std::thread([&] {
        {
            const ScopedRuntimeFactory none([] { return std::shared_ptr<TellarRuntime>(); });
            EXPECT_EQ(ThreadLocalClient(source).getClient(), nullptr);
        }
        EXPECT_EQ(ThreadLocalClient(source).getClient(), nullptr);
    }).join();
}

TEST(ThreadLocalClient, SurvivesTheEndOfAThreadThatGotNoClient) {
    ThreadLocalClient threadLocalClient(UniqueSource());
    const CapturedLog log;
    {
        const ScopedRuntimeFactory none([] { return std::shared_ptr<TellarRuntime>(); });
        EXPECT_EQ(ClientOfEndedThread(threadLocalClient), nullptr);
    }
    TakeInReleasedClients();
    EXPECT_TRUE(ClientOfEndedThread(threadLocalClient));
}

TEST(ThreadLocalClient, TriesAgainInAThreadWhereThePlatformThrew) {
    ThreadLocalClient threadLocalClient(UniqueSource());
    std::thread([&] {
        {
            const ScopedRuntimeFactory failing(
                []() -> std::shared_ptr<TellarRuntime> { throw std::runtime_error("no licence"); });
            EXPECT_THROW(threadLocalClient.getClient(), std::runtime_error);
        }
        EXPECT_TRUE(threadLocalClient.getClient());
    }).join();
}

// The class ---------------------------------------------------------------------------------------

#if defined(TELLAR_TEST_HAS_VIRTUAL_SLOTS)
TEST(ThreadLocalClient, HasItsVirtualFunctionsInTheOrderThatProgramsWereCompiledFor) {
    static_assert(std::has_virtual_destructor_v<ThreadLocalClient>);
    EXPECT_EQ(VirtualSlot(&ThreadLocalClient::getClient), 1);
}
#endif

// Threads -----------------------------------------------------------------------------------------

TEST(ThreadLocalClient, GivesManyThreadsAClientEach) {
    ThreadLocalClient threadLocalClient(UniqueSource());
    const ScopedRuntimeFactory runtimes;
    std::mutex lock;
    std::set<Client> clients;
    std::atomic<int> served{0};
    RunTogether(8, [&](int) {
        const Client client = threadLocalClient.getClient();
        EXPECT_TRUE(client && client->cookLocation("/root").doesLocationExist());
        {
            const std::lock_guard<std::mutex> guard(lock);
            clients.insert(client);
        }
        ++served;
        while (served < 8) // nobody ends before all have one
            std::this_thread::yield();
        EXPECT_EQ(threadLocalClient.getClient(), client);
    });
    EXPECT_THAT(clients, SizeIs(8));
    EXPECT_EQ(runtimes.count(), 8);
}

TEST(ThreadLocalClient, MakesOneStoreWhenManyThreadsMakeObjectsOverOneSource) {
    const OpTreeSource source = UniqueSource();
    RunTogether(8, [&source](int) {
        ThreadLocalClient first(source);
        ThreadLocalClient second(source);
        EXPECT_TRUE(first.getClient());
        EXPECT_EQ(first.getClient(), second.getClient());
    });
}

TEST(ThreadLocalClient, IsGivenAndHandedBackWhileAnotherThreadIsMakingAnObject) {
    const OpTreeSource source = UniqueSource();
    ThreadLocalClient threadLocalClient(source);
    std::atomic<bool> isMaking{false};
    std::atomic<bool> mayGoOn{false};
    const OxLogSink before = OxLoggingSetSink([&](const OxLogMessage&) {
        isMaking = true;
        while (!mayGoOn)
            std::this_thread::yield();
    });
    std::thread maker([] { ThreadLocalClient invalid(OpTreeSource::createFromFile("")); });
    while (!isMaking)
        std::this_thread::yield();
    const Client ofThread = ClientOfEndedThread(threadLocalClient); // would never end if it waited
    mayGoOn = true;
    maker.join();
    OxLoggingSetSink(before);
    EXPECT_EQ(TELLAR::ClientCreateWithOpTree(source), ofThread);
}

} // namespace
