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
    /// The kinds of lights that are sampled separately.
    enum LightKind { Environments, Suns, LocalOnes, LightKinds };
    using OfEachKind = std::array<float, LightKinds>;

    /// A bounce of a path. Light is told by its luminance.
    struct Visit {
        V3f position{0, 0, 0};
        V3f direction{0, 0, 0}; ///< of the path behind the bounce
        float cosine = 0;       ///< of the direction, at the surface; positive
        float pdf = 0;          ///< of the direction; 0 if it was not chosen by a density
        float weight = 0;    ///< of the light from there in what is reflected; 0 if the path ended
        float reflected = 0; ///< from sampled lights
        float found = 0;     ///< light sources in that direction
        /// Squares of what is reflected of the sampled lights, of which each kind alone counts.
        OfEachKind squares{};
        bool goesOn = false; ///< the next visit is of the same path, at what lies in the direction
    };

    /// The distribution of directions in one region, piecewise constant by solid angle. The density
    /// of a cell is the root of the mean square of the light times the cosine, which gives less
    /// noise than the mean: Rath et al., "Variance-Aware Path Guiding", SIGGRAPH 2020.
    class Directions {
    public:
        static constexpr std::size_t kRows = 12;
        static constexpr std::size_t kColumns = 24;

        /// Adds light that was sampled with this density.
        void add(const V3f& direction, float light, float pdf);
        /// Completes the distribution. Returns its use, from 0 to 1: it is of none where it is
        /// empty, or light comes from everywhere, so that the BSDF alone is better.
        float complete();

        V3f sample(const V2f& u) const;
        float pdf(const V3f& direction) const; ///< of sample(), per solid angle

    private:
        using Cells = std::array<float, kRows * kColumns>;

        std::array<float, kRows> rowEnds{}; // cumulative sums of the weights of rows
        Cells cellEnds{};                   // the same of the cells within their row
        Cells densities{};                  // per solid angle; first, sums of squares
    };

    /// The knowledge about a part of the scene.
    struct Region {
        Directions directions;
        float use = 0;       ///< how much the directions help, from 0 to 1
        float reflected = 0; ///< the mean luminance of its surfaces without their own light
        /// The probabilities with which lights are worth a shadow ray.
        OfEachKind sampling{1, 1, 1};
    };

    /// Knows nothing.
    Guide() = default;
    /// Learns from visits. The result depends on their order.
    explicit Guide(const std::vector<Visit>& visits);

    /// Null if nothing is known.
    const Region* at(const V3f& position) const;

private:
    /// A node of a k-d tree. Its second child lies behind all descendants of the first one.
    struct Node {
        float split = 0;
        int axis = -1;          // -1 for a leaf
        std::size_t second = 0; // of a leaf: index into regions
    };

    void build(const std::vector<Visit>& visits, Index* begin, Index* end, int depth);
    std::size_t regionOf(const V3f& position) const;
    std::vector<float> lightOf(const std::vector<Visit>& visits);
    void chooseLights(const std::vector<Visit>& visits, const std::vector<float>& light);

    std::vector<Node> nodes;
    std::vector<Region> regions;
};

} // namespace lantern

#endif
