#ifndef TELLAR_TEST_ITERATORSCENES_H
#define TELLAR_TEST_ITERATORSCENES_H

#include <string>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "SceneBuilders.h"
#include "ScopedEnvironment.h"
#include "SuiteHandles.h"
#include "TempDirectory.h"

/// Scenes that tests open and walk through the suite for iterators.
namespace TellarTest {

/// The full name of the location behind the handle; "nothing" for null.
inline std::string PathOf(const Handle& handle) {
    return handle ? TextOf(Owned(Iterators().getFullName(handle.get()))) : "nothing";
}

/// /root (inherited, tag) > world > group0..3 > leaf0..9; each has a number.
inline OxAttribute::GroupAttribute WideScene(const std::string& tag) {
    Children groups;
    for (int i = 0; i < 4; ++i) {
        Children leaves;
        for (int j = 0; j < 10; ++j)
            leaves.emplace_back("leaf" + std::to_string(j), Location({{"number", Int(j)}}));
        groups.emplace_back("group" + std::to_string(i), Location({{"number", Int(i)}}, leaves));
    }
    return SceneTree(
        Location({{"number", Int(0)}, {"inherited", Text("from above")}, {"tag", Text(tag)}},
                 {{"world", Location({{"number", Int(1)}}, groups)}}));
}
inline constexpr long kWideSceneLocations = 2 + 4 + 40;

/// A scene in an op file that no other test opens.
class SceneFile {
public:
    explicit SceneFile(const OxAttribute::GroupAttribute& ops = WideScene(UniqueTag()))
        : path(folder.path("scene.oxop")) {
        OxAttribute::WriteOpFile(path, ops);
    }

    const char* c_str() const { return path.c_str(); }
    Handle root() const {
        return Handle::owning(Iterators().createRootIteratorFromOpTreeFile(path.c_str()));
    }

private:
    TempDirectory folder;
    std::string path;
};

/// While it lives, all threads that open a scene share one runtime.
struct SharedRuntime {
    ScopedEnvironment on{"RUNTIME_USE_CONCURRENT", "1"};
    ~SharedRuntime() { OxTellarServicesHost::RegisterRuntimeInstance(nullptr, "renderRuntime"); }
};

} // namespace TellarTest

#endif
