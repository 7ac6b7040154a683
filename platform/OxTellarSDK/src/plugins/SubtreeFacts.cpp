#include <OxTellarSDK/SubtreeFacts.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <unordered_set>
#include <utility>

namespace OxOpType {
namespace {

using namespace OxAttribute;
using OxXFormUtil::Bounds;

constexpr double kDefaultRadius = 1;

/// Calls `visit(numbers)` with the attribute as one of its numeric type. Returns false if it has
/// another type.
template <typename Visit>
bool VisitNumbers(const Attribute& attribute, Visit visit) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        return visit(IntAttribute(attribute));
    case kAttributeTypeFloat:
        return visit(FloatAttribute(attribute));
    case kAttributeTypeDouble:
        return visit(DoubleAttribute(attribute));
    default:
        return false;
    }
}

/// Calls `apply(values)` with the values of each time sample. Returns false if the attribute is not
/// numeric.
template <typename Apply>
bool ForEachSample(const Attribute& attribute, Apply apply) {
    return VisitNumbers(attribute, [&apply](const auto& numbers) {
        for (std::int64_t i = 0; i < numbers.getNumberOfTimeSamples(); ++i)
            apply(numbers.getNearestSample(numbers.getSampleTime(i)));
        return true;
    });
}

/// Nothing if the points are no numbers or there are more than `most` of them.
std::optional<Bounds> PointBounds(const Attribute& points, std::int64_t most) {
    const bool areFew = VisitNumbers(points, [most](const auto& numbers) {
        return numbers.getNumberOfValues() / 3 <=
               most / std::max<std::int64_t>(numbers.getNumberOfTimeSamples(), 1);
    });
    if (!areFew) return std::nullopt;
    Bounds bounds;
    ForEachSample(points, [&bounds](const auto& values) {
        for (std::size_t i = 0; i + 2 < values.size(); i += 3)
            bounds.add(values[i], values[i + 1], values[i + 2]);
    });
    return bounds;
}

std::optional<Bounds> SphereBounds(const Attribute& radius) {
    double most = radius.isValid() ? 0 : kDefaultRadius;
    const bool isKnown = !radius.isValid() || ForEachSample(radius, [&most](const auto& values) {
        most =
            std::max<double>(most, values.empty() ? kDefaultRadius : std::abs(double(values[0])));
    });
    if (!isKnown || !std::isfinite(most)) return std::nullopt;
    Bounds bounds;
    bounds.values = {-most, most, -most, most, -most, most};
    return bounds;
}

/// The attribute "bound" of all samples.
std::optional<Bounds> GivenBounds(const Attribute& bound) {
    Bounds bounds;
    bool isFinite = true;
    const bool isNumeric = ForEachSample(bound, [&](const auto& values) {
        Bounds sample;
        if (values.size() < sample.values.size()) return;
        std::copy_n(values.begin(), sample.values.size(), sample.values.begin());
        isFinite = isFinite && (sample.isEmpty() || sample.isFinite());
        bounds.add(sample);
    });
    return isNumeric && isFinite ? std::optional(bounds) : std::nullopt;
}

std::optional<Bounds> OwnBounds(const GroupAttribute& attrs, std::uint32_t type,
                                std::int64_t mostPoints) {
    const Attribute geometry = attrs.getChildByIndex(attrs.findChild("geometry"));
    const Attribute points = GroupAttribute(geometry).getChildByName("point.P");
    std::optional<Bounds> bounds = Bounds();
    const bool hasPoints = points.isValid();
    if (hasPoints) bounds = PointBounds(points, mostPoints);
    if (bounds && type == kTypeSphere) {
        const auto sphere = SphereBounds(GroupAttribute(geometry).getChildByName("radius"));
        if (!sphere) return std::nullopt;
        bounds->add(*sphere);
    }
    const Attribute bound = attrs.getChildByIndex(attrs.findChild("bound"));
    if (!bounds || hasPoints || !bound.isValid()) return bounds;
    const auto given = GivenBounds(bound);
    if (!given) return std::nullopt;
    bounds->add(*given);
    return bounds;
}

/// Whether each name is one level of a path, and no two are equal.
bool AreLevels(const ConstStringSample& names) {
    std::unordered_set<std::string_view> seen;
    for (const std::string_view name : names)
        if (name.empty() || name.find('/') != std::string_view::npos || !seen.insert(name).second)
            return false;
    return true;
}

