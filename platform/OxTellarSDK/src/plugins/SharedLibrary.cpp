#include "SharedLibrary.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>

namespace OxPluginManager {

namespace {

/// While it lives, a process that ends for an exception says first which library this thread was
/// loading: nobody can catch what a static initialiser throws, nor tell from the exception whose
/// it was.
class NamedTermination {
public:
    explicit NamedTermination(const std::string& file) : outerFile(loadedFile) {
        loadedFile = file.c_str();
        outerHandler = std::set_terminate(&NamedTermination::sayWhose);
        if (outerHandler != &NamedTermination::sayWhose) hostsHandler = outerHandler;
    }
    ~NamedTermination() {
        loadedFile = outerFile;
        // A library may have set a handler of its own, to stay.
        if (std::get_terminate() == &NamedTermination::sayWhose) std::set_terminate(outerHandler);
    }
    NamedTermination(const NamedTermination&) = delete;
    NamedTermination& operator=(const NamedTermination&) = delete;

private:
    /// That is no fault of the library's.
    static bool isForWantOfMemory() {
        try {
            if (const std::exception_ptr uncaught = std::current_exception())
                std::rethrow_exception(uncaught);
        } catch (const std::bad_alloc&) {
            return true;
        } catch (...) {
        }
        return false;
    }

    [[noreturn]] static void sayWhose() {
        if (loadedFile && !isForWantOfMemory())
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
