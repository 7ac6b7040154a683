#ifndef TELLAR_TOOL_TRIALRENDER_H
#define TELLAR_TOOL_TRIALRENDER_H

#include <cstdint>
#include <string>
#include <vector>

#include <OxTellarProducers/OxRendererPluginSuite2.h>
#include <OxTellarSDK/Attribute.h>

#include "Subject.h"

namespace TellarTool {

/// A moment of a render: the first, second, ... cook of a location or call of the listener.
struct WishAt {
    std::int64_t moment = 0; ///< counts from 1; 0: never
    int wish = kOxRenderCancel;
};

/// A render for a check.
struct Trial {
    OxAttribute::GroupAttribute scene;
    std::string picture;      ///< the path for it
    std::int32_t threads = 2; ///< of the renderer
    bool isWatched = false;   ///< the cooks of WithWatch count as moments
    WishAt wishAt = {};
    bool isWithoutListener = false;
};

struct TrialResult {
    int status = kOxRenderFailed; ///< an OxRenderStatus
    std::string error;            ///< why it failed; empty when the renderer does not tell
    std::vector<std::string> warnings;
    std::vector<std::string> pictures; ///< the paths that it told
    std::int64_t moments = 0;
    /// The picture as values of all layers, or as the file for a renderer without layers.
    std::string content;
};

/// Draws a picture by one version of the renderer's functions. Of two calls at once, which are for
/// version 2 only, at most one may be watched. Throws TellarError when the scene cannot be opened.
TrialResult RunTrial(const Subject& subject, unsigned int version, const Trial& trial);

/// The functions of a renderer. Throws std::runtime_error when there are none.
template <typename Suite>
const Suite& RendererSuite(const Subject& subject, unsigned int version);
extern template const OxRendererPluginSuite_v1& RendererSuite(const Subject&, unsigned int);
extern template const OxRendererPluginSuite_v2& RendererSuite(const Subject&, unsigned int);

/// Empty when the file cannot be read.
std::string ContentOfFile(const std::string& path);

/// "kOxRenderDone" and so on.
std::string NameOfStatus(int status);

} // namespace TellarTool

#endif
