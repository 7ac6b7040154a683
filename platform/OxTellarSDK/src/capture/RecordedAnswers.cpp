#include "RecordedAnswers.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/TellarError.h>

using namespace OxAttribute;
using OxOpType::Instances;
using OxOpType::SubtreeFacts;
using OxXFormUtil::Bounds;

namespace OxCapture {

namespace {

using Children = std::vector<GroupAttribute::Child>;

constexpr std::int64_t kMatrixSize = 16;

// Locations ---------------------------------------------------------------------------------------

GroupAttribute FromFacts(const ErrorFacts& facts) {
    return GroupAttribute(Children{{"code", IntAttribute(facts.code)},
                                   {"text", StringAttribute(facts.text)},
                                   {"op", StringAttribute(facts.op)},
                                   {"opType", StringAttribute(facts.opType)},
                                   {"location", StringAttribute(facts.location)},
                                   {"attribute", StringAttribute(facts.attribute)},
                                   {"file", StringAttribute(facts.file)},
                                   {"opPlace", StringAttribute(facts.opPlace)}},
                          true);
}

ErrorFacts ToFacts(const GroupAttribute& group) {
    const auto text = [&group](const char* name) {
        return std::string(StringAttribute(group.getChildByName(name)).getValueView());
    };
    const std::int32_t code =
        IntAttribute(group.getChildByName("code")).getValue(kOxErrorUnknown, false);
    const bool isKnown = code >= kOxErrorBadCall && code <= kOxErrorUnknown;
    return {isKnown ? static_cast<OxErrorCode>(code) : kOxErrorUnknown,
            text("text"),
            text("op"),
            text("opType"),
            text("location"),
            text("attribute"),
            text("file"),
            text("opPlace")};
}

// Subtrees ----------------------------------------------------------------------------------------

Attribute FromBounds(const Bounds& bounds) {
    return DoubleAttribute(bounds.values.data(), 6, 6);
}

std::optional<Bounds> ToBounds(const Attribute& attribute) {
    const auto values = DoubleAttribute(attribute).getNearestSample(0);
    Bounds bounds;
    if (values.size() != bounds.values.size()) return std::nullopt;
    std::copy(values.begin(), values.end(), bounds.values.begin());
    return bounds;
}

/// 64-bit numbers as pairs of ints, the low half first.
Attribute FromWords(std::initializer_list<std::uint64_t> words) {
    std::vector<std::int32_t> halves;
    for (const std::uint64_t word : words) {
        halves.push_back(static_cast<std::int32_t>(static_cast<std::uint32_t>(word)));
        halves.push_back(static_cast<std::int32_t>(static_cast<std::uint32_t>(word >> 32)));
    }
    return IntAttribute(halves, 2);
}

/// The words, or none unless there are `count` of them.
std::vector<std::uint64_t> ToWords(const Attribute& attribute, std::size_t count) {
    const auto halves = IntAttribute(attribute).getNearestSample(0);
    std::vector<std::uint64_t> words;
    if (halves.size() != 2 * count) return words;
    for (std::size_t i = 0; i < count; ++i)
        words.push_back(static_cast<std::uint32_t>(halves[2 * i]) |
                        std::uint64_t(static_cast<std::uint32_t>(halves[2 * i + 1])) << 32);
    return words;
}

std::optional<std::uint64_t> ToWord(const Attribute& attribute) {
    const std::vector<std::uint64_t> words = ToWords(attribute, 1);
    return words.empty() ? std::nullopt : std::optional(words[0]);
}

/// Null stands for a value that is known to be missing.
Attribute OrNull(const Attribute& attribute) {
    return attribute.isValid() ? attribute : NullAttribute();
}

/// Nothing for an attribute of another type.
template <typename Kind>
std::optional<Kind> ToKnown(const Attribute& attribute) {
    if (attribute.getType() == kAttributeTypeNull) return Kind();
    const Kind value(attribute);
    return value.isValid() ? std::optional<Kind>(value) : std::nullopt;
}

// Instances ---------------------------------------------------------------------------------------

/// Instances whose parts were read from a capture and checked.
class RecordedInstances final : public Instances {
public:
    explicit RecordedInstances(const GroupAttribute& group)
        : paths(group.getChildByName("paths")), indices(group.getChildByName("prototype")),
          matrices(group.getChildByName("matrix")) {
        for (const std::string_view path :
             StringAttribute(group.getChildByName("prototypes")).getNearestSample(0))
            prototypePaths.emplace_back(path);
    }

    bool isSound() const {
        const auto own = indices.getNearestSample(0);
        return paths.isValid() && indices.isValid() && matrices.isValid() &&
               indices.getNumberOfValues() == count() &&
               matrices.getNumberOfValues() == count() * kMatrixSize &&
               std::all_of(own.begin(), own.end(), [this](std::int32_t index) {
                   return index >= 0 && std::size_t(index) < prototypePaths.size();
               });
    }

