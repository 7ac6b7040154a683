#ifndef TELLAR_TEST_ITERATORSCENES4_H
#define TELLAR_TEST_ITERATORSCENES4_H

#include <string>
#include <utility>
#include <vector>

#include "SceneBuilders.h"
#include "SuiteHandles4.h"
#include "TestOps.h"

/// Scenes for tests of version 4 of the suite for iterators.
namespace TellarTest {

/// A scene handle that is released automatically.
class SceneHandle {
public:
    explicit SceneHandle(OxSceneStruct* scene) : scene(scene) {}
    SceneHandle(SceneHandle&& other) noexcept : scene(std::exchange(other.scene, nullptr)) {}
    ~SceneHandle() { Scenes4().releaseScene(scene); }

    static SceneHandle of(const OxAttribute::GroupAttribute& description) {
        CallError error;
        SceneHandle opened(Scenes4().openDescription(description.getHandle(), error.out()));
        if (!opened.get()) throw std::runtime_error(error.text());
        return opened;
    }

    OxSceneStruct* get() const { return scene; }
    At root() const {
        CallError error;
        return Scenes4().getSceneRoot(scene, error.out());
    }

private:
    OxSceneStruct* scene;
};

/// A tree of the locations /root/<child>, those at `failing` cannot be cooked and those at
/// `missing` do not exist.
inline OxAttribute::GroupAttribute FailingTree(const std::vector<std::string>& children,
                                               const std::vector<std::string>& failing,
                                               const std::vector<std::string>& missing = {}) {
    Children ops{{"tree", OpEntry("TestTree", Group({{"children", Texts(children)},
                                                     {"missing", Texts(missing)},
                                                     {"tag", Text(UniqueTag())}}))}};
    for (const std::string& path : failing)
        ops.emplace_back("fails at " + path,
                         OpEntry("TestThrow", Group({{"at", Text(path)}}), {ops.back().first}));
    return Group(ops);
}

inline At RootOf(const OxAttribute::GroupAttribute& description) {
    CallError error;
    return Scenes4().createRootIteratorFromOpTreeDescription(description.getHandle(), error.out());
}

/// "nothing" for null.
inline std::string FullNameOf(OxSgIteratorStruct* location) {
    const char* const name = Scenes4().getFullName(location, nullptr);
    return name ? name : "nothing";
}
inline std::string FullNameOf(const At& location) {
    return FullNameOf(location.get());
}

/// The full name of the location at a path; what `error` says is added to it.
inline std::string Answer(const At& location, const CallError& error) {
    return FullNameOf(location) + ", " + error.text();
}

} // namespace TellarTest

#endif
