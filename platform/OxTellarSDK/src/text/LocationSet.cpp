#include <OxTellarSDK/LocationSet.h>

#include <algorithm>
#include <utility>

#include <OxTellarSDK/LocationPath.h>

#include "PatternLevels.h"

namespace OxLocationPath {

namespace {

// A set of this size takes some megabytes, and is as much as a comparison of two scenes should look
// up for each location.
constexpr std::size_t kMostPaths = 1 << 15;
constexpr std::size_t kMostPatterns = 1 << 10;

using Paths = std::vector<std::string>;
using PatternList = std::vector<PatternLevels>;

template <typename T>
void SortAndUnite(std::vector<T>& items) {
    std::sort(items.begin(), items.end());
    items.erase(std::unique(items.begin(), items.end()), items.end());
}

bool Has(const Paths& sorted, std::string_view path) {
    return std::binary_search(sorted.begin(), sorted.end(), path, std::less<>());
}

/// The first path below `path`, or where it would be. All paths below it lie side by side.
Paths::const_iterator FirstBelow(const Paths& sorted, std::string_view path) {
    const std::string prefix = std::string(path) + '/';
    return std::lower_bound(sorted.begin(), sorted.end(), prefix);
}

bool IsBelow(std::string_view path, std::string_view ancestor) {
    return path.size() > ancestor.size() && IsSelfOrBelow(path, ancestor);
}

bool HasBelow(const Paths& sorted, std::string_view path) {
    const auto first = FirstBelow(sorted, path);
    return first != sorted.end() && IsBelow(*first, path);
}

/// Adds the names of the children of `ancestor` that lead to the paths below it.
void AddChildren(const Paths& sorted, std::string_view ancestor, Paths& names) {
    for (auto path = FirstBelow(sorted, ancestor); path != sorted.end() && IsBelow(*path, ancestor);
         ++path) {
        std::string_view rest = std::string_view(*path).substr(ancestor.size());
        const std::string_view name = TakeLevel(rest);
        if (names.empty() || names.back() != name) names.emplace_back(name);
    }
}

bool HasSelfOrAncestor(const Paths& sorted, std::string_view path) {
    if (sorted.empty()) return false;
    for (; !path.empty(); path = Parent(path))
        if (Has(sorted, path)) return true;
    return false;
}

std::string_view CommonAncestor(std::string_view a, std::string_view b) {
    while (!IsSelfOrBelow(b, a))
        a = Parent(a);
    return a;
}

PatternLevels LevelsOfPath(std::string_view path) {
    PatternLevels levels;
    while (!path.empty())
        levels.push_back(EscapedLevel(TakeLevel(path)));
    return levels;
}

std::string PathOfNames(PatternLevels::const_iterator begin, PatternLevels::const_iterator end) {
    std::string path;
    for (auto level = begin; level != end; ++level)
        path += '/' + NameOfLevel(*level);
    return path;
}

std::string TextOf(const PatternLevels& levels) {
    std::string text;
    for (const std::string& level : levels)
        text += '/' + level;
    return text;
}

/// The ancestor of all matches of the pattern that its first levels name.
std::string NamedAncestor(const PatternLevels& levels) {
    const auto end = std::find_if(levels.begin(), levels.end(), IsGlob);
    return PathOfNames(levels.begin(), end);
}

} // namespace

/// Never changes once a set refers to it. `exact` and `subtrees` are sorted, and so are the
/// patterns, of which none matches a single path or a single subtree.
struct LocationSet::Content {
    bool isEverything = false;
    Paths exact;
    Paths subtrees;
    PatternList patterns;

    bool isEmpty() const {
        return !isEverything && exact.empty() && subtrees.empty() && patterns.empty();
    }

    void addSubtree(std::string path) {
        if (path.empty() || path == "/")
            isEverything = true;
        else
            subtrees.push_back(std::move(path));
    }

    /// Adds what the levels match, in its simplest form.
    void addLevels(PatternLevels levels) {
        const auto glob = std::find_if(levels.begin(), levels.end(), IsGlob);
        if (glob == levels.end())
            exact.push_back(PathOfNames(levels.begin(), levels.end()));
        else if (*glob == kAnyLevels && glob + 1 == levels.end())
            addSubtree(PathOfNames(levels.begin(), glob));
        else
            patterns.push_back(std::move(levels));
    }

