#include "PlyMesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <limits>

#include "PlyBody.h"
#include "PlyHeader.h"
#include "model/ColorSpace.h"

namespace TellarSceneImport {

namespace {

constexpr std::size_t kAbsent = std::numeric_limits<std::size_t>::max();

std::size_t Find(const PlyElement& element, std::string_view name, bool isList = false) {
    for (std::size_t i = 0; i < element.properties.size(); ++i)
        if (element.properties[i].name == name &&
            element.properties[i].lengthType.has_value() == isList)
            return i;
    return kAbsent;
}

// The properties of the first group whose names are all there; empty if there is none.
std::vector<std::size_t>
FindGroup(const PlyElement& element,
          std::initializer_list<std::initializer_list<std::string_view>> groups) {
    for (const auto& names : groups) {
        std::vector<std::size_t> found;
        for (const std::string_view name : names)
            found.push_back(Find(element, name));
        if (std::find(found.begin(), found.end(), kAbsent) == found.end()) return found;
    }
    return {};
}

// The colour of an element: integers are sRGB and become linear, floats are taken as they are.
class ColorReader {
public:
    explicit ColorReader(const PlyElement& element)
        : element(element),
          rgb(FindGroup(element, {{"red", "green", "blue"},
                                  {"diffuse_red", "diffuse_green", "diffuse_blue"},
                                  {"r", "g", "b"}})),
          alpha(FindGroup(element, {{"alpha"}, {"diffuse_alpha"}, {"a"}})) {}

    void read(const PlyRow& row, std::vector<float>& colors) const {
        if (rgb.empty()) return;
        for (const std::size_t property : rgb) {
            const auto value = static_cast<float>(component(row, property));
            colors.push_back(isFloat(property) ? value : LinearFromSrgb(value));
        }
        colors.push_back(alpha.empty() ? 1 : static_cast<float>(component(row, alpha[0])));
    }

private:
    bool isFloat(std::size_t property) const { return IsFloat(element.properties[property].type); }

    double component(const PlyRow& row, std::size_t property) const {
        const double value = row.values[property];
        if (!std::isfinite(value)) return 0;
        if (isFloat(property)) return value;
        const bool isWide = BytesOf(element.properties[property].type) == 2;
        return std::clamp(value / (isWide ? 65535.0 : 255.0), 0.0, 1.0);
    }

    const PlyElement& element;
    const std::vector<std::size_t> rgb, alpha;
};

class MeshReader {
public:
    explicit MeshReader(std::string_view content)
        : header(ReadPlyHeader(content)), body(header.body, header.format) {}

    PlyMesh read();

private:
    void readVertices(const PlyElement& element);
    void readFaces(const PlyElement& element);
    void readStrips(const PlyElement& element);
    void skip(const PlyElement& element);
    void addStrip(const std::vector<double>& list);
    void addFace(const std::vector<double>& list);
    std::int32_t pointOf(double index) const;
    void append(const PlyRow& row, const std::vector<std::size_t>& properties,
                std::vector<float>& values) const;
    void readElements();
    void removeFaces();
    void removePoints();
    void replaceNumbers();
    bool isFinite(std::size_t point) const;
    bool isDrawable(std::size_t face) const;

