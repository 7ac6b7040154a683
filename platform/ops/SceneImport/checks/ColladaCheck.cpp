#include "ColladaCheck.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <deque>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "NodeGraph.h"
#include "XmlTags.h"
#include "text/NumberText.h"

namespace TellarSceneImport {

namespace {

// Elements around and inside nodes add about ten levels.
constexpr int kLevelsBesideNodes = 100;

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error("damaged Collada: " + what);
}

std::uint64_t NumberOf(const XmlTag& tag, std::string_view name, std::uint32_t absent) {
    const std::string_view text = TrimmedXml(tag.attribute(name));
    if (text.empty()) return absent;
    std::uint32_t number = 0;
    if (!TellarInternal::ReadNumber(text, number))
        Fail("the " + std::string(name) + " of <" + std::string(tag.name) + "> is not a number");
    return number;
}

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Assimp waits forever for a digit in these elements.
bool IsIndexList(std::string_view name) {
    return name == "p" || name == "h" || name == "v" || name == "vcount";
}

bool IsPrimitive(std::string_view name) {
    for (const std::string_view primitive :
         {"lines", "linestrips", "polygons", "polylist", "triangles", "trifans", "tristrips"})
        if (name == primitive) return true;
    return false;
}

bool HoldsIndices(const XmlTagReader& reader) {
    return reader.text().find_first_not_of("0123456789+- \t\r\n") == std::string_view::npos &&
           !reader.isMarkupNext();
}

struct Array {
    std::uint64_t length = 0;
    bool isText = false;
};

struct Accessor {
    std::string_view array; // the id of the array
    std::uint64_t count = 0;
    std::uint64_t offset = 0;
    std::uint64_t stride = 0;
    std::uint64_t numberOfParams = 0;

    // The smallest length of the array. Products of 32-bit numbers do not overflow.
    std::uint64_t reach() const {
        return count == 0 ? 0 : offset + (count - 1) * stride + std::max(stride, numberOfParams);
    }
};

struct Input {
    std::string_view semantic;
    std::string_view source;
    std::uint64_t offset = 0;
};

// A <sampler> or <vertex_weights>, whose inputs are lists of related items.
struct Table {
    std::vector<Input> inputs;
    std::string_view indices;  // the text of <v>, for weights
    std::string_view geometry; // the id of the geometry with the weights
    std::uint64_t count = 0;   // the number of weighted points
};

// A <polygons>, <polylist> or <triangles> element and the lists in it.
struct Faces {
    std::string_view kind; // the name of the element; empty outside
    std::uint64_t count = 0;
    std::uint64_t lists = 0;      // the number of <p>
    std::uint64_t emptyLists = 0; // those without indices
    bool hasSides = false;        // whether <vcount> precedes the first list
};

std::string_view Reference(const XmlTag& tag, std::string_view attribute = "source") {
    std::string_view id = tag.attribute(attribute);
    id.remove_prefix(id.substr(0, 1) == "#" ? 1 : 0);
    return id;
}

class Checker {
public:
    Checker(std::size_t fileSize, int maxDepth) : fileSize(fileSize), maxDepth(maxDepth) {}

    // `reader` has just read the tag.
    void read(const XmlTag& tag, const XmlTagReader& reader);
    void check() const;

private:
    void open(const XmlTag& tag, const XmlTagReader& reader);
    std::uint64_t countOf(const XmlTag& tag) const;
    void addArray(const XmlTag& tag);
    void addAccessor(const XmlTag& tag);
    void addInput(const XmlTag& tag);
    void addNode(const XmlTag& tag);
    void readFaces(const XmlTag& tag, const XmlTagReader& reader);
    void checkFaces() const;
    void checkAccessor(const Accessor& accessor) const;
    void checkInput(const Input& input) const;
    void checkLengths(const Table& sampler) const;
    void checkIndices(const Table& weights) const;
    void checkCount(const Table& weights) const;
    const Accessor* accessorOf(std::string_view id) const;

