#include <OxTellarSDK/GroupBuilder.h>

#include <algorithm>
#include <map>
#include <string>

#include <boost/container/small_vector.hpp>

#include <OxTellarSDK/TellarError.h>

#include "GroupChildren.h"

namespace OxAttribute {

namespace {

// Up to this many children, a linear search is as fast as an index.
constexpr std::size_t kUnindexedChildren = 8;

} // namespace

/// A group under construction. A child is a finished attribute, a group under construction, or
/// removed. Its index in `children` never changes.
struct GroupBuilder::Node {
    struct Child {
        std::string name;
        Attribute attribute;
        std::unique_ptr<Node> group;
        bool isRemoved = false;

        explicit Child(std::string_view childName) : name(childName) {}
        bool isEmpty() const { return !attribute.isValid() && !group; }
    };

    boost::container::small_vector<Child, 4> children;
    using Places = std::map<std::string, std::size_t, std::less<>>;
    std::unique_ptr<Places> places; // above kUnindexedChildren
    bool inherit = true;

    /// Does not find removed children, so a child that is set again goes to the end.
    Child* find(std::string_view name) {
        if (children.size() > kUnindexedChildren) {
            const auto found = places->find(name);
            return found == places->end() ? nullptr : &children[found->second];
        }
        for (Child& child : children)
            if (child.name == name && !child.isRemoved) return &child;
        return nullptr;
    }

    /// Adds nothing when there is no memory for it.
    Child& findOrAdd(std::string_view name) {
        if (Child* child = find(name)) return *child;
        children.emplace_back(name);
        try {
            if (children.size() > kUnindexedChildren) index();
        } catch (...) {
            children.pop_back();
            throw;
        }
        return children.back();
    }

    /// Adds the last child to the index, or makes the index of all children.
    void index() {
        if (places) {
            places->emplace(children.back().name, children.size() - 1);
            return;
        }
        auto made = std::make_unique<Places>();
        for (std::size_t i = 0; i < children.size(); ++i)
            if (!children[i].isRemoved) made->emplace(children[i].name, i);
        places = std::move(made);
    }

    void remove(std::string_view name) {
        Child* child = find(name);
        if (!child) return;
        child->attribute = Attribute();
        child->group.reset();
        child->isRemoved = true;
        if (places) places->erase(places->find(name));
    }

    void clear() {
        children.clear();
        places.reset();
        inherit = true;
    }

    bool isEmpty() const {
        return std::all_of(children.begin(), children.end(),
                           [](const Child& child) { return child.isRemoved; });
    }

    void adopt(const GroupAttribute& group) {
        inherit = group.getGroupInherit();
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
            findOrAdd(group.getChildNameView(i)).attribute = group.getChildByIndex(i);
    }

    /// The child as a group under construction. A child that is not a group becomes an empty one.
    static Node& open(Child& child, bool inheritIfNew) {
        if (child.group) return *child.group;
        auto group = std::make_unique<Node>();
        const GroupAttribute existing(child.attribute);
        if (existing.isValid())
            group->adopt(existing); // throws when the file is damaged
        else
            group->inherit = inheritIfNew;
        child.attribute = Attribute();
        child.group = std::move(group);
        return *child.group;
    }

    void merge(const GroupAttribute& group) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            const Attribute attribute = group.getChildByIndex(i);
            Child& child = findOrAdd(group.getChildNameView(i));
            const bool bothGroups =
                attribute.getType() == kAttributeTypeGroup &&
                (child.group || child.attribute.getType() == kAttributeTypeGroup);
            if (bothGroups && !(child.attribute.isValid() &&
                                child.attribute.getHandle() == attribute.getHandle())) {
                open(child, true).merge(attribute);
            } else {
                child.group.reset();
                child.attribute = attribute;
            }
        }
    }

    Attribute build() const {
        boost::container::small_vector<Attribute, 4> built; // borrowed by the entries below
        built.reserve(children.size());
        boost::container::small_vector<NamedChild, 8> entries;
        entries.reserve(children.size());
        for (const Child& child : children) {
            if (child.isEmpty()) continue;
            if (child.group) built.push_back(child.group->build());
            const Attribute& value = child.group ? built.back() : child.attribute;
            entries.push_back({child.name, value.getHandle()});
        }
        return MakeGroup(entries.data(), entries.size(), inherit);
    }
};

GroupBuilder::GroupBuilder(BuilderMode mode) : root(std::make_unique<Node>()), mode(mode) {}
GroupBuilder::GroupBuilder(GroupBuilder&&) noexcept = default;
GroupBuilder& GroupBuilder::operator=(GroupBuilder&&) noexcept = default;
GroupBuilder::~GroupBuilder() = default;

void GroupBuilder::setGroupInherit(bool inherit) {
    root->inherit = inherit;
}

void GroupBuilder::set(std::string_view path, const Attribute& attribute, bool groupInherit) {
    if (!attribute.isValid()) return;
    Node* node = root.get();
    if (mode == BuilderModeNormal) {
        if (std::count(path.begin(), path.end(), '.') >= kMaxGroupDepth)
            throw TellarError(kOxErrorValue, "Groups cannot be nested deeper than " +
                                                 std::to_string(kMaxGroupDepth) + " levels");
        for (std::size_t dot; (dot = path.find('.')) != std::string_view::npos;
             path.remove_prefix(dot + 1))
            node = &Node::open(node->findOrAdd(path.substr(0, dot)), groupInherit);
    }
    Node::Child& child = node->findOrAdd(path);
    child.group.reset();
    child.attribute = attribute;
}

void GroupBuilder::del(std::string_view path) {
    Node* node = root.get();
    if (mode == BuilderModeNormal) {
        for (std::size_t dot; (dot = path.find('.')) != std::string_view::npos;
             path.remove_prefix(dot + 1)) {
            Node::Child* child = node->find(path.substr(0, dot));
            const bool isGroup =
                child && (child->group || child->attribute.getType() == kAttributeTypeGroup);
            if (!isGroup) return;
            node = &Node::open(*child, true);
        }
    }
    node->remove(path);
}

void GroupBuilder::update(const GroupAttribute& group) {
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        Node::Child& child = root->findOrAdd(group.getChildNameView(i));
        child.group.reset();
        child.attribute = group.getChildByIndex(i);
    }
}

void GroupBuilder::deepUpdate(const GroupAttribute& group) {
    root->merge(group);
}

bool GroupBuilder::isEmpty() const {
    return root->isEmpty();
}

GroupAttribute GroupBuilder::build(BuilderBuildMode buildMode) {
    GroupAttribute group(root->build());
    if (buildMode == BuildAndFlush) root->clear();
    return group;
}

} // namespace OxAttribute
