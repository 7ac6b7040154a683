#include <OxTellarSDK/XFormUtil.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>
#include <boost/container/small_vector.hpp>

#include <OxTellarSDK/AttributeChain.h>

#include "GroupChildren.h"
#include "KnownPaths.h"
#include "NodeAccess.h"

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
    std::int64_t values; // the number of values that the kind reads
};

constexpr KindRow kKinds[] = {
    {"translate", Kind::Translate, 3}, {"rotate", Kind::Rotate, 4},  {"scale", Kind::Scale, 3},
    {"shear", Kind::Shear, 3},         {"matrix", Kind::Matrix, 16}, {"origin", Kind::Origin, 0},
};

/// The kind that a name begins with; null if there is none.
const KindRow* FindKind(std::string_view name) {
    for (const KindRow& row : kKinds)
        if (!name.empty() && name[0] == row.prefix[0] &&
            name.substr(0, row.prefix.size()) == row.prefix)
            return &row;
    return nullptr;
}

bool HasValues(const Node* node, std::int64_t count) {
    return IsNumeric(node) && ViewOf(node).count >= static_cast<std::uint64_t>(count);
}

template <typename Apply>
void ForEachStep(const Node* xform, std::uint64_t first, Apply& apply);

template <typename Apply>
void ApplyStep(std::string_view name, const Node* child, Apply& apply) {
    if (IsGroup(child)) return ForEachStep(child, 0, apply);
    const KindRow* row = FindKind(name);
    if (row && (row->kind == Kind::Origin || HasValues(child, row->values))) apply(*row, child);
}

/// Calls `apply(row, child)` for every child from `first` on that takes part, including those of
/// nested groups. Takes no references, because the caller keeps `xform`, which contains all of
/// them.
template <typename Apply>
void ForEachStep(const Node* xform, std::uint64_t first, Apply& apply) {
    Container* const container = Container::Of(xform);
    if (const Shape* shape = container ? container->shapeOf(xform) : nullptr) {
        for (std::uint64_t index = first; index < shape->count; ++index) {
            const Shape::Child& entry = shape->children[index];
            ApplyStep(entry.nameView(), container->childAt(*shape, entry, xform), apply);
        }
        return;
    }
    const std::uint64_t count = CountChildren(xform);
    for (std::uint64_t index = first; index < count; ++index)
        ApplyStep(ChildName(xform, index), ChildOf(xform, index), apply);
}

template <typename Apply>
void ForEachStep(const GroupAttribute& xform, Apply& apply) {
    if (xform.isValid()) ForEachStep(xform.getHandle(), 0, apply);
}

/// Reads the first `count` values at `time`. They are interpolated in type `Blended`.
template <typename T, typename Blended = T>
void ReadAs(const DataView& view, std::int64_t count, float time, double* out) {
    if (view.timeCount == 1) {
        std::copy_n(view.as<T>(), count, out);
        return;
    }
    const SampleSpan span = FindSpan(view, time);
    const T* low = view.as<T>() + span.before * view.count;
    const T* high = view.as<T>() + span.after * view.count;
    for (std::int64_t i = 0; i < count; ++i)
        out[i] = span.interpolate<Blended>(low[i], high[i]);
}

/// Returns the first `count` values at `time`, which lie in the attribute or are assigned to
/// `room`. `child` is a numeric attribute with at least `count` values; zeros if its file has
/// changed and it no longer is.
const double* ReadValues(const Node* child, std::int64_t count, float time, double* room) {
    const DataView view = ViewOf(child);
    if (view.count < static_cast<std::uint64_t>(count)) {
        std::fill_n(room, count, 0.0);
        return room;
    }
    const bool isDouble = view.type == kAttributeTypeDouble;
    if (isDouble && view.timeCount == 1) return view.as<double>();
    if (isDouble)
        ReadAs<double>(view, count, time, room);
    else if (view.type == kAttributeTypeFloat)
        ReadAs<float>(view, count, time, room);
    else
        ReadAs<std::int32_t, double>(view, count, time, room);
    return room;
}

