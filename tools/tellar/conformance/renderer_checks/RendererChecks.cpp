#include "RendererChecks.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <OxTellarSDK/PluginManager.h>

#include "Output.h"
#include "RenderObjectChecks.h"
#include "RendererTrials.h"
#include "Resources.h"
#include "TestScenes.h"
#include "WatchedOp.h"

namespace TellarTool {

namespace {

namespace fs = std::filesystem;
using namespace OxAttribute;
using OxPluginManager::PluginManager;

// Loading -----------------------------------------------------------------------------------------

void CheckTable(const RendererTrials& trials, const OxRendererPluginSuite_v1& suite) {
    if (!suite.render) trials.fault("the slot render is null");
}

void CheckTable(const RendererTrials& trials, const OxRendererPluginSuite_v2& suite) {
    if (suite.size < sizeof suite)
        return trials.fault("size is " + std::to_string(suite.size) + " instead of " +
                            std::to_string(sizeof suite));
    if (suite.version != OX_RENDERER_API_VERSION_2)
        trials.fault("version is " + std::to_string(suite.version));
    const bool isComplete = suite.start && suite.release && suite.wait && suite.request &&
                            suite.pause && suite.resume && suite.setRegion &&
                            suite.getNumberOfLayers && suite.getLayer && suite.readLayer &&
                            suite.applyChanges;
    if (!isComplete) trials.fault("a slot other than stitch is null");
}

/// The table as the plug-in gives it, without those that stand in for it.
void CheckLoading(const RendererTrials& trials) {
    const auto plugin =
        PluginManager::getPlugin(trials.subject.name, trials.subject.api, trials.version);
    const void* const suite = plugin->getSuite();
    if (!suite) return trials.fault("getSuite returns null");
    if (trials.version == OX_RENDERER_API_VERSION)
        CheckTable(trials, *static_cast<const OxRendererPluginSuite_v1*>(suite));
    else if (trials.version == OX_RENDERER_API_VERSION_2)
        CheckTable(trials, *static_cast<const OxRendererPluginSuite_v2*>(suite));
    else
        trials.fault("there is no such version of the functions of a renderer");
    if (suite != plugin->getSuite()) trials.fault("getSuite returns another table each time");
}

// Scenes ------------------------------------------------------------------------------------------

void CheckEmptyScenes(const RendererTrials& trials) {
    trials.judge("an empty scene", trials.trialOf(EmptyScene()), false);
    trials.judge("a scene without a camera", trials.trialOf(SceneWithoutCamera()), false);
    trials.judge("a scene with nothing but a camera", trials.trialOf(SceneWithoutShapes()), true);
}

void CheckEverything(const RendererTrials& trials) {
    trials.judge("one of everything", trials.trialOf(SceneOfEverything()), true);
    Trial one = trials.trialOf(SceneOfEverything());
    one.threads = 1;
    trials.judge("one thread", one, true);
    Trial many = trials.trialOf(SceneOfEverything());
    many.threads = 16;
    trials.judge("16 threads", many, true);
    Trial quiet = trials.trialOf(SceneOfEverything());
    quiet.isWithoutListener = true;
    trials.judge("a listener without functions", quiet, true);
}

void CheckOddNames(const RendererTrials& trials) {
    trials.judge("odd names", trials.trialOf(SceneOfOddNames()), true);
}

void CheckDamagedShapes(const RendererTrials& trials) {
    trials.judge("damaged shapes", trials.trialOf(SceneOfDamagedShapes()), false);
}

/// A location that cannot be cooked may end the render, but not without a reason.
void CheckErrors(const RendererTrials& trials) {
    std::vector<std::string> silent;
    for (const std::string& location : LocationsToFail()) {
        const std::string what = "an error at " + location;
        const TrialResult result =
            trials.judge(what, trials.trialOf(WithWatch(SceneOfEverything(), location)), false);
        if (result.status == kOxRenderDone && result.warnings.empty()) silent.push_back(location);
    }
    if (!silent.empty())
        trials.note("no message tells of " + std::to_string(silent.size()) +
                    " of the errors, such as that at " + silent.front());
}

void CheckPicturePath(const RendererTrials& trials) {
    const auto mustFail = [&trials](const std::string& what, const Trial& trial) {
        const TrialResult result = trials.run(trial);
        if (result.status != kOxRenderFailed)
            trials.fault(what + ": ends with " + NameOfStatus(result.status));
        else if (result.error.empty())
            trials.fault(what + ": fails and does not tell why");
    };
    Trial lost = trials.trialOf(SceneWithoutShapes());
    lost.picture = trials.subject.fileNamed("missing/picture." + trials.subject.format);
    mustFail("a picture in a folder that is missing", lost);
    Trial folder = trials.trialOf(SceneWithoutShapes());
    fs::create_directory(folder.picture);
    mustFail("a folder at the place of the picture", folder);
    fs::remove_all(folder.picture);
}

// Wishes ------------------------------------------------------------------------------------------

/// Up to `most` numbers from 1 to `count`, evenly spread, with both ends.
std::vector<std::int64_t> Spread(std::int64_t count, std::int64_t most) {
    std::set<std::int64_t> numbers;
    for (std::int64_t i = 0; i < most; ++i)
        numbers.insert(1 + i * (count - 1) / std::max<std::int64_t>(most - 1, 1));
    return {numbers.begin(), numbers.end()};
}

constexpr const char* kOlderPicture = "an older picture";

void JudgeStopped(const RendererTrials& trials, const std::string& what, int wish,
                  const TrialResult& result, const std::string& picture) {
    const bool isOld = ContentOfFile(picture) == kOlderPicture;
    switch (result.status) {
    case kOxRenderDone: // the wish came too late
    case kOxRenderStopped:
        if (result.status == kOxRenderStopped && wish == kOxRenderCancel)
            trials.fault(what + ": ends with kOxRenderStopped");
        if (isOld)
            trials.fault(what + ": ends with " + NameOfStatus(result.status) +
                         ", and no picture is written");
        return;
    case kOxRenderCancelled:
        if (!isOld) trials.fault(what + ": the file at the place of the picture is changed");
        return;
    default:
        trials.fault(what + ": ends with " + NameOfStatus(result.status) + ": " + result.error);
    }
}

void CheckWish(const RendererTrials& trials, int wish, const std::string& name) {
    constexpr std::int64_t kMostMoments = 24;
    Trial whole = trials.trialOf(WithWatch(SceneOfEverything()));
    whole.isWatched = true;
    const std::int64_t moments = trials.run(whole).moments;
    bool isStopped = false;
    for (const std::int64_t moment : Spread(moments, kMostMoments)) {
        Trial trial = trials.trialOf(WithWatch(SceneOfEverything()));
        trial.isWatched = true;
        trial.wishAt = {moment, wish};
        WriteFile(trial.picture, kOlderPicture);
        const TrialResult result = trials.run(trial);
        isStopped = isStopped || result.status != kOxRenderDone;
        JudgeStopped(trials,
                     name + " at moment " + std::to_string(moment) + " of " +
                         std::to_string(moments),
                     wish, result, trial.picture);
        fs::remove(trial.picture);
    }
    if (!isStopped)
        trials.fault(name + " at " + std::to_string(kMostMoments) + " moments: never stops");
    fs::remove(whole.picture);
    for (const auto& file : fs::directory_iterator(trials.subject.folder))
        trials.fault(name + ": leaves the file " + file.path().filename().string());
}

void CheckCancelling(const RendererTrials& trials) {
    CheckWish(trials, kOxRenderCancel, "cancelled");
}

void CheckFinishing(const RendererTrials& trials) {
    CheckWish(trials, kOxRenderFinish, "finished early");
}

// Repetition --------------------------------------------------------------------------------------

void CheckRepetition(const RendererTrials& trials) {
    const GroupAttribute scene = SceneOfEverything();
    const std::string first = trials.judge("the first render", trials.trialOf(scene), true).content;
    trials.judge("another scene", trials.trialOf(SceneWithoutShapes()), true);
    const std::string again = trials.judge("the same again", trials.trialOf(scene), true).content;
    if (again != first) return trials.note("two equal renders differ");
    Trial many = trials.trialOf(scene);
    many.threads = 8;
    if (trials.run(many).content != first)
        trials.note("the picture depends on the number of threads");
}

constexpr int kRendersOfRound = 30;

/// The growth of resources in a round of renders.
Resources Growth(const RendererTrials& trials) {
    const Resources before = ResourcesInUse();
    for (int i = 0; i < kRendersOfRound; ++i) {
        const Trial trial = trials.trialOf(SceneOfEverything());
        trials.run(trial);
        fs::remove(trial.picture);
    }
    const Resources after = ResourcesInUse();
    return {after.openFiles - before.openFiles, after.threads - before.threads,
            after.heapBytes - before.heapBytes};
}

/// The first round may fill caches. A fault is growth in every round.
void CheckNothingLeft(const RendererTrials& trials) {
    constexpr int kMostRounds = 4;
    constexpr std::int64_t kMostBytes = 4096 * kRendersOfRound; // for the allocator's own sake
    Resources growth = Growth(trials);
    const auto isGrowing = [&growth] {
        return growth.openFiles > 0 || growth.threads > 0 || growth.heapBytes > kMostBytes;
    };
    for (int round = 1; round < kMostRounds && isGrowing(); ++round)
        growth = Growth(trials);
    const auto expect = [&trials](std::int64_t count, std::int64_t most, const std::string& what) {
        if (count > most)
            trials.fault(std::to_string(kRendersOfRound) + " renders leave " +
                         std::to_string(count) + ' ' + what);
    };
    expect(growth.openFiles, 0, "open files");
    expect(growth.threads, 0, "threads");
    expect(growth.heapBytes, kMostBytes, "bytes of memory");
}

} // namespace

std::vector<Check> RendererChecks() {
    return {
        {kLoadingCheck, "The table of functions is complete, with its size and version.",
         ForEachVersion<CheckLoading>},
        {"empty scene", "Scenes without shapes are drawn; without a camera, a reason is told.",
         ForEachVersion<CheckEmptyScenes>},
        {"one of everything",
         "All types of locations, materials and lights, with 1, 2 and 16 threads and no listener.",
         ForEachVersion<CheckEverything>},
        {"odd names", "Locations with spaces, dots, foreign letters, 5000 letters, 300 levels.",
         ForEachVersion<CheckOddNames>},
        {"damaged shapes", "Wrong indices, counts, numbers and types of attributes.",
         ForEachVersion<CheckDamagedShapes>},
        {"errors", "Locations in the middle of the scene that cannot be cooked.",
         ForEachVersion<CheckErrors>},
        {"picture path", "A picture that cannot be written is refused with a reason.",
         ForEachVersion<CheckPicturePath>},
        {"cancel", "Cancelled at 24 moments, a render ends soon and changes no file.",
         ForEachVersion<CheckCancelling>},
        {"finish", "Asked to finish at 24 moments, a render writes the picture so far or none.",
         ForEachVersion<CheckFinishing>},
        {"repetition", "Renders in a row, with other scenes between them.",
         ForEachVersion<CheckRepetition>},
        {"nothing left", "Memory, threads and open files do not grow from render to render.",
         ForEachVersion<CheckNothingLeft>, false},
        {"null renders", "Slots take a null render as the header says.",
         ForVersion2<CheckNullRender>},
        {"layers", "The layers of a render can be read, and wrong questions are refused.",
         ForVersion2<CheckLayers>},
        {"pause and region", "A render rests, goes on, and draws a part.",
         ForVersion2<CheckPauseAndRegion>},
        {"two at once", "Two renders at the same time do not disturb each other.",
         ForVersion2<CheckTwoAtOnce>},
        {"edits", "A live render follows edits of the scene.", ForVersion2<CheckEdits>},
    };
}

} // namespace TellarTool
