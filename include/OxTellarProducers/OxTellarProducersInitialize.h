#ifndef OXTELLARPRODUCERS_OXTELLARPRODUCERSINITIALIZE_H
#define OXTELLARPRODUCERS_OXTELLARPRODUCERSINITIALIZE_H

/* Registration of the library's suites with a plug-in host. C99. */

#include <OxTellarProducers/Export.h>

#ifdef __cplusplus
extern "C" {
#endif

struct OxPluginHost;

/* Registers "ScenegraphIteratorHost" version 3 and version 2, "RenderOutputUtilsHost" version 3,
   and then version 4 of both, each even if the one before failed. Returns the host's status of the
   third one. The tables live to the end of the process and are the same every time.

   The host is any record whose eleventh pointer-sized member is
   int (*registerSuite)(const void* suite, const char* apiName, unsigned int apiVersion); nothing
   else of it is used, and it need not outlive the call. Returns -1 when the host or this member is
   null.

   The library stays in the process when it is closed with dlclose, so the tables stay valid. After
   fork the child may use the library, tables included, when no other thread was inside a call of
   the library at that moment; otherwise it may only exec or _exit.

   Threads: any. */
TELLAR_API int OxTellarProducersInitialize(struct OxPluginHost* host);

/* Always 0: a symbol for programs that must link the library but use nothing else of it. */
extern TELLAR_API int _tellar3_dummy_dll_export;

#ifdef __cplusplus
}
#endif

#endif
