#include "drawing/Distribution.h"

#include <algorithm>
#include <cmath>

#include "drawing/Numbers.h"

namespace lantern {

Distribution::Distribution(const std::vector<float>& weights) {
    ends.reserve(weights.size());
    for (const float weight : weights) {
        if (weight > 0 && std::isfinite(weight)) sum += weight;
        ends.push_back(sum);
    }
}

std::size_t Distribution::pick(float u, float& rest) const {
    const double target = Clamp01(u) * sum;
    auto end = std::upper_bound(ends.begin(), ends.end(), target);
    // u = 1 belongs to the last index of nonzero weight.
    if (end == ends.end()) end = std::lower_bound(ends.begin(), ends.end(), sum);
    const double begin = end == ends.begin() ? 0 : *(end - 1);
    rest = std::min(static_cast<float>((target - begin) / (*end - begin)), 0x1.fffffep-1f);
    return static_cast<std::size_t>(end - ends.begin());
}

float Distribution::probability(std::size_t which) const {
    if (isEmpty()) return 0;
    const double begin = which == 0 ? 0 : ends[which - 1];
    return static_cast<float>((ends[which] - begin) / sum);
}

Distribution2D::Distribution2D(const std::vector<float>& weights, int width) {
    std::vector<float> sums;
    for (auto row = weights.begin(); row != weights.end(); row += width) {
        cells.emplace_back(std::vector<float>(row, row + width));
        sums.push_back(static_cast<float>(cells.back().total()));
    }
    rows = Distribution(sums);
}

V2f Distribution2D::sample(const V2f& u) const {
    V2f inside;
    const std::size_t row = rows.pick(u.y, inside.y);
    const std::size_t column = cells[row].pick(u.x, inside.x);
    const auto width = static_cast<float>(cells[row].size());
    return {(static_cast<float>(column) + inside.x) / width,
            (static_cast<float>(row) + inside.y) / static_cast<float>(cells.size())};
}

float Distribution2D::pdf(const V2f& point) const {
    if (isEmpty()) return 0;
    const auto cell = [](float at, std::size_t count) {
        const auto index = static_cast<std::size_t>(Clamp01(at) * static_cast<float>(count));
        return std::min(index, count - 1);
    };
    const std::size_t row = cell(point.y, cells.size());
    const Distribution& inRow = cells[row];
    return rows.probability(row) * inRow.probability(cell(point.x, inRow.size())) *
           static_cast<float>(cells.size() * inRow.size());
}

} // namespace lantern
