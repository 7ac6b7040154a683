#ifndef TELLAR_BENCH_SCENE_H
#define TELLAR_BENCH_SCENE_H

#include <array>
#include <cstdint>
#include <string>

#include <OxTellarSDK/Attribute.h>

namespace TellarBench {

// The scene that everything is measured on, as formulas: the op file and the pointer tree are
// both made from them. Locations are
//
//     /root                         type, info
//     /root/world                   type
//     /root/world/h_<i>             type, matrix; 100 groups each
//     .../h_<i>/g_<j>               type, matrix; 100 leaves each
//     .../h_<i>/g_<j>/leaf_<k>      what Leaf holds
//
// with i, j and k counted through the whole scene. Values depend on these numbers, so that no two
// locations can share one by accident.

/// Part of the scene files' names: to be raised with every change of the formulas.
constexpr int kSceneFormat = 1;

constexpr std::int64_t kWidth = 100; ///< children of a group

/// Leaves of the scene that is written and read as a file, at most.
constexpr std::int64_t kMostFileLeaves = 100000;

constexpr std::int32_t kInfo = 42; ///< the attribute "info" of /root, which all others inherit
constexpr const char* kGroupType = "group";
constexpr const char* kLeafType = "polymesh";

using Matrix = std::array<double, 16>; // row major, row vectors

/// All in whole numbers that are exact in doubles, and never negative: world matrices are the same
/// to the bit however they are multiplied, but for the order.
Matrix GetOuterGroupMatrix(std::int64_t i); ///< h_<i>: twice the size, and a translation
Matrix GetInnerGroupMatrix(std::int64_t j); ///< g_<j>: x to y to z to x, and a translation

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

/// All of them, /root included.
std::int64_t CountLocations(std::int64_t leaves);

/// The scene as the description of one StaticScene op.
OxAttribute::GroupAttribute DescribeScene(std::int64_t leaves);

/// The op file of a scene, and the dump of its pointer tree.
std::string GetScenePath(std::int64_t leaves);
std::string GetDumpPath(std::int64_t leaves);

/// Makes whatever files the rows at this size need and are not there yet, and reads all of them
/// through, so that they are in memory.
void PrepareScenes(std::int64_t leaves);

} // namespace TellarBench

#endif
