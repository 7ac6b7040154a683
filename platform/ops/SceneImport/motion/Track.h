#ifndef SCENEIMPORT_TRACK_H
#define SCENEIMPORT_TRACK_H

#include <cstddef>
#include <utility>
#include <vector>

namespace TellarSceneImport {

/// A time of an animation. Where a value jumps, the moment before the jump has the same seconds and
/// sorts first.
struct Moment {
    double seconds = 0;
    bool isBefore = false;

    friend bool operator==(const Moment& a, const Moment& b) {
        return a.seconds == b.seconds && a.isBefore == b.isBefore;
    }
    friend bool operator<(const Moment& a, const Moment& b) {
        return a.seconds < b.seconds || (a.seconds == b.seconds && a.isBefore && !b.isBefore);
    }
};

enum class Interpolation { Step, Linear, CubicSpline };

/// Rotations are unit quaternions x, y, z, w, which are interpolated along the shorter arc.
enum class TrackKind { Vector, Rotation };

/// The keys of one animated property. Before the first key and after the last one the property has
/// the value of that key. Immutable.
class Track {
public:
    /// A track without keys, which has no values.
    Track() = default;

    /// `values` has `width` numbers for each key; a cubic spline has three times as many: the
    /// in-tangent, the value and the out-tangent, with tangents in units per second. Keys may be in
    /// any order. Throws std::runtime_error if the counts differ or a number is not finite.
    Track(TrackKind kind, Interpolation interpolation, std::size_t width,
          const std::vector<double>& seconds, const std::vector<float>& values);

    bool isEmpty() const { return times.empty(); }
    std::size_t width() const { return valueWidth; }
    /// Ascending.
    const std::vector<double>& keyTimes() const { return times; }
    /// The moments of all keys, and those before jumps. Not sorted.
    void addMoments(std::vector<Moment>& moments) const;

    /// The bytes of its keys.
    std::size_t memory() const {
        return times.capacity() * sizeof(double) + numbers.capacity() * sizeof(float);
    }

    /// Writes width() numbers. The track has keys.
    void evaluate(Moment moment, double* value) const;

    /// The number of even steps in which linear interpolation follows the track between two times
    /// that have no key between them. Rotations turn by at most 5 degrees in a step. Splines
    /// deviate by at most a thousandth of the extent of the whole track.
    std::size_t stepsBetween(double from, double to) const;

private:
    const float* keyValue(std::size_t key) const;
    std::pair<const float*, const float*> tangents(std::size_t key) const; // in, out
    void readKeys(const std::vector<double>& seconds, const std::vector<float>& values);
    void copyValue(std::size_t key, double* value) const;
    void evaluateBetween(std::size_t key, double amount, double* value) const;
    void evaluateLine(std::size_t key, double amount, double* value) const;
    void evaluateSpline(std::size_t key, double amount, double* value) const;
    double extent() const;
    double largestCurvature(std::size_t key, double amount) const;
    double angleBetween(double from, double to) const;
    std::size_t stepsOfRotation(double from, double to) const;
    std::size_t stepsOfSpline(double from, double to) const;

    TrackKind kind = TrackKind::Vector;
    Interpolation interpolation = Interpolation::Linear;
    std::size_t valueWidth = 0;
    std::vector<double> times;
    std::vector<float> numbers; // values of all keys, in the order of times
    double splineTolerance = 0;
};

} // namespace TellarSceneImport

#endif
