#ifndef TELLAROPS_SHARESTATE_H
#define TELLAROPS_SHARESTATE_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "BuiltinOp.h"
#include "PathTable.h"

namespace TellarOps {

/// The prepared arguments of a Share.
///
/// A shared location shows what is at its source: the source as the Op presents it, before sources
/// are hidden. So a source may contain shared locations, and lie below one. A path is followed
/// through shared locations until it leads to a location of the input.
class ShareState : public State {
public:
    explicit ShareState(const ArgReader& args);

    const PathTable& locations() const { return shared; }
    const PathTable& sources() const { return shown; }
    bool keepsSources() const { return keeps; }
    /// The source of a shared location, as an index of the first equal path.
    std::uint32_t sourceOf(std::uint32_t location) const;
    std::string sourcePathOf(std::uint32_t location) const {
        return std::string(shown[sourceOf(location)]);
    }

    /// A source, and a shared location that is above, at or below it, as indices: what is below the
    /// source depends on that of the location.
    using Dependency = std::pair<std::uint32_t, std::uint32_t>;
    const std::vector<Dependency>& dependencies() const { return dependsOn; }

    /// Where a location comes from.
    struct Origin {
        std::string path;      ///< a location of the input, or one that the Op makes
        bool isShared = false; ///< whether a shared location lies on the way
        bool isHidden = false; ///< whether it is a hidden source or lies below one
    };
    /// Follows a path. `hasChild(parent, child)` says whether the input has a child of a shared
    /// location of its own, which is then shown instead of the source's. Nothing if it does not
    /// know. `isShared` is true for a path that a shared location has led to.
    template <typename HasChild>
    std::optional<Origin> follow(std::string path, bool isShared, HasChild hasChild) const;

    /// The locations of the input of which a location consists: its origin, and then, as long as
    /// the last one is a shared location, the origin of its source. Nothing as above.
    template <typename HasChild>
    std::optional<std::vector<std::string>> layersOf(const Origin& origin, HasChild hasChild) const;

private:
    void findDependencies();
    /// Throws if a source would show itself.
    void refuseCircles() const;

    PathTable shared;
    PathTable shown;
    OxAttribute::ConstSample<std::int32_t> indices; // empty: see `isOneEach`
    bool isOneEach = false; // location i has source i; otherwise all have source 0
    bool keeps = false;
    std::vector<Dependency> dependsOn;
};

template <typename HasChild>
std::optional<ShareState::Origin> ShareState::follow(std::string path, bool isShared,
                                                     HasChild hasChild) const {
    // Each turn leads from a source to one that it depends on. There are no circles, so this ends.
    for (bool isFollowed = true; isFollowed;) {
        isFollowed = false;
        bool mayHide = !isShared && !keeps;
        for (LevelWalk walk(path); walk.next();) {
            mayHide = mayHide && shown.leadsTo(walk);
            if (mayHide && shown.find(walk) != PathTable::kNone)
                return Origin{std::move(path), false, true};
            const bool leadsToShared = shared.leadsTo(walk);
            if (walk.isAtEnd() || (!mayHide && !leadsToShared)) break;
            const std::uint32_t location = shared.find(walk);
            if (location == PathTable::kNone) continue;
            LevelWalk child = walk;
            child.next();
            if (shared.leadsTo(child)) continue; // the Op makes the child
            const std::optional<bool> isOwn =
                hasChild(std::string(walk.location()), std::string(child.location()));
            if (!isOwn) return std::nullopt;
            if (*isOwn) continue;
            path = sourcePathOf(location) + path.substr(walk.location().size());
            isShared = true;
            isFollowed = true;
            break;
        }
    }
    return Origin{std::move(path), isShared, false};
}

template <typename HasChild>
std::optional<std::vector<std::string>> ShareState::layersOf(const Origin& origin,
                                                             HasChild hasChild) const {
    std::vector<std::string> layers{origin.path};
    for (;;) {
        const std::uint32_t location = shared.find(layers.back());
        if (location == PathTable::kNone) return layers;
        std::optional<Origin> next = follow(sourcePathOf(location), true, hasChild);
        if (!next) return std::nullopt;
        layers.push_back(std::move(next->path));
    }
}

} // namespace TellarOps

#endif
