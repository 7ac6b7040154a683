#ifndef TELLAR_TOOL_RENDEROBJECT_H
#define TELLAR_TOOL_RENDEROBJECT_H

#include <string>

#include <OxTellarProducers/OxRendererPluginSuite2.h>
#include <OxTellarSDK/ErrorSuite.h>

namespace TellarTool {

/// Receives the error of a call, and takes its reference.
class ErrorOut {
public:
    ErrorOut() = default;
    ~ErrorOut();
    ErrorOut(const ErrorOut&) = delete;
    ErrorOut& operator=(const ErrorOut&) = delete;

    OxErrorStruct** get() { return &error; }
    /// Empty when there is no error.
    std::string text() const;
    bool isEmpty() const { return !error; }

private:
    OxErrorStruct* error = nullptr;
};

/// A render of version 2 that was started.
class RenderObject {
public:
    /// Throws std::runtime_error with the renderer's reason when it does not start.
    RenderObject(const OxRendererPluginSuite_v2& suite, const OxRenderJob_v2& job);
    ~RenderObject() { suite.release(render); }
    RenderObject(const RenderObject&) = delete;
    RenderObject& operator=(const RenderObject&) = delete;

    OxRenderStruct* get() const { return render; }
    /// Waits for the end or, for a live render, for a complete picture. Throws std::runtime_error
    /// with the renderer's reason when it is not done.
    void waitUntilDone() const;
    /// The values of all layers.
    std::string content() const;

private:
    const OxRendererPluginSuite_v2& suite;
    OxRenderStruct* render = nullptr;
};

/// The values of all layers of a render.
std::string ContentOf(const OxRendererPluginSuite_v2& suite, OxRenderStruct* render);

} // namespace TellarTool

#endif
