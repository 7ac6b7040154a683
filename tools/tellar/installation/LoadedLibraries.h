#ifndef TELLAR_TOOL_LOADEDLIBRARIES_H
#define TELLAR_TOOL_LOADEDLIBRARIES_H

#include <string>
#include <vector>

namespace TellarTool {

/// A shared library in this process.
struct LoadedLibrary {
    std::string name;    ///< "OxTellarSDK" of libOxTellarSDK.so.0
    std::string version; ///< as its file's name tells; empty when it does not
    std::string file;    ///< absolute, symbolic links followed
};

/// This project's libraries that are loaded just now, by name and file. Empty on systems other
/// than Linux, where nothing is known about them.
std::vector<LoadedLibrary> GetLoadedLibraries();

} // namespace TellarTool

#endif
