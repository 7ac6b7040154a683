#include "ColladaMorph.h"

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "checks/XmlTags.h"

namespace TellarSceneImport {

namespace {

// A morph controller: its place in the text, and the reference to its mesh ("#mesh").
struct Controller {
    std::size_t begin = 0, end = 0;
    std::string_view mesh;
};

// The morph controllers, keyed by id. They do not overlap.
std::map<std::string_view, Controller> MorphControllers(std::string_view content) {
    const auto placeOf = [content](std::string_view name) {
        return static_cast<std::size_t>(name.data() - content.data()) - 1; // offset of the "<"
    };
    std::map<std::string_view, Controller> found;
    XmlTagReader reader(content);
    std::string_view id;
    Controller controller;
    for (XmlTag tag; reader.next(tag);) {
        if (tag.name == "controller") {
            id = tag.attribute("id");
            controller = {placeOf(tag.name), 0, {}};
        } else if (tag.name == "morph") {
            controller.mesh = tag.attribute("source");
        } else if (tag.name == "/controller" && !controller.mesh.empty()) {
            const std::size_t end = content.find('>', placeOf(tag.name));
            controller.end = std::min(end, content.size() - 1) + 1;
            found.emplace(id, controller);
            controller.mesh = {};
        }
    }
    return found;
}

} // namespace

bool ShowMorphedMeshes(std::string& content) {
    const auto controllers = MorphControllers(content);
    if (controllers.empty()) return false;
    std::string plain = content;
    for (const auto& entry : controllers) // keep line breaks, so that messages have right numbers
        for (std::size_t i = entry.second.begin; i < entry.second.end; ++i)
            if (plain[i] != '\n') plain[i] = ' ';
    std::string shown;
    shown.reserve(plain.size());
    for (std::string_view rest = plain; !rest.empty();) {
        const std::size_t mark = std::min(rest.find('#'), rest.size());
        shown += rest.substr(0, mark);
        rest.remove_prefix(mark);
        if (rest.empty()) break;
        const std::size_t end = std::min(rest.find_first_of("\"'<"), rest.size());
        const auto controller = controllers.find(rest.substr(1, end - 1));
        shown += controller == controllers.end() ? rest.substr(0, end) : controller->second.mesh;
        rest.remove_prefix(end);
    }
    content = std::move(shown);
    return true;
}

} // namespace TellarSceneImport
