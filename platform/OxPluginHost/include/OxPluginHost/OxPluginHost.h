#ifndef OXPLUGINHOST_OXPLUGINHOST_H
#define OXPLUGINHOST_OXPLUGINHOST_H

/* The host of plug-ins: where libraries register suites, and where plug-ins find them. C99. */

#include <stdint.h>

#include <OxPluginHost/Export.h>
#include <OxTellarSDK/AttributeTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OX_PLUGIN_HOST_RECORD_VERSION 1

/* How serious a message is. */
enum { kOxLogDebug = 0, kOxLogInfo = 1, kOxLogWarn = 2, kOxLogError = 3 };

/* The functions that a host offers to plug-ins. Every member is as large as a pointer, and their
   order is the contract: the record is never edited again, and new members come after the last one
   with a higher recordVersion. Every function may be called from any thread, takes null for any
   pointer, and lets no exception out. The texts and suites that they return live to the end of the
   process. */
typedef struct OxPluginHost {
    /* 0 OX_PLUGIN_HOST_RECORD_VERSION of the host. */
    uintptr_t recordVersion;
    /* 1 The program or library that is the host. */
    const char* name;
    /* 2 Its version, for people. */
    const char* version;
    /* 3 The function table that is registered under this name and version, or the one that a filter
         (OxTellarSDK/SuiteFilter.h) puts in its place; null when there is none. */
    const void* (*getSuite)(const char* apiName, unsigned int apiVersion);
    /* 4 The highest version under which a table of this name is registered; 0 when there is
         none. */
    unsigned int (*getNewestSuiteVersion)(const char* apiName);
    /* 5 The names of the plug-ins of one API and version on the plug-in path, by index; null
         beyond the last. */
    const char* (*getPluginName)(const char* apiName, unsigned int apiVersion, unsigned int index);
    /* 6 The function table of one of them, filtered in the same way; null when there is no such
         plug-in. */
    const void* (*getPluginSuite)(const char* pluginName, const char* apiName,
                                  unsigned int apiVersion);
    /* 7 The value of a configuration key as a string attribute with one reference owned by the
         caller; null when it has none. */
    OxAttributeStruct* (*getConfiguration)(const char* key);
    /* 8 1 when the named logger delivers messages of the level, else 0, also for no level. */
    int (*isLogged)(const char* loggerName, int level);
    /* 9 Delivers a message when isLogged says 1, with an empty file name for a null `file`. Without
         a logger name or a message there is nothing to deliver. */
    void (*log)(const char* loggerName, int level, const char* message, const char* file, int line);
    /* 10 Registers a function table, which must live to the end of the process. Returns 0, also
          when just this table is registered already; 1 when the table is null, the name null or
          empty, or the version 0; 2 when there is another table of this name and version, which
          stays; 3 when there is no memory for it. Whatever is not 0 is logged by "PluginHost". */
    int (*registerSuite)(const void* suite, const char* apiName, unsigned int apiVersion);
} OxPluginHost;

/* The host of this process; never null, and the same every time. The first call sets it up: it
   sets up the attribute suite (unless the process has done so), registers it as "AttributeHost",
   and hands the host to the plug-in manager, so that every plug-in gets it before it is offered to
   anybody. A program calls this at its start, then the initialise function of each library whose
   suites it offers, OxTellarProducersInitialize(host) for one, and only then asks for plug-ins.

   Any number of threads may make the first call at once, and a plug-in may call this while it is
   being loaded or given the host. Plug-ins that are loaded before the first call is over may be
   given the host more than once. */
OXPLUGINHOST_API OxPluginHost* OxGetPluginHost(void);

#ifdef __cplusplus
}
#endif

#endif
