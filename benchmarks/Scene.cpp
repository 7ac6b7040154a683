#include "Scene.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <vector>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "Measure.h"
#include "PlainFile.h"
#include "PointerTree.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

using Children = std::vector<GroupAttribute::Child>;

template <typename T>
T To(std::int64_t number) {
    return static_cast<T>(number);
}

template <typename Numeric, typename Array>
Numeric MakeArray(const Array& values, std::int64_t tupleSize) {
    return Numeric(values.data(), static_cast<std::int64_t>(values.size()), tupleSize);
}

GroupAttribute DescribeLeaf(const Leaf& leaf) {
    GroupBuilder attributes;
    attributes.set("type", StringAttribute(kLeafType));
    attributes.set("xform.matrix", MakeArray<DoubleAttribute>(leaf.matrix, 16));
    attributes.set("user.f0", FloatAttribute(leaf.floats[0]));
    attributes.set("user.f1", FloatAttribute(leaf.floats[1]));
    attributes.set("user.f2", FloatAttribute(leaf.floats[2]));
    attributes.set("user.s", StringAttribute(leaf.text));
    attributes.set("user.i", IntAttribute(leaf.integer));
    attributes.set("user.c", MakeArray<FloatAttribute>(leaf.colour, 3));
    attributes.set("bound", MakeArray<DoubleAttribute>(leaf.bound, 2));
    attributes.set("geometry.point.P", MakeArray<FloatAttribute>(leaf.points, 3));
    attributes.set("geometry.poly.vertexList", MakeArray<IntAttribute>(leaf.vertexList, 1));
    attributes.set("geometry.poly.startIndex", MakeArray<IntAttribute>(leaf.startIndex, 1));
    return GroupAttribute(Children{{"a", attributes.build()}}, true);
}

GroupAttribute DescribeGroup(const Matrix* matrix, const Children& children) {
    GroupBuilder attributes;
    attributes.set("type", StringAttribute(kGroupType));
    if (matrix) attributes.set("xform.matrix", MakeArray<DoubleAttribute>(*matrix, 16));
    return GroupAttribute(
        Children{{"a", attributes.build()}, {"c", GroupAttribute(children, true)}}, true);
}

GroupAttribute DescribeInnerGroup(std::int64_t j, std::int64_t leaves) {
    Children children;
    for (std::int64_t k = j * kWidth; k < std::min((j + 1) * kWidth, leaves); ++k) {
        const Leaf leaf(k);
        children.emplace_back(leaf.name, DescribeLeaf(leaf));
    }
    const Matrix matrix = GetInnerGroupMatrix(j);
    return DescribeGroup(&matrix, children);
}

GroupAttribute DescribeOuterGroup(std::int64_t i, std::int64_t leaves) {
    Children children;
    for (std::int64_t j = i * kWidth; j < (i + 1) * kWidth && j * kWidth < leaves; ++j)
        children.emplace_back(GetInnerGroupName(j), DescribeInnerGroup(j, leaves));
    const Matrix matrix = GetOuterGroupMatrix(i);
    return DescribeGroup(&matrix, children);
}

std::string GetFilePath(const char* kind, std::int64_t leaves, const char* suffix) {
    return GetOptions().scenes + "/" + kind + "_" + std::to_string(leaves) + "_v" +
           std::to_string(kSceneFormat) + "_f" + std::to_string(kFileVersion) + suffix;
}

GroupAttribute DescribeEditedScene(std::int64_t leaves) {
    std::string argument = "scene.opArgs";
    const std::string leaf = GetLeafPath(leaves / 2).substr(std::string("/root").size());
    for (const char character : leaf)
        argument += character == '/' ? std::string(".c.") : std::string(1, character);
    GroupBuilder description;
    description.update(DescribeScene(leaves));
    description.set(argument + ".a.user.i", IntAttribute(-1));
    return description.build();
}

/// Makes the file unless it is there, and reads it.
template <typename Describe>
void PrepareFile(const std::string& path, const Describe& describe, bool compress = false) {
    if (!std::filesystem::exists(path)) {
        std::fprintf(stderr, "tellar_bench: making %s\n", path.c_str());
        WriteOpFile(path, describe(), compress);
    }
    ReadThrough(path);
}

} // namespace

Matrix GetOuterGroupMatrix(std::int64_t i) {
    return {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, To<double>(1000 * i), To<double>(i), 7, 1};
}

