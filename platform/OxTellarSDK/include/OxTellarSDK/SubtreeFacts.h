#ifndef OXTELLARSDK_SUBTREEFACTS_H
#define OXTELLARSDK_SUBTREEFACTS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Bounds.h>
#include <OxTellarSDK/Export.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarRuntime.h>

/// Tells of a location and everything below it what is known without cooking it.

namespace OxOpType {

/// Location types as a mask.
enum LocationTypes : std::uint32_t {
    kTypeGroup = 1u << 0, ///< also a location without a type
    kTypePolyMesh = 1u << 1,
    kTypeSubdMesh = 1u << 2,
    kTypeFaceSet = 1u << 3,
    kTypeCurves = 1u << 4,
    kTypePointCloud = 1u << 5,
    kTypeSphere = 1u << 6,
    kTypeCamera = 1u << 7,
    kTypeLight = 1u << 8,
    kTypeOther = 1u << 30, ///< any other type, such as "material"
};

/// The bit of a location type. An empty type is a group.
OXTELLARSDK_API std::uint32_t TypeBit(std::string_view type);

/// Facts about a location and everything below it, the "subtree". Each is known by itself; those
/// that are not known are empty.
struct OXTELLARSDK_API SubtreeFacts {
    using Bounds = OxXFormUtil::Bounds;

    std::optional<bool> exists;

    /// A mask of LocationTypes. No other types occur; some of these may not occur.
    std::optional<std::uint32_t> types;
    /// The exact number of locations that exist, the location itself included.
    std::optional<std::int64_t> locations;
    /// A box in the space of the location, before its own "xform", as the attribute "bound" is. At
    /// all times it encloses the points (geometry.point.P) and the spheres of all locations, and
    /// the attribute "bound" of those without points. Widths and displacement are not part of it.
    /// The box may be too large. It is empty if there is nothing to enclose.
    std::optional<Bounds> bound;

    // The location alone. Facts about its ancestors follow from these.

    /// Like `types`.
    std::optional<std::uint32_t> ownTypes;
    /// Like `bound`.
    std::optional<Bounds> ownBound;
    /// True if the location is known to be a group without "geometry" and "bound".
    bool isPlain = false;
    /// The attribute "xform"; invalid if there is none.
    std::optional<OxAttribute::GroupAttribute> xform;
    /// The names of the potential children; invalid if there are none.
    std::optional<OxAttribute::StringAttribute> children;

    /// Locations with one identity, in any scene, have equal attributes apart from their own
    /// "xform", and equal subtrees below. The zero hash: not known. Different identities mean
    /// nothing. An op type keeps the identity of its input's facts if it passes on the whole
    /// subtree, and otherwise clears it or sets one of its own; the runtime then replaces a zero
    /// hash by one of the Op and the path.
    OxAttribute::Hash identity;

    /// The facts of a location that does not exist.
    static SubtreeFacts Missing();

    /// `bound` in the space of the location's parent; nothing if it is not known.
    std::optional<Bounds> boundInParent() const;
};

/// The facts about a location alone that follow from its attributes and the names of its children.
/// The facts about its subtree are left empty. A location with more than `mostPoints` points, over
/// all time samples, has no known bound.
OXTELLARSDK_API SubtreeFacts DescribeLocation(const OxAttribute::GroupAttribute& attrs,
                                              const OxAttribute::StringAttribute& children,
                                              std::int64_t mostPoints = INT64_MAX);

/// A request for facts. Lives for the call only, and is used by the thread that was called.
class OXTELLARSDK_API SubtreeContext {
public:
    /// Absolute, "/root/world/geo".
    virtual const std::string& path() const = 0;
    virtual const OxAttribute::GroupAttribute& args() const = 0;
    /// The return value of prepare for this Op, which may be null.
    virtual const State* state() const = 0;

    /// The number of inputs, including null inputs.
    virtual std::size_t numberOfInputs() const = 0;
    /// The facts of a location of an input. A null input, and an index out of range, have no
    /// locations.
    virtual SubtreeFacts input(std::size_t index, const std::string& path) = 0;
    SubtreeFacts input(std::size_t index) { return input(index, path()); }
    /// The facts of another location of this Op, usually a child.
    virtual SubtreeFacts here(const std::string& path) = 0;

protected:
    ~SubtreeContext() = default;
};

/// Fills in those facts about the subtree that are empty, from the facts about the location alone
/// and the facts of its children. Leaves them empty if there are more than `mostChildren` children.
OXTELLARSDK_API void AddChildren(SubtreeContext& context, SubtreeFacts& facts,
                                 std::int64_t mostChildren = 1000);

/// Locations that repeat a few others, told without cooking them. They are all that is below the
/// location that was asked for, apart from groups with no attributes but "type", "xform" and
/// "bound".
///
/// An instance equals its prototype apart from its own "xform", with everything below it. A
/// prototype is an instance too.
///
/// Threads: immutable.
class OXTELLARSDK_API Instances {
public:
    virtual ~Instances();

    virtual std::int64_t count() const = 0;
    /// Paths relative to the location that was asked for: "g_0/i_00".
    virtual const std::vector<std::string>& prototypes() const = 0;

    /// Writes the index of the prototype and the matrix of each instance in [begin, end). A matrix
    /// has 16 values, row by row, for row vectors. It moves points from the space of the instance
    /// to the space of the location that was asked for, and stays the same at all times. Either
    /// pointer may be null. Throws std::out_of_range for a range that is not within [0, count()).
    void read(std::int64_t begin, std::int64_t end, std::int64_t* prototypes,
              double* matrices) const;
    /// The path of an instance, relative to the location that was asked for. Throws
    /// std::out_of_range.
    std::string path(std::int64_t index) const;

protected:
    /// The arguments have been checked.
    virtual void readRange(std::int64_t begin, std::int64_t end, std::int64_t* prototypes,
                           double* matrices) const = 0;
    virtual std::string pathOf(std::int64_t index) const = 0;
};

/// A request for the instances below a location.
class OXTELLARSDK_API InstanceContext : public SubtreeContext {
public:
    /// The instances below a location of an input; null if they are not known.
    virtual std::shared_ptr<const Instances> instances(std::size_t index,
                                                       const std::string& path) = 0;

protected:
    ~InstanceContext() = default;
};

/// The facts of a location of the client's Op. Cooks nothing; an op type may read a file that it
/// would read for the first cook. An Op that cannot be cooked knows nothing, and neither does one
/// with an unfinished commit. Large answers are given up after a bounded amount of work.
///
/// Threads: like Client::cookLocation.
OXTELLARSDK_API SubtreeFacts DescribeSubtree(TellarRuntime::Client& client,
                                             const std::string& path);

/// The instances below a location of the client's Op; null if they are not known. Otherwise like
/// DescribeSubtree.
OXTELLARSDK_API std::shared_ptr<const Instances> DescribeInstances(TellarRuntime::Client& client,
                                                                   const std::string& path);

} // namespace OxOpType

#endif
