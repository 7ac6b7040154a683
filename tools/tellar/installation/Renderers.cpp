#include "Renderers.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <set>
#include <stdexcept>
#include <system_error>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/PluginManager.h>

namespace TellarTool {

using OxPluginManager::PluginManager;

namespace {

constexpr const char* kFolderName = "tellar-renderers";
constexpr double kSecondsBetweenQuestions = 0.02; // whether the user has sent a signal

/// A list of the renderers as a clause: there are "a" and "b".
std::string WhatThereIs() {
    std::set<std::string> names;
    for (const unsigned int version : {OX_RENDERER_API_VERSION, OX_RENDERER_API_VERSION_2}) {
        std::vector<std::string> some;
        PluginManager::getPluginNames(OX_RENDERER_API, some, version);
        names.insert(some.begin(), some.end());
    }
    if (names.empty()) return "there are none";
    std::string text = names.size() > 1 ? "there are " : "there is ";
    std::size_t left = names.size();
    for (const std::string& name : names) {
        text += '"' + name + '"';
        --left;
        if (left > 0) text += left > 1 ? ", " : " and ";
    }
    return text;
}

template <typename Suite>
const Suite* SuiteOf(OxPluginManager::PluginHandle plugin) {
    return static_cast<const Suite*>(PluginManager::getPluginSuite(plugin));
}

// Renders of version 2 ----------------------------------------------------------------------------

OxRenderListener_v2 ListenerOfVersion2(const OxRenderListener_v1& listener) {
    OxRenderListener_v2 functions{};
    functions.size = sizeof functions;
    functions.onProgress = listener.onProgress;
    functions.onMessage = listener.onMessage;
    functions.onPicture = listener.onPicture;
    functions.user = listener.user;
    return functions;
}

OxRenderJob_v2 JobOfVersion2(const OxRenderJob_v1& job) {
    OxRenderJob_v2 better{};
    better.size = sizeof better;
    better.root = job.root;
    better.picture = job.picture;
    better.frame = job.frame;
    better.samples = job.samples;
    better.threads = job.threads;
    better.listener = ListenerOfVersion2(job.listener);
    return better;
}

/// Tells the listener the text of an error, and takes its reference. Null tells nothing.
void Tell(OxErrorStruct* error, const OxRenderListener_v1& listener) {
    if (!error) return;
    const auto& suite = *static_cast<const OxAttributeSuite_v4*>(
        OxGetPluginHost()->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4));
    const std::shared_ptr<OxErrorStruct> owner(error, suite.releaseError);
    OxErrorFacts facts{};
    suite.getErrorFacts(error, &facts);
    listener.onMessage(kOxLogError, facts.text, listener.user);
}

/// Waits for the end of a render and passes the user's wish on to it.
int WaitFor(const OxRendererPluginSuite_v2& suite, OxRenderStruct* render,
            const OxRenderListener_v1& listener) {
    for (;;) {
        OxErrorStruct* error = nullptr;
        const int status = suite.wait(render, kSecondsBetweenQuestions, &error);
        if (status != kOxRenderRunning) {
            Tell(error, listener);
            return status;
        }
        const int wish = listener.isCancelled(listener.user);
        if (wish != kOxRenderGoOn) suite.request(render, wish);
    }
}

int RenderByVersion2(const OxRendererPluginSuite_v2& suite, const OxRenderJob_v1& job) {
    const OxRenderJob_v2 better = JobOfVersion2(job);
    OxErrorStruct* error = nullptr;
    const std::unique_ptr<OxRenderStruct, void (*)(OxRenderStruct*)> render(
        suite.start(&better, &error), suite.release);
    if (render) return WaitFor(suite, render.get(), job.listener);
    Tell(error, job.listener);
    return kOxRenderFailed;
}

} // namespace

void AddRendererFolder() {
    const std::string folder = PluginManager::installedFolder(kFolderName);
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) PluginManager::addSearchPath(folder);
}

Renderer::Renderer(const std::string& name) : name(name) {
    const auto find = [&name](unsigned int version) {
        return PluginManager::getPlugin(name, OX_RENDERER_API, version);
    };
    if (const auto newer = find(OX_RENDERER_API_VERSION_2))
        version2 = SuiteOf<OxRendererPluginSuite_v2>(newer);
    if (version2 && version2->start) return;
    version2 = nullptr;
    const auto older = find(OX_RENDERER_API_VERSION);
    if (older) version1 = SuiteOf<OxRendererPluginSuite_v1>(older);
    if (version1 && version1->render) return;
    const auto hollow = older ? older : find(OX_RENDERER_API_VERSION_2);
    if (hollow)
        throw std::runtime_error("--renderer: the plug-in \"" + name + "\" (" +
                                 PluginManager::getPluginPath(hollow) + ") has no functions");
    throw std::runtime_error("--renderer: there is no renderer \"" + name + "\"; " + WhatThereIs());
}

bool Renderer::canStitch() const {
    return version2 ? version2->stitch != nullptr : version1->stitch != nullptr;
}

int Renderer::render(const OxRenderJob_v1& job) const {
    return version2 ? RenderByVersion2(*version2, job) : version1->render(&job);
}

int Renderer::stitch(const std::vector<std::string>& tiles, const std::string& picture,
                     const OxRenderListener_v1& listener) const {
    std::vector<const char*> paths;
    paths.reserve(tiles.size());
    for (const std::string& tile : tiles)
        paths.push_back(tile.c_str());
    const auto count = static_cast<std::int64_t>(paths.size());
    if (version1) return version1->stitch(paths.data(), count, picture.c_str(), &listener);
    const OxRenderListener_v2 functions = ListenerOfVersion2(listener);
    OxErrorStruct* error = nullptr;
    const int status = version2->stitch(paths.data(), count, picture.c_str(), &functions, &error);
    Tell(error, listener);
    return status;
}

} // namespace TellarTool
