#ifndef OXTELLARSDK_SHAREDLIBRARY_H
#define OXTELLARSDK_SHAREDLIBRARY_H

#include <string>

namespace OxPluginManager {

/// The suffix of files that can be loaded into a running program.
#if defined(_WIN32)
constexpr const char* kModuleSuffix = ".dll";
#elif defined(__APPLE__)
constexpr const char* kModuleSuffix = ".dylib";
#else
constexpr const char* kModuleSuffix = ".so";
#endif

/// A library that is loaded into this process until its end. A value; copy it freely. All calls of
/// the system's loader are here. Safe from any thread.
class SharedLibrary {
public:
    /// Loads the file, binds all its symbols, and runs its initialisers. Libraries loaded later do
    /// not see its symbols. When that fails, the result is not loaded and `reason` gets the
    /// loader's.
    static SharedLibrary load(const std::string& file, std::string& reason);

    bool isLoaded() const { return handle != nullptr; }

    /// An exported function, null when there is none of this name.
    template <typename Function>
    Function* function(const char* name) const {
        return reinterpret_cast<Function*>(address(name));
    }

    /// The file of the library that contains an address of this process; empty when the system does
    /// not know.
    static std::string fileContaining(const void* address);

private:
    void* address(const char* name) const;

    void* handle = nullptr;
};

} // namespace OxPluginManager

#endif
