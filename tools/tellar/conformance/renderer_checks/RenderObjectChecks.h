#ifndef TELLAR_TOOL_RENDEROBJECTCHECKS_H
#define TELLAR_TOOL_RENDEROBJECTCHECKS_H

#include "RendererTrials.h"

namespace TellarTool {

// Checks of version 2 of a renderer's functions, whose renders are objects.

void CheckNullRender(const RendererTrials& trials);
void CheckLayers(const RendererTrials& trials);
void CheckPauseAndRegion(const RendererTrials& trials);
void CheckTwoAtOnce(const RendererTrials& trials);
void CheckEdits(const RendererTrials& trials);

} // namespace TellarTool

#endif