/// Replaces b by a b. The sums are in the order of Imath's product, so they are equal bit by bit;
/// whole rows at a time are half the instructions.
void MultiplyFromLeft(const double* a, Matrix& b) {
    double product[4][4];
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            product[row][column] = a[4 * row] * b.x[0][column] + a[4 * row + 1] * b.x[1][column] +
                                   a[4 * row + 2] * b.x[2][column] +
                                   a[4 * row + 3] * b.x[3][column];
    std::copy_n(&product[0][0], kMatrixValues, b.getValue());
}

/// Composes steps at one time. A later step is applied to points before the earlier ones, so it is
/// multiplied from the left.
class Composer {
public:
    explicit Composer(float time) : time(time) {}

    /// Continues behind steps with this product, at least one.
    void startAt(const double* product) {
        anyStep = true;
        std::copy_n(product, kMatrixValues, matrix.getValue());
    }

    void operator()(const KindRow& row, const Node* child) {
        const bool isFirst = !std::exchange(anyStep, true);
        if (row.kind == Kind::Origin) return matrix.makeIdentity();
        double room[kMatrixValues];
        const double* const v = ReadValues(child, row.values, time, room);
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
            multiply(v, isFirst);
            break;
        case Kind::Origin: // has no values
            break;
        }
    }

    bool hasAnyStep() const { return anyStep; }
    const double* values() const { return matrix.getValue(); }

private:
    void rotate(double angle, const Vector& axis) {
        // Without an axis there is no rotation. The formula would give a singular matrix.
        if (axis.length() == 0) return;
        matrix = Matrix().setAxisAngle(axis, angle) * matrix;
    }

    void multiply(const double* v, bool isFirst) {
        if (isFirst)
            std::copy_n(v, kMatrixValues, matrix.getValue());
        else
            MultiplyFromLeft(v, matrix);
    }

    float time;
    bool anyStep = false;
    Matrix matrix;
};

/// Composes steps that do not change with time.
class StillComposer {
public:
    void operator()(const KindRow& row, const Node* child) {
        isStill = isStill && (row.kind == Kind::Origin || ViewOf(child).timeCount == 1);
        if (isStill) composer(row, child);
    }

    bool isStill = true;
    Composer composer{0.0f};
};

/// Collects the times at which any step has a sample.
class TimeCollector {
public:
    void operator()(const KindRow&, const Node* child) {
        anyStep = true;
        if (!IsNumeric(child)) return;
        const DataView view = ViewOf(child);
        for (std::uint64_t index = 0; index < view.timeCount; ++index) {
            const float time = view.timeAt(index);
            if (!std::isnan(time)) times.push_back(time); // NaN has no order
        }
    }

    bool hasAnyStep() const { return anyStep; }

    /// The times in ascending order, without repetitions; never empty.
    std::vector<float> take() {
        std::sort(times.begin(), times.end());
        times.erase(std::unique(times.begin(), times.end()), times.end());
        if (times.empty()) times.push_back(0.0f); // only an "origin" without samples
        return std::move(times);
    }

private:
    bool anyStep = false;
    std::vector<float> times;
};

constexpr std::string_view kXForm = "xform";

/// The child "xform" of a group, without a reference; null when there is none.
Node* FindXForm(const GroupAttribute& attrs) {
    Node* const group = attrs.getHandle();
    if (!group) return nullptr;
    if (Container* container = Container::Of(group))
        return const_cast<Node*>(FindInFile(*container, group, kXForm));
    const std::int64_t index = FindInMemory(group, kXForm);
    return index < 0 ? nullptr : Entries(group)[index].child;
}

/// "i12". The text lies in `room`, or is constant.
std::string_view NameOfDepth(std::size_t depth, char (&room)[24]) {
    constexpr std::string_view kFirstNames[] = {"i0", "i1", "i2", "i3", "i4",
                                                "i5", "i6", "i7", "i8", "i9"};
    if (depth < std::size(kFirstNames)) return kFirstNames[depth];
    room[0] = 'i';
    const char* const end = std::to_chars(room + 1, std::end(room), depth).ptr;
    return {room, static_cast<std::size_t>(end - room)};
}

} // namespace

