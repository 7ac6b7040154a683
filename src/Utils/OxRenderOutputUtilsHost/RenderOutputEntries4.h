#ifndef OXTELLARPRODUCERS_RENDEROUTPUTENTRIES4_H
#define OXTELLARPRODUCERS_RENDEROUTPUTENTRIES4_H

#include <string>
#include <vector>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxSgIterator.h>

#include "ErrorEntry.h"
#include "RenderOutputEntries.h"

// The parts that the entries of the suite "RenderOutputUtilsHost", version 4, share. A function for
// each subject fills its slots.

namespace TELLAR::RenderOutputUtilsHost4 {

using RenderOutputUtilsHost::TextToC;
using Suite = OxRenderOutputUtilsHostSuite_v4;

void FillTransformSlots(Suite& suite);
void FillCameraSlots(Suite& suite);
void FillMaterialSlots(Suite& suite);

/// The producer of a handle. Throws BadCall for null.
inline GeometryProducer::Ptr At(OxSgIteratorStruct* location) {
    return OxHandleToGeometryProducer(NotNull(location, "location"));
}

/// The attribute behind a handle. Throws BadCall for null.
inline OxAttribute::Attribute ValueOf(OxAttributeStruct* value, const char* argument) {
    return OxAttribute::Attribute::CreateAndRetain(NotNull(value, argument));
}

/// Throws BadCall unless `values` has room for `count` values.
template <typename T>
void CheckArray(const T* values, const char* argument, std::int64_t count,
                const char* countArgument) {
    if (count < 0) throw BadCall{countArgument, "is negative"};
    if (count > 0) NotNull(values, argument);
}

inline std::vector<std::string> Texts(const char* const* texts, const char* argument,
                                      std::int64_t count, const char* countArgument) {
    CheckArray(texts, argument, count, countArgument);
    std::vector<std::string> result;
    for (std::int64_t i = 0; i < count; ++i)
        result.emplace_back(NotNull(texts[i], argument));
    return result;
}

} // namespace TELLAR::RenderOutputUtilsHost4

#endif
