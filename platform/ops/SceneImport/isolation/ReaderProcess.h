#ifndef SCENEIMPORT_READERPROCESS_H
#define SCENEIMPORT_READERPROCESS_H

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "FileStamp.h"
#include "ReadOptions.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

/// The limits of a scene reader.
struct ReaderLimits {
    std::chrono::seconds time{};
    std::uint64_t mebibytes = 0; ///< limit for the memory
};

/// The limits that the configuration sets by SCENE_READER_SECONDS and SCENE_READER_MEBIBYTES. The
/// defaults are ten minutes and three quarters of the memory of the machine.
ReaderLimits ConfiguredLimits();

/// The program that ReadInChildProcess starts; an absolute path.
std::string ReaderProgram();
/// Has to be called before the first scene is read.
void SetReaderProgram(const std::string& file);

/// Reads a scene file in a process of its own, so that a file on which the reader crashes, hangs or
/// uses up the memory does no harm here. Throws std::runtime_error with the reason when the file
/// cannot be read. `files` receives the stamp of every file that was accessed, as far as the reader
/// could tell. Safe from many threads.
SceneContent ReadInChildProcess(const FileStamp& stamp, const ReadOptions& options,
                                const ReaderLimits& limits, std::vector<FileStamp>& files);
/// Overload that uses ConfiguredLimits().
SceneContent ReadInChildProcess(const FileStamp& stamp, const ReadOptions& options,
                                std::vector<FileStamp>& files);

} // namespace TellarSceneImport

#endif
