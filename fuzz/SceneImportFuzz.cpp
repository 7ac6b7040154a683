// Reads any bytes as a scene file. The first line of an input is the file's extension, such as
// "ply". The fuzzer does not change it, so all inputs of a corpus have the same format.
//
// The formats of Assimp are read in this process, so that a crash is seen.

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <OxLoggingHost/OxLoggerGlue.h>

#include "Check.h"
#include "SceneReader.h"
#include "SceneWalk.h"
#include "TempDirectory.h"
#include "isolation/ForeignFile.h"

// Suppressions for LeakSanitizer: Assimp leaks memory when it rejects a file.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
    // Only Assimp uses zlib here. The recorded stacks of zlib's allocations do not reach Assimp.
    return "leak:libassimp\nleak:inflateInit2_\n";
}

namespace {

/// The extensions of the formats with a reader or a check of this project.
constexpr std::array<std::string_view, 7> kExtensions = {"dae", "fbx", "glb", "gltf",
                                                         "obj", "ply", "stl"};

// More than any input of a few kilobytes needs, and less than the fuzzer's own limit.
constexpr const char* kMebibytes = "512";

/// The folder of the scene file. Embedded images go into the folder "images" in it.
const std::string& Folder() {
    static const TempDirectory directory;
    static const std::string path = [] {
        OxLoggingSetSink([](const OxLogMessage&) {});
        setenv("OX_CONFIG_IMAGE_CACHE", (directory.path() + "/images").c_str(), 1);
        setenv("OX_CONFIG_SCENE_READER_MEBIBYTES", kMebibytes, 1);
        return directory.path();
    }();
    return path;
}

void ReadAndWalk(const std::string& path) {
    std::vector<TellarSceneImport::FileStamp> files;
    try {
        WalkScene(
            *TellarSceneImport::ReadScene(path, {}, files, &TellarSceneImport::ReadForeignFile));
    } catch (const std::runtime_error& error) {
        const std::string message = error.what();
        Check(!message.empty() && message.find('\n') == std::string::npos, "a message is one line");
    }
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
    ReadAndWalk(path);
    std::error_code ignored;
    std::filesystem::remove_all(Folder() + "/images", ignored);
    return 0;
}
