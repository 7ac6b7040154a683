#include "LocationSteps.h"

#include <memory>
#include <utility>

#include <boost/container/small_vector.hpp>

#include "LocationNames.h"
#include "ProducerTree.h"

using OxAttribute::Attribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

namespace {

using Ptr = GeometryProducer::Ptr;

/// The index of a name among potential children; -1 when it is not one of them.
std::int64_t IndexOf(std::string_view name, const StringAttribute& names) {
    if (names.getNumberOfTimeSamples() == 1) return names.findValue(name);
    // Only the sample that is nearest to time 0 counts.
    const std::int64_t count = names.getNumberOfValues();
    for (std::int64_t i = 0; i < count; ++i)
        if (names.getValueView(i) == name) return i;
    return -1;
}

/// The child that `names` holds at an index.
LocationStep StepTo(GeometryProducer& parent, const StringAttribute& names, std::int64_t index) {
    try {
        return {parent.getChildByIndex(index), nullptr};
    } catch (...) {
        const std::string path = ChildPath(parent.getFullName(), names.getValueView(index));
        return {MakeFailedLocation(&parent, path), std::current_exception()};
    }
}

/// Looks at child after child, for producers whose own navigation would stop at the first one that
/// cannot be cooked.
LocationStep StepFrom(GeometryProducer& parent, std::int64_t index) {
    const StringAttribute names = parent.getPotentialChildren();
    const std::int64_t count = names.getNumberOfValues();
    for (std::int64_t i = index; i < count; ++i) {
        LocationStep step = StepTo(parent, names, i);
        if (step.location) return step;
    }
    return {};
}

LocationStep StepBehind(GeometryProducer& location) {
    GeometryProducer* const parent = location.getRawParentPtr();
    if (!parent) return {};
    const std::int64_t index = IndexOf(location.getName(), parent->getPotentialChildren());
    return index < 0 ? LocationStep() : StepFrom(*parent, index + 1);
}

/// A location that could not be cooked, below a producer of any kind.
class FailedLocation final : public GeometryProducer {
public:
    FailedLocation(Ptr parent, std::string path)
        : GeometryProducer(std::move(parent)), locationPath(std::move(path)) {}

    void getAttributeNames(std::set<std::string>*) override {}
    StringAttribute getPotentialChildren() override { return {}; }
    Attribute getAttribute(const char*) override { return {}; }
    std::string getName() override { return LeafName(locationPath); }
    std::string getFullName() override { return locationPath; }
    std::string getHash() override { return OxAttribute::Hash().str(); }
    Ptr getChildByName(const char* name, bool) override {
        const std::string_view wanted = name ? name : "";
        if (wanted == "..") return getParent();
        if (wanted == ".") return this;
        RefuseDeepName(wanted);
        return nullptr;
    }
    Ptr getFirstChild(bool) override { return nullptr; }
    Ptr getNextSibling(bool) override {
        LocationStep step = StepBehind(*this);
        if (step.error) std::rethrow_exception(step.error);
        return std::move(step.location);
    }

private:
    const std::string locationPath;
};

} // namespace

Ptr MakeFailedLocation(Ptr parent, std::string path) {
    return new FailedLocation(std::move(parent), std::move(path));
}

std::string_view OwnLocation::getName() const {
    const std::string_view end = producer->getPathEnd();
    const std::string_view last = LastPart(end);
    // A whole path without any "/" has no name.
    return producer->isWholePath && last.size() == end.size() ? end.substr(end.size()) : last;
}

std::string_view OwnLocation::getChildName(std::int64_t index) const {
    return producer->locationData.getPotentialChildren().getValueView(index);
}

/// The place among the parent's potential children, by name for a producer of a factory.
std::int64_t OwnLocation::findIndex() const {
    if (producer->childIndex >= 0) return producer->childIndex;
    return getParent().findChild(getName());
}

std::int64_t OwnLocation::findChild(std::string_view name) const {
    return IndexOf(name, producer->locationData.getPotentialChildren());
}

/// Those of one level, or those that another thread has made of it meanwhile.
const OxXFormUtil::InheritedTransforms&
OwnLocation::makeTransformsBelow(const OxXFormUtil::InheritedTransforms* parents) const {
    auto made = std::make_unique<const OxXFormUtil::InheritedTransforms>(
        producer->locationData.getAttrs(), parents);
    const OxXFormUtil::InheritedTransforms* others = nullptr;
    if (!producer->transforms.compare_exchange_strong(others, made.get(), std::memory_order_acq_rel,
                                                      std::memory_order_acquire))
        return *others;
    return *made.release();
}

