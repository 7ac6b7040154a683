/* A program that links none of the project's libraries loads them late, walks a scene through the
   suites, closes the libraries, and walks again through the tables that it still has.

       LoadProducers HOST_LIBRARY PRODUCERS_LIBRARY OTHER_LIBRARY... */

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarSDK/AttributeSuite.h>

static void check(int isRight, const char* what) {
    if (isRight) return;
    fprintf(stderr, "LoadProducers: %s\n", what);
    exit(1);
}

static void* load(const char* file) {
    void* library = dlopen(file, RTLD_NOW | RTLD_LOCAL);
    if (!library) fprintf(stderr, "LoadProducers: %s\n", dlerror());
    check(library != NULL, "a library does not load");
    return library;
}

/* Function and object pointers have one size here, but C has no conversion between them. */
static void find(void* library, const char* name, void* function) {
    void* address = dlsym(library, name);
    check(address != NULL, name);
    memcpy(function, &address, sizeof address);
}

static OxAttributeStruct* group(const OxAttributeSuite_v1* attributes, const char* name,
                                OxAttributeStruct* child) {
    OxAttributeStruct* made = attributes->createGroup(&name, &child, 1, 1);
    attributes->release(child);
    return made;
}

/* One Op that presents /root with one child, "world". */
static OxAttributeStruct* describeScene(const OxAttributeSuite_v1* attributes) {
    const char* type = "StaticScene";
    const char* names[] = {"opType", "opArgs"};
    OxAttributeStruct* empty = attributes->createGroup(NULL, NULL, 0, 1);
    OxAttributeStruct* children[] = {
        attributes->createString(&type, 1, 1),
        group(attributes, "c", group(attributes, "world", empty)),
    };
    OxAttributeStruct* op = attributes->createGroup(names, children, 2, 1);
    attributes->release(children[0]);
    attributes->release(children[1]);
    return group(attributes, "scene", op);
}

static void walk(const OxPluginHost* host) {
    const OxAttributeSuite_v1* attributes = host->getSuite("AttributeHost", 1);
    const OxScenegraphIteratorHostSuite_v3* suite =
        host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    check(attributes && suite, "the suites are not registered");
    OxAttributeStruct* scene = describeScene(attributes);
    OxSgIteratorStruct* root = suite->createRootIteratorFromOpTreeDescription(scene);
    check(root != NULL, "the scene has no /root");
    OxSgIteratorStruct* child = suite->getFirstChild(root, false);
    check(child != NULL, "/root has no child");
    suite->retainIterator(child);
    OxAttributeStruct* name = suite->getFullName(child);
    const char* text = attributes->getString(name, 0, 0);
    check(text && strcmp(text, "/root/world") == 0, "the child of /root has another name");
    attributes->release(name);
    suite->releaseIterator(child);
    suite->releaseIterator(root);
    attributes->release(scene);
}

int main(int argc, char** argv) {
    check(argc > 3, "usage: LoadProducers HOST_LIBRARY PRODUCERS_LIBRARY OTHER_LIBRARY...");
    for (int i = 3; i < argc; ++i) {
        char* (*getThreadLocalMemory)(void);
        find(load(argv[i]), "GetThreadLocalMemory", &getThreadLocalMemory);
        *getThreadLocalMemory() = 1;
    }
    void* hostLibrary = load(argv[1]);
    void* producersLibrary = load(argv[2]);
    OxPluginHost* (*getPluginHost)(void);
    find(hostLibrary, "OxGetPluginHost", &getPluginHost);
    int (*initialize)(OxPluginHost*);
    find(producersLibrary, "OxTellarProducersInitialize", &initialize);

    const OxPluginHost* host = getPluginHost();
    check(initialize(getPluginHost()) == 0, "the suites cannot be registered");
    walk(host);
    check(dlclose(producersLibrary) == 0 && dlclose(hostLibrary) == 0, "a library does not close");
    walk(host);
    return 0;
}