    void add(const Content& other) {
        isEverything = isEverything || other.isEverything;
        exact.insert(exact.end(), other.exact.begin(), other.exact.end());
        subtrees.insert(subtrees.end(), other.subtrees.begin(), other.subtrees.end());
        patterns.insert(patterns.end(), other.patterns.begin(), other.patterns.end());
    }

    /// Makes the invariants hold after additions.
    void finish() {
        SortAndUnite(patterns);
        if (patterns.size() > kMostPatterns) replacePatterns();
        SortAndUnite(exact);
        SortAndUnite(subtrees);
        if (exact.size() + subtrees.size() > kMostPaths) replacePaths();
        if (!isEverything) return;
        exact.clear();
        subtrees.clear();
        patterns.clear();
    }

    void replacePaths() {
        Paths all = std::move(exact);
        exact.clear();
        all.insert(all.end(), subtrees.begin(), subtrees.end());
        subtrees.clear();
        const auto [least, greatest] = std::minmax_element(all.begin(), all.end());
        addSubtree(std::string(CommonAncestor(*least, *greatest)));
    }

    void replacePatterns() {
        std::string ancestor = NamedAncestor(patterns.front());
        for (const PatternLevels& levels : patterns)
            ancestor = CommonAncestor(ancestor, NamedAncestor(levels));
        patterns.clear();
        addSubtree(std::move(ancestor));
    }

    /// The levels that lead from `from` to the members at and below it.
    PatternList levelsBelow(std::string_view from) const {
        if (isEverything || HasSelfOrAncestor(subtrees, from)) return {{std::string(kAnyLevels)}};
        PatternList below;
        if (Has(exact, from)) below.emplace_back();
        for (auto path = FirstBelow(exact, from); path != exact.end() && IsBelow(*path, from);
             ++path)
            below.push_back(LevelsOfPath(std::string_view(*path).substr(from.size())));
        for (auto path = FirstBelow(subtrees, from); path != subtrees.end() && IsBelow(*path, from);
             ++path) {
            below.push_back(LevelsOfPath(std::string_view(*path).substr(from.size())));
            below.back().emplace_back(kAnyLevels);
        }
        for (const PatternLevels& levels : patterns)
            for (const std::size_t next : NextLevels(levels, from))
                below.emplace_back(levels.begin() + static_cast<std::ptrdiff_t>(next),
                                   levels.end());
        return below;
    }

