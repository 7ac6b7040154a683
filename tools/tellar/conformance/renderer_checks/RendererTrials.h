#ifndef TELLAR_TOOL_RENDERERTRIALS_H
#define TELLAR_TOOL_RENDERERTRIALS_H

#include <string>

#include "Subject.h"
#include "TrialRender.h"
#include "Verdict.h"

namespace TellarTool {

/// A check of a renderer by one version of its functions.
struct RendererTrials {
    const Subject& subject;
    unsigned int version;
    Verdict& verdict;

    /// Faults and notes that name the version.
    void fault(const std::string& text) const;
    void note(const std::string& text) const;

    /// A trial with a picture of its own, which is not there yet.
    Trial trialOf(const OxAttribute::GroupAttribute& scene) const;
    TrialResult run(const Trial& trial) const { return RunTrial(subject, version, trial); }

    /// Runs the trial of a render that is not stopped. It has to be done, with its picture written
    /// and told; or, unless `mustBeDone`, failed with a reason and without a picture. `what` names
    /// the trial in faults.
    TrialResult judge(const std::string& what, const Trial& trial, bool mustBeDone) const;

    /// The content of what is drawn, or nothing when two equal renders differ.
    std::string repeatable(const OxAttribute::GroupAttribute& scene) const;
};

/// Runs the check for each version of the renderer's functions.
template <void (*check)(const RendererTrials&)>
void ForEachVersion(const Subject& subject, Verdict& verdict) {
    for (const unsigned int version : subject.versions)
        check({subject, version, verdict});
}

/// Runs the check for version 2, if the renderer has it.
template <void (*check)(const RendererTrials&)>
void ForVersion2(const Subject& subject, Verdict& verdict) {
    if (!subject.hasVersion(OX_RENDERER_API_VERSION_2))
        return verdict.skip("the renderer has no functions of version 2");
    check({subject, OX_RENDERER_API_VERSION_2, verdict});
}

} // namespace TellarTool

#endif
