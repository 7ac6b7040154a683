#include "ListedPlacement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "MatrixBox.h"
#include "Quaternion.h"

namespace TellarOps {
namespace {

using OxAttribute::DataAttribute;
using OxAttribute::FloatAttribute;
using OxXFormUtil::Bounds;
using Children = std::vector<GroupAttribute::Child>;

// The matrices of so many instances in a row are summed up as one box of matrices, so that the box
// around many instances takes little time.
constexpr std::uint64_t kBlock = 4096;
// So many instances are enclosed one by one.
constexpr std::uint64_t kMostMoved = 10000;

/// Tuples of `N` numbers with time samples, read as doubles where they are.
template <std::size_t N>
class Tuples {
public:
    using Tuple = std::array<double, N>;

    Tuples(const ArgReader& args, const char* name)
        : argument(name), numbers(args.tuples(name, N)) {
        for (std::int64_t i = 0; i < numbers.getNumberOfTimeSamples(); ++i) {
            sampleTimes.push_back(numbers.getSampleTime(i));
            floats.push_back(FloatAttribute(numbers).getNearestSample(sampleTimes.back()));
            doubles.push_back(DoubleAttribute(numbers).getNearestSample(sampleTimes.back()));
        }
    }

    const char* name() const { return argument; }
    bool areGiven() const { return numbers.isValid(); }
    std::uint64_t count() const {
        return static_cast<std::uint64_t>(numbers.getNumberOfValues()) / N;
    }
    const std::vector<float>& times() const { return sampleTimes; }
    bool isMoving() const { return sampleTimes.size() > 1; }

    /// A tuple in one of the time samples.
    Tuple read(std::uint64_t index, std::size_t sample = 0) const {
        Tuple tuple;
        const std::size_t first = N * index;
        if (!floats[sample].empty())
            std::copy_n(floats[sample].begin() + first, N, tuple.begin());
        else
            std::copy_n(doubles[sample].begin() + first, N, tuple.begin());
        return tuple;
    }

    /// A tuple with all of its samples; invalid if none are given.
    Attribute attribute(std::uint64_t index) const {
        if (!areGiven()) return Attribute();
        std::vector<double> values;
        values.reserve(N * sampleTimes.size());
        for (std::size_t sample = 0; sample < sampleTimes.size(); ++sample) {
            const Tuple tuple = read(index, sample);
            values.insert(values.end(), tuple.begin(), tuple.end());
        }
        return DoubleAttribute(sampleTimes.data(), static_cast<std::int64_t>(sampleTimes.size()),
                               values.data(), N, N);
    }

private:
    const char* argument;
    DataAttribute numbers;
    std::vector<float> sampleTimes;
    // One for each time; empty if the numbers are of the other type.
    std::vector<OxAttribute::ConstSample<float>> floats;
    std::vector<OxAttribute::ConstSample<double>> doubles;
};

/// Places that are told by arrays. Derived classes say which matrices an instance has.
class ListedPlacement : public Placement {
public:
    Bounds move(const Bounds& box, std::uint64_t begin, std::uint64_t end) const final {
        Bounds moved;
        if (begin == end || box.isEmpty()) return moved;
        if (end - begin > kMostMoved) return moveBlocks(box, begin / kBlock, (end - 1) / kBlock);
        for (std::uint64_t index = begin; index < end; ++index) {
            const Bounds one = boxOf(index).move(box);
            if (!one.isFinite()) return one;
            moved.add(one);
        }
        return moved;
    }

protected:
    /// Encloses the matrices of an instance at all times, also between samples.
    virtual MatrixBox boxOf(std::uint64_t index) const = 0;

private:
    Bounds moveBlocks(const Bounds& box, std::uint64_t first, std::uint64_t last) const {
        std::call_once(areBlocksMade, [this] { makeBlocks(); });
        Bounds moved;
        for (std::uint64_t block = first; block <= last; ++block) {
            const Bounds one = blocks[block].move(box);
            if (!one.isFinite()) return one;
            moved.add(one);
        }
        return moved;
    }

    void makeBlocks() const {
        blocks.resize((count() - 1) / kBlock + 1);
        for (std::uint64_t index = 0; index < count(); ++index)
            blocks[index / kBlock].add(boxOf(index));
    }

