#ifndef LANTERN_READING_TRIANGULATE_H
#define LANTERN_READING_TRIANGULATE_H

#include <vector>

#include "SceneData.h"

namespace lantern {

/// Triangulates a simple polygon, convex or not, by ear clipping. Appends count - 2 triangles, each
/// as three corners from 0 to count - 1. The triangles of a face that crosses itself are
/// unspecified. For one thread at a time.
class Triangulator {
public:
    /// `corners` are `count` indices of `points`.
    void cut(const std::vector<V3f>& points, const std::int32_t* corners, std::size_t count,
             std::vector<Index>& triangles);

private:
    using Point = Imath::V2d;

    void flatten(const std::vector<V3f>& points, const std::int32_t* corners, std::size_t count);
    bool isSeenFromFirst() const;
    bool isEar(std::size_t place) const;
    void clipEars(std::vector<Index>& triangles);

    std::vector<Point> flat; // the corners in the face's plane, counter-clockwise
    std::vector<Index> left; // corners that are not cut off yet
};

} // namespace lantern

#endif