/// Goes up to an ancestor that has been asked before, and down again: locations may be nested
/// deeper than the stack.
const OxXFormUtil::InheritedTransforms& OwnLocation::makeTransforms() const {
    const OxXFormUtil::InheritedTransforms* known = nullptr;
    boost::container::small_vector<OwnLocation, 16> levels{*this};
    for (OwnLocation level = getParent(); level && !known; level = level.getParent()) {
        known = level.producer->transforms.load(std::memory_order_acquire);
        if (!known) levels.push_back(level);
    }
    do {
        known = &levels.back().makeTransformsBelow(known);
        levels.pop_back();
    } while (!levels.empty());
    return *known;
}

LocationStep OwnLocation::getFailedChild(std::int64_t index, std::exception_ptr error) const {
    const ProducerTree* const tree = producer->tree;
    return {tree->makeProducer({producer, {}, index, tree}), std::move(error)};
}

LocationStep OwnLocation::evict() const {
    const ProducerTree* const tree = producer->tree;
    auto* const parent = static_cast<BaseGeometryProducer*>(producer->getRawParentPtr());
    ProducerParts parts{parent, {}, producer->childIndex, tree};
    parts.ownedTree = producer->ownedTree;
    if (producer->pathEnd) parts.pathEnd = std::make_unique<const std::string>(*producer->pathEnd);
    LocationStep step;
    try {
        parts.data = tree->getLocation(producer->getFullName(), true);
        if (!parts.data.doesLocationExist()) return step;
    } catch (...) {
        step.error = std::current_exception();
    }
    step.location = tree->makeProducer(std::move(parts));
    return step;
}

LocationStep StepToChild(GeometryProducer& location, std::int64_t index) {
    if (const OwnLocation own = OwnLocation::of(location)) return own.getChild(index);
    const StringAttribute names = location.getPotentialChildren();
    if (index < 0 || index >= names.getNumberOfValues()) return {};
    return StepTo(location, names, index);
}

LocationStep StepToFailedChild(GeometryProducer& parent, std::int64_t index,
                               std::exception_ptr error) {
    if (const OwnLocation own = OwnLocation::of(parent))
        return own.getFailedChild(index, std::move(error));
    const StringAttribute names = parent.getPotentialChildren();
    return {MakeFailedLocation(&parent, ChildPath(parent.getFullName(), names.getValueView(index))),
            std::move(error)};
}

LocationStep StepToFirstChild(GeometryProducer& location) {
    if (const OwnLocation own = OwnLocation::of(location)) return own.getChildFrom(0);
    try {
        return {location.getFirstChild(false), nullptr};
    } catch (...) {
        return StepFrom(location, 0);
    }
}

LocationStep StepToNextSibling(GeometryProducer& location) {
    if (const OwnLocation own = OwnLocation::of(location)) return own.getNextSibling();
    try {
        return {location.getNextSibling(false), nullptr};
    } catch (...) {
        return StepBehind(location);
    }
}

LocationStep StepToChildNamed(GeometryProducer& location, const std::string& name) {
    try {
        return {location.getChildByName(name.c_str(), false), nullptr};
    } catch (...) {
        const OwnLocation own = OwnLocation::of(location);
        const std::int64_t index = own ? own.findChild(name) : -1;
        if (index >= 0) return own.getFailedChild(index, std::current_exception());
        return {MakeFailedLocation(&location, ChildPath(location.getFullName(), name)),
                std::current_exception()};
    }
}

LocationStep StepAlong(GeometryProducer& location, const std::string& path) {
    PathParts parts(path);
    std::string part(parts.next());
    LocationStep step{&location, nullptr};
    if (part == "." || part == "..")
        step = StepToChildNamed(location, part);
    else if (part != location.getName())
        return {};
    while (step.location && !parts.isAtEnd()) {
        if (step.error) std::rethrow_exception(step.error);
        part = parts.next();
        step = StepToChildNamed(*step.location, part);
    }
    return step;
}

LocationStep StepAnew(GeometryProducer& location) {
    if (const OwnLocation own = OwnLocation::of(location)) return own.evict();
    GeometryProducer* const parent = location.getRawParentPtr();
    if (!parent) return {&location, nullptr};
    const std::string name = location.getName();
    try {
        return {parent->getChildByName(name.c_str(), true), nullptr};
    } catch (...) {
        return {MakeFailedLocation(parent, location.getFullName()), std::current_exception()};
    }
}

} // namespace TELLAR
