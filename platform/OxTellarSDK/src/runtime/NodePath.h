#ifndef OXTELLARSDK_NODEPATH_H
#define OXTELLARSDK_NODEPATH_H

#include <string>

#include "LocationStore.h"

namespace OxTellarRuntimeDetail {

/// The path of a node that the caller has pinned. Its text is put together when somebody asks for
/// it, because most cooks of a large scene do without. For one thread.
class NodePath {
public:
    /// `known` is the text, which the caller keeps, or null.
    NodePath(LocationStore& store, LocationNode& node, const std::string* known)
        : store(store), node(node), known(known) {}
    NodePath(const NodePath&) = delete;
    NodePath& operator=(const NodePath&) = delete;

    /// The same text each time. Throws std::bad_alloc.
    const std::string& text() const {
        if (!known) {
            made = store.pathOf(node);
            known = &made;
        }
        return *known;
    }

private:
    LocationStore& store;
    LocationNode& node;
    mutable std::string made;
    mutable const std::string* known;
};

} // namespace OxTellarRuntimeDetail

#endif
