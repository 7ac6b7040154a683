#include "DeviceColumns.h"

#include <string>

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;

namespace {

/// Calls `number` with every number of a camera. `camera` may be const.
template <typename Camera, typename Number>
void VisitCamera(Camera&& camera, Number& number) {
    number(camera.fieldOfView);
    number(camera.nearClip);
    number(camera.farClip);
    number(camera.aspect);
    number(camera.orthographicWidth);
    number(camera.aim);
}

/// Calls `number` with every number of a light. `light` may be const.
template <typename Light, typename Number>
void VisitLight(Light&& light, Number& number) {
    number(light.color);
    number(light.intensity);
    number(light.decay);
    number(light.coneInner);
    number(light.coneOuter);
    number(light.size);
    number(light.range);
    number(light.aim);
}

/// The number of numbers that `visit` hands to a sink.
template <typename Visit>
std::size_t CountNumbers(Visit visit) {
    std::vector<double> numbers;
    NumberSink sink(numbers);
    visit(sink);
    return numbers.size();
}

std::size_t NumbersOfCamera() {
    return CountNumbers([](NumberSink& sink) { VisitCamera(ImportedCamera(), sink); });
}

std::size_t NumbersOfLight() {
    return CountNumbers([](NumberSink& sink) { VisitLight(ImportedLight(), sink); });
}

} // namespace

GroupAttribute CameraColumns(const std::vector<ImportedCamera>& cameras) {
    std::vector<double> numbers;
    NumberSink sink(numbers);
    for (const ImportedCamera& camera : cameras)
        VisitCamera(camera, sink);
    ColumnWriter columns;
    columns.add("number", numbers);
    return columns.build();
}

GroupAttribute LightColumns(const std::vector<ImportedLight>& lights) {
    std::vector<std::string> types;
    std::vector<double> numbers;
    NumberSink sink(numbers);
    for (const ImportedLight& light : lights) {
        types.push_back(light.type);
        VisitLight(light, sink);
    }
    ColumnWriter columns;
    columns.add("type", types);
    columns.add("number", numbers);
    return columns.build();
}

std::vector<ImportedCamera> CamerasIn(const ColumnReader& columns) {
    const std::vector<double> numbers = columns.doubles("number");
    std::vector<ImportedCamera> cameras(numbers.size() / NumbersOfCamera());
    RequireSize(numbers, cameras.size() * NumbersOfCamera(), "number");
    NumberSource source(numbers);
    for (ImportedCamera& camera : cameras)
        VisitCamera(camera, source);
    return cameras;
}

std::vector<ImportedLight> LightsIn(const ColumnReader& columns) {
    const std::vector<std::string> types = columns.texts("type");
    const std::vector<double> numbers = columns.doubles("number");
    RequireSize(numbers, types.size() * NumbersOfLight(), "number");
    std::vector<ImportedLight> lights(types.size());
    NumberSource source(numbers);
    for (std::size_t i = 0; i < lights.size(); ++i) {
        lights[i].type = types[i];
        VisitLight(lights[i], source);
    }
    return lights;
}

} // namespace TellarSceneImport
