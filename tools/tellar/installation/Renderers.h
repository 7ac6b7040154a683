#ifndef TELLAR_TOOL_RENDERERS_H
#define TELLAR_TOOL_RENDERERS_H

#include <cstdint>
#include <string>
#include <vector>

#include <OxTellarProducers/OxRendererPluginSuite2.h>

namespace TellarTool {

/// The renderer when --renderer is not given.
constexpr const char* kDefaultRenderer = "lantern";

/// A renderer plug-in, by version 2 of its suite or, where it has none, by version 1.
class Renderer {
public:
    /// Throws std::runtime_error with the names of all renderers when there is none of this name,
    /// and with its file when it has no functions.
    explicit Renderer(const std::string& name);

    const std::string& getName() const { return name; }
    bool canStitch() const;

    /// Draws a picture and returns an OxRenderStatus. The reason of a failure goes to the listener
    /// as a message of level kOxLogError.
    int render(const OxRenderJob_v1& job) const;
    /// The same for joining tiles, for a renderer that can.
    int stitch(const std::vector<std::string>& tiles, const std::string& picture,
               const OxRenderListener_v1& listener) const;

private:
    std::string name;
    // One of them is null. They live as long as the process.
    const OxRendererPluginSuite_v1* version1 = nullptr;
    const OxRendererPluginSuite_v2* version2 = nullptr;
};

/// Adds the installation's folder of renderers, if there is one, to the plug-in path. Only commands
/// that use renderers do so, because the libraries that renderers load are large.
void AddRendererFolder();

} // namespace TellarTool

#endif
