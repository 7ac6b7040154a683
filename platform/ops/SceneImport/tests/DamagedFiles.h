#ifndef SCENEIMPORT_TESTS_DAMAGEDFILES_H
#define SCENEIMPORT_TESTS_DAMAGEDFILES_H

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "SceneReader.h"
#include "TempDirectory.h"
#include "TestScenes.h"
#include "isolation/ForeignFile.h"

/// Scene files with errors in them, and the reasons for which they are refused.

inline const std::string kData = SCENEIMPORT_TEST_DATA;

inline std::string ContentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline std::string Replaced(std::string text, const std::string& what, const std::string& by) {
    const std::size_t at = text.find(what);
    if (at == std::string::npos) throw std::runtime_error("no such text: " + what);
    return text.replace(at, what.size(), by);
}

/// The reason why the file cannot be read; empty when it can.
inline std::string Reason(const std::string& path) {
    std::vector<TellarSceneImport::FileStamp> files;
    try {
        TellarSceneImport::ReadScene(path, {}, files, &TellarSceneImport::ReadForeignFile);
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

inline std::string ReasonOf(const std::string& name, const std::string& content) {
    const TempDirectory directory;
    return Reason(directory.write(name, content));
}

inline std::string ReasonOfYard(const std::string& what, const std::string& by) {
    return ReasonOf("yard.glb", BinaryGltf(Replaced(YardJson(""), what, by), YardBuffer()));
}

inline std::string ReasonOfPanel(const std::string& what, const std::string& by) {
    return ReasonOf("panel.dae", Replaced(ContentOf(kData + "/panel.dae"), what, by));
}

#endif
