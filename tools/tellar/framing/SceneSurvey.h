#ifndef TELLAR_TOOL_SCENESURVEY_H
#define TELLAR_TOOL_SCENESURVEY_H

#include <cstdint>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

#include "Framing.h"

namespace TellarTool {

/// The cameras and lights of a scene.
struct SceneSurvey {
    std::vector<std::string> cameras; ///< paths, in the order of a walk
    std::int64_t lights = 0;
};

/// Walks all visible locations. Adds the points of all shapes, in world space and at each of the
/// times, to the framing, unless it is null. Once very many points were added, the corners of
/// bounds stand for the points of still shapes.
SceneSurvey SurveyScene(const TELLAR::GeometryProducer::Ptr& root, const std::vector<float>& times,
                        Framing* framing);

/// Walks visible locations until it has found a camera and a light. The first camera is the same as
/// that of a whole survey.
SceneSurvey FindFirstCameraAndLight(const TELLAR::GeometryProducer::Ptr& root);

} // namespace TellarTool

#endif
