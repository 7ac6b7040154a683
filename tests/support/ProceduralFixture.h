#ifndef TELLAR_TEST_PROCEDURALFIXTURE_H
#define TELLAR_TEST_PROCEDURALFIXTURE_H

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxAssetHost/OxAssetPluginManager.h>
#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/ProceduralArguments.h>
#include <OxTellarSDK/AttributeStream.h>

#include "CameraScenes.h"

/// The fixture of tests that build arguments of procedurals, in both forms.
namespace TellarTest {

/// The end of every classic text for the default context.
inline constexpr const char* kDefaultEnd = " -frame 1 -shutter 0 0 -cropwindow 0 1 0 1";

/// The texts that the callback got since the test began.
struct Told {
    std::vector<std::string> messages;
    std::vector<TELLAR::GeometryProducer::Ptr> producers;
};
inline Told told;

inline void Tell(const std::string& message, TELLAR::GeometryProducer::Ptr producer) {
    told.messages.push_back(message);
    told.producers.push_back(producer);
}

/// Resolves "asset:NAME" to "/assets/NAME.FRAME", with a "!" behind it if the reference must be
/// resolved, and refuses everything that begins with "bad".
class TestAssets : public OxAssetPlugin {
public:
    std::string resolvePath(const std::string& reference, int frame,
                            bool mustResolve) const override {
        if (reference.compare(0, 3, "bad") == 0) throw std::runtime_error("There is no such file.");
        if (reference.compare(0, 6, "asset:") != 0) return reference;
        return "/assets/" + reference.substr(6) + "." + std::to_string(frame) +
               (mustResolve ? "!" : "");
    }
};

class Procedural : public testing::Test {
protected:
    void SetUp() override {
        TELLAR::ClearCameraInfoCache();
        OxAssetPluginManager::setDefaultAssetPlugin(std::make_shared<TestAssets>());
        told = {};
    }
    void TearDown() override { OxAssetPluginManager::setDefaultAssetPlugin(nullptr); }

    TELLAR::GeometryProducer::Ptr geo =
        StaticRoot(CameraScene(CameraAttrs(UnitLens())))->getProducerByPath(kGeo);
    TELLAR::ProceduralOutputContextInfo context;

    std::string classic(const OxAttribute::GroupAttribute& procedural) {
        return TELLAR::BuildClassicProceduralArgumentsString(geo, context, procedural, Tell);
    }
    std::string classicArgs(const Children& args) {
        return classic(Group({{"args", Group(args)}}));
    }

    std::string attributesXml(const OxAttribute::GroupAttribute& procedural) {
        return TELLAR::BuildScenegraphAttrProceduralArgumentsString(geo, context, procedural, Tell);
    }
    OxAttribute::GroupAttribute attributes(const OxAttribute::GroupAttribute& procedural) {
        return OxAttribute::ParseAttributeXml(attributesXml(procedural));
    }
};

inline OxAttribute::GroupAttribute WantingCamera(const char* how,
                                                 const OxAttribute::GroupAttribute& which = {}) {
    return Group({{"args", Group({})}, {"includeCameraInfo", Text(how)}, {"cameraInfo", which}});
}

inline constexpr const char* kUnitCameraFlags =
    " -cameraInfo_fov 90 -cameraInfo_near 1 -cameraInfo_far 101 -cameraInfo_left -1"
    " -cameraInfo_right 1 -cameraInfo_top 1 -cameraInfo_bottom -1"
    " -cameraInfo_xform 1 0 0 0 0 1 0 0 0 0 1 0 0 0 0 1";

} // namespace TellarTest

#endif
