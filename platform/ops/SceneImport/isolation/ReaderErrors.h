#ifndef SCENEIMPORT_READERERRORS_H
#define SCENEIMPORT_READERERRORS_H

#include <string>
#include <string_view>
#include <vector>

namespace TellarSceneImport {

/// The standard error of the scene reader. It names every file before it opens it, because a reader
/// that crashes sends no reply.

/// The line that names a file; empty if the name contains a line break.
std::string LineOfFile(const std::string& path);

struct ReaderErrors {
    std::vector<std::string> files;
    /// The first line that is not the name of a file; it comes from a library or the system.
    std::string text;
};

/// Parses standard error. An incomplete last line is not taken for the name of a file.
ReaderErrors ErrorsIn(std::string_view standardError);

} // namespace TellarSceneImport

#endif
