#ifndef OXTELLARSDK_OPTYPESUITE_H
#define OXTELLARSDK_OPTYPESUITE_H

/* Op types written in C. C99.

   An op type says how one location is made from the locations of an Op's inputs. A plug-in library
   exports the suite below as OxPluginApi.h says, with the API name OX_OP_TYPE_API and the version
   OX_OP_TYPE_API_VERSION. Unlike versions 1 and 3, which are C++ interfaces (OpType.h), it works
   with every compiler and every later version of the library.

       static int32_t Cook(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                           OxErrorStruct** error) {
           OxLocationDataStruct* data = cooks->getInput(cook, 0, cooks->getPath(cook), error);
           if (!data) return 0;
           cooks->pass(cook, data);
           cooks->releaseLocationData(data);
           return 1;
       }

   Ownership and errors are those of AttributeSuite4.h. A function of the plug-in that fails assigns
   an error with one reference to *error, or nothing, and returns 0; `error` is never null for it.
   An error that a host's function returned may be handed on. None of the functions may let an
   exception out.

   Threads. The host calls the plug-in's functions from any number of threads at once. An
   OxCookStruct is for the thread that was called with it, until the call returns. */

#include <stdint.h>

#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/ErrorSuite.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OX_OP_TYPE_API "TellarOpType"
#define OX_OP_TYPE_API_VERSION 2

/* The cook of one location. Opaque. */
typedef struct OxCookStruct OxCookStruct;
/* A cooked location of an input. Counted, immutable, opaque. */
typedef struct OxLocationDataStruct OxLocationDataStruct;

/* One argument of an op type, for its documentation. */
typedef struct OxOpArgument {
    const char* name;    /* dotted path inside the arguments group */
    const char* type;    /* "string", "int", "double[16]", "group" and the like */
    const char* summary; /* one sentence, with the default */
} OxOpArgument;

/* The documentation of an op type. */
typedef struct OxOpDescription {
    uint32_t size;   /* sizeof(OxOpDescription) */
    int32_t version; /* part of every Op's identity: increase it whenever the results change */
    const char* name;
    const char* summary;
    const OxOpArgument* arguments;
    int64_t argumentCount;
    const char* inputs; /* "none", "one", "one or more", ... */
} OxOpDescription;

/* The host's functions for a cook. They live to the end of the process. */
typedef struct OxCookSuite {
    uint32_t size;
    uint32_t version; /* 1 */

    /* 0 The functions for attributes and errors: a plug-in needs no other host. */
    const OxAttributeSuite_v4* values;

    /* 1 The path of the location asked for: "/root/world/geo"; always starts with "/". Borrowed for
         the cook. */
    const char* (*getPath)(const OxCookStruct* cook);
    /* 2 The Op's arguments, a group; null when it has none. */
    OxAttributeStruct* (*getArgs)(const OxCookStruct* cook);
    /* 3 The number of inputs, including null inputs. */
    int64_t (*getNumberOfInputs)(const OxCookStruct* cook);
    /* 4 Cooks a location of an input; null only with an error. A null input, and an index out of
         range, give data of a location that does not exist. */
    OxLocationDataStruct* (*getInput)(OxCookStruct* cook, int64_t index, const char* path,
                                      OxErrorStruct** error);
    /* 5 6 Adds and drops one reference. */
    void (*retainLocationData)(OxLocationDataStruct* data);
    void (*releaseLocationData)(OxLocationDataStruct* data);
    /* 7 Returns 1 or 0. */
    int32_t (*doesLocationExist)(const OxLocationDataStruct* data);
    /* 8 9 The attributes, a group, and the names of the potential children, strings. Null when
       there are none. */
    OxAttributeStruct* (*getLocationAttributes)(const OxLocationDataStruct* data);
    OxAttributeStruct* (*getLocationChildren)(const OxLocationDataStruct* data);
    /* 10 Makes `data` the result, without a copy. A location for which none of this slot and the
         next two is called does not exist. */
    void (*pass)(OxCookStruct* cook, const OxLocationDataStruct* data);
    /* 11 12 Makes the location exist, and sets its attributes or the names of its potential
             children; null for none. Returns 1, or 0 with an error when the attribute is not a
             group or not strings. */
    int32_t (*setAttributes)(OxCookStruct* cook, OxAttributeStruct* attributes,
                             OxErrorStruct** error);
    int32_t (*setPotentialChildren)(OxCookStruct* cook, OxAttributeStruct* names,
                                    OxErrorStruct** error);
    /* 13 Keeps a value with the result, for the cooks of the location's children. */
    void (*setNote)(OxCookStruct* cook, OxAttributeStruct* note);
    /* 14 The note that the Op's cook of the parent location kept. Null when there is none, or when
          the parent's result is not available. */
    OxAttributeStruct* (*getParentNote)(const OxCookStruct* cook);
    /* 15 The probable index of the location among its parent's potential children. It is a hint
          that may be wrong. */
    int64_t (*getProbableIndex)(const OxCookStruct* cook);
    /* 16 Returns 1 when the location was evicted: the cook must then read again what comes from
          outside, such as a file. Otherwise 0. */
    int32_t (*isFresh)(const OxCookStruct* cook);
} OxCookSuite;

/* The suite of an op type. It lives to the end of the process, with everything that it points to.
 */
typedef struct OxOpTypePluginSuite_v2 {
    uint32_t size;    /* sizeof(OxOpTypePluginSuite_v2) */
    uint32_t version; /* OX_OP_TYPE_API_VERSION */

    /* 0 Never null. */
    const OxOpDescription* (*getDescription)(void);
    /* 1 Checks and parses the arguments (null when there are none), once for all Ops with equal
         content, and assigns what cooks shall get as their state, which may stay null. Returns 1,
         or 0 with an error that names the argument at fault. May be null. */
    int32_t (*prepare)(const OxCookSuite* cooks, OxAttributeStruct* args, int64_t numberOfInputs,
                       void** state, OxErrorStruct** error);
    /* 2 Frees a state that is not null. May be null. */
    void (*releaseState)(void* state);
    /* 3 Cooks one location. Returns 1, or 0 with an error, which concerns this location alone. */
    int32_t (*cook)(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                    OxErrorStruct** error);
} OxOpTypePluginSuite_v2;

#ifdef __cplusplus
}
#endif

#endif
