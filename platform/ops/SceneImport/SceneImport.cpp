#include "SceneImport.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/AttributeDifference.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/TextureReferences.h>

#include "../BuiltinOp.h"
#include "../ChildNames.h"
#include "ImportState.h"
#include "SceneFile.h"
#include "facts/DescribeImport.h"
#include "images/ImageCache.h"
#include "images/ProcessImages.h"

namespace TellarSceneImport {

namespace {

using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::StringAttribute;
using OxLocationPath::IsSelfOrBelow;
using OxLocationPath::LocationSet;
using OxOpType::CookContext;
using TellarOps::ArgReader;

std::string AbsolutePath(const std::string& file, const std::string& directory) {
    const std::filesystem::path path = std::filesystem::path(directory) / file;
    return std::filesystem::absolute(path).lexically_normal().string();
}

double RequireFinite(std::string_view name, double value) {
    if (!std::isfinite(value)) TellarOps::ThrowArgumentError(name, "must be finite");
    return value;
}

// The argument "upAxis" as a letter; 0 for the axis of the format.
char ReadUpAxis(const ArgReader& args) {
    const std::string axis = args.string("upAxis", "");
    if (axis.empty()) return 0;
    if (axis != "x" && axis != "y" && axis != "z")
        TellarOps::ThrowArgumentError("upAxis", "must be \"x\", \"y\" or \"z\"");
    return axis[0];
}

ReadOptions ReadReadOptions(const ArgReader& args) {
    ReadOptions options;
    options.scene = args.string("scene", "");
    options.animation = args.string("animation", kFirstAnimation);
    options.variant = args.string("variant", "");
    options.convertUnits = args.flag("convertUnits", true);
    options.upAxis = ReadUpAxis(args);
    return options;
}

FrameClock ReadClock(const ArgReader& args) {
    FrameClock clock;
    clock.framesPerSecond =
        RequireFinite("framesPerSecond", args.doubles("framesPerSecond", 1, {24.0})[0]);
    if (clock.framesPerSecond <= 0.0)
        TellarOps::ThrowArgumentError("framesPerSecond", "must be above 0");
    clock.frame = RequireFinite("frame", args.doubles("frame", 1, {0.0})[0]);
    return clock;
}

Settings ReadSettings(const ArgReader& args) {
    Settings settings;
    const std::string file = args.requiredString("file");
    if (file.empty()) TellarOps::ThrowArgumentError("file", "must not be empty");
    settings.file = AbsolutePath(file, args.string("directory", ""));
    settings.location = args.location("location", "/root/world");
    settings.materialLocation = args.location("materialLocation", "/root/materials");
    if (IsSelfOrBelow(settings.location, settings.materialLocation))
        TellarOps::ThrowArgumentError("materialLocation", "must not hold the scene's location");
    settings.listFiles = args.flag("listFiles", false);
    args.string("version", ""); // part of the Op's identity alone
    settings.options = ReadReadOptions(args);
    settings.clock = ReadClock(args);
    return settings;
}

// All locations of the scene file, without their ancestors.
LocationSet LocationsOf(const Settings& settings) {
    return LocationSet::subtrees({settings.location, settings.materialLocation});
}

LocationSet AncestorsOf(const Settings& settings) {
    return LocationSet::unionOf({LocationSet::ancestorsOf(settings.location),
                                 LocationSet::ancestorsOf(settings.materialLocation)});
}

// Materials do not move, so other times concern the nodes alone.
bool IsArgumentOfTime(const std::string& name) {
    return name == "frame" || name == "framesPerSecond";
}

void Present(CookContext& context, const GroupAttribute& attrs, const StringAttribute& children) {
    context.setAttrs(attrs);
    context.setPotentialChildren(children);
}

void AssignMaterial(const Settings& settings, const ContentMaterial& material,
                    GroupBuilder& attrs) {
    attrs.set("materialAssign", StringAttribute(settings.materialLocation + "/" + material.name));
    attrs.set("material", material.network);
}

void CookNode(CookContext& context, const Settings& settings, const Scene& scene,
              const SceneNode& node) {
    if (!node.motion && node.material < 0) {
        Present(context, node.attrs, node.childNames);
        return;
    }
    GroupBuilder attrs;
    attrs.update(node.attrs);
    if (node.motion) node.motion->apply(settings.clock, attrs);
    if (node.material >= 0) AssignMaterial(settings, scene.material(node.material), attrs);
    Present(context, attrs.build(), node.childNames);
}

void CookMaterial(CookContext& context, const Settings& settings, const Scene& scene) {
    const std::string& path = context.path();
    if (path == settings.materialLocation) {
        Present(context, TellarOps::PlainGroupAttrs(), scene.materialNames());
        return;
    }
    const ContentMaterial* material =
        scene.findMaterial(std::string_view(path).substr(settings.materialLocation.size() + 1));
    if (!material) return;
    GroupBuilder attrs;
    attrs.set("type", StringAttribute("material"));
    attrs.set("material", material->network);
    context.setAttrs(attrs.build());
}

// The location of the scene, with the child that leads to materials below it.
void CookLocation(CookContext& context, const Settings& settings, const Scene& scene) {
    Present(context, TellarOps::PlainGroupAttrs(), NamesOfLocation(settings, scene));
}

void CookAncestor(CookContext& context, const Settings& settings) {
    Present(context, TellarOps::PlainGroupAttrs(), NamesOfAncestor(settings, context.path()));
}

// Cooks a location of the scene or of its materials.
void CookPart(CookContext& context, const Settings& settings, const Scene& scene) {
    const std::string& path = context.path();
    if (IsSelfOrBelow(path, settings.materialLocation))
        CookMaterial(context, settings, scene);
    else if (path == settings.location)
        CookLocation(context, settings, scene);
    else if (IsAncestor(settings, path))
        CookAncestor(context, settings);
    else if (const auto* node =
                 scene.findNode(std::string_view(path).substr(settings.location.size() + 1)))
        CookNode(context, settings, scene, *node);
}

// Presents the list of the scene's files instead of its content.
void CookFileList(CookContext& context, const SceneFile& file) {
    const FileList list = file.listFiles();
    GroupBuilder attrs;
    attrs.update(TellarOps::PlainGroupAttrs());
    attrs.set("sceneFiles.paths", StringAttribute(list.paths, 1));
    attrs.set("sceneFiles.failure", StringAttribute(list.failure));
    std::vector<std::string> imageFolders = {ImageCacheFolder()};
    if (const std::string folder = ProcessImageFolder(); !folder.empty())
        imageFolders.push_back(folder);
    attrs.set("sceneFiles.imageCache", StringAttribute(imageFolders, 1));
    context.setAttrs(attrs.build());
}

// Warns once of each missing file, however many nodes use it.
void WarnOfMissingTextures(OxOpType::CheckContext& context, const Scene& scene) {
    std::set<std::string> warned;
    for (const std::string_view name : scene.materialNames().getNearestSample(0.0f)) {
        GroupBuilder attrs;
        attrs.set("material", scene.findMaterial(name)->network);
        for (const OxAttribute::TextureReference& texture : FindTextures(attrs.build()))
            if (OxAttribute::IsMissingTexture(texture.file) && warned.insert(texture.file).second)
                context.warn("the texture \"" + texture.file + "\" of the material \"" +
                                 std::string(name) + "\" does not exist",
                             texture.file);
    }
}

class SceneImport final : public TellarOps::BuiltinOp {
public:
    SceneImport()
        : BuiltinOp(
              {"SceneImport",
               1,
               "Presents a scene file: its nodes, meshes, cameras, lights, materials and "
               "animation. Reads glTF 2, OBJ, PLY, FBX, Collada and more.",
               {{"file", "string", "The scene file. Required."},
                {"directory", "string",
                 "What a relative \"file\" is relative to. Default: the working directory."},
                {"location", "string",
                 "The location that holds the scene's root node. Default: "
                 "\"/root/world\"."},
                {"materialLocation", "string",
                 "The location that holds the materials; it must not hold \"location\". "
                 "Default: \"/root/materials\"."},
                {"scene", "string",
                 "The scene of a glTF file, by name or index. Default: the one that the file "
                 "shows."},
                {"animation", "string",
                 "The animation of the file, by name or index; \"none\" for the pose without "
                 "one. Default: \"first\"."},
                {"variant", "string",
                 "The set of materials of a glTF file, by name. Default: the usual ones."},
                {"convertUnits", "int",
                 "0 leaves the axes and units of an FBX file as they are. Default: 1, +Y up "
                 "and metres."},
                {"upAxis", "string",
                 "The axis that points up: \"x\", \"y\" or \"z\"; it is turned to +Y. Default: "
                 "\"z\" for STL and 3MF files, otherwise \"y\"."},
                {"framesPerSecond", "double",
                 "How many frames a second of the file's animation takes. Default: 24."},
                {"frame", "double",
                 "The frame to which the times of samples are relative. Default: 0."},
                {"listFiles", "int",
                 "1 presents, at \"location\", the files that the scene file is made of instead "
                 "of its content. Default: 0."},
                {"version", "string",
                 "Any text. An Op with another one reads the scene file again, while the others "
                 "keep what they have read. Default: none."}},
               "none"},
              TellarOps::Inputs::None) {}

