#ifndef LANTERN_DRAWING_DISTRIBUTION_H
#define LANTERN_DRAWING_DISTRIBUTION_H

#include <cstddef>
#include <vector>

#include "SceneData.h"

namespace lantern {

/// Picks one of many in proportion to weights.
class Distribution {
public:
    Distribution() = default;
    /// Weights that are negative or no numbers count as 0.
    explicit Distribution(const std::vector<float>& weights);

    /// No weight is above 0: nothing can be picked.
    bool isEmpty() const { return sum <= 0; }
    double total() const { return sum; }
    std::size_t size() const { return ends.size(); }

    /// Assigns to `rest` where in the share of what was picked u was, from 0 to 1.
    std::size_t pick(float u, float& rest) const;
    float probability(std::size_t which) const;

private:
    std::vector<double> ends; // sums of the weights up to and with each
    double sum = 0;
};

/// Picks points of a square of cells in proportion to their weights.
class Distribution2D {
public:
    Distribution2D() = default;
    /// Row by row, `width` of them each.
    Distribution2D(const std::vector<float>& weights, int width);

    bool isEmpty() const { return rows.isEmpty(); }
    /// From 0 to 1 in both directions.
    V2f sample(const V2f& u) const;
    /// Per unit of the square.
    float pdf(const V2f& place) const;

private:
    std::vector<Distribution> columns; // of each row
    Distribution rows;
};

} // namespace lantern

#endif
