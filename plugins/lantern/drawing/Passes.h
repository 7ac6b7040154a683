#ifndef LANTERN_DRAWING_PASSES_H
#define LANTERN_DRAWING_PASSES_H

#include <chrono>
#include <cstddef>
#include <vector>

#include "drawing/Film.h"

namespace lantern {

/// Divides the paths of a picture into passes, and decides when there have been enough.
///
/// Passes grow from one path to many, so that a picture that is ended early has paths everywhere,
/// and long passes keep the threads busy.
class Passes {
public:
    using Clock = std::chrono::steady_clock;

    static constexpr int kSquare = 8; ///< pixels on each side of the squares that stop alone

    /// The window must consist of whole squares if there is a noise goal, except at the right and
    /// the bottom. `begin` is the time from which the limit counts.
    Passes(const Quality& quality, int samples, const Window& window, Clock::time_point begin);

    /// The smallest window of whole squares around another one, within a picture of this size.
    static Window wholeSquares(const Window& window, int width, int height);

    /// The number of paths that each pixel gets in the next pass; 0 if the picture is done. Expects
    /// that the previous pass is complete.
    int next(const Film& film);
    /// The number of paths that each pixel has after the pass.
    int pathsAfter() const { return first + count; }
    /// Excludes such a time of rest, since the previous pass began, from the time limit.
    void exclude(Clock::duration rest);
    /// Whether a pixel still gets paths.
    bool wants(int x, int y) const { return noise <= 0 || isNoisy[squareOf(x, y)]; }

    /// The part of the allowed time that is over, 0 without a limit.
    double timeShare() const;
    /// Whether the time limit ended the passes.
    bool isTimeOver() const { return timeEndedIt; }

private:
    std::size_t squareOf(int x, int y) const {
        const int column = (x - window.x0) / kSquare, row = (y - window.y0) / kSquare;
        return std::size_t(row) * columns + column;
    }
    bool dropQuietSquares(const Film& film);
    bool isQuiet(const Film& film, const Window& square) const;
    int fitting(int wanted) const;

    const double noise;
    const double seconds; // the time limit; 0 for none
    const int samples;
    const Window window;
    Clock::time_point begin; // moved forward by all rests
    const int columns;
    std::vector<bool> isNoisy; // one flag per square
    int first = 0;             // the first path of the current pass
    int count = 0;
    Clock::time_point passBegin;
    bool timeEndedIt = false;
};

} // namespace lantern

#endif
