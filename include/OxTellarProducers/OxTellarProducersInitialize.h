#ifndef OXTELLARPRODUCERS_OXTELLARPRODUCERSINITIALIZE_H
#define OXTELLARPRODUCERS_OXTELLARPRODUCERSINITIALIZE_H

/* How a plug-in host gets the library's suites. C99. */

#include <OxTellarProducers/Export.h>

#ifdef __cplusplus
extern "C" {
#endif

struct OxPluginHost;

/* Registers with the host "ScenegraphIteratorHost" version 3, the same version 2, and
   "RenderOutputUtilsHost" version 3, in this order: a registration that fails does not keep the
   next one from being tried. Returns the host's status of the last one. The tables live to the end
   of the process and are the same every time.

   The host is any record whose eleventh pointer-sized member is
   int (*registerSuite)(const void* suite, const char* apiName, unsigned int apiVersion); nothing
   else of it is used, and it need not outlive the call. A host that is null, or that has a null
   there, gets -1.

   The library stays in the process when it is closed with dlclose, so the tables stay valid. After
   fork the child may use the library, tables included, when no other thread was inside a call of
   the library at that moment; otherwise it may only exec or _exit.

   Threads: any. */
TELLAR_API int OxTellarProducersInitialize(struct OxPluginHost* host);

/* Always 0: something for a program to refer to that must link the library and uses nothing of
   it. */
extern TELLAR_API int _tellar3_dummy_dll_export;

#ifdef __cplusplus
}
#endif

#endif
