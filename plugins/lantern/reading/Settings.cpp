#include "reading/Settings.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "Report.h"
#include "reading/Transform.h"

namespace lantern {

namespace {

constexpr int kMostPixels = 65536;     // per side
constexpr int kSamplesForNoise = 4096; // the most per pixel for a noise goal

/// The number as messages show it, with the default precision of a stream.
std::string Text(double value) {
    std::string text(32, '\0');
    text.resize(static_cast<std::size_t>(std::snprintf(text.data(), text.size(), "%.9g", value)));
    return text;
}

std::string Text(const std::vector<std::int32_t>& values) {
    std::string text;
    for (const std::int32_t value : values)
        text += (text.empty() ? "" : " ") + std::to_string(value);
    return text;
}

std::string Quoted(const std::string& setting) {
    return "\"renderSettings." + setting + "\"";
}

Attribute Setting(const Location& root, const std::string& name) {
    return root.attribute(("renderSettings." + name).c_str());
}

bool IsFiniteFloat(double value) {
    return std::abs(value) <= static_cast<double>(std::numeric_limits<float>::max());
}

/// The default if the setting is missing.
double ReadNumber(const Location& root, const std::string& name, double otherwise) {
    const Attribute setting = Setting(root, name);
    if (!setting) return otherwise;
    double value = 0;
    if (setting.count() != 1 || !setting.read(&value, 1) || !IsFiniteFloat(value))
        throw RenderError(Quoted(name) + " must be one finite number");
    return value;
}

double ReadNumberWithin(const Location& root, const std::string& name, double otherwise,
                        double least, double most) {
    const double value = ReadNumber(root, name, otherwise);
    if (value < least || value > most)
        throw RenderError(Quoted(name) + " must be from " + Text(least) + " to " + Text(most) +
                          ", not " + Text(value));
    return value;
}

int ReadCountWithin(const Location& root, const std::string& name, int otherwise, int least,
                    int most) {
    const double value = ReadNumberWithin(root, name, otherwise, least, most);
    if (value != std::floor(value))
        throw RenderError(Quoted(name) + " must be a whole number, not " + Text(value));
    return static_cast<int>(value);
}

// Framing -----------------------------------------------------------------------------------------

/// The first pixel whose center is at or after this fraction of the size. Adjacent windows
/// therefore share no pixel.
int EdgeOf(double fraction, int size) {
    const double edge = std::ceil(fraction * size - 0.5);
    return static_cast<int>(std::clamp(edge, 0.0, static_cast<double>(size)));
}

Window ReadCropWindow(const Location& root, int width, int height) {
    const Window whole{0, 0, width, height};
    const Attribute setting = Setting(root, "cropWindow");
    if (!setting) return whole;
    double crop[4];
    if (setting.count() != 4 || !setting.read(crop, 4) ||
        !std::all_of(crop, crop + 4, IsFiniteFloat))
        throw RenderError(Quoted("cropWindow") + " must be four finite numbers");
    const Window window{EdgeOf(crop[0], width), EdgeOf(crop[2], height), EdgeOf(crop[1], width),
                        EdgeOf(crop[3], height)};
    if (window.width() > 0 && window.height() > 0) return window;
    throw RenderError(Quoted("cropWindow") + " " + Text(crop[0]) + " " + Text(crop[1]) + " " +
                      Text(crop[2]) + " " + Text(crop[3]) + " leaves nothing of the picture");
}

int TileEdge(int size, std::int32_t tile, std::int32_t tiles) {
    return static_cast<int>(static_cast<std::int64_t>(size) * tile / tiles);
}

Window ReadTile(const Location& root, int width, int height) {
    const Window whole{0, 0, width, height};
    const Attribute setting = Setting(root, "tileRender");
    if (!setting) return whole;
    const std::vector<std::int32_t> tile = setting.ints();
    if (tile.size() == 2)
        throw RenderError(Quoted("tileRender") + " " + Text(tile) +
                          " needs the numbers of columns and rows, too");
    if (tile.size() != 4)
        throw RenderError(Quoted("tileRender") +
                          " must be four integers: column, row, columns, rows");
    const bool isInside = tile[0] >= 0 && tile[0] < tile[2] && tile[1] >= 0 && tile[1] < tile[3];
    if (!isInside)
        throw RenderError(Quoted("tileRender") + " " + Text(tile) + " is no tile of the picture");
    const Window window{TileEdge(width, tile[0], tile[2]), TileEdge(height, tile[1], tile[3]),
                        TileEdge(width, tile[0] + 1, tile[2]),
                        TileEdge(height, tile[1] + 1, tile[3])};
    if (window.width() > 0 && window.height() > 0) return window;
    throw RenderError(Quoted("tileRender") + " " + Text(tile) + " has no pixel of " +
                      std::to_string(width) + " x " + std::to_string(height));
}

Window Intersection(const Window& a, const Window& b) {
    return {std::max(a.x0, b.x0), std::max(a.y0, b.y0), std::min(a.x1, b.x1), std::min(a.y1, b.y1)};
}

// Camera ------------------------------------------------------------------------------------------

void CheckLens(const Camera& camera, const std::string& path) {
    const auto refuse = [&](const std::string& what) {
        throw RenderError("the camera \"" + path + "\" has " + what);
    };
    for (const float value : {camera.fov, camera.near, camera.far, camera.left, camera.right,
                              camera.top, camera.bottom, camera.orthographicWidth})
        if (!std::isfinite(value)) refuse("a lens that is not finite");
    if (!(camera.apertureRadius >= 0) || !std::isfinite(camera.apertureRadius))
        refuse("an apertureRadius of " + Text(static_cast<double>(camera.apertureRadius)));
    if (!(camera.focusDistance > 0) || !std::isfinite(camera.focusDistance))
        refuse("a focusDistance of " + Text(static_cast<double>(camera.focusDistance)));
    if (camera.left == camera.right || camera.top == camera.bottom)
        refuse("a screen window without a size");
    if (camera.isOrthographic && !(camera.orthographicWidth > 0))
        refuse("an orthographicWidth of " + Text(static_cast<double>(camera.orthographicWidth)));
    if (!camera.isOrthographic && !(camera.fov > 0 && camera.fov < 180))
        refuse("a fov of " + Text(static_cast<double>(camera.fov)) + " degrees");
}

/// Owns the handle.
class CameraHandle {
public:
    CameraHandle(const Suites& suites, const Location& root, const std::string& path)
        : utils(suites.utils()), camera(utils.getCameraInfo(root.get(), path.c_str(), nullptr)) {}
    ~CameraHandle() { utils.releaseCameraInfo(camera); }
    CameraHandle(const CameraHandle&) = delete;
    CameraHandle& operator=(const CameraHandle&) = delete;

