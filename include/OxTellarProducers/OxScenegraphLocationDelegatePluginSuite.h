#ifndef OXTELLARPRODUCERS_OXSCENEGRAPHLOCATIONDELEGATEPLUGINSUITE_H
#define OXTELLARPRODUCERS_OXSCENEGRAPHLOCATIONDELEGATEPLUGINSUITE_H

/* The suite of a location delegate plug-in, which takes over the locations of some types, for one
   renderer or for all. C99.

   A plug-in library exports it as OxTellarSDK/OxPluginApi.h says, with the API name and version
   below. The plug-in's functions may be called from any thread; none may let an exception out. */

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarSDK/AttributeTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OX_LOCATION_DELEGATE_API "ScenegraphLocationDelegatePlugin"
#define OX_LOCATION_DELEGATE_API_VERSION 1

/* An instance of a delegate, known to the plug-in alone. */
typedef void* OxLocationDelegateInstance;

/* Suite "ScenegraphLocationDelegatePlugin", version 1. The order of the entries is the contract:
   this struct is never edited again. Attribute handles that come back carry one reference owned by
   the caller. */
typedef struct OxScenegraphLocationDelegatePluginSuite_v1 {
    /* 1 A new instance. It may be null, which the other entries must then accept. */
    OxLocationDelegateInstance (*create)(void);
    /* 2 Destroys an instance. The library never destroys those that it makes to call entries 4
         and 5. */
    void (*destroy)(OxLocationDelegateInstance instance);
    /* 3 The replacement for a location: a group {"a": attributes, "c": children by
         name, each again such a group}, in the location's own space; null to leave the location
         as it is. The location's handle keeps its count. */
    OxAttributeStruct* (*getReplacement)(OxLocationDelegateInstance instance,
                                         OxSgIteratorStruct* location);
    /* 4 The name of the renderer that the delegate serves, as a string attribute; empty or null
         means every renderer. */
    OxAttributeStruct* (*getSupportedRenderer)(OxLocationDelegateInstance instance);
    /* 5 The location types that it takes over, as one string attribute. */
    OxAttributeStruct* (*getSupportedLocationTypes)(OxLocationDelegateInstance instance);
} OxScenegraphLocationDelegatePluginSuite_v1;

#ifdef __cplusplus
}
#endif

#endif
