// The library in a child process made by fork, of a parent with several threads.

#include <atomic>
#include <functional>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "ProducerHelpers.h"
#include "SceneBuilders.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using TELLAR::CreateThreadAwareGeometryProducer;
using Producer = TELLAR::GeometryProducer::Ptr;

Producer OpenScene() {
    return CreateThreadAwareGeometryProducer(TestTree(Texts({"a", "b"})), "/root");
}

bool FindsAll(const Producer& root) {
    return root && WalkChildren(root) == std::vector<std::string>{"/root/a", "/root/b"};
}

/// The exit status of a child that runs the body; -1 when a signal ended it. One that waits for
/// ever is ended after a minute.
int StatusOfChild(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        _exit(body());
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

/// Threads that have used the library and are still there.
class Workers {
public:
    Workers(int count, const std::function<void()>& work, bool goOn) {
        std::atomic<int> ready{0};
        for (int i = 0; i < count; ++i)
            threads.emplace_back([this, &ready, work, goOn] {
                work();
                ++ready;
                while (!isOver)
                    goOn ? work() : std::this_thread::yield();
            });
        while (ready < count)
            std::this_thread::yield();
    }
    ~Workers() {
        isOver = true;
        for (std::thread& thread : threads)
            thread.join();
    }

private:
    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
};

TEST(Fork, GivesAChildThatUsesTheLibraryWhileThreadsOfTheParentAreOutsideOfIt) {
    const Producer root = OpenScene();
    // More than have a counter of their own.
    const Workers idle(
        40, [&root] { EXPECT_TRUE(FindsAll(root)); }, false);
    const int status = StatusOfChild([&root] {
        if (!FindsAll(root) || !root->getFirstChild(true)) return 1;
        if (!FindsAll(OpenScene())) return 2;
        bool isFound = false;
        std::thread([&] { isFound = FindsAll(root) && FindsAll(OpenScene()); }).join();
        return isFound ? 0 : 3;
    });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(FindsAll(root)) << "the parent goes on as well";
}

TEST(Fork, GivesAChildThatStartsAnotherProgramWhileThreadsOfTheParentAreInsideOfIt) {
    const Producer root = OpenScene();
    const Workers busy(
        2, [&root] { root->getFirstChild(true)->getNextSibling(true); }, true);
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(StatusOfChild([] { return execlp("true", "true", nullptr); }), 0);
}

} // namespace
