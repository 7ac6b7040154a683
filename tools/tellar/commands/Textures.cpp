#include "Subcommands.h"

#include <cstdint>
#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/ConvertTextures.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "AttributeText.h"
#include "Output.h"
#include "RequiredGroup.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneWarnings.h"
#include "Table.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;

constexpr const char* kExamples = R"(Examples:
  tellar textures examples/materials.json --at /root/world/mosaic
  tellar textures shot.oxop --at /root/world/hero --attr lookTextures --json)";

struct TexturesOptions {
    std::string scene;
    std::string location;
    std::string attribute = "textures";
    bool json = false;
    bool isStrict = false;
};

/// A line for each texture that could be converted, in their order.
std::string TextOf(const GroupAttribute& textures, const GroupAttribute& converted) {
    Table rows;
    for (std::int64_t i = 0; i < textures.getNumberOfChildren(); ++i) {
        const std::string name = textures.getChildName(i);
        const GroupAttribute texture(converted.getChildByName(name));
        if (!texture.isValid()) continue;
        const StringAttribute scope(texture.getChildByName("scope"));
        const IntAttribute index(texture.getChildByName("index"));
        const Attribute value = texture.getChildByName(index.isValid() ? "indexedValue" : "value");
        rows.push_back({name, scope.getValue("", false), DescribeValue(value)});
        if (index.isValid())
            rows.back().push_back("by " + std::to_string(index.getNumberOfValues()) + " indices");
    }
    if (rows.empty()) return "none\n";
    std::string out;
    AppendTable(out, rows);
    return out;
}

void RunTextures(const TexturesOptions& options) {
    CheckLocationPath("--at", options.location);
    SceneWarnings warnings(options.isStrict);
    const Scene scene(options.scene);
    if (options.isStrict) warnings.check(scene);
    const GeometryProducer::Ptr location = scene.at(options.location);
    const GroupAttribute textures =
        RequiredGroup(scene, *location, options.attribute, Inheritance::FromAncestors);
    const GroupAttribute converted(TELLAR::ConvertTexturesToArbitraryAttr(textures));
    warnings.finish();
    WriteOutput(options.json ? WriteAttributeJson(converted) + '\n' : TextOf(textures, converted));
    FlushOutput();
}

} // namespace

void AddTexturesCommand(CLI::App& app) {
    const auto options = std::make_shared<TexturesOptions>();
    CLI::App& command =
        *app.add_subcommand("textures", "Print the textures of a location as renderers get them");
    AddScene(command, options->scene)->required();
    AddLocation(command, options->location, "The location");
    command
        .add_option("--attr", options->attribute,
                    "The group of textures, the location's or inherited; \"textures\" unless given")
        ->option_text("NAME");
    command.add_flag("--json", options->json, "Print the group as JSON");
    AddStrict(command, options->isStrict);
    command.footer(kExamples);
    command.callback([options] { RunTextures(*options); });
}

} // namespace TellarTool