Matrix GetInnerGroupMatrix(std::int64_t j) {
    return {0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 0, To<double>(10 * j), 3, To<double>(j), 1};
}

Leaf::Leaf(std::int64_t k)
    : name("leaf_" + std::to_string(k)),
      matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, To<double>(k), To<double>(k % kWidth), 5, 1},
      floats{To<float>(k), To<float>(2 * k + 1), To<float>(k) * 0.5f},
      text("text of leaf " + std::to_string(k)),
      integer(To<std::int32_t>(k)), colour{To<float>(k) * 0.25f, To<float>(k + 1),
                                           To<float>(k + 2)},
      bound{To<double>(k), To<double>(k + 1), 0, 1, 0, To<double>(k + 2)},
      points{To<float>(k),     0, 0, To<float>(k + 1), 0, 0,
             To<float>(k + 1), 1, 0, To<float>(k),     1, 0},
      // Vertices are numbered through the whole scene.
      vertexList{To<std::int32_t>(4 * k), To<std::int32_t>(4 * k + 1), To<std::int32_t>(4 * k + 2),
                 To<std::int32_t>(4 * k + 3)},
      startIndex{To<std::int32_t>(4 * k), To<std::int32_t>(4 * k + 4)} {}

std::string GetOuterGroupName(std::int64_t i) {
    return "h_" + std::to_string(i);
}

std::string GetInnerGroupName(std::int64_t j) {
    return "g_" + std::to_string(j);
}

std::string GetLeafPath(std::int64_t k) {
    return "/root/world/" + GetOuterGroupName(k / kWidth / kWidth) + "/" +
           GetInnerGroupName(k / kWidth) + "/leaf_" + std::to_string(k);
}

std::int64_t CountLocations(std::int64_t leaves) {
    const std::int64_t inner = (leaves + kWidth - 1) / kWidth;
    const std::int64_t outer = (inner + kWidth - 1) / kWidth;
    return 2 + outer + inner + leaves;
}

GroupAttribute DescribeScene(std::int64_t leaves) {
    Children outerGroups;
    for (std::int64_t i = 0; i * kWidth * kWidth < leaves; ++i)
        outerGroups.emplace_back(GetOuterGroupName(i), DescribeOuterGroup(i, leaves));
    GroupBuilder args;
    args.set("a.type", StringAttribute(kGroupType));
    args.set("a.info", IntAttribute(kInfo));
    args.set("c.world", DescribeGroup(nullptr, outerGroups));
    GroupBuilder description;
    description.set("scene.opType", StringAttribute("StaticScene"));
    description.set("scene.opArgs", args.build());
    return description.build();
}

GroupAttribute DescribeForest(std::int64_t leaves) {
    constexpr std::int64_t kTreesPerMillion = 210000;
    const std::int64_t trees = std::max<std::int64_t>(1, leaves * kTreesPerMillion / 1000000);
    GroupBuilder description;
    description.update(ReadDescriptionJsonFile(TELLAR_BENCH_EXAMPLES "/million.json"));
    description.set("forest.opArgs.count", IntAttribute(static_cast<std::int32_t>(trees)));
    return description.build();
}

std::string GetScenePath(std::int64_t leaves) {
    return GetFilePath("scene", leaves, ".oxop");
}

std::string GetCompressedScenePath(std::int64_t leaves) {
    return GetFilePath("compressed", leaves, ".oxop");
}

std::string GetEditedScenePath(std::int64_t leaves) {
    return GetFilePath("edited", leaves, ".oxop");
}

std::string GetDumpPath(std::int64_t leaves) {
    return GetFilePath("tree", leaves, ".bin");
}

void PrepareScenes(std::int64_t leaves) {
    namespace fs = std::filesystem;
    fs::create_directories(GetOptions().scenes);
    for (const std::int64_t count : {leaves, std::min(leaves, kMostFileLeaves)})
        PrepareFile(GetScenePath(count), [count] { return DescribeScene(count); });
    PrepareFile(
        GetCompressedScenePath(leaves), [leaves] { return DescribeScene(leaves); }, true);
    PrepareFile(GetEditedScenePath(leaves), [leaves] { return DescribeEditedScene(leaves); });
    const std::string path = GetDumpPath(leaves);
    if (!fs::exists(path)) {
        std::fprintf(stderr, "tellar_bench: making %s\n", path.c_str());
        SaveTree(*BuildTree(leaves), path);
    }
    ReadThrough(path);
}

} // namespace TellarBench
