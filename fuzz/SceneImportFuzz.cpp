// Reads any bytes as a scene file. The first line of an input is the file's extension, such as
// "ply". The fuzzer does not change it, so all inputs of a corpus have the same format.

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "Check.h"
#include "SceneReader.h"
#include "TempDirectory.h"
#include "isolation/ForeignFile.h"

using namespace OxAttribute;

// Suppressions for LeakSanitizer: Assimp leaks memory when it rejects a file.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    // Only Assimp uses zlib here. The recorded stacks of zlib's allocations do not reach Assimp.
    return "leak:libassimp\nleak:inflateInit2_\n";
}

namespace {

using TellarSceneImport::Scene;
using TellarSceneImport::SceneNode;

/// The extensions of formats whose files are checked before Assimp reads them.
constexpr std::array<std::string_view, 7> kExtensions = {"dae", "fbx", "glb", "gltf",
                                                         "obj", "ply", "stl"};

const std::string& Folder() {
    static const TempDirectory directory;
    static const std::string path = directory.path();
    return path;
}

void UseValue(const Attribute& value) {
    if (value.isValid()) Check(!value.getXML().empty(), "every value has a text");
}

void UseMotion(const TellarSceneImport::Motion& motion) {
    GroupBuilder attrs;
    motion.apply({}, attrs);
    UseValue(attrs.build());
}

void UseNode(const Scene& scene, const std::string& path, int& left) {
    const SceneNode* const node = scene.findNode(path);
    Check(node != nullptr, "a name that is listed is found");
    UseValue(node->attrs);
    if (node->motion) UseMotion(*node->motion);
    if (node->material >= 0) UseValue(scene.material(node->material).network);
    for (const std::string_view name : node->childNames.getNearestSample(0.0f))
        if (left-- > 0) UseNode(scene, path + "/" + std::string(name), left);
}

void UseScene(const Scene& scene) {
    int left = 200;
    UseNode(scene, scene.rootName(), left);
    for (const std::string_view name : scene.materialNames().getNearestSample(0.0f))
        UseValue(scene.findMaterial(name)->network);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::string_view extension = input.substr(0, input.find('\n'));
    if (std::find(kExtensions.begin(), kExtensions.end(), extension) == kExtensions.end()) return 0;
    const std::string_view content = input.substr(std::min(size, extension.size() + 1));
    const std::string path = Folder() + "/scene." + std::string(extension);
    std::ofstream(path, std::ios::binary) << content;
    // An OBJ file and its material library are the same text here.
    if (extension == "obj") std::ofstream(Folder() + "/scene.mtl", std::ios::binary) << content;
    std::vector<TellarSceneImport::FileStamp> files;
    try {
        // In this process, so that a crash is seen.
        UseScene(
            *TellarSceneImport::ReadScene(path, {}, files, &TellarSceneImport::ReadForeignFile));
    } catch (const std::runtime_error& error) {
        const std::string message = error.what();
        Check(!message.empty() && message.find('\n') == std::string::npos, "a message is one line");
    }
    return 0;
}
