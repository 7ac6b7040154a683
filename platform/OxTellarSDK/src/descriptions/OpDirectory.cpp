#include "OpDirectory.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/DescriptionFolder.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TextureReferences.h>

#include "NamingFile.h"

namespace OxAttribute {

namespace {

bool TakesDirectory(const std::string& opType) {
    const OxOpType::Description* type = OxOpType::FindDescription(opType);
    if (!type) return false;
    const auto& arguments = type->arguments;
    return std::any_of(arguments.begin(), arguments.end(), [](const OxOpType::Argument& argument) {
        return argument.name == "directory";
    });
}

/// The text of an argument; empty if there is no such text.
std::string_view TextAt(const GroupAttribute& group, std::string_view name) {
    const StringAttribute text(group.getChildByIndex(group.findChild(name)));
    return text.getNumberOfValues() > 0 ? text.getValueView() : std::string_view();
}

GroupAttribute SetDirectory(const GroupAttribute& args, const std::string& directory) {
    GroupBuilder builder(BuilderModeStrict);
    builder.setGroupInherit(args.getGroupInherit());
    builder.update(args);
    builder.set("directory", StringAttribute(directory));
    return builder.build();
}

bool HasRelativeTexture(const GroupAttribute& attrs) {
    const std::vector<TextureReference> textures = FindTextures(attrs);
    return std::any_of(textures.begin(), textures.end(), [](const TextureReference& texture) {
        return IsRelativeFile(texture.file);
    });
}

/// Whether attributes inside of the arguments contain a relative texture. The op type StaticScene
/// has attributes in its location groups "a" and "c", AttributeEdit has them in "set".
bool HoldsRelativeTexture(const GroupAttribute& args) {
    if (HasRelativeTexture(args.getChildByIndex(args.findChild("set")))) return true;
    std::vector<GroupAttribute> open{args};
    while (!open.empty()) {
        const GroupAttribute location = std::move(open.back());
        open.pop_back();
        if (HasRelativeTexture(location.getChildByIndex(location.findChild("a", 0)))) return true;
        const GroupAttribute children(location.getChildByIndex(location.findChild("c", 1)));
        for (std::int64_t i = 0; i < children.getNumberOfChildren(); ++i)
            open.emplace_back(children.getChildByIndex(i));
    }
    return false;
}

/// Whether the op type takes a "directory" and the arguments have a relative one.
bool HasRelativeDirectory(const GroupAttribute& args, const std::string& opType) {
    return IsRelativeFile(TextAt(args, "directory")) && TakesDirectory(opType);
}

GroupAttribute WithAbsoluteDirectory(const GroupAttribute& args, const std::string& folder) {
    const std::filesystem::path path = std::filesystem::path(folder) / TextAt(args, "directory");
    // Joining "." to a folder would leave a slash at the end.
    return SetDirectory(args, (path / "").lexically_normal().parent_path().generic_string());
}

/// The group of an Op with its arguments replaced.
GroupAttribute WithArgs(const GroupAttribute& op, const GroupAttribute& args) {
    GroupBuilder parts(BuilderModeStrict);
    parts.setGroupInherit(op.getGroupInherit());
    parts.update(op);
    parts.set("opArgs", args);
    return parts.build();
}

} // namespace

GroupAttribute WithDirectory(const GroupAttribute& args, const std::string& opType,
                             const std::string& folder) {
    if (folder.empty()) return args;
    if (args.findChild("directory") >= 0)
        return HasRelativeDirectory(args, opType) ? WithAbsoluteDirectory(args, folder) : args;
    const bool needsOne = IsRelativeFile(TextAt(args, "file")) || HoldsRelativeTexture(args);
    return needsOne && TakesDirectory(opType) ? SetDirectory(args, folder) : args;
}

std::string FolderOfFile(const std::string& path) {
    std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (folder.empty()) folder = ".";
    return std::filesystem::canonical(folder).string();
}

GroupAttribute WithFolderOfFile(const GroupAttribute& description, const std::string& path) {
    std::string folder; // computed on first use
    std::vector<GroupAttribute::Child> ops;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        Attribute op = description.getChildByIndex(i);
        const GroupAttribute group(op);
        const GroupAttribute args(group.getChildByIndex(group.findChild("opArgs")));
        if (HasRelativeDirectory(args, std::string(TextAt(group, "opType")))) {
            if (folder.empty()) folder = NamingFile(path, [&] { return FolderOfFile(path); });
            op = WithArgs(group, WithAbsoluteDirectory(args, folder));
        }
        ops.emplace_back(description.getChildName(i), op);
    }
    return folder.empty() ? description : GroupAttribute(ops, description.getGroupInherit());
}

} // namespace OxAttribute
