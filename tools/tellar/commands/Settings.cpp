#include "Subcommands.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarProducers/RenderSettingsReport.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "AttributeText.h"
#include "ChosenSettings.h"
#include "JsonText.h"
#include "Output.h"
#include "PictureOptions.h"
#include "PrintableText.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneWarnings.h"
#include "Table.h"

namespace TellarTool {

namespace {

using OxAttribute::Attribute;
using OxAttribute::IntAttribute;
using TELLAR::GeometryProducer;
using TELLAR::KnownRenderSetting;
using TELLAR::RenderSettingFacts;
using TELLAR::RenderSettingOrigin;
using Facts = std::vector<RenderSettingFacts>;

constexpr const char* kExamples = R"(Examples:
  tellar settings examples/garden.json
  tellar settings shot.oxop --set lantern.maxDepth=4 --resolution hd_1080
  tellar settings shot.oxop --json
  tellar settings --known                               all that are known, without a scene)";

struct SettingsOptions {
    std::string scene;
    ChosenSettings chosen;
    std::int32_t samples = 0; // 0: not chosen
    bool isKnown = false;     // list the known settings
    bool json = false;
    bool isStrict = false;
};

// The table of known settings ---------------------------------------------------------------------

/// "none" for an invalid attribute.
std::string ValueText(const Attribute& value) {
    return value.isValid() ? DescribeValue(value) : "none";
}

/// null for an invalid attribute.
std::string ValueJson(const Attribute& value) {
    return value.isValid() ? OxAttribute::WriteAttributeJson(value, -1) : "null";
}

std::string TypeText(const KnownRenderSetting& setting) {
    const std::string count = setting.count > 1 ? std::to_string(setting.count) + ' ' : "";
    return count + NameOf(setting.type);
}

std::string TextOfKnown() {
    Table rows;
    for (const KnownRenderSetting& setting : TELLAR::GetKnownRenderSettings())
        rows.push_back(
            {setting.name, TypeText(setting), ValueText(setting.defaultValue), setting.summary});
    std::string out;
    AppendTable(out, rows);
    return out;
}

std::string JsonOfKnown() {
    std::vector<std::string> settings;
    for (const KnownRenderSetting& setting : TELLAR::GetKnownRenderSettings())
        settings.push_back(JsonObject()
                               .add("name", setting.name)
                               .add("type", TypeText(setting))
                               .addJson("default", ValueJson(setting.defaultValue))
                               .add("summary", setting.summary)
                               .line());
    return JsonObject()
        .addJson("settings", JsonLines(settings))
        .addJson("layers", JsonList(TELLAR::GetKnownRenderLayers()))
        .document();
}

// The settings of a scene -------------------------------------------------------------------------

/// "default", "/root", "--set" or '--set instead of "hd_720" of /root'.
std::string OriginText(const RenderSettingFacts& setting) {
    if (setting.origin == RenderSettingOrigin::Default) return "default";
    const std::string unknown = setting.known ? "" : ", not known";
    if (!setting.replaced.isValid()) return setting.source + unknown;
    return setting.source + " instead of " + ValueText(setting.replaced) + " of /root" + unknown;
}

const char* OriginName(RenderSettingOrigin origin) {
    switch (origin) {
    case RenderSettingOrigin::Location:
        return "location";
    case RenderSettingOrigin::Override:
        return "override";
    default:
        return "default";
    }
}

std::string TextOf(const Facts& settings, const std::vector<std::string>& notes) {
    Table rows;
    for (const RenderSettingFacts& setting : settings) {
        std::string name;
        AppendPrintable(name, setting.name);
        rows.push_back({name, ValueText(setting.value), OriginText(setting)});
    }
    std::string out;
    AppendTable(out, rows);
    AppendNotes(out, notes);
    return out;
}

std::string JsonOf(const RenderSettingFacts& setting) {
    return JsonObject()
        .add("name", setting.name)
        .addJson("value", ValueJson(setting.value))
        .add("origin", std::string(OriginName(setting.origin)))
        .addJson("source", JsonOrNull(setting.source))
        .addJson("replaced", ValueJson(setting.replaced))
        .addJson("type", JsonOrNull(setting.known ? TypeText(*setting.known) : std::string()))
        .addJson("default", ValueJson(setting.known ? setting.known->defaultValue : Attribute()))
        .addJson("problem", JsonOrNull(setting.problemText))
        .addJson("similar", JsonList(setting.similar))
        .line();
}

std::string JsonOf(const Facts& settings, const std::vector<std::string>& notes) {
    std::vector<std::string> lines;
    for (const RenderSettingFacts& setting : settings)
        lines.push_back(JsonOf(setting));
    return JsonObject()
        .addJson("settings", JsonLines(lines))
        .addJson("notes", JsonList(notes))
        .document();
}

/// '--set: "noise" must be ...', or 'scene.json: "renderSettings.noise" of /root must be ...'.
std::string WarningAbout(const RenderSettingFacts& setting, const Scene& scene) {
    if (setting.origin == RenderSettingOrigin::Override)
        return setting.source + ": \"" + setting.name + "\" " + setting.problemText;
    const bool isGroup = setting.name == "renderSettings";
    return scene.getPath() + ": \"" + (isGroup ? "" : "renderSettings.") + setting.name + "\" of " +
           setting.source + ' ' + setting.problemText;
}

/// What `tellar render` chooses where the scene tells nothing.
std::vector<std::string> NotesAbout(const Facts& settings, const GeometryProducer::Ptr& root) {
    const auto camera = std::find_if(settings.begin(), settings.end(), [](const auto& setting) {
        return setting.name == "cameraName" && setting.origin == RenderSettingOrigin::Default;
    });
    if (camera == settings.end()) return {};
    const std::string path = TELLAR::GetCameraPath(root);
    if (root->getProducerByPath(path)) return {};
    return {"there is no camera " + path +
            ": tellar render takes the first camera of the scene, or frames the whole of it"};
}

/// The paths per pixel are told to a renderer by another way than the settings.
ChosenSettings ChosenOf(const SettingsOptions& options) {
    ChosenSettings chosen = options.chosen;
    if (options.samples > 0)
        chosen.others.push_back(
            {chosen.renderer + ".samples", IntAttribute(options.samples), "--samples"});
    return chosen;
}

void ReportScene(const SettingsOptions& options) {
    const ChosenSettings chosen = ChosenOf(options);
    CheckChosen(chosen);
    SceneWarnings warnings(options.isStrict);
    const Scene scene(options.scene);
    const GeometryProducer::Ptr root = scene.at("/root");
    const Facts settings = TELLAR::ReportRenderSettings(root, OverridesOf(scene, chosen));
    const std::vector<std::string> notes = NotesAbout(settings, root);
    WriteOutput(options.json ? JsonOf(settings, notes) : TextOf(settings, notes));
    FlushOutput();
    for (const RenderSettingFacts& setting : settings)
        if (!setting.problemText.empty()) PrintWarning("warning: " + WarningAbout(setting, scene));
    warnings.finish();
}

void RunSettings(const SettingsOptions& options) {
    if (!options.isKnown && options.scene.empty())
        throw std::runtime_error("SCENE is required, unless --known is given");
    if (!options.isKnown) return ReportScene(options);
    WriteOutput(options.json ? JsonOfKnown() : TextOfKnown());
    FlushOutput();
}

} // namespace

void AddSettingsCommand(CLI::App& app) {
    const auto options = std::make_shared<SettingsOptions>();
    CLI::App& command = *app.add_subcommand(
        "settings", "Print what renderers are told by render settings, and who tells it");
    CLI::Option* const scene = AddScene(command, options->scene);
    AddPictureOptions(command, options->chosen);
    AddQualityOptions(command, options->chosen, options->samples);
    command
        .add_option(
            "--renderer", options->chosen.renderer,
            std::string("The renderer that --samples, --max-depth and --exposure are for, \"") +
                kDefaultRenderer + "\" unless given")
        ->option_text("NAME");
    command.add_flag("--known", options->isKnown, "List the known settings instead of a scene's")
        ->excludes(scene);
    command.add_flag("--json", options->json, "Print a JSON object");
    AddStrict(command, options->isStrict);
    command.footer(kExamples);
    command.callback([options] { RunSettings(*options); });
}

} // namespace TellarTool
