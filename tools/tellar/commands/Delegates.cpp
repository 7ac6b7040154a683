#include "Subcommands.h"

#include <exception>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>
#include <OxTellarSDK/PluginManager.h>

#include "JsonText.h"
#include "Output.h"
#include "Plugins.h"
#include "Table.h"

namespace TellarTool {

namespace {

using OxPluginManager::PluginManager;
using TELLAR::OxScenegraphLocationDelegateCache;

constexpr const char* kExamples = R"(Examples:
  tellar delegates                                  for every renderer
  tellar delegates --renderer lantern               for this one alone)";

struct DelegatesOptions {
    std::string renderer; // empty: every renderer
    bool json = false;
};

/// The plug-in that takes over a location type. Name and file are empty when they are not known.
struct Delegate {
    std::string type;
    std::string plugin;
    std::string file;
};

/// The cache returns only a table of functions. The plug-in is the one that has the same table.
Delegate FindDelegate(const std::string& type, const std::string& renderer,
                      const std::vector<std::string>& pluginNames) {
    const void* const suite = OxScenegraphLocationDelegateCache::getPluginSuite(type, renderer);
    for (const std::string& name : pluginNames) {
        const auto plugin = PluginManager::getPlugin(name, OX_LOCATION_DELEGATE_API,
                                                     OX_LOCATION_DELEGATE_API_VERSION);
        if (PluginManager::getPluginSuite(plugin) == suite)
            return {type, name, PluginManager::getPluginPath(plugin)};
    }
    return {type, {}, {}};
}

/// Calls the plug-ins for the first time, and turns what they throw into std::runtime_error.
std::vector<std::string> GetTypes(const std::string& renderer) {
    std::vector<std::string> types;
    try {
        OxScenegraphLocationDelegateCache::getLocationTypesWithDelegates(types, renderer);
    } catch (const std::exception& error) {
        const char* const text = error.what(); // may be null in an exception of a plug-in
        throw std::runtime_error(std::string("a location delegate plug-in threw: ") +
                                 (text ? text : "an exception without a text"));
    } catch (...) {
        throw std::runtime_error("a location delegate plug-in threw something that is no "
                                 "std::exception");
    }
    return types;
}

std::vector<Delegate> GetDelegates(const std::string& renderer) {
    const std::vector<std::string> types = GetTypes(renderer);
    std::vector<std::string> pluginNames;
    PluginManager::getPluginNames(OX_LOCATION_DELEGATE_API, pluginNames,
                                  OX_LOCATION_DELEGATE_API_VERSION);
    std::vector<Delegate> delegates;
    delegates.reserve(types.size());
    for (const std::string& type : types)
        delegates.push_back(FindDelegate(type, renderer, pluginNames));
    return delegates;
}

std::string TextOf(const std::vector<Delegate>& delegates) {
    if (delegates.empty()) return "There are none.\n";
    Table rows;
    for (const Delegate& delegate : delegates) {
        rows.push_back({delegate.type});
        if (!delegate.file.empty()) rows.back().push_back(delegate.file);
    }
    std::string out;
    AppendTable(out, rows);
    return out;
}

std::string JsonOf(const std::vector<Delegate>& delegates, const std::string& renderer) {
    std::vector<std::string> lines;
    lines.reserve(delegates.size());
    for (const Delegate& delegate : delegates)
        lines.push_back(JsonObject()
                            .add("type", delegate.type)
                            .addJson("plugin", JsonOrNull(delegate.plugin))
                            .addJson("file", JsonOrNull(delegate.file))
                            .line());
    return JsonObject()
        .addJson("renderer", JsonOrNull(renderer))
        .addJson("delegates", JsonLines(lines))
        .document();
}

void RunDelegates(const DelegatesOptions& options) {
    SetUpPluginHost();
    const std::vector<Delegate> delegates = GetDelegates(options.renderer);
    WriteOutput(options.json ? JsonOf(delegates, options.renderer) : TextOf(delegates));
    FlushOutput();
}

} // namespace

void AddDelegatesCommand(CLI::App& app) {
    const auto options = std::make_shared<DelegatesOptions>();
    CLI::App& command = *app.add_subcommand(
        "delegates", "Tell which location types are taken over by which plug-ins");
    command
        .add_option("--renderer", options->renderer,
                    "For this renderer alone, instead of for every renderer")
        ->option_text("R");
    command.add_flag("--json", options->json, "Print a JSON object");
    command.footer(kExamples);
    command.callback([options] { RunDelegates(*options); });
}

} // namespace TellarTool
