#ifndef SCENEIMPORT_SAMPLEDMOTION_H
#define SCENEIMPORT_SAMPLEDMOTION_H

#include <OxTellarSDK/Attribute.h>

#include "model/Motion.h"

namespace TellarSceneImport {

/// Motion of any class as attributes whose sample times are ticks of 1/600 second, so that the
/// times of keys at the usual frame rates are whole numbers and exact.
class SampledMotion : public Motion {
public:
    static OxAttribute::GroupAttribute SamplesOf(const Motion& motion);

    explicit SampledMotion(OxAttribute::GroupAttribute samples) : samples(std::move(samples)) {}

    void apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const override;
    std::uint64_t memory() const override;

private:
    const OxAttribute::GroupAttribute samples;
};

} // namespace TellarSceneImport

#endif
