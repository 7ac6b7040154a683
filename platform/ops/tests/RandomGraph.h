#ifndef TELLAR_OPS_TESTS_RANDOMGRAPH_H
#define TELLAR_OPS_TESTS_RANDOMGRAPH_H

#include <algorithm>
#include <cstddef>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "OpTypeScenes.h"

/// Random graphs of all built-in op types over a few location names, and random edits of them.
namespace RandomGraph {

using OpTypeScenes::Children;
using OpTypeScenes::Doubles;
using OpTypeScenes::Group;
using OpTypeScenes::Int;
using OpTypeScenes::Location;
using OpTypeScenes::Text;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

/// An Op; its inputs are earlier ones of the graph, or kNoInput.
struct Node {
    std::string type;
    GroupAttribute args;
    std::vector<std::size_t> inputs;
};

constexpr std::size_t kNoInput = static_cast<std::size_t>(-1);

/// Inputs first. The last one is the terminal Op.
using Nodes = std::vector<Node>;

class Maker {
public:
    /// `sceneFiles` are for SceneImport.
    Maker(unsigned seed, const std::vector<std::string>& sceneFiles)
        : random(seed), sceneFiles(sceneFiles) {}

    Nodes graph() {
        Nodes nodes;
        for (std::size_t count = 1 + below(8); count-- > 0;)
            nodes.push_back(node(nodes.size()));
        return nodes;
    }

    /// A scene with an array of one of its locations.
    Nodes arrayGraph() {
        const GroupAttribute leaf = Location({{"n", Int(1)}});
        const GroupAttribute branch = Location({}, {{"c", leaf}});
        const GroupAttribute scene = Location({}, {{"a", branch}, {"b", branch}, {"c", leaf}});
        return {{"StaticScene", scene, {}}, {"Array", arrayArgs(), {0}}};
    }

    /// The same scene with another Op that repeats or shares its locations.
    Nodes graphWith(const char* type) {
        Nodes nodes = arrayGraph();
        nodes.back() = {type, argsOf(type), {0}};
        return nodes;
    }

    /// Changes, adds or leaves out one argument of an Op, or one location of a scene.
    void editArgument(Node& edited) {
        edited.args = edited.type == "StaticScene" ? withOtherLocation(edited.args)
                                                   : withOtherArgument(edited);
    }

    /// One edit of a graph: other arguments, another input, another type, an Op more or less.
    void edit(Nodes& nodes) {
        const std::size_t place = below(nodes.size());
        Node& edited = nodes[place];
        switch (below(8)) {
        case 0:
            insertOnTop(nodes, place);
            break;
        case 1:
            if (nodes.size() > 1 && !edited.inputs.empty()) remove(nodes, place);
            break;
        case 2:
            edited = node(place);
            break;
        case 3:
            edited.inputs = inputsOf(edited.type, place);
            break;
        case 4:
            edited.args = argsOf(edited.type);
            break;
        default:
            editArgument(edited);
        }
    }

private:
    std::size_t below(std::size_t limit) { return random() % limit; }
    bool oneIn(std::size_t count) { return below(count) == 0; }

    std::string name() { return std::string(1, "abc"[below(3)]); }
    std::string path() {
        std::string path = "/root";
        for (std::size_t levels = below(3); levels-- > 0;)
            path += '/' + name();
        return path;
    }
    std::string glob() {
        const char* const levels[] = {"/a", "/b", "/*", "/[bc]", "/**", "/i_*"};
        std::string glob = "/root";
        for (std::size_t count = below(4); count-- > 0;)
            glob += levels[below(6)];
        return glob;
    }
    OxAttribute::Attribute globs() {
        std::vector<std::string> globList;
        for (std::size_t count = 1 + below(2); count-- > 0;)
            globList.push_back(glob());
        return StringAttribute(globList, 1);
    }
    OxAttribute::Attribute number() { return Int(static_cast<int>(below(3))); }

    Node node(std::size_t place) {
        const char* const types[] = {"AttributeEdit",  "Transform",   "MaterialAssign", "Prune",
                                     "RenderSettings", "Camera",      "Array",          "Merge",
                                     "StaticScene",    "SceneImport", "Instances",      "Share"};
        const std::string type = place == 0 ? "StaticScene" : types[below(12)];
        return {type, argsOf(type), inputsOf(type, place)};
    }

