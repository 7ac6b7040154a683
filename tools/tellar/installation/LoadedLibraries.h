#ifndef TELLAR_TOOL_LOADEDLIBRARIES_H
#define TELLAR_TOOL_LOADEDLIBRARIES_H

#include <string>
#include <vector>

namespace TellarTool {

/// A shared library that is loaded in this process.
struct LoadedLibrary {
    std::string name;    ///< "OxTellarSDK" of libOxTellarSDK.so.0
    std::string version; ///< taken from the file name; empty when the name has none
    std::string file;    ///< absolute, symbolic links followed
};

/// The loaded libraries of this project, ordered by name and file. Empty on systems other than
/// Linux.
std::vector<LoadedLibrary> GetLoadedLibraries();

} // namespace TellarTool

#endif
