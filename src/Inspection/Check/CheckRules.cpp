#include "CheckRules.h"

namespace TELLAR {

namespace {

constexpr auto Note = CheckSeverity::Note;
constexpr auto Warning = CheckSeverity::Warning;
constexpr auto Error = CheckSeverity::Error;

/// In the order of the enumeration Rule.
constexpr CheckRule kRules[] = {
    {"op-glob", Warning, "a path or glob of an op that matches no location",
     "correct it, or remove it from the op", true},
    {"op-assignment", Warning, "an op that assigns a material that is not there",
     "correct the path of the material", true},
    {"op-merge", Warning, "inputs of a Merge that are equal, or that hide each other",
     "remove one of the inputs, or give it another location", true},
    {"op-warning", Warning, "any other warning of an op type about its op",
     "correct the arguments of the op", true},
    {"cook-error", Error, "a location that cannot be cooked", "correct the op or its file", false},
    {"setting-unknown", Warning, "a render setting that nothing reads",
     "correct its name, or remove it", true},
    {"setting-type", Error, "a render setting of a wrong type or number of values",
     "correct its value", true},
    {"setting-value", Error, "a render setting whose value is out of range or names nothing",
     "correct its value", true},
    {"name-level", Error, "a child whose name is empty, `.` or `..`, or holds a slash",
     "rename it, because no path leads to it", false},
    {"name-utf8", Warning, "a child whose name is not UTF-8",
     "rename it, because files and scripts cannot refer to it", false},
    {"name-clash", Error, "two children of one name", "rename one of them", false},
    {"transform-value", Warning,
     "a step of a transform that is not known, has too few values, or is not finite",
     "correct the step, or remove it", false},
    {"transform-singular", Warning, "a transform that cannot be inverted",
     "give it a scale other than 0, or prune the location", false},
    {"transform-samples", Warning, "steps of one transform with samples at different times",
     "sample all steps at the same times", false},
    {"bound-value", Warning, "a `bound` that is not six finite numbers",
     "write x min, x max, y min, y max, z min, z max, or remove it", false},
    {"bound-small", Warning, "a `bound` that does not enclose the points at and below its location",
     "make it larger, or remove it", false},
    {"points-missing", Warning, "a shape without `geometry.point.P`",
     "give it points, or another type", false},
    {"points-value", Error, "points that are not numbers in tuples of three",
     "write three numbers for each point", false},
    {"mesh-faces", Error,
     "faces whose `startIndex` and `vertexList` are missing or do not fit each other",
     "write where each face begins, and the end of the last one", false},
    {"mesh-index", Error, "a face with a point that does not exist",
     "correct the index, or add the point", false},
    {"mesh-unused", Note, "faces with fewer than three corners, and entries that no face uses",
     "remove them, because they draw nothing", false},
    {"shape-finite", Error, "points, normals or other values of a shape that are not finite",
     "replace the infinities and NaNs", false},
    {"shape-width", Warning, "widths or radii that are negative or do not fit the points",
     "write one width from 0 on for each point, or one for all", false},
    {"normals-count", Warning, "normals that are not one for each point or corner",
     "write as many as there are, or remove them, because they are ignored", false},
    {"arbitrary-count", Warning,
     "values in `geometry.arbitrary` that do not fit their scope or their indices",
     "write one value for each element of the scope", false},
    {"subdivision-tags", Warning, "creases, corners, holes or schemes that do not fit the mesh",
     "correct them, because they are ignored", false},
    {"curves-count", Error, "curves whose `numVertices` or `basis` do not fit their points",
     "correct the number of control points of each curve", false},
    {"faceset-index", Error, "a faceset with a face that its mesh does not have",
     "correct the index of the face", false},
    {"faceset-unused", Warning, "a faceset without faces, or below something other than a mesh",
     "remove it, or put it below its mesh", false},
    {"material-missing", Warning,
     "a `materialAssign` to a material that is not there or not applied",
     "correct the path, and assign it by the op MaterialAssign", false},
    {"material-none", Note, "a shape without any material", "assign it one", false},
    {"material-node", Warning, "a network that refers to a node that it does not have",
     "correct the name of the node", false},
    {"material-loop", Warning, "a network whose nodes feed each other in a circle",
     "remove one of the connections", false},
    {"material-unused", Note, "a material that nothing uses", "assign it, or prune it", true},
    {"texture-missing", Warning, "a texture file that does not exist",
     "correct its path, or restore the file", false},
    {"texture-unused", Note, "a texture that no part of its material uses",
     "connect it, or remove it", false},
    {"light-type", Warning, "a light whose type is missing or not known",
     "write directional, point, spot, area, ambient or environment", false},
    {"light-value", Warning, "numbers of a light that are negative, not finite or of a wrong size",
     "correct them, because the defaults are used instead", false},
    {"light-dark", Warning, "a light that gives no light: black, or of no intensity or size",
     "make it brighter, or prune it", false},
    {"light-hidden", Note, "a light that is hidden by `visible`", "prune it if it is not needed",
     false},
    {"camera-lens", Error, "a camera whose lens is incomplete or impossible",
     "write the missing numbers of its geometry as doubles, in their order", false},
    {"camera-missing", Error, "render settings that name a camera that is not there",
     "correct cameraName", true},
    {"camera-unused", Note, "a camera that the render settings do not name",
     "prune it if it is not needed", true},
};

static_assert(sizeof(kRules) / sizeof(kRules[0]) == kRuleCount);

} // namespace

const std::vector<CheckRule>& GetCheckRules() {
    static const std::vector<CheckRule> rules(std::begin(kRules), std::end(kRules));
    return rules;
}

const char* GetCheckSeverityName(CheckSeverity severity) {
    switch (severity) {
    case CheckSeverity::Note:
        return "note";
    case CheckSeverity::Warning:
        return "warning";
    case CheckSeverity::Error:
        break;
    }
    return "error";
}

std::uint64_t CheckReport::count(CheckSeverity severity) const {
    std::uint64_t sum = 0;
    for (const CheckTotal& total : totals)
        if (total.severity == severity) sum += total.count;
    return sum;
}

} // namespace TELLAR
