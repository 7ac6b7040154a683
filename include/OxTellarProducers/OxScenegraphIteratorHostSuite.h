#ifndef OXTELLARPRODUCERS_OXSCENEGRAPHITERATORHOSTSUITE_H
#define OXTELLARPRODUCERS_OXSCENEGRAPHITERATORHOSTSUITE_H

/* Access to scenes for plug-ins written in C. C99.

       const OxScenegraphIteratorHostSuite_v3* suite =
           host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
       OxSgIteratorStruct* root = suite->createRootIteratorFromOpTreeFile("scene.oxop");
       OxSgIteratorStruct* child = suite->getFirstChild(root, false);
       if (child) suite->retainIterator(child);
       ...
       suite->releaseIterator(child);
       suite->releaseIterator(root);

   Counts. A handle keeps one location and its ancestors alive. Handles from the two root-creation
   entries carry one reference owned by the caller. Handles from all other entries carry none: the
   receiver calls retainIterator first. The release that brings the count back to 0 frees the
   handle, whether or not other handles came from it. Every call makes a new handle, even for a
   location that has one. Attribute handles carry one reference owned by the caller; they are read
   and released through the suite "AttributeHost" (OxTellarSDK/AttributeSuite.h).

   Trap: a navigation handle that is released without having been retained is never freed. Retain
   each one in the statement that receives it, as above, and release every handle once.

   Errors. A null handle is accepted everywhere and yields null or nothing. No entry lets an
   exception out: "ScenegraphIteratorHost" logs it at error level with the entry's name, and the
   entry returns null. A location that does not exist is null without a message.

   Trap: null from getFirstChild or getNextSibling means either "no more" or "it failed"; only the
   log tells which. To be sure that nothing is missing, ask getPotentialChildren for the names and
   getChildByName for each of them.

   Threads. Every entry may be called from any thread, and several threads may use one handle at
   once. By default each thread cooks through a client of its own, made when it first navigates and
   given back when it ends. If the environment variable RUNTIME_USE_CONCURRENT is "1" when a root is
   made from an op file, all threads share one runtime, published as "renderRuntime".

   Trap: each thread opens the op file by its path when it first navigates. If the file is replaced
   meanwhile, two threads see two scenes below one handle; if it is gone, a new thread sees nothing.
   A root made from a description (slots 2 and 4) is read once and is the same for all threads. */

#ifndef __cplusplus
#include <stdbool.h>
#endif

#include <OxTellarSDK/AttributeTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

#define OX_SCENEGRAPH_ITERATOR_HOST_SUITE "ScenegraphIteratorHost"

/* A counted handle onto one location of a scene. Opaque. */
typedef struct OxSgIteratorStruct OxSgIteratorStruct;

/* Suite "ScenegraphIteratorHost", version 3. The order of the slots is the contract: this struct
   is never edited again, a new entry makes OxScenegraphIteratorHostSuite_v4.

   `evict` asks for the location to be computed anew. */
