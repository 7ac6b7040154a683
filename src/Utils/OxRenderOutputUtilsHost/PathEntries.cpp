#include "RenderOutputEntries.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <OxTellarProducers/ArchPath.h>
#include <OxTellarProducers/TilePath.h>

#include "TempRenderLocation.h"

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using namespace OxAttribute;
using Producer = GeometryProducer::Ptr;

OxAttributeStruct* GetArch() {
    return Enter("getArchString", [] { return TextToC(GetArchString()); });
}

OxAttributeStruct* ExpandArch(const char* path) {
    return Enter("expandArchPath", [&] { return path ? TextToC(ExpandArchPath(path)) : nullptr; });
}

/// The frame clamped to the range of int; 0 for NaN.
int ToFrame(float frame) {
    constexpr auto kLeast = static_cast<double>(std::numeric_limits<int>::min());
    constexpr auto kMost = static_cast<double>(std::numeric_limits<int>::max());
    return std::isnan(frame) ? 0 : static_cast<int>(std::clamp<double>(frame, kLeast, kMost));
}

OxAttributeStruct* GetTempLocation(OxSgIteratorStruct* root, const char* outputName, float frame) {
    return EnterWith("getTempRenderLocation", root, [&](auto& producer) {
        return TextToC(GetTempRenderLocation(*producer, Text(outputName), ToFrame(frame)));
    });
}

OxAttributeStruct* GetTilePath(OxSgIteratorStruct* location, const char* path) {
    return Enter("getTilePath", [&]() -> OxAttributeStruct* {
        if (!path) return nullptr;
        const Producer producer = OxHandleToGeometryProducer(location);
        const IntAttribute tile(producer ? producer->getGlobalAttribute("renderSettings.tileRender")
                                         : Attribute());
        if (!tile.isValid()) return TextToC(path);
        const auto values = tile.getNearestSample(0.0f);
        return TextToC(ProcessTilePath(path, {values.begin(), values.end()}));
    });
}

} // namespace

void FillPathSlots(Suite& suite) {
    TELLAR_SET_SLOT(suite, 7, getArchString, GetArch);
    TELLAR_SET_SLOT(suite, 8, expandArchPath, ExpandArch);
    TELLAR_SET_SLOT(suite, 47, getTempRenderLocation, GetTempLocation);
    TELLAR_SET_SLOT(suite, 48, getTilePath, GetTilePath);
}

} // namespace TELLAR::RenderOutputUtilsHost