    const PlyHeader header;
    PlyBody body;
    PlyMesh mesh;
    std::uint64_t pointCount = 0;
};

void MeshReader::append(const PlyRow& row, const std::vector<std::size_t>& properties,
                        std::vector<float>& values) const {
    for (const std::size_t property : properties)
        values.push_back(static_cast<float>(row.values[property]));
}

void MeshReader::readVertices(const PlyElement& element) {
    const auto position = FindGroup(element, {{"x", "y", "z"}});
    const auto normal =
        FindGroup(element, {{"nx", "ny", "nz"}, {"normal_x", "normal_y", "normal_z"}});
    const auto st =
        FindGroup(element, {{"s", "t"}, {"u", "v"}, {"texture_u", "texture_v"}, {"tx", "ty"}});
    const auto radius = FindGroup(element, {{"radius"}});
    const auto width = FindGroup(element, {{"width"}, {"diameter"}});
    const ColorReader color(element);
    if (element.count > 0 && position.empty()) ThrowPlyError("its points have no x, y and z");
    PlyRow row;
    for (std::uint64_t i = 0; i < element.count; ++i) {
        body.takeRow(element, row);
        append(row, position, mesh.positions);
        append(row, normal, mesh.normals);
        append(row, st, mesh.st);
        color.read(row, mesh.colors);
        append(row, radius.empty() ? width : radius, mesh.widths);
        if (!radius.empty()) mesh.widths.back() *= 2;
    }
}

// The points come before or after the faces, so their number is known from the header.
std::int32_t MeshReader::pointOf(double index) const {
    if (!(index >= 0) || index >= double(pointCount) || index != std::floor(index) ||
        index > std::numeric_limits<std::int32_t>::max())
        ThrowPlyError("a face refers to a point that does not exist");
    return static_cast<std::int32_t>(index);
}

void MeshReader::addFace(const std::vector<double>& list) {
    for (const double index : list)
        mesh.corners.push_back(pointOf(index));
    if (mesh.corners.size() > std::size_t(std::numeric_limits<std::int32_t>::max()))
        ThrowPlyError("it has too many faces");
    mesh.starts.push_back(static_cast<std::int32_t>(mesh.corners.size()));
}

// The property that lists the points of each face or strip.
std::size_t FindPointLists(const PlyElement& element) {
    const std::size_t indices = Find(element, "vertex_indices", true);
    return indices == kAbsent ? Find(element, "vertex_index", true) : indices;
}

void MeshReader::readFaces(const PlyElement& element) {
    const std::size_t indices = FindPointLists(element);
    if (indices == kAbsent) return skip(element);
    const std::size_t texcoord = Find(element, "texcoord", true);
    const ColorReader color(element);
    PlyRow row;
    for (std::uint64_t i = 0; i < element.count; ++i) {
        body.takeRow(element, row);
        addFace(row.lists[indices]);
        color.read(row, mesh.faceColors);
        if (texcoord == kAbsent) continue;
        std::vector<double>& st = row.lists[texcoord];
        st.resize(row.lists[indices].size() * 2);
        mesh.cornerSt.insert(mesh.cornerSt.end(), st.begin(), st.end());
    }
}

// Every second triangle of a strip has the opposite order of points; -1 begins another strip.
void MeshReader::addStrip(const std::vector<double>& list) {
    std::size_t start = 0;
    for (std::size_t i = 0; i < list.size(); ++i) {
        if (list[i] < 0) {
            start = i + 1;
            continue;
        }
        if (i < start + 2) continue;
        const bool isOdd = (i - start) % 2 != 0;
        const std::array<double, 3> points = {list[i - 2], list[isOdd ? i : i - 1],
                                              list[isOdd ? i - 1 : i]};
        if (points[0] == points[1] || points[1] == points[2] || points[0] == points[2]) continue;
        addFace({points.begin(), points.end()});
    }
}

void MeshReader::readStrips(const PlyElement& element) {
    const std::size_t indices = FindPointLists(element);
    if (indices == kAbsent) return skip(element);
    PlyRow row;
    for (std::uint64_t i = 0; i < element.count; ++i) {
        body.takeRow(element, row);
        addStrip(row.lists[indices]);
    }
}

void MeshReader::skip(const PlyElement& element) {
    PlyRow row;
    for (std::uint64_t i = 0; i < element.count; ++i)
        body.takeRow(element, row);
}

bool MeshReader::isFinite(std::size_t point) const {
    const float* const p = &mesh.positions[point * 3];
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

// Keeps the items for which `isKept` is true. A list that is not as long as there are items does
// not have them.
template <typename Value, typename IsKept>
void Keep(std::vector<Value>& values, std::size_t count, std::size_t width, const IsKept& isKept) {
    if (values.size() != count * width) return;
    std::size_t end = 0;
    for (std::size_t i = 0; i < count; ++i)
        if (isKept(i))
            for (std::size_t k = 0; k < width; ++k)
                values[end++] = values[i * width + k];
    values.resize(end);
}

bool MeshReader::isDrawable(std::size_t face) const {
    const auto first = mesh.corners.begin() + mesh.starts[face];
    const auto last = mesh.corners.begin() + mesh.starts[face + 1];
    return last - first >= 3 && std::all_of(first, last, [this](std::int32_t point) {
               return isFinite(static_cast<std::size_t>(point));
           });
}

void MeshReader::removeFaces() {
    const std::size_t count = mesh.starts.size() - 1;
    const auto sizeOf = [&](std::size_t face) { return mesh.starts[face + 1] - mesh.starts[face]; };
    std::vector<bool> isKept(count), isCornerKept;
    for (std::size_t face = 0; face < count; ++face) {
        isKept[face] = isDrawable(face);
        isCornerKept.insert(isCornerKept.end(), std::size_t(sizeOf(face)), isKept[face]);
    }
    const auto keepsCorner = [&](std::size_t corner) { return isCornerKept[corner]; };
    Keep(mesh.faceColors, count, 4, [&](std::size_t face) { return isKept[face]; });
    Keep(mesh.cornerSt, isCornerKept.size(), 2, keepsCorner);
    Keep(mesh.corners, isCornerKept.size(), 1, keepsCorner);
    std::vector<std::int32_t> starts = {0};
    for (std::size_t face = 0; face < count; ++face)
        if (isKept[face]) starts.push_back(starts.back() + sizeOf(face));
    mesh.starts = starts;
}

// Points of a mesh have to stay where faces refer to them, and points of no face do not show.
void MeshReader::removePoints() {
    if (!mesh.corners.empty()) return;
    const std::size_t count = mesh.positions.size() / 3;
    std::vector<bool> isKept(count);
    for (std::size_t point = 0; point < count; ++point)
        isKept[point] = isFinite(point);
    const auto keeps = [&](std::size_t point) { return isKept[point]; };
    Keep(mesh.normals, count, 3, keeps);
    Keep(mesh.colors, count, 4, keeps);
    Keep(mesh.widths, count, 1, keeps);
    Keep(mesh.st, count, 2, keeps);
    Keep(mesh.positions, count, 3, keeps);
}

// Replaces values that are not finite.
void MeshReader::replaceNumbers() {
    for (auto* const values : {&mesh.positions, &mesh.normals, &mesh.st, &mesh.cornerSt})
        for (float& value : *values)
            if (!std::isfinite(value)) value = 0;
    for (float& width : mesh.widths)
        if (!(width >= 0) || !std::isfinite(width)) width = 0;
}

void MeshReader::readElements() {
    for (const PlyElement& element : header.elements)
        if (element.name == "vertex") pointCount = element.count;
    bool hasPoints = false;
    for (const PlyElement& element : header.elements) {
        const bool isPoints = element.name == "vertex" && !hasPoints && element.count == pointCount;
        if (isPoints)
            readVertices(element);
        else if (element.name == "face")
            readFaces(element);
        else if (element.name == "tristrips")
            readStrips(element);
        else
            skip(element);
        hasPoints = hasPoints || isPoints;
    }
    if (mesh.positions.size() / 3 != pointCount) ThrowPlyError("its points are there twice");
}

PlyMesh MeshReader::read() {
    mesh.texture = header.texture;
    readElements();
    removeFaces();
    removePoints();
    replaceNumbers();
    // Faces of strips have no colours and no texture coordinates.
    if (mesh.faceColors.size() != (mesh.starts.size() - 1) * 4) mesh.faceColors.clear();
    if (mesh.cornerSt.size() != mesh.corners.size() * 2) mesh.cornerSt.clear();
    return std::move(mesh);
}

} // namespace

PlyMesh ReadPlyMesh(std::string_view content) {
    return MeshReader(content).read();
}

} // namespace TellarSceneImport
