#include "LocationSearch.h"

#include <utility>
#include <vector>

#include "text/SimilarNames.h"

namespace TellarOps {
namespace {

using OxLocationPath::Patterns;

constexpr std::string_view kRoot = "/root";

bool IsPlainPath(std::string_view glob) {
    return glob.find_first_of("*?[") == std::string_view::npos;
}

/// Searches only below locations that lead to a match.
bool IsMatched(CheckContext& context, const std::string& glob) {
    if (IsPlainPath(glob)) return context.input(0, glob).doesLocationExist();
    const Patterns pattern({glob});
    std::vector<std::string> open{std::string(kRoot)};
    while (!open.empty()) {
        const std::string path = std::move(open.back());
        open.pop_back();
        const LocationData location = context.input(0, path);
        if (!location.doesLocationExist()) continue;
        if (pattern.matches(path)) return true;
        if (!pattern.mayMatchBelow(path)) continue;
        for (const std::string_view name : location.getPotentialChildren().getNearestSample(0.0f))
            open.push_back(path + '/' + std::string(name));
    }
    return false;
}

} // namespace

void WarnOfUnmatchedGlobs(CheckContext& context, std::string_view argument) {
    if (!context.inputOp(0)) return;
    const GroupAttribute& args = context.args();
    const StringAttribute globs(args.getChildByIndex(args.findChild(argument)));
    for (const std::string_view view : globs.getNearestSample(0.0f)) {
        const std::string glob(view);
        if (IsMatched(context, glob)) continue;
        context.warnOf(OxOpType::WarningKind::DeadGlob,
                       '"' + glob + "\" matches no location" +
                           (IsPlainPath(glob) ? HintAboutPath(context, glob) : std::string()));
    }
}

void WarnOfMissingSources(CheckContext& context, const PathTable& sources, const PathTable& made) {
    if (!context.inputOp(0)) return;
    for (std::uint32_t index = 0; index < sources.size(); ++index) {
        const std::string path(sources[index]);
        const bool isRepeated = sources.find(path) != index;
        if (made.leadsTo(path) || made.findTopmost(path) != PathTable::kNone) continue;
        if (isRepeated || context.input(0, path).doesLocationExist()) continue;
        context.warnOf(OxOpType::WarningKind::DeadGlob,
                       "the source \"" + path + "\" does not exist" + HintAboutPath(context, path));
    }
}

std::string HintAboutPath(CheckContext& context, std::string_view path) {
    LocationData parent;
    std::size_t end = 0; // length of the parent's path
    for (;;) {
        const std::size_t next = path.find('/', end + 1);
        LocationData location = context.input(0, std::string(path.substr(0, next)));
        if (!location.doesLocationExist()) break;
        if (next == std::string_view::npos) return {};
        parent = std::move(location);
        end = next;
    }
    std::vector<std::string> names;
    for (const std::string_view name : parent.getPotentialChildren().getNearestSample(0.0f))
        names.emplace_back(name);
    const std::size_t begin = end + 1;
    const std::string_view missing = path.substr(begin, path.find('/', begin) - begin);
    std::vector<std::string> paths = TellarInternal::SimilarNames(names, missing);
    for (std::string& similar : paths)
        similar.insert(0, path.substr(0, begin));
    return TellarInternal::MeantQuestion(paths);
}

} // namespace TellarOps
