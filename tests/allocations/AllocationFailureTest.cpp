#include <cstdlib>
#include <functional>
#include <string>
#include <thread>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "CameraScenes.h"
#include "CountedAllocations.h"
#include "SceneBuilders.h"
#include "SuiteTour.h"
#include "TempDirectory.h"

// Each case runs in a process of its own, forked from this one before it has used any library of
// ours: so all that is made on first use is made there, with one allocation that fails.

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;

/// How a forked process ends.
enum Outcome { kSurvived, kNothingFailed, kReadsOtherwise, kLeaks, kThrew, kCrashed };

constexpr const char* kOutcomes[] = {"survived",
                                     "nothing failed",
                                     "the tour after it reads something else",
                                     "memory is lost",
                                     "an exception came through",
                                     "the process crashed"};

/// TELLAR_SHOW_ERRORS keeps its standard error stream.
pid_t Fork(const std::function<Outcome()>& body) {
    const pid_t child = fork();
    if (child != 0) return child;
    if (!std::getenv("TELLAR_SHOW_ERRORS")) dup2(open("/dev/null", O_WRONLY), STDERR_FILENO);
    try {
        _exit(body());
    } catch (...) {
        _exit(kThrew);
    }
}

Outcome WaitFor(pid_t child) {
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? static_cast<Outcome>(WEXITSTATUS(status)) : kCrashed;
}

/// The panels of materials.json, with a camera, render settings and a procedural beside them.
GroupAttribute Scene() {
    const GroupAttribute panels = OxAttribute::ReadDescriptionJsonFile(TELLAR_TEST_SCENE);
    const std::string last = panels.getChildName(panels.getNumberOfChildren() - 1);
    Children ops;
    for (std::int64_t i = 0; i < panels.getNumberOfChildren(); ++i)
        ops.emplace_back(panels.getChildName(i), panels.getChildByIndex(i));
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform", Translation(3, 0, 9));
    const auto procedural =
        Group({{"args", Group({{"count", Int(3)}, {"file", Text("/scenes/forest/trees.oxop")}})},
               {"includeCameraInfo", Text("As Parameters")}});
    const auto output = Group(
        {{"rendererSettings", Group({{"tempRenderLocation", Text("~/$USER/beauty.####.exr")}})}});
    const auto settings = Group({{"resolution", Text("hd_720")},
                                 {"tileRender", OxAttribute::IntAttribute({2, 3}, 2)},
                                 {"outputs", Group({{"beauty", output}})}});
    ops.emplace_back("rest",
                     OpEntry("StaticScene", CameraScene(camera, {{"procedural", procedural}},
                                                        {{"renderSettings", settings}})));
    ops.emplace_back("all", OpEntry("Merge", {}, {last, "rest"}));
    return Group(ops);
}

using TourOfSuites = TourResult (*)(const char* opFile, const char* descriptionFile);

class AllocationFailure : public testing::TestWithParam<TourOfSuites> {
public:
    static void SetUpTestSuite() {
        setenv("OX_PLUGIN_PATH", TELLAR_TEST_DELEGATE_DIR, 1);
        // Loaded once, and only mapped by the forked processes: most of their time would go there.
        for (const char* const plugin : {TELLAR_TEST_OPS, TELLAR_TEST_SCENE_IMPORT})
            ASSERT_NE(dlopen(plugin, RTLD_NOW | RTLD_LOCAL), nullptr);
    }

protected:
    void SetUp() override {
        ASSERT_EQ(WaitFor(Fork([this] {
                      OxAttribute::WriteOpFile(opFile, Scene());
                      OxAttribute::WriteAttributeFile(descriptionFile, Scene());
                      return kSurvived;
                  })),
                  kSurvived);
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        ASSERT_EQ(WaitFor(Fork([&] {
                      const long before = LiveAllocations();
                      Reference made;
                      tour();
                      made.read = tour();
                      made.kept = LiveAllocations() - before;
                      const bool isWritten = write(ends[1], &made, sizeof made) == sizeof made;
                      return isWritten ? kSurvived : kThrew;
                  })),
                  kSurvived);
        ASSERT_EQ(read(ends[0], &reference, sizeof reference),
                  static_cast<ssize_t>(sizeof reference));
        close(ends[0]);
        close(ends[1]);
    }

    TourResult tour() const {
        const TourResult read = GetParam()(opFile.c_str(), descriptionFile.c_str());
        TELLAR::ClearCameraInfoCache();
        return read;
    }

    /// A tour with one failure, then one without.
    Outcome failOnce(long number) const {
        const long before = LiveAllocations();
        FailAllocation(number);
        tour();
        const bool hasFailed = NumberOfAllocations() >= number;
        FailAllocation(0);
        if (!hasFailed) return kNothingFailed;
        TourResult next = tour();
        const auto isMoreKept = [&] {
            return LiveAllocations() - before > reference.kept + kKeptAsKeys;
        };
        // What the tour with the failure made is kept until another scene is requested.
        if (isMoreKept()) tour();
        if (isMoreKept()) return kLeaks;
        // A thread that could not make its client for an op file goes without for good.
        if (!next.isFileOpen) std::thread([&] { next = tour(); }).join();
        return next == reference.read ? kSurvived : kReadsOtherwise;
    }

    /// The values that the second of two tours read, and how many pieces of memory both kept.
    struct Reference {
        TourResult read;
        long kept = 0;
    };
    /// The op-tree source of a client that could not be made, with its description in nineteen
    /// pieces, is the key under which the next one is kept. So it is there twice then.
    static constexpr long kKeptAsKeys = 19;

    const TempDirectory folder;
    const std::string opFile = folder.path("scene.oxop");
    const std::string descriptionFile = folder.path("scene.oxa");
    Reference reference;
};

TEST_P(AllocationFailure, LeavesTheSuitesUsableWhicheverAllocationItIs) {
    constexpr long kAtOnce = 2;
    long number = 0;
    bool isOver = false;
    while (!isOver) {
        pid_t children[kAtOnce];
        for (long i = 0; i < kAtOnce; ++i)
            children[i] = Fork([&] { return failOnce(number + i + 1); });
        for (const pid_t child : children) {
            ++number;
            const Outcome outcome = WaitFor(child);
            EXPECT_LE(outcome, kNothingFailed)
                << "allocation " << number << ": " << kOutcomes[outcome];
            isOver = isOver || outcome == kNothingFailed;
        }
    }
    EXPECT_GT(number, 1000);
}

INSTANTIATE_TEST_SUITE_P(Tours, AllocationFailure, testing::Values(TourSuites, TourSuites4),
                         [](const testing::TestParamInfo<TourOfSuites>& tour) {
                             return tour.index == 0 ? "Versions1To3" : "Version4";
                         });

} // namespace
