/* Loads a library that links ours, uses it and unloads it, again and again:

       LoadGuest GUEST_LIBRARY */

#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

static int fail(int round, const char* what) {
    fprintf(stderr, "LoadGuest, round %d: %s\n", round, what);
    return 1;
}

int main(int argc, char** argv) {
    if (argc != 2) return fail(0, "usage: LoadGuest GUEST_LIBRARY");
    for (int round = 1; round <= 100; ++round) {
        void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (!library) return fail(round, dlerror());
        void* address = dlsym(library, "UseTheLibrary");
        if (!address) return fail(round, dlerror());
        int (*use)(void);
        memcpy(&use, &address, sizeof use);
        if (!use()) return fail(round, "the scene's location is not found");
        if (dlclose(library) != 0) return fail(round, dlerror());
        if (dlopen(argv[1], RTLD_NOW | RTLD_NOLOAD)) return fail(round, "it is still loaded");
    }
    return 0;
}