    // Made on first need, because it takes a pass over the arrays.
    mutable std::once_flag areBlocksMade;
    mutable std::vector<MatrixBox> blocks;
};

class ListedMatrices final : public ListedPlacement {
public:
    explicit ListedMatrices(Tuples<16> matrices) : matrices(std::move(matrices)) {}

    std::uint64_t count() const override { return matrices.count(); }
    bool isMoving() const override { return matrices.isMoving(); }
    Matrix matrix(std::uint64_t index) const override { return matrices.read(index); }
    GroupAttribute transform(std::uint64_t index) const override {
        return GroupAttribute(Children{{"matrix", matrices.attribute(index)}}, false);
    }

protected:
    MatrixBox boxOf(std::uint64_t index) const override {
        MatrixBox box;
        for (std::size_t sample = 0; sample < matrices.times().size(); ++sample) {
            const Matrix m = matrices.read(index, sample);
            const bool isAffine = m[3] == 0 && m[7] == 0 && m[11] == 0 && m[15] == 1;
            for (std::size_t row = 0; row < 4; ++row)
                for (std::size_t column = 0; column < 3; ++column) {
                    const double entry = isAffine ? m[4 * row + column] : HUGE_VAL;
                    box.add(row, column, entry, entry);
                }
        }
        return box;
    }

private:
    Tuples<16> matrices;
};

/// The steps that take an instance through its rotations, each from one sample to the next one on
/// the shortest way. A step turns about a fixed axis, and rests before and after its own samples.
/// Turns about one axis that follow each other are one step.
class Turns {
public:
    void add(const Quaternion& before, const Quaternion& after, float start, float end) {
        const Quaternion::Turn turn = before.turnTo(after);
        if (turn.degrees != 0) {
            const double side = steps.empty() ? 0 : sideOf(turn.axis);
            if (side == 0) steps.push_back({turn.axis, {start}, {0}});
            turned = steps.back().degrees.back() + (side < 0 ? -turn.degrees : turn.degrees);
        }
        if (steps.empty()) return;
        steps.back().times.push_back(end);
        steps.back().degrees.push_back(turned);
    }

    /// The last step first, because the first child of an "xform" acts last.
    void appendTo(Children& children) const {
        for (std::size_t step = steps.size(); step-- > 0;)
            children.emplace_back("rotate" + std::to_string(step), steps[step].attribute());
    }

private:
    using Axis = std::array<double, 3>;
    static constexpr double kSameAxis = 1e-14; // rounding errors of the three numbers of an axis

    /// 1 if the axis is that of the last step, -1 if it points the other way, otherwise 0.
    double sideOf(const Axis& axis) const {
        const Axis& last = steps.back().axis;
        double sum = 0;
        double difference = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            sum += std::abs(last[i] + axis[i]);
            difference += std::abs(last[i] - axis[i]);
        }
        if (difference < kSameAxis) return 1;
        return sum < kSameAxis ? -1 : 0;
    }

    struct Step {
        Axis axis;
        std::vector<float> times;
        std::vector<double> degrees;

        Attribute attribute() const {
            std::vector<double> values;
            for (const double angle : degrees)
                values.insert(values.end(), {angle, axis[0], axis[1], axis[2]});
            return DoubleAttribute(times.data(), static_cast<std::int64_t>(times.size()),
                                   values.data(), 4, 4);
        }
    };
    std::vector<Step> steps;
    double turned = 0; // the angle of the last step so far
};

class ListedSteps final : public ListedPlacement {
public:
    explicit ListedSteps(const ArgReader& args)
        : translates(args, "translates"), rotates(args, "rotates"), scales(args, "scales") {
        if (!translates.areGiven() && !rotates.areGiven() && !scales.areGiven())
            ThrowArgumentError("translates", "is missing, and so are \"matrices\", \"rotates\" and "
                                             "\"scales\"; one of them says how many instances "
                                             "there are");
        const auto expectCount = [this](const auto& tuples) {
            if (!tuples.areGiven()) return;
            if (!total) total = tuples.count();
            if (*total != tuples.count())
                ThrowArgumentError(tuples.name(), "has " + std::to_string(tuples.count()) +
                                                      " tuples for " + std::to_string(*total) +
                                                      " instances");
        };
        expectCount(translates);
        expectCount(rotates);
        expectCount(scales);
    }

    std::uint64_t count() const override { return *total; }
    bool isMoving() const override {
        return translates.isMoving() || rotates.isMoving() || scales.isMoving();
    }