/// Nothing if either is not known or the sum is too large.
std::optional<std::int64_t> Sum(std::optional<std::int64_t> a, std::optional<std::int64_t> b) {
    if (!a || !b || *a > std::numeric_limits<std::int64_t>::max() - *b) return std::nullopt;
    return *a + *b;
}

} // namespace

std::uint32_t TypeBit(std::string_view type) {
    static constexpr std::pair<std::string_view, std::uint32_t> kBits[] = {
        {"", kTypeGroup},
        {"group", kTypeGroup},
        {"polymesh", kTypePolyMesh},
        {"subdmesh", kTypeSubdMesh},
        {"faceset", kTypeFaceSet},
        {"curves", kTypeCurves},
        {"pointcloud", kTypePointCloud},
        {"sphere", kTypeSphere},
        {"camera", kTypeCamera},
        {"light", kTypeLight}};
    for (const auto& [name, bit] : kBits)
        if (name == type) return bit;
    return kTypeOther;
}

SubtreeFacts SubtreeFacts::Missing() {
    SubtreeFacts facts;
    facts.exists = false;
    facts.types = facts.ownTypes = 0;
    facts.locations = 0;
    facts.bound = facts.ownBound = Bounds();
    facts.isPlain = true;
    facts.xform = GroupAttribute();
    facts.children = StringAttribute();
    return facts;
}

std::optional<Bounds> SubtreeFacts::boundInParent() const {
    if (bound && bound->isEmpty()) return bound;
    if (!bound || !xform) return std::nullopt;
    return OxXFormUtil::MoveBounds(*bound, *xform);
}

SubtreeFacts DescribeLocation(const GroupAttribute& attrs, const StringAttribute& children,
                              std::int64_t mostPoints) {
    SubtreeFacts facts;
    facts.exists = true;
    const StringAttribute type(attrs.getChildByIndex(attrs.findChild("type")));
    facts.ownTypes = TypeBit(type.getValueView());
    facts.isPlain = *facts.ownTypes == kTypeGroup && attrs.findChild("geometry") < 0 &&
                    attrs.findChild("bound") < 0;
    facts.ownBound = OwnBounds(attrs, *facts.ownTypes, mostPoints);
    const Attribute xform = attrs.getChildByIndex(attrs.findChild("xform"));
    if (!xform.isValid() || xform.getType() == kAttributeTypeGroup)
        facts.xform = GroupAttribute(xform);
    facts.children = children;
    return facts;
}

void AddChildren(SubtreeContext& context, SubtreeFacts& facts, std::int64_t mostChildren) {
    if (facts.types && facts.locations && facts.bound) return;
    if (facts.exists == false || !facts.children) return;
    const StringAttribute names = *facts.children; // `facts` is changed below
    if (names.getNumberOfValues() > mostChildren) return;
    const ConstStringSample sample = names.getNearestSample(0.0f);
    if (!AreLevels(sample)) return;

    std::optional<std::uint32_t> types = facts.ownTypes;
    std::optional<std::int64_t> locations = 1;
    std::optional<Bounds> bound = facts.ownBound;
    for (const std::string_view name : sample) {
        const SubtreeFacts child = context.here(context.path() + "/" + std::string(name));
        const std::optional<Bounds> moved = bound ? child.boundInParent() : std::nullopt;
        types = types && child.types ? std::optional(*types | *child.types) : std::nullopt;
        locations = Sum(locations, child.locations);
        if (!moved) bound.reset();
        if (bound) bound->add(*moved);
    }
    if (!facts.types) facts.types = types;
    if (!facts.locations) facts.locations = locations;
    if (!facts.bound) facts.bound = bound;
}

Instances::~Instances() = default;

void Instances::read(std::int64_t begin, std::int64_t end, std::int64_t* prototypes,
                     double* matrices) const {
    if (begin < 0 || begin > end || end > count())
        throw std::out_of_range("There are no instances from " + std::to_string(begin) + " to " +
                                std::to_string(end) + "; there are " + std::to_string(count()));
    readRange(begin, end, prototypes, matrices);
}

std::string Instances::path(std::int64_t index) const {
    if (index < 0 || index >= count())
        throw std::out_of_range("There is no instance " + std::to_string(index) + "; there are " +
                                std::to_string(count()));
    return pathOf(index);
}

SubtreeFacts OpType::describeSubtree(SubtreeContext&) const {
    return {};
}

std::shared_ptr<const Instances> OpType::describeInstances(InstanceContext&) const {
    return nullptr;
}

} // namespace OxOpType