    std::vector<std::size_t> inputsOf(const std::string& type, std::size_t place) {
        if (type == "StaticScene" || type == "SceneImport") return {};
        std::vector<std::size_t> inputs;
        for (std::size_t count = type == "Merge" ? below(4) : 1; count-- > 0;)
            inputs.push_back(place == 0 || oneIn(10) ? kNoInput : below(place));
        return inputs;
    }

    GroupAttribute argsOf(const std::string& type) {
        Children args;
        if (type == "StaticScene") return sceneArgs();
        if (type == "AttributeEdit")
            args = {{"paths", globs()},
                    {"set", Group({{name().c_str(), number()}})},
                    {"delete", Text(name().c_str())}};
        if (type == "Transform")
            args = {{"paths", globs()}, {"translate", Doubles({double(below(2)), 0, 0})}};
        if (type == "MaterialAssign")
            args = {{"paths", globs()}, {"material", Text(path().c_str())}};
        if (type == "Prune") args = {{"paths", globs()}, {"keepNames", Int(int(below(2)))}};
        if (type == "RenderSettings") args = {{"settings", Group({{"samples", number()}})}};
        if (type == "Camera") args = {{"fov", Doubles({double(10 + below(2))})}};
        if (type == "Camera" && oneIn(2)) args.emplace_back("path", Text(path().c_str()));
        if (type == "Camera" && oneIn(8)) return {};
        if (type == "Array") return arrayArgs();
        if (type == "Instances") return instancesArgs();
        if (type == "Share") return shareArgs();
        if (type == "SceneImport") return importArgs();
        return args.empty() ? GroupAttribute() : Group(args);
    }

    GroupAttribute arrayArgs() {
        const int count = 1 + int(below(4));
        Children args{{"source", Text(("/root/" + name()).c_str())},
                      {"target", Text(("/root/" + name() + (oneIn(2) ? "/a" : "")).c_str())},
                      {"groupSize", Int(2)},
                      {"keepSource", Int(int(below(2)))}};
        if (oneIn(2)) {
            const int counts[] = {1 + int(below(2)), 1, count};
            args.emplace_back("counts", OxAttribute::IntAttribute(counts, 3, 3));
            args.emplace_back("spacing", Doubles({double(1 + below(2)), 1, 1}));
        } else {
            args.emplace_back("mode", Text("scatter"));
            args.emplace_back("count", Int(count));
            args.emplace_back("seed", number());
            args.emplace_back("spin", Int(int(below(2))));
            args.emplace_back("extent", Doubles({0, 1, 0, 1, 0, 1}));
        }
        return Group(args);
    }

    GroupAttribute instancesArgs() {
        const int count = 1 + int(below(4));
        std::vector<std::int32_t> indices;
        std::vector<double> translates;
        for (int i = 0; i < count; ++i) {
            indices.push_back(int(below(2)));
            for (int axis = 0; axis < 3; ++axis)
                translates.push_back(double(below(3)));
        }
        const std::string sources[] = {"/root/" + name(),
                                       "/root/" + name() + (oneIn(2) ? "/b" : "")};
        Children args{{"sources", StringAttribute({sources[0], sources[1]}, 1)},
                      {"target", Text(("/root/" + name() + (oneIn(2) ? "/a" : "")).c_str())},
                      {"translates", OxAttribute::DoubleAttribute(translates, 3)},
                      {"groupSize", Int(2)},
                      {"keepSource", Int(int(below(2)))}};
        if (oneIn(2)) args.emplace_back("indices", OxAttribute::IntAttribute(indices, 1));
        if (oneIn(2)) args.emplace_back("hidden", Int(int(below(std::size_t(count)))));
        return Group(args);
    }

    GroupAttribute shareArgs() {
        const auto place = [this] {
            return "/root/" + name() + (oneIn(2) ? "/" + name() : "") + (oneIn(4) ? "/d" : "");
        };
        std::vector<std::string> locations;
        for (std::size_t count = 1 + below(3); count-- > 0;)
            if (const std::string path = place();
                std::find(locations.begin(), locations.end(), path) == locations.end())
                locations.push_back(path);
        std::vector<std::int32_t> indices;
        while (indices.size() < locations.size())
            indices.push_back(int(below(2)));
        return Group({{"locations", StringAttribute(locations, 1)},
                      {"sources", StringAttribute({place(), place()}, 1)},
                      {"indices", OxAttribute::IntAttribute(indices, 1)},
                      {"keepSources", Int(int(below(2)))}});
    }

