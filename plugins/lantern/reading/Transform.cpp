#include "reading/Transform.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace lantern {

struct LocalTransform::KindRow {
    std::string_view prefix;
    Kind kind;
    int values; // per sample
};

const LocalTransform::KindRow LocalTransform::kKinds[] = {
    {"translate", Kind::Translate, 3}, {"rotate", Kind::Rotate, 4},  {"scale", Kind::Scale, 3},
    {"shear", Kind::Shear, 3},         {"matrix", Kind::Matrix, 16}, {"origin", Kind::Origin, 0},
};

namespace {

using Imath::V3d;

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;
// Matrices are interpolated linearly between steps, which shrinks rotating shapes.
constexpr double kMostTurn = 5.0; // degrees per step

bool IsSameAtAllSteps(const std::vector<double>& values, int valueCount) {
    const auto next = values.begin() + valueCount;
    return std::equal(next, values.end(), values.begin());
}

/// For rotations, which have four values per step: the angle and the axis.
int CountStepsOfTurn(const std::vector<double>& values) {
    double turn = 0;
    for (std::size_t i = 4; i < values.size(); i += 4)
        turn += std::abs(values[i] - values[i - 4]);
    for (const int steps : {2, 3, 5})
        if (turn <= kMostTurn * (steps - 1)) return steps;
    return kFinestSteps;
}

} // namespace

LocalTransform::LocalTransform(const Suites& suites, const Attribute& xform,
                               const Shutter& shutter) {
    addGroup(suites, xform, shutter);
}

void LocalTransform::addGroup(const Suites& suites, const Attribute& group,
                              const Shutter& shutter) {
    for (std::int64_t i = 0; i < group.childCount(); ++i) {
        const Attribute child = group.childAt(i);
        if (child.isGroup()) {
            addGroup(suites, child, shutter);
            continue;
        }
        const std::string_view name = group.childName(i);
        for (const KindRow& row : kKinds)
            if (name.substr(0, row.prefix.size()) == row.prefix)
                addPart(suites, row, child, shutter);
    }
}

void LocalTransform::addPart(const Suites& suites, const KindRow& row, const Attribute& value,
                             const Shutter& shutter) {
    Part part{row.kind, 1, row.values, {}};
    if (row.kind == Kind::Origin) {
        parts.push_back(part);
        return;
    }
    const auto valueCount = static_cast<std::size_t>(row.values);
    part.steps = CountSteps(suites, value, shutter);
    const int evaluated = part.steps == 1 ? 1 : kFinestSteps;
    part.values.resize(valueCount * static_cast<std::size_t>(evaluated));
    for (int step = 0; step < evaluated; ++step)
        if (!value.read(part.values.data() + static_cast<std::size_t>(step) * valueCount,
                        row.values, shutter.timeOf(step, evaluated)))
            return;
    if (evaluated > 1 && IsSameAtAllSteps(part.values, row.values)) {
        part.steps = 1;
        part.values.resize(valueCount);
    } else if (part.steps > 1 && row.kind == Kind::Rotate) {
        part.steps = std::max(part.steps, CountStepsOfTurn(part.values));
    }
    parts.push_back(std::move(part));
}

void LocalTransform::applyTo(Transform& transform) const {
    for (const Part& part : parts) {
        if (part.kind == Kind::Origin) {
            transform.matrices.assign(1, M44d());
            transform.steps = 1;
            continue;
        }
        if (part.steps > 1 && transform.matrices.size() == 1)
            transform.matrices.resize(kFinestSteps, M44d(transform.matrices[0]));
        transform.steps = std::max(transform.steps, part.steps);
        for (std::size_t step = 0; step < transform.matrices.size(); ++step) {
            const std::size_t first =
                part.steps == 1 ? 0 : step * static_cast<std::size_t>(part.valueCount);
            apply(part, part.values.data() + first, transform.matrices[step]);
        }
    }
}

/// Prepends the part, so that it is applied before the rest of the matrix.
void LocalTransform::apply(const Part& part, const double* values, M44d& matrix) {
    const V3d vector(values[0], values[1], values[2]);
    switch (part.kind) {
    case Kind::Translate:
        matrix.translate(vector);
        break;
    case Kind::Rotate: {
        const V3d axis(values[1], values[2], values[3]);
        // A zero axis means no rotation. The formula would give a singular matrix.
        if (axis.length() != 0)
            matrix = M44d().setAxisAngle(axis, values[0] * kRadiansPerDegree) * matrix;
        break;
    }
    case Kind::Scale:
        matrix.scale(vector);
        break;
    case Kind::Shear:
        matrix.shear(vector);
        break;
    case Kind::Matrix: {
        M44d own(Imath::UNINITIALIZED);
        std::copy_n(values, 16, own.getValue());
        matrix = own * matrix;
        break;
    }
    case Kind::Origin:
        break;
    }
}

Transform ReadTransform(const Suites& suites, const Attribute& chain, const Shutter& shutter) {
    Transform transform;
    LocalTransform(suites, chain, shutter).applyTo(transform);
    return transform;
}

} // namespace lantern
