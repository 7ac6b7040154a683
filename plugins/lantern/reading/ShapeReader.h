#ifndef LANTERN_READING_SHAPEREADER_H
#define LANTERN_READING_SHAPEREADER_H

#include <functional>
#include <string>

#include "SceneData.h"
#include "reading/Shutter.h"

namespace lantern {

/// Reads shapes from "geometry" groups. A function that takes it returns nothing for a shape that
/// cannot be drawn. It calls `warn` with the reason, and for anything else that is ignored.
struct ShapeReader {
    const Suites& suites;
    const Shutter& shutter;
    std::function<void(const std::string& what)> warn;
};

} // namespace lantern

#endif
