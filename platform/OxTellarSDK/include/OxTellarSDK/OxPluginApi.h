#ifndef OXTELLARSDK_OXPLUGINAPI_H
#define OXTELLARSDK_OXPLUGINAPI_H

/// What a plug-in library exports, in C99: two functions, and through them one record for
/// each plug-in in it.
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
/// A library is loaded once and never unloaded, so records, names and suites stay valid for
/// as long as the process lives. The host copies the names when it loads the library and
/// calls the functions in a record from any thread, several at once. No function should let
/// an exception out; the host reports one that does, whatever is thrown, and goes on without
/// its result. An exception from a static initialiser of the library ends the process: the
/// system's loader lets nobody catch it. Standard error then gets the library's name.

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

/// What the host offers to plug-ins; plug-ins that use it include its own header.
struct OxPluginHost;

/// One plug-in. The order of the members is the contract: this struct is never edited
/// again, a new member makes OxPluginRecord_v2.
typedef struct OxPluginRecord_v1 {
    /// OX_PLUGIN_RECORD_VERSION. First in the records of every version.
    unsigned int recordVersion;
    /// The plug-in's own name, not empty; unique among the plug-ins of one API and version.
    const char* name;
    /// Which interface the suite has, not empty, and that interface's version.
    const char* apiName;
    unsigned int apiVersion;
    /// The plug-in's own version, for people.
    unsigned int majorVersion;
    unsigned int minorVersion;
    /// The function table that the API and its version define. Not null itself.
    const void* (*getSuite)(void);
    /// Hands over the host: before the plug-in is offered to anybody if there is one by
    /// then, and again whenever the host changes; null tells that it is gone. Returns 0
    /// when the plug-in can work with it. May be null.
    int (*setHost)(struct OxPluginHost* host);
    /// Drops whatever the plug-in keeps to save work. May be null.
    void (*flush)(void);
} OxPluginRecord_v1;

/// How many plug-ins the library holds, 1024 at most.
OX_PLUGIN_EXPORT unsigned int OxGetPluginCount(void);

/// The record of one of them, for every index below the count.
OX_PLUGIN_EXPORT const OxPluginRecord_v1* OxGetPlugin(unsigned int index);

#ifdef __cplusplus
}
#endif

#endif