    std::int64_t count() const override { return paths.getNumberOfValues(); }
    const std::vector<std::string>& prototypes() const override { return prototypePaths; }

protected:
    void readRange(std::int64_t begin, std::int64_t end, std::int64_t* prototypeIndices,
                   double* matrixValues) const override {
        const std::int32_t* const own = indices.getNearestSample(0).data();
        const double* const values = matrices.getNearestSample(0).data();
        if (prototypeIndices) std::copy(own + begin, own + end, prototypeIndices);
        if (matrixValues)
            std::copy(values + begin * kMatrixSize, values + end * kMatrixSize, matrixValues);
    }
    std::string pathOf(std::int64_t index) const override {
        return std::string(paths.getValueView(index));
    }

private:
    const StringAttribute paths;
    const IntAttribute indices;
    const DoubleAttribute matrices;
    std::vector<std::string> prototypePaths;
};

} // namespace

Attribute FromLocation(const TellarRuntime::LocationData& location) {
    if (!location.doesLocationExist()) return {};
    return GroupAttribute(
        Children{{"attrs", location.getAttrs()}, {"pc", location.getPotentialChildren()}}, true);
}

Attribute FromError(const std::exception_ptr& error) {
    return GroupAttribute(Children{{"error", FromFacts(FactsOf(error))}}, true);
}

TellarRuntime::LocationData ToLocation(const Attribute& answer) {
    const GroupAttribute group(answer);
    if (!group.isValid())
        return TellarRuntime::LocationData(
            GroupAttribute(Children{{"exists", IntAttribute(0)}}, true));
    const GroupAttribute error(group.getChildByName("error"));
    if (error.isValid()) throw TellarError(ToFacts(error));
    return TellarRuntime::LocationData(group);
}

Attribute FromSubtree(const SubtreeFacts& facts) {
    Children parts;
    if (facts.exists) parts.emplace_back("exists", IntAttribute(*facts.exists));
    if (facts.types) parts.emplace_back("types", FromWords({*facts.types}));
    if (facts.locations)
        parts.emplace_back("locations", FromWords({static_cast<std::uint64_t>(*facts.locations)}));
    if (facts.bound) parts.emplace_back("bound", FromBounds(*facts.bound));
    if (facts.ownTypes) parts.emplace_back("ownTypes", FromWords({*facts.ownTypes}));
    if (facts.ownBound) parts.emplace_back("ownBound", FromBounds(*facts.ownBound));
    parts.emplace_back("isPlain", IntAttribute(facts.isPlain));
    if (facts.xform) parts.emplace_back("xform", OrNull(*facts.xform));
    if (facts.children) parts.emplace_back("children", OrNull(*facts.children));
    parts.emplace_back("identity", FromWords({facts.identity.words[0], facts.identity.words[1]}));
    return GroupAttribute(parts, true);
}

SubtreeFacts ToSubtree(const Attribute& answer) {
    const GroupAttribute group(answer);
    const auto part = [&group](const char* name) { return group.getChildByName(name); };
    SubtreeFacts facts;
    if (const IntAttribute exists(part("exists")); exists.isValid())
        facts.exists = exists.getValue(0, false) != 0;
    if (const auto types = ToWord(part("types"))) facts.types = static_cast<std::uint32_t>(*types);
    if (const auto locations = ToWord(part("locations")))
        facts.locations = static_cast<std::int64_t>(*locations);
    facts.bound = ToBounds(part("bound"));
    if (const auto types = ToWord(part("ownTypes")))
        facts.ownTypes = static_cast<std::uint32_t>(*types);
    facts.ownBound = ToBounds(part("ownBound"));
    facts.isPlain = IntAttribute(part("isPlain")).getValue(0, false) != 0;
    facts.xform = ToKnown<GroupAttribute>(part("xform"));
    facts.children = ToKnown<StringAttribute>(part("children"));
    const std::vector<std::uint64_t> identity = ToWords(part("identity"), 2);
    if (!identity.empty()) facts.identity = {{identity[0], identity[1]}};
    return facts;
}

Attribute FromInstances(const Instances* instances) {
    if (!instances) return {};
    const std::int64_t count = instances->count();
    std::vector<std::int64_t> indices(static_cast<std::size_t>(count));
    std::vector<double> matrices(static_cast<std::size_t>(count * kMatrixSize));
    instances->read(0, count, indices.data(), matrices.data());
    std::vector<std::string> paths;
    for (std::int64_t i = 0; i < count; ++i)
        paths.push_back(instances->path(i));
    return GroupAttribute(
        Children{{"prototypes", StringAttribute(instances->prototypes(), 1)},
                 {"paths", StringAttribute(paths, 1)},
                 {"prototype",
                  IntAttribute(std::vector<std::int32_t>(indices.begin(), indices.end()), 1)},
                 {"matrix", DoubleAttribute(matrices, kMatrixSize)}},
        true);
}

std::shared_ptr<const Instances> ToInstances(const Attribute& answer) {
    const GroupAttribute group(answer);
    if (!group.isValid()) return nullptr;
    auto instances = std::make_shared<const RecordedInstances>(group);
    return instances->isSound() ? instances : nullptr;
}

} // namespace OxCapture
