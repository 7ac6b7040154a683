#ifndef TELLAR_TEST_MATERIALGROUPS_H
#define TELLAR_TEST_MATERIALGROUPS_H

#include <string>
#include <vector>

#include "SceneBuilders.h"

/// Materials, written as the groups of attributes that they are.
namespace TellarTest {

using Names = std::vector<std::string>;

/// A group through which nothing of the locations above shows.
inline OxAttribute::GroupAttribute Closed(const Children& children) {
    return {children, false};
}

/// The names of a group's child group.
inline std::vector<std::string> NamesIn(const OxAttribute::GroupAttribute& group,
                                        const char* child) {
    return NamesOf(group.getChildByName(child));
}

inline std::string TextAt(const OxAttribute::GroupAttribute& group, const char* path) {
    return TextOf(group.getChildByName(path));
}

/// The node of that name. Names with a dot or a colon cannot be found by path.
inline OxAttribute::GroupAttribute NodeOf(const OxAttribute::GroupAttribute& material,
                                          const char* name) {
    const OxAttribute::GroupAttribute nodes(material.getChildByName("nodes"));
    return nodes.getChildByIndex(nodes.findChild(name));
}

inline OxAttribute::GroupAttribute Node(const std::string& name, const Children& more = {}) {
    Children children{{"name", Text(name)}, {"type", Text("matte")}};
    children.insert(children.end(), more.begin(), more.end());
    return Group(children);
}

/// A network of one node that serves the terminals.
inline OxAttribute::GroupAttribute Network(const std::string& node, const Names& terminals,
                                           const Children& more = {}) {
    Children served;
    for (const std::string& terminal : terminals)
        served.emplace_back(terminal, Text(node));
    Children children{{"style", Text("network")},
                      {"nodes", Group({{node, Node(node)}})},
                      {"terminals", Group(served)}};
    children.insert(children.end(), more.begin(), more.end());
    return Group(children);
}

inline OxAttribute::GroupAttribute Legacy(const std::string& terminal, const std::string& shader,
                                          const Children& parameters = {}) {
    return Group({{terminal + "Shader", Text(shader)}, {terminal + "Params", Group(parameters)}});
}

} // namespace TellarTest

#endif
