#ifndef OXTELLARSDK_SHAREDLIBRARY_H
#define OXTELLARSDK_SHAREDLIBRARY_H

#include <string>

namespace OxPluginManager {

/// What the system calls a file that can be loaded into a running program.
#if defined(_WIN32)
constexpr const char* kModuleSuffix = ".dll";
#elif defined(__APPLE__)
constexpr const char* kModuleSuffix = ".dylib";
#else
constexpr const char* kModuleSuffix = ".so";
#endif

/// A library loaded into this process, for good. A value; copy it freely. The one place
/// that talks to the system's loader. Safe from any thread.
class SharedLibrary {
public:
    /// Loads the file with all its symbols bound and none of them offered to libraries
    /// loaded later. When that fails, the result is not loaded and the loader's reason is
    /// assigned. Runs the library's own initialisers.
    static SharedLibrary load(const std::string& file, std::string& reason);

    bool isLoaded() const { return handle != nullptr; }

    /// An exported function, null when there is none of this name.
    template <typename Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(address(name));
    }

    /// The file of the library that an address in this process belongs to; empty when the
    /// system does not know.
    static std::string fileContaining(const void* address);

private:
    void* address(const char* name) const;

    void* handle = nullptr;
};

} // namespace OxPluginManager

#endif
