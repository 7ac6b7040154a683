#include "CameraChoice.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <vector>

#include <OxTellarSDK/LocationPath.h>

#include "LocationPaths.h"
#include "SceneSurvey.h"

namespace TellarTool {

namespace {

constexpr std::size_t kMostListed = 8;

bool IsPlainPath(const std::string& wanted) {
    return wanted.front() == '/' && wanted.find_first_of("*?[") == std::string::npos;
}

OxLocationPath::Patterns PatternFor(const std::string& wanted) {
    try {
        return OxLocationPath::Patterns({wanted.front() == '/' ? wanted : "/**/" + wanted});
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(std::string("--camera: ") + error.what());
    }
}

/// ""a", "b" and 3 more".
std::string List(const std::vector<std::string>& paths) {
    std::string text;
    const std::size_t listed = std::min(paths.size(), kMostListed);
    for (std::size_t i = 0; i < listed; ++i) {
        const bool isLast = i + 1 == paths.size();
        text += (i == 0 ? "\"" : isLast ? " and \"" : ", \"") + paths[i] + '"';
    }
    if (listed < paths.size()) text += " and " + std::to_string(paths.size() - listed) + " more";
    return text;
}

std::string WhatThereIs(const std::vector<std::string>& cameras) {
    if (cameras.empty()) return "there is none";
    return (cameras.size() == 1 ? "there is " : "there are ") + List(cameras);
}

} // namespace

std::string ChooseCamera(const Scene& scene, const std::string& wanted) {
    if (IsPlainPath(wanted)) return NormalLocation(wanted);
    const auto root = scene.at("/root");
    // Names may have brackets.
    if (wanted.front() == '/' && root->getProducerByPath(wanted)) return wanted;
    const OxLocationPath::Patterns pattern = PatternFor(wanted);
    const std::vector<std::string> cameras = SurveyScene(root, {}, nullptr).cameras;
    std::vector<std::string> matching;
    std::copy_if(cameras.begin(), cameras.end(), std::back_inserter(matching),
                 [&pattern](const std::string& path) { return pattern.matches(path); });
    if (matching.size() == 1) return matching.front();
    const std::string start = scene.getPath() + ": --camera \"" + wanted + "\" matches ";
    if (!matching.empty())
        throw std::runtime_error(start + std::to_string(matching.size()) +
                                 " cameras: " + List(matching));
    throw std::runtime_error(start + "no camera; " + WhatThereIs(cameras));
}

} // namespace TellarTool
