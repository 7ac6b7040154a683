#include "ChangeLines.h"

#include "PrintableText.h"

namespace TellarTool {

namespace {

using TELLAR::SceneChange;

struct MaskName {
    std::uint32_t mask;
    const char* name;
};

constexpr MaskName kMaskNames[] = {
    {TELLAR::kTransformChanged, "transform"}, {TELLAR::kGeometryChanged, "geometry"},
    {TELLAR::kTopologyChanged, "topology"},   {TELLAR::kMaterialChanged, "material"},
    {TELLAR::kVisibilityChanged, "visible"},  {TELLAR::kSettingsChanged, "settings"},
    {TELLAR::kTypeChanged, "type"},           {TELLAR::kChildrenChanged, "order of children"},
};

void Append(std::string& list, const std::string& item) {
    list += (list.empty() ? "" : ", ") + item;
}

/// The parts of a location that differ.
std::string PartsOf(const SceneChange& change) {
    if (change.newError) return "cannot be cooked";
    if (change.oldError) return "can be cooked again";
    std::string parts;
    for (const MaskName& one : kMaskNames)
        if ((change.mask & one.mask) != 0) Append(parts, one.name);
    for (const std::string& attribute : change.attributes)
        Append(parts, attribute);
    return parts;
}

std::string LineOf(const SceneChange& change) {
    std::string line = change.kind == SceneChange::Removed ? "removed "
                       : change.kind == SceneChange::Added ? "added "
                                                           : "changed ";
    AppendPrintable(line, change.path);
    if (change.kind != SceneChange::Changed) return line;
    std::string parts;
    AppendPrintable(parts, PartsOf(change));
    return line + " (" + parts + ')';
}

} // namespace

std::vector<std::string> LinesOf(const TELLAR::SceneChanges& changes, std::size_t most) {
    std::vector<std::string> lines;
    for (std::size_t i = 0; i < changes.size() && i < most; ++i)
        lines.push_back(LineOf(changes[i]));
    if (changes.size() > most)
        lines.push_back("and " + std::to_string(changes.size() - most) + " more");
    return lines;
}

} // namespace TellarTool
