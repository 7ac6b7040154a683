#ifndef LANTERN_DRAWING_GUIDE_H
#define LANTERN_DRAWING_GUIDE_H

#include <array>
#include <cstddef>
#include <vector>

#include "SceneData.h"

namespace lantern {

/// The directions from which light comes, in each region of the scene, as paths have found them.
/// Paths that sample their directions from it find a window, or the patch of sunlight on a floor,
/// more often than by the BSDF alone. Müller, Gross and Novák, "Practical Path Guiding for
/// Efficient Light-Transport Simulation", EGSR 2017. Safe from several threads at once.
class Guide {
public:
    /// The kinds of lights; light sampling chooses one light of each kind.
    enum LightKind { Environments, Suns, LocalOnes, LightKinds };
    using OfEachKind = std::array<float, LightKinds>;

    /// A bounce of a path. Amounts of light are luminances.
    struct Visit {
        V3f position{0, 0, 0};
        V3f direction{0, 0, 0}; ///< direction in which the path goes on
        float cosine = 0;       ///< cosine of the angle between direction and normal; positive
        float pdf = 0;          ///< density of the direction; 0 for a specular bounce
        float weight = 0;       ///< throughput of the bounce; 0 if the path ended
        float reflected = 0;    ///< reflected light of sampled lights
        float found = 0;        ///< emitted light that the next ray found
        /// Squares of the light reflected from each kind; their means do not depend on how often it
        /// is sampled.
        OfEachKind squares{};
        bool isFirst = false; ///< the first bounce of its path
        bool goesOn = false;  ///< the next visit is the next bounce of the same path
    };

    /// The distribution of directions in one region, piecewise constant by solid angle. The density
    /// of a cell is proportional to the root of the mean square of the light times the cosine,
    /// which gives less noise than the mean: Rath et al., "Variance-Aware Path Guiding", SIGGRAPH
    /// 2020.
    class Directions {
    public:
        static constexpr std::size_t kRows = 12;
        static constexpr std::size_t kColumns = 24;

        /// Adds light from a direction that was sampled with this density.
        void add(const V3f& direction, float light, float pdf);
        /// Completes the distribution. Returns how useful it is, from 0 to 1: 0 if no light was
        /// added, or if light comes from everywhere, so that the BSDF alone is better.
        float complete();

        V3f sample(const V2f& u) const;
        float pdf(const V3f& direction) const; ///< density of sample(), per solid angle

    private:
        using Cells = std::array<float, kRows * kColumns>;

        std::array<float, kRows> rowEnds{}; // cumulative sums of the weights of rows
        Cells cellEnds{};                   // cumulative sums of the weights in each row
        Cells densities{};                  // per solid angle; sums of squares until complete()
    };

    /// The statistics of one part of the scene.
    struct Region {
        Directions directions;
        float use = 0;       ///< usefulness of the directions, from 0 to 1
        float reflected = 0; ///< mean reflected luminance of its surfaces
        /// The root of the mean square of what a path finds from here on, over that of what the
        /// camera sees. 0 if it is not known.
        float noise = 0;
        /// For each kind of light, the probability with which to trace a shadow ray.
        OfEachKind sampling{1, 1, 1};
    };

    /// An empty guide, which knows no region.
    Guide() = default;
    /// Learns from the visits of paths. The result depends on their order.
    explicit Guide(const std::vector<Visit>& visits);

    /// The region that contains the position; null for an empty guide.
    const Region* at(const V3f& position) const;

private:
    struct Light;

    /// A node of a k-d tree. Its second child lies behind all descendants of the first one.
    struct Node {
        float split = 0;
        int axis = -1;          // -1 for a leaf
        std::size_t second = 0; // inner node: index of its second child; leaf: index into regions
    };

    void build(const std::vector<Visit>& visits, Index* begin, Index* end, int depth);
    std::size_t regionOf(const V3f& position) const;
    std::vector<Light> lightOf(const std::vector<Visit>& visits);
    void chooseLights(const std::vector<Visit>& visits, const std::vector<Light>& light);
    void measureNoise(const std::vector<Visit>& visits, const std::vector<Light>& light);

    std::vector<Node> nodes;
    std::vector<Region> regions;
};

} // namespace lantern

#endif