    void cook(CookContext& context) const override {
        const auto& state = TellarOps::StateOf<ImportState>(context);
        const Settings& settings = state.settings;
        const std::string& path = context.path();
        if (!IsSelfOrBelow(path, settings.materialLocation) &&
            !IsSelfOrBelow(path, settings.location)) {
            if (IsAncestor(settings, path)) CookAncestor(context, settings);
            return;
        }
        const auto file = state.file(context.isFresh());
        if (settings.listFiles && path == settings.location) return CookFileList(context, *file);
        const Scene& scene = state.sceneOf(*file);
        CheckNames(settings, scene);
        CookPart(context, settings, scene);
    }

    void check(OxOpType::CheckContext& context) const override {
        const auto& state = TellarOps::StateOf<ImportState>(context);
        const auto file = state.file(false);
        WarnOfMissingTextures(context, state.sceneOf(*file));
    }

    LocationSet touchedBy(const GroupAttribute& before,
                          const GroupAttribute& after) const override {
        std::vector<Settings> settings;
        for (const GroupAttribute* const args : {&before, &after})
            if (args->isValid()) settings.push_back(ReadSettings(ArgReader(description(), *args)));
        const bool isInPlace = settings.size() == 2 &&
                               settings[0].location == settings[1].location &&
                               settings[0].materialLocation == settings[1].materialLocation;
        LocationSet touched;
        for (const Settings& each : settings) {
            touched.add(LocationsOf(each));
            if (!isInPlace) touched.add(AncestorsOf(each));
        }
        const std::vector<std::string> names = OxAttribute::DifferingChildren(before, after);
        if (isInPlace && std::all_of(names.begin(), names.end(), IsArgumentOfTime))
            return LocationSet::subtrees({settings[0].location});
        return touched;
    }

    OxOpType::SubtreeFacts describeSubtree(OxOpType::SubtreeContext& context) const override {
        return DescribeImport(context, TellarOps::StateOf<ImportState>(context));
    }

    std::shared_ptr<const OxOpType::Instances>
    describeInstances(OxOpType::InstanceContext& context) const override {
        return DescribeImportedInstances(context, TellarOps::StateOf<ImportState>(context));
    }

protected:
    std::shared_ptr<const OxOpType::State> parse(const ArgReader& args) const override {
        return std::make_shared<ImportState>(ReadSettings(args));
    }
};

} // namespace

const OxOpType::OpType* SceneImportOpType() {
    static const auto* type = new SceneImport;
    return type;
}

} // namespace TellarSceneImport
