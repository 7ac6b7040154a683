#include <OxTellarProducers/LocationTransforms.h>

#include <OxTellarSDK/XFormUtil.h>

#include "AncestorAttributes.h"
#include "MatrixFromAttribute.h"

using Imath::M44d;
using OxAttribute::DoubleAttribute;
using OxAttribute::GroupAttribute;

namespace TELLAR {

M44d GetWorldMatrix(GeometryProducer& location, float time) {
    if (const OwnLocation own = OwnLocation::of(location)) {
        const OxXFormUtil::InheritedTransforms* const inherited = own.getInheritedTransforms();
        M44d matrix;
        if (!inherited || inherited->isKnown)
            OxXFormUtil::CalcTransformMatrixBelow(own.getAttrs(), inherited, time,
                                                  matrix.getValue());
        else
            OxXFormUtil::CalcTransformMatrixOfChain(AncestorAttributes(own).chain(), time,
                                                    matrix.getValue());
        return matrix;
    }
    return MatrixFromAttribute(
        OxXFormUtil::CalcTransformMatrixAtTime(location.getGlobalXFormGroup(), time).first);
}

M44d GetLocalMatrix(GeometryProducer& location, float time) {
    const GroupAttribute xform(location.getAttribute("xform"));
    return MatrixFromAttribute(OxXFormUtil::CalcTransformMatrixAtTime(xform, time).first);
}

std::vector<float> GetTransformTimes(GeometryProducer& location) {
    const DoubleAttribute matrices =
        OxXFormUtil::CalcTransformMatrixAtExistingTimes(location.getGlobalXFormGroup()).first;
    std::vector<float> times;
    for (std::int64_t i = 0; i < matrices.getNumberOfTimeSamples(); ++i)
        times.push_back(matrices.getSampleTime(i));
    return times;
}

} // namespace TELLAR
