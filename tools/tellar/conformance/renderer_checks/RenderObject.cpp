#include "RenderObject.h"

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include <OxTellarSDK/ErrorHandle.h>

namespace TellarTool {

ErrorOut::~ErrorOut() {
    OxReleaseError(error);
}

std::string ErrorOut::text() const {
    return error ? OxHandleToErrorFacts(error).text : "";
}

RenderObject::RenderObject(const OxRendererPluginSuite_v2& suite, const OxRenderJob_v2& job)
    : suite(suite) {
    ErrorOut error;
    render = suite.start(&job, error.get());
    if (!render) throw std::runtime_error("a render does not start: " + error.text());
}

void RenderObject::waitUntilDone() const {
    ErrorOut error;
    const int status = suite.wait(render, -1, error.get());
    if (status != kOxRenderDone)
        throw std::runtime_error("a render ends with the status " + std::to_string(status) +
                                 " instead of being done" +
                                 (error.isEmpty() ? "" : ": " + error.text()));
}

std::string RenderObject::content() const {
    return ContentOf(suite, render);
}

std::string ContentOf(const OxRendererPluginSuite_v2& suite, OxRenderStruct* render) {
    std::string content;
    for (std::int64_t i = 0; i < suite.getNumberOfLayers(render); ++i) {
        OxRenderLayer layer{};
        if (!suite.getLayer(render, i, &layer)) continue;
        const auto& region = layer.region;
        std::vector<float> values(static_cast<std::size_t>(region.width) * region.height *
                                  layer.channelCount);
        suite.readLayer(render, i, values.data(), static_cast<std::int64_t>(values.size()),
                        nullptr);
        content.append(reinterpret_cast<const char*>(values.data()), values.size() * sizeof(float));
    }
    return content;
}

} // namespace TellarTool
