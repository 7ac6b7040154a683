#include "PortableFiles.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TextureReferences.h>

namespace TellarTool {

namespace {

using namespace OxAttribute;
namespace fs = std::filesystem;

std::string TextAt(const GroupAttribute& group, std::string_view name) {
    return StringAttribute(group.getChildByIndex(group.findChild(name))).getValue("", false);
}

bool TakesDirectory(const std::string& opType) {
    const OxOpType::Description* const type = OxOpType::FindDescription(opType);
    return type && std::any_of(type->arguments.begin(), type->arguments.end(),
                               [](const auto& argument) { return argument.name == "directory"; });
}

/// The arguments of an Op with an absolute "directory". In JSON its default is the folder of the
/// description.
GroupAttribute Portable(const GroupAttribute& args, const fs::path& folder, SceneKind kind) {
    const fs::path directory = TextAt(args, "directory");
    const std::string file = TextAt(args, "file");
    const fs::path relative = directory.lexically_normal().lexically_relative(folder);
    if (relative.empty()) return args; // it is on another drive
    GroupBuilder builder(BuilderModeStrict);
    builder.setGroupInherit(args.getGroupInherit());
    builder.update(args);
    const bool isJson = kind == SceneKind::Json;
    if (isJson && IsRelativeFile(file)) {
        builder.set("file", StringAttribute((relative / file).lexically_normal().generic_string()));
        builder.del("directory");
    } else if (isJson && relative == ".") {
        builder.del("directory");
    } else {
        builder.set("directory", StringAttribute(relative.generic_string()));
    }
    return builder.build();
}

GroupAttribute WithArgs(const GroupAttribute& op, const GroupAttribute& args) {
    GroupBuilder builder(BuilderModeStrict);
    builder.setGroupInherit(op.getGroupInherit());
    builder.update(op);
    builder.set("opArgs", args);
    return builder.build();
}

} // namespace

PortableDescription WithPortableFiles(const GroupAttribute& description, const std::string& folder,
                                      SceneKind kind) {
    PortableDescription result;
    std::vector<GroupAttribute::Child> ops;
    bool isChanged = false;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        GroupAttribute op(description.getChildByIndex(i));
        const GroupAttribute args(op.getChildByIndex(op.findChild("opArgs")));
        if (args.isValid() && TakesDirectory(TextAt(op, "opType"))) {
            if (fs::path(TextAt(args, "file")).is_absolute()) ++result.absoluteFiles;
            if (fs::path(TextAt(args, "directory")).is_absolute()) {
                op = WithArgs(op, Portable(args, folder, kind));
                isChanged = true;
            }
        }
        ops.emplace_back(description.getChildName(i), op);
    }
    result.description =
        isChanged ? GroupAttribute(ops, description.getGroupInherit()) : description;
    return result;
}

} // namespace TellarTool