    explicit operator bool() const { return camera != nullptr; }

    Camera lens() const {
        Camera lens;
        lens.isOrthographic = utils.getCameraOrthographic(camera) != 0;
        lens.fov = utils.getCameraFov(camera);
        lens.near = utils.getCameraNear(camera);
        lens.far = utils.getCameraFar(camera);
        lens.left = utils.getCameraLeft(camera);
        lens.right = utils.getCameraRight(camera);
        lens.top = utils.getCameraTop(camera);
        lens.bottom = utils.getCameraBottom(camera);
        lens.orthographicWidth = utils.getCameraOrthographicWidth(camera);
        return lens;
    }

private:
    const OxRenderOutputUtilsHostSuite_v4& utils;
    CameraInfoStruct* camera;
};

/// Interpolates the values that have motion samples. The handle gives only those nearest to time 0.
void MoveLensTo(float time, const Attribute& geometry, Camera& lens) {
    const auto move = [&](const char* name, float& value) {
        const Attribute moving = geometry.child(name);
        double moved = 0;
        if (moving.sampleCount() > 1 && moving.read(&moved, 1, time))
            value = static_cast<float>(moved);
    };
    move("fov", lens.fov);
    move("near", lens.near);
    move("far", lens.far);
    move("left", lens.left);
    move("right", lens.right);
    move("top", lens.top);
    move("bottom", lens.bottom);
    move("orthographicWidth", lens.orthographicWidth);
}

/// The attributes of a thin lens, which the handle does not have.
void ReadFocus(float time, const Attribute& geometry, Camera& lens) {
    const auto read = [&](const char* name, float& value) {
        double given = 0;
        const Attribute attribute = geometry.child(name);
        if (attribute && attribute.read(&given, 1, time)) value = static_cast<float>(given);
    };
    read("apertureRadius", lens.apertureRadius);
    read("focusDistance", lens.focusDistance);
}

void CheckPosition(const M44d& toWorld, const std::string& path) {
    const double* const values = toWorld.getValue();
    const bool isFinite =
        std::all_of(values, values + 16, [](double value) { return std::isfinite(value); });
    if (!isFinite || toWorld.determinant() == 0)
        throw RenderError("the camera \"" + path + "\" has a transform that cannot be inverted");
    constexpr double kLargest = 1e17; // rays from farther than 1e18 cannot be traced
    const double largest = std::abs(*std::max_element(
        values, values + 16, [](double a, double b) { return std::abs(a) < std::abs(b); }));
    if (largest > kLargest)
        throw RenderError("the camera \"" + path + "\" has a transform with the number " +
                          Text(largest) + ", which is too large");
}

/// A camera without a part of its lens has no handle.
[[noreturn]] void ThrowNoCamera(const std::string& path, const Location& location) {
    if (location.hasFailed()) throw location.failure();
    if (!location || !location.attribute("type").isTextEqual("camera"))
        throw RenderError("the camera \"" + path + "\" is not in the scene");
    std::string missing;
    const Attribute geometry = location.attribute("geometry");
    for (const char* name : {"fov", "near", "far", "left", "right", "top", "bottom"})
        if (!geometry.child(name).isNumeric())
            missing += std::string(missing.empty() ? "" : ", ") + "\"geometry." + name + '"';
    throw RenderError("the camera \"" + path +
                      (missing.empty() ? "\" cannot be read" : "\" has no " + missing));
}

} // namespace

Shutter ReadShutter(const Location& root, float frame) {
    if (!std::isfinite(frame)) throw RenderError("the frame is not a finite number");
    const double open = ReadNumber(root, "shutterOpen", 0);
    const double close = ReadNumber(root, "shutterClose", 0);
    if (close < open)
        throw RenderError("the shutter closes before it opens: " + Quoted("shutterOpen") + " is " +
                          Text(open) + ", " + Quoted("shutterClose") + " is " + Text(close));
    return {static_cast<float>(frame + open), static_cast<float>(frame + close)};
}

Framing ReadFraming(const Suites& suites, const Location& root) {
    Framing framing;
    const Attribute name = Attribute::owning(
        suites.attributes(),
        suites.utils().getRenderResolution(root.get(), &framing.width, &framing.height, nullptr));
    if (!name)
        throw RenderError("the resolution \"" + Setting(root, "resolution").text() +
                          "\" is not known");
    if (framing.width < 1 || framing.height < 1 || framing.width > kMostPixels ||
        framing.height > kMostPixels)
        throw RenderError("the resolution \"" + name.text() + "\" has " +
                          std::to_string(framing.width) + " x " + std::to_string(framing.height) +
                          " pixels; a side may have 1 to " + std::to_string(kMostPixels));
    framing.window = Intersection(ReadCropWindow(root, framing.width, framing.height),
                                  ReadTile(root, framing.width, framing.height));
    if (framing.window.width() > 0 && framing.window.height() > 0) return framing;
    throw RenderError(Quoted("cropWindow") + " leaves nothing of the tile " +
                      Text(Setting(root, "tileRender").ints()));
}

Quality ReadQuality(const Location& root) {
    Quality quality;
    quality.noise = static_cast<float>(ReadNumberWithin(root, "noise", 0, 0, 1));
    quality.minutes = ReadNumberWithin(root, "minutes", 0, 0, 1e6);
    const int samples = quality.noise > 0 ? kSamplesForNoise : quality.samples;
    quality.samples = ReadCountWithin(root, "lantern.samples", samples, 1, 1000000);
    quality.maxDepth = ReadCountWithin(root, "lantern.maxDepth", quality.maxDepth, 1, 100);
    quality.exposure = static_cast<float>(ReadNumberWithin(
        root, "lantern.exposure", static_cast<double>(quality.exposure), -100, 100));
    quality.clampIndirect = static_cast<float>(ReadNumberWithin(
        root, "lantern.clampIndirect", static_cast<double>(quality.clampIndirect), 0, 1e9));
    quality.subdivisionEdge = static_cast<float>(ReadNumberWithin(
        root, "lantern.subdivisionEdge", static_cast<double>(quality.subdivisionEdge), 0.1, 1000));
    quality.subdivisionMemory =
        ReadCountWithin(root, "lantern.subdivisionMemory", quality.subdivisionMemory, 1, 1000000);
    quality.textureMemory =
        ReadCountWithin(root, "lantern.textureMemory", quality.textureMemory, 0, 1000000);
    return quality;
}

Camera ReadCamera(const Suites& suites, const Location& root, float frame, const Shutter& shutter) {
    const std::string path =
        Attribute::owning(suites.attributes(), suites.utils().getCameraPath(root.get(), nullptr))
            .text();
    const CameraHandle handle(suites, root, path);
    const Location location = root.byPath(path);
    if (!location || !handle) ThrowNoCamera(path, location);
    Camera camera = handle.lens();
    MoveLensTo(frame, location.attribute("geometry"), camera);
    ReadFocus(frame, location.attribute("geometry"), camera);
    CheckLens(camera, path);
    const Transform transform = ReadTransform(suites, location.transformsFromTheRoot(), shutter);
    camera.toWorld.resize(static_cast<std::size_t>(transform.steps));
    for (int step = 0; step < transform.steps; ++step) {
        camera.toWorld[static_cast<std::size_t>(step)] = transform.at(step);
        CheckPosition(transform.at(step), path);
    }
    return camera;
}

} // namespace lantern
