#include "Subcommands.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/ProceduralArguments.h>
#include <OxTellarSDK/Attribute.h>

#include "Choice.h"
#include "Output.h"
#include "RequiredGroup.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneSettings.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;
using TELLAR::ProceduralOutputContextInfo;

constexpr const char* kExamples = R"(Examples:
  tellar procedural shot.oxop --at /root/world/fur --frame 12
  tellar procedural shot.oxop --at /root/world/fur --form attributes)";

struct ProceduralOptions {
    std::string scene;
    std::string location;
    std::string form = "classic";
    std::int32_t frame = 1;
    std::string attribute = "rendererProcedural";
};

ProceduralOutputContextInfo ReadContext(const Scene& scene, const GeometryProducer::Ptr& root,
                                        std::int32_t frame) {
    ProceduralOutputContextInfo context;
    context.frame = frame;
    const Shutter shutter = ReadShutter(scene, root);
    context.shutterOpen = shutter.open;
    context.shutterClose = shutter.close;
    const std::array<float, 4> window = ReadCropWindow(scene, root);
    std::copy(window.begin(), window.end(), context.cropWindow);
    const Resolution resolution = ReadResolution(root);
    context.xres = resolution.width;
    context.yres = resolution.height;
    return context;
}

void Warn(const std::string& message, boost::intrusive_ptr<GeometryProducer>) {
    WriteErrorLine("warning: " + message);
}

void RunProcedural(const ProceduralOptions& options) {
    CheckLocationPath("--at", options.location);
    const Scene scene(options.scene);
    const GeometryProducer::Ptr location = scene.at(options.location);
    const GroupAttribute procedural =
        RequiredGroup(scene, *location, options.attribute, Inheritance::None);
    ProceduralOutputContextInfo context =
        ReadContext(scene, location->getRootProducer(), options.frame);
    const auto build = options.form == "classic"
                           ? TELLAR::BuildClassicProceduralArgumentsString
                           : TELLAR::BuildScenegraphAttrProceduralArgumentsString;
    std::string arguments = build(location, context, procedural, Warn);
    if (arguments.back() != '\n') arguments += '\n'; // the XML form has it already
    WriteOutput(arguments);
    FlushOutput();
}

} // namespace

void AddProceduralCommand(CLI::App& app) {
    const auto options = std::make_shared<ProceduralOptions>();
    CLI::App& command =
        *app.add_subcommand("procedural", "Print what the procedural at a location is told");
    AddScene(command, options->scene)->required();
    AddLocation(command, options->location, "The location of the procedural");
    command
        .add_option("--form", options->form,
                    "Flags of a command line (classic, the default) or XML (attributes)")
        ->check(Choice({"classic", "attributes"}))
        ->option_text("FORM");
    command.add_option("--frame", options->frame, "The frame, 1 unless given")->option_text("N");
    command
        .add_option("--attr", options->attribute,
                    "The group that describes the procedural; \"rendererProcedural\" unless given")
        ->option_text("NAME");
    command.footer(kExamples);
    command.callback([options] { RunProcedural(*options); });
}

} // namespace TellarTool