    GroupAttribute importArgs() {
        Children args{{"file", Text(sceneFiles[below(sceneFiles.size())].c_str())},
                      {"location", Text(path().c_str())},
                      {"frame", Doubles({double(below(2))})}};
        if (oneIn(2)) args.emplace_back("materialLocation", Text(path().c_str()));
        if (oneIn(4)) args.emplace_back("listFiles", Int(1));
        return Group(args);
    }

    GroupAttribute sceneArgs() {
        if (oneIn(12)) return {};
        Children args = childrenOf(description(3));
        if (oneIn(3)) args.emplace_back("location", Text(path().c_str()));
        return Group(args);
    }

    static Children childrenOf(const GroupAttribute& group) {
        Children children;
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
            children.emplace_back(group.getChildName(i), group.getChildByIndex(i));
        return children;
    }

    static GroupAttribute withChild(const GroupAttribute& group, const std::string& name,
                                    const OxAttribute::Attribute& child) {
        Children children = childrenOf(group);
        children.emplace_back(name, child); // replaces one of the same name
        return Group(children);
    }

    /// The arguments of an Op with one of them changed, added or left out.
    GroupAttribute withOtherArgument(const Node& node) {
        const GroupAttribute other = argsOf(node.type);
        Children args = childrenOf(node.args);
        if (!args.empty() && oneIn(8))
            args.erase(args.begin() + std::ptrdiff_t(below(args.size())));
        if (other.getNumberOfChildren() == 0) return Group(args);
        const auto index = std::int64_t(below(std::size_t(other.getNumberOfChildren())));
        args.emplace_back(other.getChildName(index), other.getChildByIndex(index));
        return Group(args);
    }

    /// A description with a change at one location.
    GroupAttribute withOtherLocation(const GroupAttribute& scene) {
        const GroupAttribute children(scene.getChildByName("c"));
        if (children.getNumberOfChildren() == 0 || oneIn(4))
            return withChild(scene, oneIn(2) ? "a" : "c",
                             description(1).getChildByName(oneIn(2) ? "a" : "c"));
        const auto index = std::int64_t(below(std::size_t(children.getNumberOfChildren())));
        const GroupAttribute child(children.getChildByIndex(index));
        return withChild(scene, "c",
                         withChild(children, children.getChildName(index),
                                   child.isValid() ? withOtherLocation(child) : description(1)));
    }

    /// A location with its children. Large parts of two of them are often equal.
    GroupAttribute description(int depth) {
        Children attrs;
        if (oneIn(2)) attrs.emplace_back(name(), number());
        if (oneIn(3)) attrs.emplace_back("material", Group({{"n", number()}}));
        Children children;
        if (depth > 0)
            for (const char* const child : {"a", "c", "b"})
                if (!oneIn(3)) children.emplace_back(child, description(depth - 1));
        if (oneIn(6)) std::reverse(children.begin(), children.end());
        if (oneIn(9)) children.emplace_back("a", Int(1)); // not a location
        return Location(attrs, children);
    }

    void insertOnTop(Nodes& nodes, std::size_t place) {
        const Node added = node(place + 1);
        for (std::size_t other = place + 1; other < nodes.size(); ++other)
            for (std::size_t& input : nodes[other].inputs)
                if (input != kNoInput && input >= place) ++input;
        nodes.insert(nodes.begin() + std::ptrdiff_t(place) + 1, added);
        if (!nodes[place + 1].inputs.empty()) nodes[place + 1].inputs[0] = place;
    }

    /// Its first input takes the place of an Op.
    static void remove(Nodes& nodes, std::size_t place) {
        const std::size_t input = nodes[place].inputs[0];
        if (input == kNoInput && place + 1 == nodes.size()) return;
        if (place + 1 == nodes.size()) {
            nodes.resize(input + 1);
            return;
        }
        for (std::size_t other = place + 1; other < nodes.size(); ++other)
            for (std::size_t& each : nodes[other].inputs) {
                if (each == place)
                    each = input;
                else if (each != kNoInput && each > place)
                    --each;
            }
        nodes.erase(nodes.begin() + std::ptrdiff_t(place));
    }

    std::mt19937 random;
    const std::vector<std::string>& sceneFiles;
};

} // namespace RandomGraph

#endif
