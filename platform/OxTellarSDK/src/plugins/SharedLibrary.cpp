#include "SharedLibrary.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

namespace OxPluginManager {

namespace {

/// While it lives, a process that ends because of an exception first names the library that this
/// thread was loading. An exception of a static initialiser cannot be caught, and does not tell
/// from which library it came.
class NamedTermination {
public:
    explicit NamedTermination(const std::string& file) : outerFile(loadedFile) {
        loadedFile = file.c_str();
        outerHandler = std::set_terminate(&NamedTermination::nameLibrary);
        if (outerHandler != &NamedTermination::nameLibrary) hostsHandler = outerHandler;
    }
    ~NamedTermination() {
        loadedFile = outerFile;
        // A library may have set a handler of its own, which then stays.
        if (std::get_terminate() == &NamedTermination::nameLibrary)
            std::set_terminate(outerHandler);
    }
    NamedTermination(const NamedTermination&) = delete;
    NamedTermination& operator=(const NamedTermination&) = delete;

private:
    /// True for std::bad_alloc, which is not the library's fault.
    static bool isOutOfMemory() {
        try {
            if (const std::exception_ptr uncaught = std::current_exception())
                std::rethrow_exception(uncaught);
        } catch (const std::bad_alloc&) {
            return true;
        } catch (...) {
        }
        return false;
    }

    [[noreturn]] static void nameLibrary() {
        if (loadedFile && !isOutOfMemory())
            std::fprintf(stderr,
                         "\"%s\": a static initialiser of this library, or of one that it needs, "
                         "ends the process\n",
                         loadedFile);
        if (hostsHandler) hostsHandler.load()();
        std::abort();
    }

    static thread_local const char* loadedFile;
    static std::atomic<std::terminate_handler> hostsHandler;
    const char* const outerFile;
    std::terminate_handler outerHandler;
};

thread_local const char* NamedTermination::loadedFile = nullptr;
std::atomic<std::terminate_handler> NamedTermination::hostsHandler{nullptr};

} // namespace

SharedLibrary SharedLibrary::load(const std::string& file, std::string& reason) {
    SharedLibrary library;
    const NamedTermination named(file);
    library.handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library.handle) {
        const char* error = dlerror();
        reason = error ? error : "the loader gives no reason";
    }
    return library;
}

void* SharedLibrary::address(const char* name) const {
    return handle ? dlsym(handle, name) : nullptr;
}

std::string SharedLibrary::fileContaining(const void* address) {
    Dl_info info = {};
    if (dladdr(address, &info) == 0 || !info.dli_fname) return {};
    return info.dli_fname;
}

} // namespace OxPluginManager
