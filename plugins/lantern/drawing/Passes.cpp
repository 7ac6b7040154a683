#include "drawing/Passes.h"

#include <algorithm>
#include <cmath>

namespace lantern {
namespace {

constexpr int kLongestPass = 64;      // paths; a time limit is kept to about one pass
constexpr int kPathsBeforeNoise = 16; // fewer do not tell how noisy a pixel is
constexpr double kDarkest = 0.1;      // the noise of darker pixels is compared with this luminance

/// The windows of all squares, in the order of their numbers.
template <typename Function>
void EachSquare(const Window& window, Function function) {
    constexpr int kSize = Passes::kSquare;
    for (int y = window.y0; y < window.y1; y += kSize)
        for (int x = window.x0; x < window.x1; x += kSize)
            function(Window{x, y, std::min(x + kSize, window.x1), std::min(y + kSize, window.y1)});
}

double Seconds(Passes::Clock::duration time) {
    return std::chrono::duration<double>(time).count();
}

} // namespace

Passes::Passes(const Quality& quality, int samples, const Window& window, Clock::time_point begin)
    : noise(quality.noise), seconds(quality.minutes * 60), samples(samples), window(window),
      begin(begin), columns((window.width() + kSquare - 1) / kSquare) {
    if (noise > 0) EachSquare(window, [this](const Window&) { isNoisy.push_back(true); });
}

Window Passes::wholeSquares(const Window& window, int width, int height) {
    const auto up = [](int value) { return (value + kSquare - 1) / kSquare * kSquare; };
    return {window.x0 / kSquare * kSquare, window.y0 / kSquare * kSquare,
            std::min(up(window.x1), width), std::min(up(window.y1), height)};
}

int Passes::next(const Film& film) {
    const Clock::time_point passEnd = Clock::now();
    first += count;
    const int wanted = std::min({std::max(first, 1), kLongestPass, samples - first});
    if (wanted < 1 || !dropQuietSquares(film)) return 0;
    count = first == 0 ? wanted : fitting(wanted);
    timeEndedIt = count == 0;
    passBegin = passEnd;
    return count;
}

void Passes::exclude(Clock::duration rest) {
    begin += rest;
    passBegin += rest;
}

/// The number of paths, at most `wanted`, for which there is time at the speed of the last pass.
int Passes::fitting(int wanted) const {
    if (seconds <= 0) return wanted;
    const Clock::time_point now = Clock::now();
    const double left = seconds - Seconds(now - begin);
    const double ofOnePath = Seconds(now - passBegin) / count;
    if (left >= ofOnePath * wanted) return wanted;
    return left > ofOnePath ? static_cast<int>(left / ofOnePath) : 0;
}

/// Returns false if no noisy square is left.
bool Passes::dropQuietSquares(const Film& film) {
    if (noise <= 0 || first < kPathsBeforeNoise) return true;
    std::size_t number = 0;
    bool isAnyNoisy = false;
    EachSquare(window, [&](const Window& square) {
        if (isNoisy[number] && isQuiet(film, square)) isNoisy[number] = false;
        isAnyNoisy = isAnyNoisy || isNoisy[number];
        ++number;
    });
    return isAnyNoisy;
}

bool Passes::isQuiet(const Film& film, const Window& square) const {
    double variance = 0;
    double luminance = 0;
    for (int y = square.y0; y < square.y1; ++y) {
        for (int x = square.x0; x < square.x1; ++x) {
            const Film::Noise pixel = film.noiseOf(x, y);
            variance += pixel.variance;
            luminance += pixel.mean;
        }
    }
    const double pixels = double(square.width()) * square.height();
    const double level = std::max(luminance / pixels, kDarkest);
    return std::sqrt(variance / pixels) <= noise * level;
}

double Passes::timeShare() const {
    return seconds > 0 ? std::min(Seconds(Clock::now() - begin) / seconds, 1.0) : 0;
}

} // namespace lantern