    const std::size_t fileSize;
    const int maxDepth;
    int depth = 0;
    Accessor* openAccessor = nullptr; // the enclosing one, an element of `accessors`
    bool inTable = false;
    Faces faces;
    std::string_view source;   // the id of the last <source>
    std::string_view geometry; // the id of the last <geometry>
    std::string_view skinned;  // the id of the geometry of the last <skin>
    std::map<std::string_view, Array> arrays;
    std::map<std::string_view, Accessor> accessors;         // keyed by the id of the source
    std::map<std::string_view, std::string_view> positions; // sources by the id of the geometry
    std::vector<Input> inputs;
    std::vector<Table> tables;
    std::deque<std::string> madeUpNames;     // names of nodes without an id
    std::vector<std::string_view> openNodes; // the ids of the enclosing nodes
    NodeGraph graph;
};

// The number of items in the element. Assimp allocates memory for them, and each takes at least one
// byte of the file.
std::uint64_t Checker::countOf(const XmlTag& tag) const {
    const std::uint64_t count = NumberOf(tag, "count", 0);
    if (count > fileSize) Fail("the count of <" + std::string(tag.name) + "> is too large");
    return count;
}

// Assimp may use any of several arrays with one id, so the shortest one is checked.
void Checker::addArray(const XmlTag& tag) {
    const bool isText = tag.name == "Name_array" || tag.name == "IDREF_array";
    const Array array = {countOf(tag), isText};
    Array& known = arrays.emplace(tag.attribute("id"), array).first->second;
    if (known.isText != isText) Fail("two arrays share an id");
    known.length = std::min(known.length, array.length);
}

void Checker::addAccessor(const XmlTag& tag) {
    const Accessor accessor = {Reference(tag), countOf(tag), NumberOf(tag, "offset", 0),
                               NumberOf(tag, "stride", 1), 0};
    const auto [place, isNew] = accessors.emplace(source, accessor);
    if (!isNew) Fail("the source \"" + std::string(source) + "\" has two accessors");
    openAccessor = tag.isEmpty ? nullptr : &place->second;
}

void Checker::addInput(const XmlTag& tag) {
    const Input input = {tag.attribute("semantic"), Reference(tag), NumberOf(tag, "offset", 0)};
    inputs.push_back(input);
    if (input.semantic == "POSITION") positions[geometry] = input.source;
    if (inTable) tables.back().inputs.push_back(input);
}

void Checker::addNode(const XmlTag& tag) {
    std::string_view id = tag.attribute("id");
    if (id.empty()) id = madeUpNames.emplace_back("\n" + std::to_string(madeUpNames.size()));
    if (!openNodes.empty()) graph.connect(openNodes.back(), id);
    if (!tag.isEmpty) openNodes.push_back(id);
}

void Checker::readFaces(const XmlTag& tag, const XmlTagReader& reader) {
    if (tag.name == "polygons" || tag.name == "polylist" || tag.name == "triangles")
        faces = {tag.name, countOf(tag), 0, 0, false};
    else if (tag.name == "vcount")
        faces.hasSides = faces.hasSides || faces.lists == 0;
    else if (tag.name == "p") {
        ++faces.lists;
        if (tag.isEmpty || TrimmedXml(reader.text()).empty()) ++faces.emptyLists;
    }
    if (tag.isEmpty && tag.name == faces.kind) checkFaces();
}

// Assimp ends the process when the number of faces differs from the count.
void Checker::checkFaces() const {
    const bool isOneListEach = faces.kind == "polygons";
    if (isOneListEach ? faces.lists != faces.count || faces.emptyLists > 0
                      : faces.count > 0 && faces.lists != 1)
        Fail("<" + std::string(faces.kind) + "> has more or fewer faces than its count");
    if (faces.kind == "polylist" && faces.count > 0 && !faces.hasSides)
        Fail("<polylist> does not say how many sides its faces have");
}

void Checker::open(const XmlTag& tag, const XmlTagReader& reader) {
    if (tag.name == "source")
        source = tag.attribute("id");
    else if (tag.name == "accessor")
        addAccessor(tag);
    else if (tag.name == "param" && openAccessor)
        ++openAccessor->numberOfParams;
    else if (tag.name == "input")
        addInput(tag);
    else if (tag.name == "node")
        addNode(tag);
    else if (tag.name == "instance_node" && !openNodes.empty())
        graph.connect(openNodes.back(), Reference(tag, "url"));
    else if (tag.name == "geometry")
        geometry = tag.attribute("id");
    else if (tag.name == "skin")
        skinned = Reference(tag);
    else if (tag.name == "sampler")
        tables.emplace_back();
    else if (tag.name == "vertex_weights")
        tables.push_back({{}, {}, skinned, countOf(tag)});
    else if (EndsWith(tag.name, "_array"))
        addArray(tag);
    else if (IsPrimitive(tag.name))
        countOf(tag);
    else if (!tag.isEmpty && IsIndexList(tag.name) && !HoldsIndices(reader))
        Fail("<" + std::string(tag.name) + "> holds something other than numbers");
    inTable = tag.name == "sampler" || tag.name == "vertex_weights" || inTable;
    if (inTable && tag.name == "v") tables.back().indices = reader.text();
}

void Checker::read(const XmlTag& tag, const XmlTagReader& reader) {
    if (tag.name.substr(0, 1) == "/") {
        if (tag.name == "/accessor") openAccessor = nullptr;
        if (!faces.kind.empty() && tag.name.substr(1) == faces.kind) checkFaces();
        inTable = inTable && tag.name != "/sampler" && tag.name != "/vertex_weights";
        if (tag.name == "/node" && !openNodes.empty()) openNodes.pop_back();
        --depth;
        return;
    }
    if (!tag.isEmpty && ++depth > maxDepth + kLevelsBesideNodes)
        Fail("elements are nested too deep");
    open(tag, reader);
    readFaces(tag, reader);
}

// Returns null for an id of another element, such as <vertices>.
const Accessor* Checker::accessorOf(std::string_view id) const {
    const auto found = accessors.find(id);
    return found == accessors.end() ? nullptr : &found->second;
}

void Checker::checkAccessor(const Accessor& accessor) const {
    const auto array = arrays.find(accessor.array);
    if (array != arrays.end() && accessor.reach() > array->second.length)
        Fail("an accessor goes beyond its array \"" + std::string(accessor.array) + "\"");
}

void Checker::checkInput(const Input& input) const {
    const Accessor* accessor = accessorOf(input.source);
    const auto array = accessor ? arrays.find(accessor->array) : arrays.end();
    if (array == arrays.end() || input.semantic == "INTERPOLATION" ||
        input.semantic == "CONTINUITY")
        return;
    const bool wantsText = input.semantic == "JOINT" || input.semantic == "MORPH_TARGET";
    if (array->second.isText != wantsText)
        Fail("\"" + std::string(input.source) + "\" is of the wrong kind for " +
             std::string(input.semantic));
}

// Each input of a sampler has at least as many items as there are times.
void Checker::checkLengths(const Table& sampler) const {
    std::uint64_t times = 0;
    for (const Input& input : sampler.inputs)
        if (const Accessor* accessor = accessorOf(input.source);
            accessor && input.semantic == "INPUT")
            times = accessor->count;
    for (const Input& input : sampler.inputs)
        if (const Accessor* accessor = accessorOf(input.source);
            accessor && accessor->count < times)
            Fail("\"" + std::string(input.source) + "\" is shorter than its times");
}

// Takes a number from the front of a text, which must not be empty.
std::int64_t TakeIndex(std::string_view& text) {
    std::int64_t index = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), index);
    if (error != std::errc()) Fail("a weight's index is not a number");
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return index;
}