    Content moved(std::string_view from, const PatternLevels& to) const {
        Content made;
        for (const PatternLevels& below : levelsBelow(Levels(from))) {
            PatternLevels levels = to;
            levels.insert(levels.end(), below.begin(), below.end());
            made.addLevels(std::move(levels));
        }
        return made;
    }
};

LocationSet::LocationSet(Content&& made) {
    made.finish();
    if (!made.isEmpty()) content = std::make_shared<const Content>(std::move(made));
}

LocationSet LocationSet::everything() {
    Content made;
    made.isEverything = true;
    return LocationSet(std::move(made));
}

LocationSet LocationSet::exactly(const std::vector<std::string>& paths) {
    Content made;
    made.exact = paths;
    return LocationSet(std::move(made));
}

LocationSet LocationSet::subtrees(const std::vector<std::string>& paths) {
    Content made;
    for (const std::string& path : paths)
        made.addSubtree(path);
    return LocationSet(std::move(made));
}

LocationSet LocationSet::ancestorsOf(std::string_view path) {
    Content made;
    for (path = Parent(path); !path.empty(); path = Parent(path))
        made.exact.emplace_back(path);
    return LocationSet(std::move(made));
}

LocationSet LocationSet::matching(const std::vector<std::string>& patterns) {
    Content made;
    for (const std::string& pattern : patterns)
        made.addLevels(SplitPattern(pattern));
    return LocationSet(std::move(made));
}

LocationSet LocationSet::unionOf(const std::vector<LocationSet>& sets) {
    std::vector<const Content*> contents;
    for (const LocationSet& set : sets)
        if (set.content) contents.push_back(set.content.get());
    SortAndUnite(contents);
    if (contents.empty()) return {};
    if (contents.size() == 1)
        return *std::find_if(sets.begin(), sets.end(),
                             [](const LocationSet& set) { return set.content != nullptr; });
    Content made;
    for (const Content* const content : contents)
        made.add(*content);
    return LocationSet(std::move(made));
}

bool LocationSet::isEverything() const {
    return content && content->isEverything;
}

bool LocationSet::mayContain(std::string_view path) const {
    if (!content) return false;
    if (content->isEverything || Has(content->exact, path) ||
        HasSelfOrAncestor(content->subtrees, path))
        return true;
    return std::any_of(
        content->patterns.begin(), content->patterns.end(),
        [&](const PatternLevels& levels) { return PathMatches(levels, Levels(path)); });
}

bool LocationSet::mayContainBelow(std::string_view path) const {
    if (!content) return false;
    const std::string_view levelsOfPath = Levels(path);
    if (content->isEverything || HasBelow(content->exact, levelsOfPath) ||
        HasBelow(content->subtrees, levelsOfPath) ||
        HasSelfOrAncestor(content->subtrees, levelsOfPath))
        return true;
    return std::any_of(
        content->patterns.begin(), content->patterns.end(),
        [&](const PatternLevels& levels) { return MayMatchBelow(levels, levelsOfPath); });
}

std::optional<std::vector<std::string>> LocationSet::childrenTowards(std::string_view path) const {
    Paths names;
    if (!content) return names;
    path = Levels(path);
    if (content->isEverything || HasSelfOrAncestor(content->subtrees, path)) return std::nullopt;
    for (const PatternLevels& levels : content->patterns)
        for (const std::size_t next : NextLevels(levels, path)) {
            if (next == levels.size()) continue;
            if (IsGlob(levels[next])) return std::nullopt;
            names.push_back(NameOfLevel(levels[next]));
        }
    AddChildren(content->exact, path, names);
    AddChildren(content->subtrees, path, names);
    SortAndUnite(names);
    return names;
}

LocationSet& LocationSet::add(const LocationSet& other) {
    return *this = unionOf({*this, other});
}

LocationSet LocationSet::withBelow() const {
    if (!content) return {};
    Content made;
    made.isEverything = content->isEverything;
    made.subtrees = content->exact;
    made.subtrees.insert(made.subtrees.end(), content->subtrees.begin(), content->subtrees.end());
    made.patterns = content->patterns;
    for (PatternLevels& levels : made.patterns)
        levels.emplace_back(kAnyLevels);
    return LocationSet(std::move(made));
}

LocationSet LocationSet::withParents() const {
    if (!content) return {};
    Content made = *content;
    for (const Paths* paths : {&content->exact, &content->subtrees})
        for (const std::string& path : *paths)
            if (const std::string_view parent = Parent(path); !parent.empty())
                made.exact.emplace_back(parent);
    for (PatternLevels levels : content->patterns) {
        // A match below the last levels has its parent in the set.
        while (!levels.empty() && levels.back() == kAnyLevels)
            levels.pop_back();
        if (levels.size() < 2) continue;
        levels.pop_back();
        made.addLevels(std::move(levels));
    }
    return LocationSet(std::move(made));
}

LocationSet LocationSet::moved(std::string_view from, std::string_view to) const {
    return content ? LocationSet(content->moved(from, LevelsOfPath(Levels(to)))) : LocationSet();
}

LocationSet LocationSet::movedToEach(std::string_view from, const std::string& pattern) const {
    const PatternLevels levels = SplitPattern(pattern);
    return content ? LocationSet(content->moved(from, levels)) : LocationSet();
}

std::vector<std::string> LocationSet::describe() const {
    if (!content) return {};
    if (content->isEverything) return {"/**"};
    Paths texts = content->exact;
    for (const std::string& path : content->subtrees)
        texts.push_back(path + "/**");
    for (const PatternLevels& levels : content->patterns)
        texts.push_back(TextOf(levels));
    SortAndUnite(texts);
    return texts;
}

} // namespace OxLocationPath
