#include <OxTellarProducers/ProceduralArguments.h>

#include <string_view>
#include <utility>
#include <vector>

#include <OxAssetHost/OxAssetPluginManager.h>
#include <OxTellarSDK/StringUtil.h>

#include "Lens.h"
#include "ProceduralCamera.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Child = GroupAttribute::Child;

std::vector<Child> ChildrenOf(const GroupAttribute& group) {
    std::vector<Child> children;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        children.emplace_back(group.getChildName(i), group.getChildByIndex(i));
    return children;
}

/// Resolves the asset references in arguments. Texts that cannot be resolved stay as they are.
class ArgumentResolver {
public:
    explicit ArgumentResolver(int frame)
        : frame(frame), assets(OxAssetPluginManager::getDefaultAssetPlugin()) {}

    /// Leaves out the children whose names begin with "__".
    GroupAttribute resolve(const GroupAttribute& group) const {
        if (!group.isValid()) return group;
        std::vector<Child> children;
        for (Child& child : ChildrenOf(group)) {
            if (OxStringUtil::startswith(child.first, "__")) continue;
            children.emplace_back(std::move(child.first), resolveChild(child.second));
        }
        return {children, true};
    }

private:
    Attribute resolveChild(const Attribute& child) const {
        if (child.getType() == kAttributeTypeGroup) return resolve(GroupAttribute(child));
        if (child.getType() == kAttributeTypeString) return resolveTexts(StringAttribute(child));
        return child;
    }

    /// Keeps only the sample nearest to time 0.
    StringAttribute resolveTexts(const StringAttribute& texts) const {
        std::vector<std::string> resolved;
        for (const std::string_view text : texts.getNearestSample(0.0f))
            resolved.push_back(resolveText(std::string(text)));
        return {resolved, texts.getTupleSize()};
    }

    std::string resolveText(const std::string& text) const {
        try {
            return assets->resolvePath(text, frame, false);
        } catch (...) {
            return text;
        }
    }

    const int frame;
    const std::shared_ptr<const OxAssetPlugin> assets;
};

void AppendCamera(const CameraInfo& camera, const std::string& path,
                  const ProceduralOutputContextInfo& context, std::vector<Child>& arguments) {
    const std::string prefix = kCameraPrefix;
    arguments.emplace_back(prefix + "path", StringAttribute(path));
    for (const LensField& field : kLensFields)
        arguments.emplace_back(prefix + field.name, FloatAttribute(camera.*field.member));
    arguments.emplace_back(prefix + "xform", CameraXform(camera));
    arguments.emplace_back(prefix + "xres", IntAttribute(context.xres));
    arguments.emplace_back(prefix + "yres", IntAttribute(context.yres));
}

} // namespace

std::string BuildScenegraphAttrProceduralArgumentsString(GeometryProducer::Ptr producer,
                                                         ProceduralOutputContextInfo& context,
                                                         GroupAttribute procedural,
                                                         ProceduralErrorCallback) {
    const ArgumentResolver resolver(context.frame);
    std::vector<Child> arguments = ChildrenOf(resolver.resolve(procedural.getChildByName("args")));
    for (Child& child : ChildrenOf(procedural.getChildByName("systemArgs")))
        arguments.push_back(std::move(child));

    arguments.emplace_back("frame", FloatAttribute(static_cast<float>(context.frame)));
    arguments.emplace_back("shutter",
                           FloatAttribute({context.shutterOpen, context.shutterClose}, 1));
    arguments.emplace_back("cropwindow", FloatAttribute(context.cropWindow, 4, 1));
    std::string cameraPath;
    if (const auto camera = FindParameterCamera(producer, procedural, cameraPath))
        AppendCamera(*camera, cameraPath, context, arguments);
    arguments.emplace_back("ombraFullName",
                           StringAttribute(producer ? producer->getFullName() : ""));
    return GroupAttribute(arguments, false).getXML();
}

} // namespace TELLAR
