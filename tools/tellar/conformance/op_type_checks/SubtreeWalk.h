#ifndef TELLAR_TOOL_SUBTREEWALK_H
#define TELLAR_TOOL_SUBTREEWALK_H

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Bounds.h>

#include "OpCase.h"

namespace TellarTool {

using Matrix = std::array<double, 16>; // row by row, for row vectors

/// A location and everything below it, as cooks find them.
struct Subtree {
    std::int64_t locations = 0;
    std::uint32_t types = 0;    ///< a mask of OxOpType::LocationTypes
    OxXFormUtil::Bounds points; ///< in the space of the location, at several times
    bool leavesParent = false;  ///< points lie below an "origin" that is below the location
    std::string signature;      ///< of the content, without the location's own transform
    std::vector<std::string> paths;
    bool isCut = false; ///< there are errors or too many locations, so that some are missing
};

/// Cooks everything below locations. For one thread.
class SubtreeWalk {
public:
    explicit SubtreeWalk(ClientPtr client);

    /// The reference is valid as long as this object. Each location is looked at once.
    const Subtree& at(const std::string& path);
    /// The matrix from the space of a location to that of an ancestor.
    Matrix matrixBetween(std::string path, const std::string& ancestor, float time);
    /// Whether the location is a group without attributes that a renderer needs.
    bool isPlainGroup(const std::string& path);

private:
    Subtree look(const std::string& path);
    OxAttribute::GroupAttribute attrsOf(const std::string& path);
    void addChild(const std::string& path, Subtree& subtree);

    ClientPtr client;
    std::map<std::string, Subtree> all;
};

/// Whether a box encloses another one up to rounding errors.
bool Encloses(const OxXFormUtil::Bounds& box, const OxXFormUtil::Bounds& other);
/// Whether two matrices are equal up to rounding errors.
bool IsNear(const Matrix& a, const double* b);

} // namespace TellarTool

#endif
