#include "SettingRules.h"

#include <string>

#include <OxTellarProducers/RenderSettingsReport.h>

namespace TELLAR {

namespace {

Rule RuleOf(RenderSettingProblem problem) {
    switch (problem) {
    case RenderSettingProblem::UnknownName:
        return Rule::SettingUnknown;
    case RenderSettingProblem::WrongType:
        return Rule::SettingType;
    default:
        return Rule::SettingValue;
    }
}

/// Whether another rule looks at it: CameraMissing.
bool IsMissingCamera(const RenderSettingFacts& setting) {
    return setting.name == "cameraName" && setting.problem == RenderSettingProblem::WrongValue;
}

/// The dotted name below the root. The report tells of "renderSettings" itself by that name.
std::string AttributeOf(const RenderSettingFacts& setting) {
    constexpr const char* kSettings = "renderSettings";
    return setting.name == kSettings ? kSettings : std::string(kSettings) + '.' + setting.name;
}

} // namespace

void CheckSettings(const GeometryProducer::Ptr& root, Findings& findings) {
    for (const RenderSettingFacts& setting : ReportRenderSettings(root)) {
        if (setting.problem == RenderSettingProblem::None || IsMissingCamera(setting)) continue;
        findings.add(RuleOf(setting.problem), {}, {}, [&] {
            return FoundProblem{
                root->getFullName(), AttributeOf(setting), {}, {}, "it " + setting.problemText};
        });
    }
}

} // namespace TELLAR
