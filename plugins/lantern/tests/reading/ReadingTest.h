#ifndef LANTERN_TEST_READINGTEST_H
#define LANTERN_TEST_READINGTEST_H

#include <atomic>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "ErrorOf.h"
#include "reading/Location.h"
#include "reading/ReadScene.h"
#include "reading/Suites.h"

/// Scenes in JSON and functions that read them.
namespace LanternTest {

using namespace lantern;

inline const OxPluginHost& Host() {
    static const OxPluginHost* const host = [] {
        OxPluginHost* const made = OxGetPluginHost();
        OxTellarProducersInitialize(made);
        return made;
    }();
    return *host;
}

inline const Suites& AllSuites() {
    static const Suites suites(Host());
    return suites;
}

/// A listener that records messages and can cancel the render.
class Told {
public:
    OxRenderListener_v1 listener() {
        OxRenderListener_v1 listener{};
        listener.onMessage = [](int level, const char* message, void* user) {
            auto* told = static_cast<Told*>(user);
            (level == kOxLogInfo ? told->infos : told->warnings).emplace_back(message);
        };
        listener.isCancelled = [](void* user) {
            auto* told = static_cast<Told*>(user);
            const int asked = ++told->asked;
            return told->cancelAtQuestion > 0 && asked >= told->cancelAtQuestion ? 1 : 0;
        };
        listener.user = this;
        return listener;
    }

    std::vector<std::string> infos;
    std::vector<std::string> warnings; ///< warnings and errors
    std::atomic<int> asked{0};         ///< number of calls of isCancelled
    int cancelAtQuestion = 0;          ///< the call that returns true; 0 for none
};

inline Location RootOf(const OxAttribute::GroupAttribute& description) {
    return Location::owning(AllSuites(),
                            AllSuites().iterators().createRootIteratorFromOpTreeDescription(
                                description.getHandle(), nullptr));
}

inline Location RootOfJson(const std::string& json) {
    Host();
    return RootOf(OxAttribute::ParseDescriptionJson(json, "test.json", ""));
}

inline Location RootOfFile(const std::string& path) {
    Host();
    return RootOf(OxAttribute::ReadDescriptionJsonFile(path));
}

inline const char* const kLens = R"("geometry": {"fov": 70.0, "near": 0.1, "far": 1000.0,
    "left": -1.0, "right": 1.0, "top": 1.0, "bottom": -1.0})";

/// A description of a scene with a camera at the origin, attributes of the root and children of
/// /root/world, both as members of JSON objects without the braces. The library caches cameras by
/// the root's attributes, so each scene gets a unique tag.
inline std::string SceneJson(const std::string& children, const std::string& rootAttributes = "",
                             const std::string& cameraAttributes = kLens) {
    static int scenes = 0;
    const std::string comma = children.empty() ? "" : ", ";
    const std::string rootComma = rootAttributes.empty() ? "" : ", ";
    return R"({"ops": [{"name": "scene", "type": "StaticScene", "args": {"a": {"tag": )" +
           std::to_string(++scenes) + rootComma + rootAttributes +
           R"(}, "c": {"world": {"c": {"cam": {"c": {"camera": {"a": {"type": "camera", )" +
           cameraAttributes + "}}}}" + comma + children + "}}}}}]}";
}

inline SceneData Read(const Location& root, Told& told, const ReadOptions& options = {0, 1}) {
    Report report(told.listener());
    return ReadScene(Host(), root.get(), options, report);
}

inline SceneData ReadJson(const std::string& json, Told& told,
                          const ReadOptions& options = {0, 1}) {
    return Read(RootOfJson(json), told, options);
}

/// Reads a scene that must give no warnings.
inline SceneData ReadSilently(const std::string& json, const ReadOptions& options = {0, 1}) {
    Told told;
    SceneData scene = ReadJson(json, told, options);
    for (const std::string& warning : told.warnings)
        ADD_FAILURE() << warning;
    return scene;
}

/// The error of reading the scene, or "no error".
inline std::string ReadErrorOf(const std::string& json, const ReadOptions& options = {0, 1}) {
    Told told;
    return ErrorOf<RenderError>([&] { ReadJson(json, told, options); });
}

inline const char* const kTriangle = R"("geometry": {
    "point": {"P": {"$type": "float", "values": [[0, 0, 0], [1, 0, 0], [0, 1, 0]]}},
    "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]}})";

/// A location with a triangle and more attributes.
inline std::string Triangle(const std::string& name, const std::string& attributes = "") {
    return "\"" + name + R"(": {"a": {"type": "polymesh", )" + kTriangle +
           (attributes.empty() ? "" : ", ") + attributes + "}}";
}

} // namespace LanternTest

#endif