typedef struct OxScenegraphIteratorHostSuite_v3 {
    /* 0 [any thread] Adds one reference. */
    void (*retainIterator)(OxSgIteratorStruct* iterator);
    /* 1 [any thread] Drops one reference; the one that leaves none frees the handle. */
    void (*releaseIterator)(OxSgIteratorStruct* iterator);
    /* 2 [any thread] The op-tree description in an attribute-stream file: a group with one
         reference owned by the caller, or null when there is none. A missing file is reported on
         the standard error stream. */
    OxAttributeStruct* (*loadOpTreeDescription)(const char* path);
    /* 3 [any thread] The location "/root" of a serialised op file: a handle with one reference
         owned by the caller, or null, with "Tellar3 producer create failed." on the standard
         error stream and in the log. */
    OxSgIteratorStruct* (*createRootIteratorFromOpTreeFile)(const char* path);
    /* 4 [any thread] The same for an op-tree description, whose count stays as it is. */
    OxSgIteratorStruct* (*createRootIteratorFromOpTreeDescription)(OxAttributeStruct* description);
    /* 5 [any thread] The first child that exists; retain it. */
    OxSgIteratorStruct* (*getFirstChild)(OxSgIteratorStruct* iterator, bool evict);
    /* 6 [any thread] The next sibling that exists; retain it. */
    OxSgIteratorStruct* (*getNextSibling)(OxSgIteratorStruct* iterator, bool evict);
    /* 7 [any thread] Null for a root; retain it. */
    OxSgIteratorStruct* (*getParent)(OxSgIteratorStruct* iterator);
    /* 8 [any thread] The topmost location above, or the location itself; retain it. */
    OxSgIteratorStruct* (*getRoot)(OxSgIteratorStruct* iterator);
    /* 9 [any thread] The child of this name; ".." is the parent, "." the location itself. A name
         with "/" is an error. Retain it. */
    OxSgIteratorStruct* (*getChildByName)(OxSgIteratorStruct* iterator, const char* name,
                                          bool evict);
    /* 10 [any thread] The location at a path whose first part is this location's name, "." or
          "..": "/root/world" asked of the root. Retain it. */
    OxSgIteratorStruct* (*getProducerByPath)(OxSgIteratorStruct* iterator, const char* path,
                                             bool evict);
    /* 11 [any thread] The last part of the path, as a string attribute. */
    OxAttributeStruct* (*getName)(OxSgIteratorStruct* iterator);
    /* 12 [any thread] The path, as a string attribute. */
    OxAttributeStruct* (*getFullName)(OxSgIteratorStruct* iterator);
    /* 13 [any thread] The attribute at a dotted path, or the group of all attributes for a null
          or empty name. Null when there is none. */
    OxAttributeStruct* (*getAttribute)(OxSgIteratorStruct* iterator, const char* name);
    /* 14 [any thread] The attribute as inherited from the locations above; null for a null name. */
    OxAttributeStruct* (*getGlobalAttribute)(OxSgIteratorStruct* iterator, const char* name);
    /* 15 [any thread] The names of the attributes as one string attribute, sorted. */
    OxAttributeStruct* (*getAttributeNames)(OxSgIteratorStruct* iterator);
    /* 16 [any thread] The transforms from the root down: a group of groups i0, i1, ... */
    OxAttributeStruct* (*getGlobalXFormGroup)(OxSgIteratorStruct* iterator);
    /* 17 [any thread] The names of children that may exist as one string attribute; null when
          the location has none. */
    OxAttributeStruct* (*getPotentialChildren)(OxSgIteratorStruct* iterator);
    /* 18 [any thread] Ends the render of the scene: its runtime drops its results. Does nothing but
          log at info level while "/root" has an attribute "liveRenderSettings" or "liveRender". */
    void (*finalizeRuntime)(OxSgIteratorStruct* iterator);
} OxScenegraphIteratorHostSuite_v3;

/* Suite "ScenegraphIteratorHost", version 2: the entries of version 3 that have the same names.
   This struct is never edited again. */
typedef struct OxScenegraphIteratorHostSuite_v2 {
    /* 0 */ void (*retainIterator)(OxSgIteratorStruct* iterator);
    /* 1 */ void (*releaseIterator)(OxSgIteratorStruct* iterator);
    /* 2 */ OxSgIteratorStruct* (*createRootIteratorFromOpTreeFile)(const char* path);
    /* 3 */ OxSgIteratorStruct* (*getFirstChild)(OxSgIteratorStruct* iterator, bool evict);
    /* 4 */ OxSgIteratorStruct* (*getNextSibling)(OxSgIteratorStruct* iterator, bool evict);
    /* 5 */ OxSgIteratorStruct* (*getParent)(OxSgIteratorStruct* iterator);
    /* 6 */ OxSgIteratorStruct* (*getRoot)(OxSgIteratorStruct* iterator);
    /* 7 */ OxSgIteratorStruct* (*getChildByName)(OxSgIteratorStruct* iterator, const char* name,
                                                  bool evict);
    /* 8 */ OxSgIteratorStruct* (*getProducerByPath)(OxSgIteratorStruct* iterator, const char* path,
                                                     bool evict);
    /* 9 */ OxAttributeStruct* (*getName)(OxSgIteratorStruct* iterator);
    /* 10 */ OxAttributeStruct* (*getFullName)(OxSgIteratorStruct* iterator);
    /* 11 */ OxAttributeStruct* (*getAttribute)(OxSgIteratorStruct* iterator, const char* name);
    /* 12 */ OxAttributeStruct* (*getGlobalAttribute)(OxSgIteratorStruct* iterator,
                                                      const char* name);
    /* 13 */ OxAttributeStruct* (*getAttributeNames)(OxSgIteratorStruct* iterator);
    /* 14 */ OxAttributeStruct* (*getGlobalXFormGroup)(OxSgIteratorStruct* iterator);
    /* 15 */ OxAttributeStruct* (*getPotentialChildren)(OxSgIteratorStruct* iterator);
} OxScenegraphIteratorHostSuite_v2;

#ifdef __cplusplus
}
#endif

#endif
