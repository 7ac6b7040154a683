#include <OxTellarProducers/ProceduralArguments.h>

#include <locale>
#include <sstream>
#include <string_view>
#include <vector>

#include <OxAssetHost/OxAssetPluginManager.h>
#include <OxTellarSDK/StringUtil.h>

#include "Lens.h"
#include "RenderSettings.h"

using namespace OxAttribute;

namespace TELLAR {

using Context = ProceduralOutputContextInfo;
using Producer = GeometryProducer::Ptr;

namespace {

/// Arguments by name, in the order in which they are passed. A name may occur twice.
using Arguments = std::vector<GroupAttribute::Child>;

void AppendChildren(const GroupAttribute& group, Arguments& arguments) {
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        arguments.emplace_back(group.getChildName(i), group.getChildByIndex(i));
}

void AppendContext(const Context& context, const Attribute& frame, Arguments& arguments) {
    arguments.emplace_back("frame", frame);
    arguments.emplace_back("shutter",
                           FloatAttribute({context.shutterOpen, context.shutterClose}, 1));
    arguments.emplace_back("cropwindow", FloatAttribute(context.cropWindow, 4, 1));
}

/// Appends the camera that the procedural's group wants as parameters. False when it wants none,
/// or there is none.
bool AppendCamera(const Producer& producer, const GroupAttribute& procedural,
                  Arguments& arguments) {
    const StringAttribute include(procedural.getChildByName("includeCameraInfo"));
    if (include.getValueView() != "As Parameters" || !producer) return false;
    const GroupAttribute options(procedural.getChildByName("cameraInfo"));
    const StringAttribute which(options.getChildByName("whichCamera"));
    const Producer root = producer->getRootProducer();
    const std::string path =
        which.getValueView() == "Other Camera"
            ? StringAttribute(options.getChildByName("cameraPath")).getValue("", false)
            : RenderCameraPath(root);
    const auto camera = path.empty() ? nullptr : GetCameraInfo(root, path);
    if (!camera) return false;
    arguments.emplace_back("cameraInfo_path", StringAttribute(path));
    for (const LensField& field : kLensFields)
        arguments.emplace_back(std::string("cameraInfo_") + field.name,
                               FloatAttribute((*camera).*field.member));
    const Imath::M44f xform(camera->xform);
    arguments.emplace_back("cameraInfo_xform", FloatAttribute(xform.getValue(), 16, 16));
    return true;
}

/// The texts of the sample nearest to time 0, resolved as asset references. A text that cannot be
/// resolved stays as it is, and is passed to `onFailure`.
template <typename OnFailure>
StringAttribute Resolve(const StringAttribute& texts, int frame, bool mustResolve,
                        OnFailure onFailure) {
    const auto assets = OxAssetPluginManager::getDefaultAssetPlugin();
    std::vector<std::string> resolved;
    for (const std::string_view text : texts.getNearestSample(0.0f)) {
        std::string& result = resolved.emplace_back(text);
        try {
            result = assets->resolvePath(result, frame, mustResolve);
        } catch (...) {
            onFailure(result);
        }
    }
    return {resolved, texts.getTupleSize()};
}

/// Resolves the texts at every level, and leaves out the children whose names begin with "__".
GroupAttribute ResolveGroup(const GroupAttribute& group, int frame) {
    if (!group.isValid()) return group;
    Arguments children;
    AppendChildren(group, children);
    for (auto& [name, child] : children) {
        if (OxStringUtil::startswith(name, "__"))
            child = {}; // groups leave out invalid children
        else if (child.getType() == kAttributeTypeGroup)
            child = ResolveGroup(child, frame);
        else if (child.getType() == kAttributeTypeString)
            child = Resolve(child, frame, false, [](const std::string&) {});
    }
    return {children, true};
}

/// Whether the first text of an argument is whole arguments as the user typed them.
bool IsExtra(std::string_view name, const Attribute& argument) {
    return argument.getType() == kAttributeTypeString &&
           OxStringUtil::startswith(name, "extraArgs");
}

/// Writes " -name value value", and several texts in quotes.
template <typename Data>
void WriteValues(std::string_view name, const Data& argument, std::ostream& out) {
    const auto values = argument.getNearestSample(0.0f);
    if (values.empty()) return;
    const bool isQuoted = argument.getType() == kAttributeTypeString && values.size() > 1;
    const char* separator = isQuoted ? " '" : " ";
    out << " -" << name;
    for (const auto value : values) {
        out << separator << value;
        separator = " ";
    }
    if (isQuoted) out << '\'';
}

void WriteArgument(std::string_view name, const Attribute& argument, std::ostream& out) {
    if (IsExtra(name, argument)) {
        for (const auto text : StringAttribute(argument).getNearestSample(0.0f))
            out << ' ' << text << ' ';
        return;
    }
    // All but the one of the argument's type are invalid and have no values.
    WriteValues(name, IntAttribute(argument), out);
    WriteValues(name, FloatAttribute(argument), out);
    WriteValues(name, DoubleAttribute(argument), out);
    WriteValues(name, StringAttribute(argument), out);
}

} // namespace

Context::ProceduralOutputContextInfo() = default;
Context::ProceduralOutputContextInfo(const Context& other) = default;
Context::ProceduralOutputContextInfo(Context&& other) noexcept = default;
Context& Context::operator=(const Context& other) = default;
Context& Context::operator=(Context&& other) noexcept = default;

std::string BuildClassicProceduralArgumentsString(Producer producer, Context& context,
                                                  GroupAttribute procedural,
                                                  ProceduralErrorCallback callback) {
    Arguments arguments;
    AppendChildren(procedural.getChildByName("args"), arguments);
    AppendChildren(procedural.getChildByName("systemArgs"), arguments);
    for (auto& [name, argument] : arguments) {
        StringAttribute texts(argument);
        if (!texts.isValid()) continue;
        const bool isExtra = IsExtra(name, argument);
        if (isExtra && texts.getNumberOfValues() > 1) texts = StringAttribute(texts.getValueView());
        argument = Resolve(texts, context.frame, true, [&](const std::string& text) {
            if (!callback) return;
            callback(isExtra ? "asset resolve failed on '" + text + "' when building an procedural."
                             : "asset resolve failed on  '" + text +
                                   "' when building an procedural call.",
                     producer);
        });
    }
    AppendCamera(producer, procedural, arguments);
    AppendContext(context, IntAttribute(context.frame), arguments);

    std::ostringstream out;
    out.imbue(std::locale::classic());
    out.exceptions(std::ios::badbit); // thrown when there is no memory for a part of the text
    for (const auto& [name, argument] : arguments)
        WriteArgument(name, argument, out);
    return out.str();
}

std::string BuildScenegraphAttrProceduralArgumentsString(Producer producer, Context& context,
                                                         GroupAttribute procedural,
                                                         ProceduralErrorCallback) {
    Arguments arguments;
    AppendChildren(ResolveGroup(procedural.getChildByName("args"), context.frame), arguments);
    AppendChildren(procedural.getChildByName("systemArgs"), arguments);
    AppendContext(context, FloatAttribute(static_cast<float>(context.frame)), arguments);
    if (AppendCamera(producer, procedural, arguments)) {
        arguments.emplace_back("cameraInfo_xres", IntAttribute(context.xres));
        arguments.emplace_back("cameraInfo_yres", IntAttribute(context.yres));
    }
    arguments.emplace_back("ombraFullName",
                           StringAttribute(producer ? producer->getFullName() : ""));
    return GroupAttribute(arguments, false).getXML();
}

} // namespace TELLAR