// <v> holds one index for each input in turn, for each weight.
void Checker::checkIndices(const Table& weights) const {
    std::uint64_t width = 1;
    for (const Input& input : weights.inputs)
        width = std::max(width, input.offset + 1);
    std::string_view rest = TrimmedXml(weights.indices);
    for (std::uint64_t column = 0; !rest.empty(); column = (column + 1) % width) {
        const std::int64_t index = TakeIndex(rest);
        for (const Input& input : weights.inputs)
            if (const Accessor* accessor = accessorOf(input.source);
                accessor && input.offset == column &&
                index >= static_cast<std::int64_t>(accessor->count))
                Fail("a weight refers to nothing");
        rest = TrimmedXml(rest);
    }
}

// Every point of the geometry has weights.
void Checker::checkCount(const Table& weights) const {
    const auto position = positions.find(weights.geometry);
    const Accessor* points = position == positions.end() ? nullptr : accessorOf(position->second);
    if (points && weights.count < points->count)
        Fail("some points of \"" + std::string(weights.geometry) + "\" have no weights");
}

void Checker::check() const {
    graph.check(maxDepth);
    for (const auto& entry : accessors)
        checkAccessor(entry.second);
    for (const Input& input : inputs)
        checkInput(input);
    for (const Table& table : tables) {
        checkLengths(table);
        checkIndices(table);
        checkCount(table);
    }
}

} // namespace

void CheckCollada(std::string_view xml, int maxDepth) {
    Checker checker(xml.size(), maxDepth);
    XmlTagReader reader(xml);
    for (XmlTag tag; reader.next(tag);)
        checker.read(tag, reader);
    checker.check();
}

} // namespace TellarSceneImport
