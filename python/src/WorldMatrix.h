#ifndef TELLAR_PYTHON_WORLDMATRIX_H
#define TELLAR_PYTHON_WORLDMATRIX_H

#include <optional>

#include <Imath/ImathMatrix.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TellarPython {

/// The world matrix of a location at the time 0, from which those of its children are made at the
/// cost of one transform each. They equal GetWorldMatrix bit by bit.
class WorldMatrix {
public:
    WorldMatrix() = default;
    /// From all ancestors.
    static WorldMatrix Of(TELLAR::GeometryProducer& location);
    /// The matrix of a location whose parent has this one. `keepForChildren` was called.
    WorldMatrix below(TELLAR::GeometryProducer& location) const;
    /// To be called before `below`.
    void keepForChildren();

    Imath::M44d get() const { return matrix.value_or(Imath::M44d()); }

private:
    std::optional<Imath::M44d> matrix;      // nothing: no location so far has a transform
    OxAttribute::DoubleAttribute attribute; // the same, for OxXFormUtil
};

} // namespace TellarPython

#endif
