#ifndef LANTERN_DRAWING_DISTRIBUTION_H
#define LANTERN_DRAWING_DISTRIBUTION_H

#include <cstddef>
#include <vector>

#include "SceneData.h"

namespace lantern {

/// A discrete distribution, sampled by inverting its cumulative sums.
class Distribution {
public:
    Distribution() = default;
    /// Weights that are negative or not finite count as 0.
    explicit Distribution(const std::vector<float>& weights);

    /// True if no weight is above 0; pick() must not be called then.
    bool isEmpty() const { return sum <= 0; }
    double total() const { return sum; }
    std::size_t size() const { return ends.size(); }

    /// Picks an index in proportion to its weight. `rest` becomes the position of u within the
    /// interval of that index, from 0 to 1: a fresh uniform number.
    std::size_t pick(float u, float& rest) const;
    float probability(std::size_t which) const;

private:
    std::vector<double> ends; // cumulative sums of the weights
    double sum = 0;
};

/// A piecewise constant distribution on the unit square: first a row, then a cell of the row.
class Distribution2D {
public:
    Distribution2D() = default;
    /// One weight per cell, row by row with `width` cells each.
    Distribution2D(const std::vector<float>& weights, int width);

    bool isEmpty() const { return rows.isEmpty(); }
    /// A point of the unit square.
    V2f sample(const V2f& u) const;
    /// The density of sample(), per unit area.
    float pdf(const V2f& point) const;

private:
    std::vector<Distribution> cells; // one distribution per row
    Distribution rows;
};

} // namespace lantern

#endif
