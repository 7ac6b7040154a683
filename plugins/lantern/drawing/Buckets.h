#ifndef LANTERN_DRAWING_BUCKETS_H
#define LANTERN_DRAWING_BUCKETS_H

#include <algorithm>

#include "SceneData.h"

namespace lantern {

/// The square tiles of a window that threads draw one at a time, row by row from the top.
class Buckets {
public:
    static constexpr int kSize = 32; ///< pixels on each side

    explicit Buckets(const Window& window)
        : whole(window), columns((window.width() + kSize - 1) / kSize),
          rows((window.height() + kSize - 1) / kSize) {}

    const Window& window() const { return whole; }
    int count() const { return columns * rows; }
    Window at(int bucket) const {
        const int x = whole.x0 + bucket % columns * kSize;
        const int y = whole.y0 + bucket / columns * kSize;
        return {x, y, std::min(x + kSize, whole.x1), std::min(y + kSize, whole.y1)};
    }
    /// The bucket that a pixel of the window lies in.
    int of(int x, int y) const { return (y - whole.y0) / kSize * columns + (x - whole.x0) / kSize; }

private:
    Window whole;
    int columns;
    int rows;
};

} // namespace lantern

#endif
