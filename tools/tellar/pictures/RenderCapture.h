#ifndef TELLAR_TOOL_RENDERCAPTURE_H
#define TELLAR_TOOL_RENDERCAPTURE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Scene.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Capture.h>

#include "Pictures.h"
#include "Scene.h"

namespace CLI {
class App;
}

namespace TellarTool {

/// The options for capturing a render.
struct CaptureOptions {
    std::string path; // empty: nothing is captured
    bool withTextures = false;
};

/// `options` must outlive the parsing.
void AddCaptureOptions(CLI::App& command, CaptureOptions& options);

/// Records what a renderer is told about a scene. Errors are std::runtime_errors naming the file.
class RenderCapture {
public:
    explicit RenderCapture(const CaptureOptions& options);

    /// The same scene, which is recorded wherever it is cooked.
    std::shared_ptr<TELLAR::Scene> open(const Scene& scene) const;

    /// Records that a picture is about to be drawn.
    void begin(std::size_t index, const Picture& picture, const Drawing& drawing) const;

    /// Completes the file. Throws if anything could not be written; pictures are drawn all the
    /// same.
    void finish() const;

private:
    const std::shared_ptr<OxCapture::Writer> writer;
    const OxCapture::Recorded recorded;
};

/// The renders of a capture, in the order of their pictures.
struct CapturedRender {
    std::string renderer;
    float frame = 0;
    std::int32_t samples = 0;
    std::int32_t threads = 0;
};

std::vector<CapturedRender> CapturedRenders(const OxCapture::Reader& capture);

} // namespace TellarTool

#endif
