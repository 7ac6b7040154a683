#ifndef OXTELLARSDK_GROUPBUILDER_H
#define OXTELLARSDK_GROUPBUILDER_H

#include <memory>
#include <string_view>

#include <OxTellarSDK/Attribute.h>

namespace OxAttribute {

/// How the names given to a builder are read.
enum BuilderMode {
    BuilderModeNormal = 0, ///< dotted paths: "a.b" is child b of child group a
    BuilderModeStrict = 1  ///< single names, taken as they are
};

/// What build leaves in the builder.
enum BuilderBuildMode {
    BuildAndFlush = 0, ///< nothing: the builder is empty again
    BuildAndRetain = 1 ///< everything: building may go on
};

/// Collects children and makes a GroupAttribute of them. For one thread at a time.
///
/// The last set of a name wins and keeps the place of the first one. Setting a path
/// through a child that is no group replaces that child by a group.
class OXTELLARSDK_API GroupBuilder {
public:
    explicit GroupBuilder(BuilderMode mode = BuilderModeNormal);
    GroupBuilder(GroupBuilder&&) noexcept;
    GroupBuilder& operator=(GroupBuilder&&) noexcept;
    ~GroupBuilder();

    /// Whether the group to be built inherits; true unless set.
    void setGroupInherit(bool inherit);

    /// An invalid `attribute` sets nothing. Groups that a dotted path creates on its
    /// way inherit if `groupInherit`. Throws std::runtime_error when the path is
    /// deeper than kMaxGroupDepth.
    void set(std::string_view path, const Attribute& attribute, bool groupInherit = true);
    /// Removes a child; nothing happens when there is none.
    void del(std::string_view path);
    /// Sets every child of `group`; child groups replace what was there.
    void update(const GroupAttribute& group);
    /// Sets every child of `group`; child groups are merged into those already there.
    void deepUpdate(const GroupAttribute& group);
    bool isEmpty() const;

    GroupAttribute build(BuilderBuildMode mode = BuildAndFlush);

private:
    struct Node;
    std::unique_ptr<Node> root;
    BuilderMode mode;
};

} // namespace OxAttribute

#endif
