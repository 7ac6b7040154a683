#include "SharedLibrary.h"

#include <dlfcn.h>

namespace OxPluginManager {

SharedLibrary SharedLibrary::load(const std::string& file, std::string& reason) {
    SharedLibrary library;
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
