#include "Subject.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/PluginManager.h>

#include "Plugins.h"
#include "Process.h"
#include "Renderers.h"

namespace TellarTool {

namespace {

namespace fs = std::filesystem;
using OxPluginManager::PluginManager;

bool IsPath(const std::string& plugin) {
    return plugin.find('/') != std::string::npos || fs::path(plugin).has_extension();
}

/// Puts the library's folder at the front of the plug-in path, so that its plug-ins come before
/// others of their names. Returns the absolute path of the library.
std::string PreferLibrary(const std::string& plugin) {
    if (!fs::is_regular_file(plugin))
        throw std::runtime_error(plugin + (fs::exists(plugin) ? ": is no file" : ": no such file"));
    const fs::path library = fs::absolute(plugin).lexically_normal();
    const char* const others = std::getenv("OX_PLUGIN_PATH");
    const std::string folder = library.parent_path().string();
    SetEnvironment("OX_PLUGIN_PATH", others && *others ? folder + ':' + others : folder);
    return library.string();
}

std::string ReasonOfRefusal(const std::string& library) {
    for (const auto& refused : PluginManager::refused())
        if (refused.file == library) return refused.reason;
    return {};
}

bool IsInLibrary(const FoundPlugin& plugin, const std::string& library) {
    std::error_code ignored;
    return plugin.file == library || fs::equivalent(plugin.file, library, ignored);
}

template <typename Suite>
const Suite* SuiteOf(const FoundPlugin& plugin) {
    return static_cast<const Suite*>(PluginManager::getPluginSuite(
        PluginManager::getPlugin(plugin.name, plugin.apiName, plugin.apiVersion)));
}

/// The name in the description of an op type; empty when there is none.
std::string NameOfOpType(const FoundPlugin& plugin) {
    if (plugin.apiVersion == OX_OP_TYPE_API_VERSION) {
        const auto* const suite = SuiteOf<OxOpTypePluginSuite_v2>(plugin);
        const auto* const told = suite && suite->getDescription ? suite->getDescription() : nullptr;
        return told && told->name ? told->name : "";
    }
    const auto* const suite = SuiteOf<OxOpTypePluginSuite_v3>(plugin); // version 1 has its layout
    const OxOpType::OpType* const type = suite && suite->getOpType ? suite->getOpType() : nullptr;
    return type ? type->description().name : "";
}

/// The name by which scenes and commands know the plug-in.
std::string NameOf(const FoundPlugin& plugin) {
    if (plugin.apiName != OX_OP_TYPE_API) return plugin.name;
    try {
        const std::string name = NameOfOpType(plugin);
        return name.empty() ? plugin.name : name;
    } catch (...) { // the check "loads" tells of it
        return plugin.name;
    }
}

/// Adds the plug-in as a subject, or as one more version of a subject.
void Add(std::vector<Subject>& subjects, const FoundPlugin& plugin) {
    const std::string name = NameOf(plugin);
    const auto same = std::find_if(subjects.begin(), subjects.end(), [&](const Subject& subject) {
        return subject.api == plugin.apiName && subject.name == name;
    });
    if (same != subjects.end())
        same->versions.push_back(plugin.apiVersion);
    else
        subjects.push_back({plugin.apiName, name, {plugin.apiVersion}, plugin.file, {}, {}, {}});
}

std::vector<Subject> SubjectsInLibrary(const std::string& library) {
    std::vector<Subject> subjects;
    for (const FoundPlugin& plugin : GetPlugins())
        if (IsInLibrary(plugin, library)) Add(subjects, plugin);
    // The check "loads" tells why single op types of a library are refused.
    if (!subjects.empty()) return subjects;
    const std::string reason = ReasonOfRefusal(library);
    throw std::runtime_error(library + ": " + (reason.empty() ? "holds no plug-in" : reason));
}

/// Whether there are checks of plug-ins of this API.
bool HasContract(const FoundPlugin& plugin) {
    return plugin.apiName == OX_RENDERER_API || plugin.apiName == OX_OP_TYPE_API;
}

std::vector<Subject> SubjectsNamed(const std::string& name) {
    std::vector<Subject> subjects;
    for (const FoundPlugin& plugin : GetPlugins())
        if (HasContract(plugin) && NameOf(plugin) == name) Add(subjects, plugin);
    if (subjects.empty() && OxOpType::FindOpType(name)) // a built-in one
        subjects.push_back({OxOpType::kPluginApiName, name, {}, {}, {}, {}, {}});
    if (subjects.empty())
        throw std::runtime_error("there is no renderer and no op type \"" + name + '"');
    return subjects;
}

} // namespace

bool Subject::hasVersion(unsigned int version) const {
    return std::find(versions.begin(), versions.end(), version) != versions.end();
}

std::vector<Subject> LoadSubjects(const std::string& plugin) {
    const std::string library = IsPath(plugin) ? PreferLibrary(plugin) : std::string();
    SetUpPluginHost();
    if (library.empty()) AddRendererFolder();
    OxOpType::LoadOpTypes();
    return library.empty() ? SubjectsNamed(plugin) : SubjectsInLibrary(library);
}

} // namespace TellarTool
