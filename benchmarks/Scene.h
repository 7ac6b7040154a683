#ifndef TELLAR_BENCH_SCENE_H
#define TELLAR_BENCH_SCENE_H

#include <array>
#include <cstdint>
#include <string>

#include <OxTellarSDK/Attribute.h>

namespace TellarBench {

// The formulas of the scene that is measured. The op file and the pointer tree are both made from
// them. The locations and their attributes are
//
//     /root                         type, info
//     /root/world                   type
//     /root/world/h_<i>             type, matrix; 100 groups each
//     .../h_<i>/g_<j>               type, matrix; 100 leaves each
//     .../h_<i>/g_<j>/leaf_<k>      the members of Leaf
//
// where i, j and k count through the whole scene. Values depend on these numbers, so that no two
// locations share a value.

/// Part of the names of the scene files. Raise it whenever the formulas change.
constexpr int kSceneFormat = 1;
/// The format version of op files, another part of these names: docs/attribute-file.md.
constexpr int kFileVersion = 2;

constexpr std::int64_t kWidth = 100; ///< number of children of a group

/// The largest number of leaves of the scene that is written and read as a file.
constexpr std::int64_t kMostFileLeaves = 100000;

constexpr std::int32_t kInfo = 42; ///< the attribute "info" of /root, which all locations inherit
constexpr const char* kGroupType = "group";
constexpr const char* kLeafType = "polymesh";

using Matrix = std::array<double, 16>; // row major, row vectors

/// All elements are non-negative whole numbers, which are exact in doubles. World matrices are
/// therefore bit-equal however the products are grouped.
Matrix GetOuterGroupMatrix(std::int64_t i); ///< h_<i>: a scale by 2 and a translation
Matrix
GetInnerGroupMatrix(std::int64_t j); ///< g_<j>: a cyclic permutation of the axes and a translation

struct Leaf {
    explicit Leaf(std::int64_t k);

    std::string name;
    Matrix matrix;                          // xform.matrix
    std::array<float, 3> floats;            // user.f0 user.f1 user.f2
    std::string text;                       // user.s
    std::int32_t integer;                   // user.i
    std::array<float, 3> colour;            // user.c
    std::array<double, 6> bound;            // bound
    std::array<float, 12> points;           // geometry.point.P
    std::array<std::int32_t, 4> vertexList; // geometry.poly.vertexList
    std::array<std::int32_t, 2> startIndex; // geometry.poly.startIndex
};

std::string GetOuterGroupName(std::int64_t i);
std::string GetInnerGroupName(std::int64_t j);
std::string GetLeafPath(std::int64_t k);

/// The number of all locations, including /root.
std::int64_t CountLocations(std::int64_t leaves);

/// The description of the scene, one StaticScene op.
OxAttribute::GroupAttribute DescribeScene(std::int64_t leaves);

/// examples/million.json with a number of trees that gives about `leaves` locations.
OxAttribute::GroupAttribute DescribeForest(std::int64_t leaves);

/// The paths of a scene's op file, plain and compressed, of the same scene with one value of the
/// leaf in the middle changed, and of the dump of its pointer tree.
std::string GetScenePath(std::int64_t leaves);
std::string GetCompressedScenePath(std::int64_t leaves);
std::string GetEditedScenePath(std::int64_t leaves);
std::string GetDumpPath(std::int64_t leaves);

/// Makes the missing files of the rows at this size and reads all files, so that they are in the
/// system's cache.
void PrepareScenes(std::int64_t leaves);

} // namespace TellarBench

#endif
