#include <OxTellarSDK/XFormUtil.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string_view>
#include <vector>

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

namespace OxXFormUtil {
namespace {

using namespace OxAttribute;
using Matrix = Imath::Matrix44<double>;
using Vector = Imath::Vec3<double>;

constexpr std::int64_t kMatrixValues = 16;
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;

enum class Kind { Translate, Rotate, Scale, Shear, Matrix, Origin };

struct KindRow {
    std::string_view prefix;
    Kind kind;
    std::int64_t values; // as many as the kind reads
};

constexpr KindRow kKinds[] = {
    {"translate", Kind::Translate, 3}, {"rotate", Kind::Rotate, 4},  {"scale", Kind::Scale, 3},
    {"shear", Kind::Shear, 3},         {"matrix", Kind::Matrix, 16}, {"origin", Kind::Origin, 0},
};

/// Null for a name that stands for no kind.
const KindRow* FindKind(std::string_view name) {
    for (const KindRow& row : kKinds)
        if (name.substr(0, row.prefix.size()) == row.prefix) return &row;
    return nullptr;
}

bool HasValues(const Attribute& attribute, std::int64_t count) {
    switch (attribute.getType()) {
    case kAttributeTypeDouble:
        return DoubleAttribute(attribute).getNumberOfValues() >= count;
    case kAttributeTypeFloat:
        return FloatAttribute(attribute).getNumberOfValues() >= count;
    case kAttributeTypeInt:
        return IntAttribute(attribute).getNumberOfValues() >= count;
    default:
        return false;
    }
}

/// Calls `apply(row, child)` for every child that takes part, those of nested groups in place.
template <typename Apply>
void ForEachStep(const GroupAttribute& xform, Apply& apply) {
    const std::int64_t count = xform.getNumberOfChildren();
    for (std::int64_t index = 0; index < count; ++index) {
        const Attribute child = xform.getChildByIndex(index);
        if (child.getType() == kAttributeTypeGroup) {
            ForEachStep(GroupAttribute(child), apply);
            continue;
        }
        const KindRow* row = FindKind(xform.getChildNameView(index));
        if (row && (row->kind == Kind::Origin || HasValues(child, row->values))) apply(*row, child);
    }
}

template <typename T>
void ReadAs(const Attribute& child, std::int64_t count, float time, double* out) {
    T values[kMatrixValues];
    NumericAttribute<T>(child).fillInterpSample(values, count, time);
    std::copy(values, values + count, out);
}

/// `child` is a numeric attribute with at least `count` values.
void ReadValues(const Attribute& child, std::int64_t count, float time, double* out) {
    if (child.getType() == kAttributeTypeDouble) return ReadAs<double>(child, count, time, out);
    if (child.getType() == kAttributeTypeFloat) return ReadAs<float>(child, count, time, out);
    ReadAs<std::int32_t>(child, count, time, out);
}

/// Puts steps together at one time. A step acts before all those given earlier: it is
/// multiplied on from the left.
class Composer {
public:
    explicit Composer(float time) : time(time) {}

    void operator()(const KindRow& row, const Attribute& child) {
        anyStep = true;
        double v[kMatrixValues] = {};
        if (row.values > 0) ReadValues(child, row.values, time, v);
        switch (row.kind) {
        case Kind::Translate:
            matrix.translate(Vector(v[0], v[1], v[2]));
            break;
        case Kind::Rotate:
            rotate(v[0] * kRadiansPerDegree, Vector(v[1], v[2], v[3]));
            break;
        case Kind::Scale:
            matrix.scale(Vector(v[0], v[1], v[2]));
            break;
        case Kind::Shear:
            matrix.shear(Vector(v[0], v[1], v[2]));
            break;
        case Kind::Matrix:
            multiply(v);
            break;
        case Kind::Origin:
            matrix.makeIdentity();
            break;
        }
    }

    bool hasAnyStep() const { return anyStep; }
    const double* values() const { return matrix.getValue(); }

private:
    void rotate(double angle, const Vector& axis) {
        // No axis, no rotation: the formula would flatten space instead.
        if (axis.length() == 0) return;
        matrix = Matrix().setAxisAngle(axis, angle) * matrix;
    }

    void multiply(const double* v) {
        Matrix step;
        std::copy(v, v + kMatrixValues, step.getValue());
        matrix = step * matrix;
    }

    float time;
    bool anyStep = false;
    Matrix matrix;
};

/// Collects the times at which any step has a sample.
class TimeCollector {
public:
    void operator()(const KindRow&, const Attribute& child) {
        anyStep = true;
        if (child.getType() == kAttributeTypeDouble) add(DoubleAttribute(child));
        if (child.getType() == kAttributeTypeFloat) add(FloatAttribute(child));
    }

    bool hasAnyStep() const { return anyStep; }

    /// Ascending, without repetitions, never empty.
    std::vector<float> take() {
        std::sort(times.begin(), times.end());
        times.erase(std::unique(times.begin(), times.end()), times.end());
        if (times.empty()) times.push_back(0.0f); // nothing but an "origin" without samples
        return std::move(times);
    }

private:
    void add(const DataAttribute& values) {
        const std::int64_t count = values.getNumberOfTimeSamples();
        for (std::int64_t index = 0; index < count; ++index) {
            const float time = values.getSampleTime(index);
            if (!std::isnan(time)) times.push_back(time); // they cannot be put in order
        }
    }

    bool anyStep = false;
    std::vector<float> times;
};

} // namespace

std::pair<DoubleAttribute, bool> CalcTransformMatrixAtTime(const GroupAttribute& xform,
                                                           float time) {
    Composer composer(time);
    ForEachStep(xform, composer);
    if (!composer.hasAnyStep()) return {DoubleAttribute(), false};
    return {DoubleAttribute(&time, 1, composer.values(), kMatrixValues, kMatrixValues), true};
}

std::pair<DoubleAttribute, bool> CalcTransformMatrixAtExistingTimes(const GroupAttribute& xform) {
    TimeCollector collector;
    ForEachStep(xform, collector);
    if (!collector.hasAnyStep()) return {DoubleAttribute(), false};
    const std::vector<float> times = collector.take();
    std::vector<double> values;
    values.reserve(times.size() * kMatrixValues);
    for (const float time : times) {
        Composer composer(time);
        ForEachStep(xform, composer);
        values.insert(values.end(), composer.values(), composer.values() + kMatrixValues);
    }
    return {DoubleAttribute(times.data(), static_cast<std::int64_t>(times.size()), values.data(),
                            kMatrixValues, kMatrixValues),
            true};
}

} // namespace OxXFormUtil