    Matrix matrix(std::uint64_t index) const override {
        Matrix matrix = rotationOf(index, 0).matrix();
        if (scales.areGiven()) {
            const auto scale = scales.read(index);
            for (std::size_t entry = 0; entry < 12; ++entry)
                matrix[entry] *= scale[entry / 4];
        }
        if (!translates.areGiven()) return matrix;
        const auto offset = translates.read(index);
        std::copy(offset.begin(), offset.end(), matrix.begin() + 12);
        return matrix;
    }

    GroupAttribute transform(std::uint64_t index) const override {
        // A single step takes less memory.
        if (rotates.areGiven() && !isMoving())
            return GroupAttribute(
                Children{{"matrix", DoubleAttribute(matrix(index).data(), 16, 16)}}, false);
        Children steps{{"translate", translates.attribute(index)}};
        if (rotates.areGiven()) {
            Turns turns;
            for (std::size_t sample = 1; sample < rotates.times().size(); ++sample)
                turns.add(rotationOf(index, sample - 1), rotationOf(index, sample),
                          rotates.times()[sample - 1], rotates.times()[sample]);
            turns.appendTo(steps);
            // A matrix instead of degrees needs no sine.
            steps.emplace_back("matrix",
                               DoubleAttribute(rotationOf(index, 0).matrix().data(), 16, 16));
        }
        steps.emplace_back("scale", scales.attribute(index));
        return GroupAttribute(steps, false);
    }

protected:
    MatrixBox boxOf(std::uint64_t index) const override {
        MatrixBox box;
        for (std::size_t sample = 0; sample < std::max<std::size_t>(scales.times().size(), 1);
             ++sample)
            addScaled(index, scales.areGiven() ? scales.read(index, sample) : kUnscaled, box);
        for (std::size_t sample = 0; sample < std::max<std::size_t>(translates.times().size(), 1);
             ++sample) {
            const auto offset = translates.areGiven() ? translates.read(index, sample) : kUnmoved;
            for (std::size_t axis = 0; axis < 3; ++axis)
                box.add(3, axis, offset[axis], offset[axis]);
        }
        return box;
    }

private:
    static constexpr std::array<double, 3> kUnscaled = {1, 1, 1};
    static constexpr std::array<double, 3> kUnmoved = {0, 0, 0};

    Quaternion rotationOf(std::uint64_t index, std::size_t sample) const {
        return rotates.areGiven() ? Quaternion::FromNumbers(rotates.read(index, sample))
                                  : Quaternion();
    }

    /// Adds the rotations of an instance after a scale. Those of an instance that turns may be any.
    void addScaled(std::uint64_t index, const std::array<double, 3>& scale, MatrixBox& box) const {
        const Matrix rotation = rotationOf(index, 0).matrix();
        for (std::size_t row = 0; row < 3; ++row)
            for (std::size_t column = 0; column < 3; ++column) {
                const double entry = scale[row] * rotation[4 * row + column];
                const double reach = std::abs(scale[row]);
                const bool isTurning = rotates.isMoving();
                box.add(row, column, isTurning ? -reach : entry, isTurning ? reach : entry);
            }
    }

    Tuples<3> translates;
    Tuples<4> rotates;
    Tuples<3> scales;
    std::optional<std::uint64_t> total;
};

} // namespace

std::unique_ptr<const Placement> ReadListed(const ArgReader& args) {
    Tuples<16> matrices(args, "matrices");
    if (!matrices.areGiven()) return std::make_unique<ListedSteps>(args);
    for (const char* const other : {"translates", "rotates", "scales"})
        if (args.tuples(other, 1).isValid())
            ThrowArgumentError(other, "must not be given beside \"matrices\"");
    return std::make_unique<ListedMatrices>(std::move(matrices));
}

std::vector<OxOpType::Argument> ListedArguments() {
    return {{"matrices", "double[16][]",
             "A row-major matrix for row vectors for each instance. Default: none."},
            {"translates", "double[3][]",
             "Instead of matrices: the offset along x, y, z of each instance. Default: none."},
            {"rotates", "double[4][]",
             "Likewise, the rotation as a quaternion x, y, z, w of any length. Default: none."},
            {"scales", "double[3][]",
             "Likewise, the factors along x, y, z. They act first, translates last. Default: "
             "none."}};
}

} // namespace TellarOps