std::optional<std::int64_t> ValuesOfStep(std::string_view name) {
    const KindRow* const row = FindKind(name);
    return row ? std::optional(row->values) : std::nullopt;
}

std::pair<DoubleAttribute, bool> CalcTransformMatrixAtTime(const GroupAttribute& xform,
                                                           float time) {
    Composer composer(time);
    const LeadingProduct product =
        xform.isValid() ? ProductOf(xform.getHandle()) : LeadingProduct();
    if (product.matrix) composer.startAt(product.matrix);
    if (xform.isValid()) ForEachStep(xform.getHandle(), product.children, composer);
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

InheritedTransforms::InheritedTransforms(const GroupAttribute& attrs,
                                         const InheritedTransforms* parent)
    : above(parent && !parent->xform ? parent->above : parent), xform(FindXForm(attrs)),
      depth(parent ? parent->depth + 1 : 0), count((parent ? parent->count : 0) + (xform ? 1 : 0)),
      isKnown(!parent || parent->isKnown), anyStep(parent && parent->anyStep) {
    if (!isKnown) return;
    try {
        compose(parent);
    } catch (const std::runtime_error&) {
        isKnown = false; // the error is for those who ask for a matrix
    }
}

void InheritedTransforms::compose(const InheritedTransforms* parent) {
    StillComposer still;
    if (anyStep) still.composer.startAt(parent->matrix);
    if (xform && IsGroup(xform)) ForEachStep(xform, 0, still);
    isKnown = still.isStill;
    anyStep = still.composer.hasAnyStep();
    std::copy_n(still.composer.values(), kMatrixValues, matrix);
}

GroupAttribute MakeTransformGroup(const GroupAttribute& attrs, const InheritedTransforms* parent) {
    struct Level {
        char name[24];
    };
    constexpr std::size_t kUsualDepth = 8;
    Node* const own = FindXForm(attrs);
    const std::uint32_t inherited = parent ? parent->count : 0;
    const std::size_t count = inherited + (own ? 1 : 0);
    constexpr auto kUnset = boost::container::default_init;
    boost::container::small_vector<Level, kUsualDepth> levels(count, kUnset); // of the children
    boost::container::small_vector<NamedChild, kUsualDepth> children(count, kUnset);
    std::size_t place = count;
    const auto add = [&](std::size_t depth, Node* xform) {
        --place;
        children[place] = {NameOfDepth(depth, levels[place].name), xform};
    };
    if (own) add(parent ? parent->depth + 1 : 0, own);
    const InheritedTransforms* level = parent && !parent->xform ? parent->above : parent;
    for (; level; level = level->above)
        add(level->depth, level->xform);
    const bool hasProduct = parent && parent->isKnown && parent->anyStep;
    return MakeGroup(children.data(), count, false,
                     hasProduct ? LeadingProduct{parent->matrix, inherited} : LeadingProduct());
}

bool CalcTransformMatrixBelow(const GroupAttribute& attrs, const InheritedTransforms* parent,
                              float time, double* matrix) {
    Composer composer(time);
    if (parent && parent->anyStep) composer.startAt(parent->matrix);
    const Node* const xform = FindXForm(attrs);
    if (xform && IsGroup(xform)) ForEachStep(xform, 0, composer);
    if (!composer.hasAnyStep()) return false;
    std::copy_n(composer.values(), kMatrixValues, matrix);
    return true;
}

bool CalcTransformMatrixOfChain(const AttributeChain& chain, float time, double* matrix) {
    Composer composer(time);
    for (std::size_t depth = 0; depth < chain.count; ++depth) {
        const Node* const xform = FindXForm(*chain.groups[chain.count - 1 - depth]);
        if (xform && IsGroup(xform)) ForEachStep(xform, 0, composer);
    }
    if (!composer.hasAnyStep()) return false;
    std::copy_n(composer.values(), kMatrixValues, matrix);
    return true;
}

} // namespace OxXFormUtil
