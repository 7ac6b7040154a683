#ifndef OXTELLARPRODUCERS_LOCATIONSTEPS_H
#define OXTELLARPRODUCERS_LOCATIONSTEPS_H

#include <cstdint>
#include <exception>
#include <string>
#include <string_view>

#include <OxTellarProducers/BaseGeometryProducer.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/AttributeChain.h>

// Navigation that tells a location which could not be cooked from one that does not exist. The
// location is then still reached, and so are its siblings.

namespace TELLAR {

/// The answer of a step from one location to another.
struct LocationStep {
    GeometryProducer::Ptr location; ///< null when there is none
    /// Why the location could not be cooked. It then has a name, a parent and siblings, but no
    /// attributes and no children.
    std::exception_ptr error;
};

/// A producer that navigation or a factory of this library made: its place is known by index, and
/// no class of others can change what it does. All its ancestors, and all producers that it leads
/// to, are of that kind. Points to the producer and does not keep it alive.
///
/// Threads: those that may navigate the producer.
class OwnLocation {
public:
    OwnLocation() = default;
    /// Empty for a producer of another kind.
    static OwnLocation of(GeometryProducer& producer) {
        return producer.isOwn ? known(&producer) : OwnLocation();
    }
    /// A producer that an OwnLocation led to.
    static OwnLocation known(GeometryProducer* producer) {
        return OwnLocation(static_cast<BaseGeometryProducer*>(producer));
    }

    explicit operator bool() const { return producer != nullptr; }

    /// Borrowed from the producer, with a zero byte behind it.
    std::string_view getName() const;
    const OxAttribute::GroupAttribute& getAttrs() const {
        return producer->locationData.getAttrs();
    }
    /// Empty for a root.
    OwnLocation getParent() const { return known(producer->getRawParentPtr()); }
    /// What the locations below inherit. Belongs to the producer, which makes it for the first one
    /// that asks.
    const OxXFormUtil::InheritedTransforms& getTransforms() const {
        const auto* known = producer->transforms.load(std::memory_order_acquire);
        return known ? *known : makeTransforms();
    }
    /// What the location inherits; null for a root.
    const OxXFormUtil::InheritedTransforms* getInheritedTransforms() const {
        const OwnLocation parent = getParent();
        return parent ? &parent.getTransforms() : nullptr;
    }
    std::int64_t getNumberOfChildren() const;
    /// The name of a potential child, borrowed from the producer, with a zero byte behind it. Empty
    /// when out of range.
    std::string_view getChildName(std::int64_t index) const;

    /// A potential child; none when the index is out of range.
    LocationStep getChild(std::int64_t index) const;
    /// The first child from this index on that exists or could not be cooked.
    LocationStep getChildFrom(std::int64_t index) const;
    LocationStep getNextSibling() const;
    /// A potential child that could not be cooked. The index is in range.
    LocationStep getFailedChild(std::int64_t index, std::exception_ptr error) const;
    /// The place of a name among the potential children; -1 when it is not one of them.
    std::int64_t findChild(std::string_view name) const;
    /// The same location, computed anew by the runtime.
    LocationStep evict() const;

private:
    explicit OwnLocation(BaseGeometryProducer* producer) : producer(producer) {}
    std::int64_t findIndex() const;
    const OxXFormUtil::InheritedTransforms& makeTransforms() const;
    const OxXFormUtil::InheritedTransforms&
    makeTransformsBelow(const OxXFormUtil::InheritedTransforms* parents) const;

    BaseGeometryProducer* producer = nullptr;
};

// Every step of a walk calls these.

inline std::int64_t OwnLocation::getNumberOfChildren() const {
    return producer->locationData.getPotentialChildren().getNumberOfValues();
}

inline LocationStep OwnLocation::getChild(std::int64_t index) const {
    if (index < 0 || index >= getNumberOfChildren()) return {};
    try {
        return {producer->getChildAt(index, false), nullptr};
    } catch (...) {
        return getFailedChild(index, std::current_exception());
    }
}

inline LocationStep OwnLocation::getChildFrom(std::int64_t index) const {
    const std::int64_t count = getNumberOfChildren();
    for (std::int64_t i = index; i < count; ++i) {
        LocationStep step = getChild(i);
        if (step.location) return step;
    }
    return {};
}

inline LocationStep OwnLocation::getNextSibling() const {
    const OwnLocation parent = getParent();
    if (!parent) return {};
    const std::int64_t index = findIndex();
    return index < 0 ? LocationStep() : parent.getChildFrom(index + 1);
}

// The same for producers of any kind.

LocationStep StepToChild(GeometryProducer& location, std::int64_t index);
LocationStep StepToFirstChild(GeometryProducer& location);
LocationStep StepToNextSibling(GeometryProducer& location);
/// ".." is the parent, "." the location itself. The name has no "/".
LocationStep StepToChildNamed(GeometryProducer& location, const std::string& name);
/// Walks along a path as GeometryProducer::getProducerByPath does. Throws the error of a location
/// on the way that could not be cooked.
LocationStep StepAlong(GeometryProducer& location, const std::string& path);
LocationStep StepAnew(GeometryProducer& location);
/// The potential child at an index, which is in range, as a location that could not be cooked.
LocationStep StepToFailedChild(GeometryProducer& parent, std::int64_t index,
                               std::exception_ptr error);
/// A location without attributes and children, for one that could not be cooked. `parent` may be
/// null.
GeometryProducer::Ptr MakeFailedLocation(GeometryProducer::Ptr parent, std::string path);

} // namespace TELLAR

#endif
