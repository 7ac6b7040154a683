#include "RendererTrials.h"

#include <algorithm>
#include <atomic>
#include <filesystem>

namespace TellarTool {

namespace {

std::string NameOfPicture(const Subject& subject) {
    static std::atomic<int> pictures{0};
    return "picture" + std::to_string(++pictures) + '.' + subject.format;
}

} // namespace

void RendererTrials::fault(const std::string& text) const {
    verdict.fault("version " + std::to_string(version) + ": " + text);
}

void RendererTrials::note(const std::string& text) const {
    verdict.note("version " + std::to_string(version) + ": " + text);
}

Trial RendererTrials::trialOf(const OxAttribute::GroupAttribute& scene) const {
    Trial trial;
    trial.scene = scene;
    trial.picture = subject.fileNamed(NameOfPicture(subject));
    return trial;
}

TrialResult RendererTrials::judge(const std::string& what, const Trial& trial,
                                  bool mustBeDone) const {
    TrialResult result = run(trial);
    const bool isThere = std::filesystem::exists(trial.picture);
    const bool isTold = std::count(result.pictures.begin(), result.pictures.end(), trial.picture);
    if (result.status == kOxRenderDone) {
        if (ContentOfFile(trial.picture).empty())
            fault(what + ": is done, and " + (isThere ? "the picture is empty" : "has no picture"));
        else if (!isTold && !trial.isWithoutListener)
            fault(what + ": the picture is written, and onPicture does not tell it");
    } else if (result.status == kOxRenderFailed) {
        if (result.error.empty() && !trial.isWithoutListener)
            fault(what + ": fails and does not tell why");
        else if (mustBeDone)
            fault(what + ": fails" + (result.error.empty() ? "" : ": " + result.error));
        if (isThere) fault(what + ": fails and leaves a file");
    } else {
        fault(what + ": ends with " + NameOfStatus(result.status) +
              ", and nobody has asked for it");
    }
    return result;
}

std::string RendererTrials::repeatable(const OxAttribute::GroupAttribute& scene) const {
    const std::string first = run(trialOf(scene)).content;
    return run(trialOf(scene)).content == first ? first : std::string();
}

} // namespace TellarTool
