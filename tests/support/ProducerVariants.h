#ifndef TELLAR_TEST_PRODUCERVARIANTS_H
#define TELLAR_TEST_PRODUCERVARIANTS_H

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "SceneBuilders.h"

/// The fixture of tests that hold for every kind of producer over a runtime.
namespace TellarTest {

/// Cooks the location and everything below it.
inline void CookAll(const std::shared_ptr<TellarRuntime::Client>& client, const std::string& path) {
    const OxAttribute::StringAttribute children = client->cookLocation(path).getPotentialChildren();
    std::set<std::string> names;
    for (std::int64_t sample = 0; sample < children.getNumberOfTimeSamples(); ++sample)
        for (const std::string_view name : children.getSample(sample))
            names.emplace(name);
    for (const std::string& name : names)
        CookAll(client, path + "/" + name);
}

/// An op tree that changes a scene by one more Op.
inline OxAttribute::GroupAttribute SceneUnder(const char* opName, const char* opType,
                                              const OxAttribute::GroupAttribute& args,
                                              const OxAttribute::GroupAttribute& scene) {
    return Group({{"scene", OpEntry("StaticScene", scene)},
                  {"tag", OpEntry("Merge", {}, {"scene"})},
                  {opName, OpEntry(opType, args, {"tag"})}});
}

/// One kind of producer.
struct Variant {
    const char* name;
    /// Opens a location of a tree. The whole tree is cooked first if the kind does not cook.
    TELLAR::GeometryProducer::Ptr (*open)(const OxAttribute::GroupAttribute& tree,
                                          const std::string& path);
};

inline TELLAR::GeometryProducer::Ptr OpenSync(const OxAttribute::GroupAttribute& tree,
                                              const std::string& path) {
    return TELLAR::CreateSyncGeometryProducer(MakeClient(tree), path);
}
inline TELLAR::GeometryProducer::Ptr OpenAsync(const OxAttribute::GroupAttribute& tree,
                                               const std::string& path) {
    const auto client = MakeClient(tree);
    CookAll(client, "/root");
    return TELLAR::CreateAsyncGeometryProducer(client, path);
}
inline TELLAR::GeometryProducer::Ptr OpenThreadAware(const OxAttribute::GroupAttribute& tree,
                                                     const std::string& path) {
    return TELLAR::CreateThreadAwareGeometryProducer(tree, path);
}

inline std::string NameOfVariant(const testing::TestParamInfo<Variant>& variant) {
    return variant.param.name;
}

class RuntimeProducer : public testing::TestWithParam<Variant> {
protected:
    static TELLAR::GeometryProducer::Ptr open(const OxAttribute::GroupAttribute& tree,
                                              const std::string& path = "/root") {
        return GetParam().open(tree, path);
    }
    static TELLAR::GeometryProducer::Ptr openScene(const OxAttribute::GroupAttribute& scene,
                                                   const std::string& path = "/root") {
        return open(SceneTree(scene), path);
    }
};

} // namespace TellarTest

#endif
