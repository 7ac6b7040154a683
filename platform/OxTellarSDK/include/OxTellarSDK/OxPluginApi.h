#ifndef OXTELLARSDK_OXPLUGINAPI_H
#define OXTELLARSDK_OXPLUGINAPI_H

/// The interface of a plug-in library, in C99. The library exports two functions, which return one
/// record for each plug-in in it.
///
///     static const void* getSuite(void) { return &suite; }
///     static const OxPluginRecord_v1 record = {
///         OX_PLUGIN_RECORD_VERSION, "Cylinder", "ShapeAPI", 1, 2, 0, getSuite, 0, 0};
///
///     unsigned int OxGetPluginCount(void) { return 1; }
///     const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
///         return index == 0 ? &record : 0;
///     }
///
/// A library is loaded once and never unloaded, so records, names and suites stay valid until the
/// process ends. The host copies the names when it loads the library. It calls the functions in a
/// record from any number of threads at once. Functions should not throw; the host reports any
/// exception and continues without the function's result. An exception from a static initialiser
/// of the library ends the process, because the system's loader does not let the host catch it; the
/// library's name is then written to standard error.

#ifdef __cplusplus
extern "C" {
#endif

/// Makes a function visible outside the plug-in's library.
#if defined(_WIN32)
#define OX_PLUGIN_EXPORT __declspec(dllexport)
#else
#define OX_PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

#define OX_PLUGIN_RECORD_VERSION 1

/// The interface that the host offers to plug-ins. It has a header of its own.
struct OxPluginHost;

/// One plug-in. The order of the members is the contract: this struct is never changed, and a new
/// member makes OxPluginRecord_v2.
typedef struct OxPluginRecord_v1 {
    /// OX_PLUGIN_RECORD_VERSION. First in the records of every version.
    unsigned int recordVersion;
    /// The plug-in's own name, not empty; unique among the plug-ins of one API and version.
    const char* name;
    /// The interface of the suite, not empty, and the version of that interface.
    const char* apiName;
    unsigned int apiVersion;
    /// The plug-in's own version, for display.
    unsigned int majorVersion;
    unsigned int minorVersion;
    /// Returns the function table that the API and its version define. The pointer itself must not
    /// be null.
    const void* (*getSuite)(void);
    /// Receives the host before queries find the plug-in, if there is a host by then, and again
    /// whenever the host changes. A null host means that there is none any more. Returns 0 when the
    /// plug-in can work with the host. The pointer may be null.
    int (*setHost)(struct OxPluginHost* host);
    /// Drops the plug-in's caches. The pointer may be null.
    void (*flush)(void);
} OxPluginRecord_v1;

/// The number of plug-ins in the library, at most 1024.
OX_PLUGIN_EXPORT unsigned int OxGetPluginCount(void);

/// The record of a plug-in. `index` is less than the count.
OX_PLUGIN_EXPORT const OxPluginRecord_v1* OxGetPlugin(unsigned int index);

#ifdef __cplusplus
}
#endif

#endif
