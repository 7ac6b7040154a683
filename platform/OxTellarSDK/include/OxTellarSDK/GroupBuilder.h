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

/// The state of the builder after build.
enum BuilderBuildMode {
    BuildAndFlush = 0, ///< the builder is empty
    BuildAndRetain = 1 ///< the builder keeps its children, and more can be added
};

/// Collects children and makes a GroupAttribute of them. For one thread at a time.
///
/// A name that is set twice has the last value, at the place of the first. Setting a path below a
/// child that is not a group replaces that child with a group.
class OXTELLARSDK_API GroupBuilder {
public:
    explicit GroupBuilder(BuilderMode mode = BuilderModeNormal);
    GroupBuilder(GroupBuilder&&) noexcept;
    GroupBuilder& operator=(GroupBuilder&&) noexcept;
    ~GroupBuilder();

    /// Whether the built group inherits. The default is true.
    void setGroupInherit(bool inherit);

    /// Sets a child; an invalid `attribute` changes nothing. Groups created for a dotted path
    /// inherit if `groupInherit`. Throws std::runtime_error when the path is deeper than
    /// kMaxGroupDepth.
    void set(std::string_view path, const Attribute& attribute, bool groupInherit = true);
    /// Removes a child if there is one.
    void del(std::string_view path);
    /// Sets every child of `group`. Child groups replace existing children.
    void update(const GroupAttribute& group);
    /// Sets every child of `group`. Child groups are merged into existing groups.
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
