#ifndef OXTELLARPRODUCERS_OXSCENEGRAPHITERATORHOSTSUITE4_H
#define OXTELLARPRODUCERS_OXSCENEGRAPHITERATORHOSTSUITE4_H

/* Access to scenes for plug-ins written in C. C99.

       const OxScenegraphIteratorHostSuite_v4* scenes =
           host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4);
       OxSceneStruct* scene = scenes->openScene("garden.json", &error);
       OxSgIteratorStruct* root = scenes->getSceneRoot(scene, &error);
       for (int64_t i = 0; i < scenes->getNumberOfChildren(root); ++i) {
           OxSgIteratorStruct* child = scenes->getChild(root, i, &error);
           ...
           scenes->releaseIterator(child);
       }

   The table. `size` is the number of bytes that the host's table has, and `version` is 4. A later
   host may append slots and raise `size`: before using a slot that was added after the first
   release of version 4, compare its offset with `size`.

   Locations. A handle holds one location of one revision of a scene: its attributes never change,
   and all that is reached from it belongs to the same revision. It keeps its ancestors alive.
   Handles of versions 2 and 3 may be passed to this version and the other way round.

   Ownership. Every handle that a slot returns carries one reference owned by the caller, who
   releases it once; navigation is no exception, unlike in version 3. A borrowed text lives as long
   as a reference to the handle that it came from. Arguments are borrowed for the call. Attributes
   and errors are read and released through "AttributeHost", version 4.

   Errors. A slot with the last parameter `OxErrorStruct** error` assigns null to *error when it
   succeeds, and an error with one reference owned by the caller when it fails. `error` may be null.
   Nothing is logged. A null handle is the error kOxErrorBadCall; slots without the parameter accept
   null and return null, 0 or nothing for it.

   Navigation has four answers:

       handle, no error     the location
       null, no error       there is no such location, or no further one
       handle and an error  the location could not be cooked. It has a name, a parent and siblings,
                            but no attributes and no children. getLocationError tells the error
                            again.
       null and an error    the call was wrong, or there was not enough memory

   Threads. Any thread may call any slot, and several threads may use one handle at once. No thread
   needs a runtime of its own: all share the scene. */

#include <stdint.h>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarSDK/AttributeTypes.h>
#include <OxTellarSDK/ErrorSuite.h>

#ifdef __cplusplus
extern "C" {
#endif

/* An opened scene. Counted, opaque. */
typedef struct OxSceneStruct OxSceneStruct;
/* Locations that repeat some prototypes. Counted, immutable, opaque. */
typedef struct OxInstancesStruct OxInstancesStruct;
/* A receiver of a scene's changes. Counted, opaque. */
typedef struct OxSubscriptionStruct OxSubscriptionStruct;
/* The difference between two revisions of a scene. Counted, immutable, opaque. */
typedef struct OxChangesStruct OxChangesStruct;

/* The location types in a subtree, as a mask. */
enum {
    kOxTypeGroup = 1 << 0, /* also locations without a type */
    kOxTypePolyMesh = 1 << 1,
    kOxTypeSubdMesh = 1 << 2,
    kOxTypeFaceSet = 1 << 3,
    kOxTypeCurves = 1 << 4,
    kOxTypePointCloud = 1 << 5,
    kOxTypeSphere = 1 << 6,
    kOxTypeCamera = 1 << 7,
    kOxTypeLight = 1 << 8,
    kOxTypeOther = 1 << 30 /* any other type */
};

/* Which members of an OxSubtree are known, as a mask. */
enum { kOxSubtreeTypes = 1, kOxSubtreeBound = 2, kOxSubtreeLocations = 4 };

/* What is known of a location and everything below it without cooking it. */
typedef struct OxSubtree {
    uint32_t known; /* a mask of kOxSubtreeTypes and so on */
    uint32_t types; /* a mask of kOxTypeGroup and so on: no other types occur */
    /* x min, x max, y min, y max, z min, z max in the space of the location's parent; encloses the
       points of all samples. A minimum above its maximum: there are no points. */
    double bound[6];
    int64_t locations; /* including the location itself */
} OxSubtree;

/* The answer of a visitor. */
typedef enum OxVisitWish {
    kOxVisitGoOn = 0,
    kOxVisitPrune = 1, /* to leave out everything below the location */
    kOxVisitStop = 2   /* to end the visit */
} OxVisitWish;

/* A location that is visited. Everything is borrowed for the call. */
typedef struct OxVisit {
    OxSgIteratorStruct* location;
    OxErrorStruct* error; /* why the location could not be cooked; null for a sound one */
    int32_t thread;       /* of the visit, from 0; no two calls at once have the same one */
    int32_t depth;        /* levels below the location where the visit started */
    void* inherited;      /* what the visitor passed down at the parent; null at the start */
    void* passedDown;     /* set by the visitor, for the visits of the location's children */
    /* The indices among potential children that lead here from the start, one for each level of
       `depth`. Ordered as words are by their letters, they give the order of the tree, whatever
       threads the calls came on. */
    const int64_t* place;
} OxVisit;

/* Returns an OxVisitWish. */
typedef int32_t (*OxVisitor)(OxVisit* visit, void* user);

typedef struct OxVisitOptions {
    int32_t threads; /* the calling thread and the host's own; 0 means one for each processor */
    /* 1: calls come one at a time, on the calling thread, in the order of the tree, while other
       threads cook ahead. 0: calls come on all threads at once. In both a parent comes before its
       children. */
    int32_t isOrdered;
    /* Asked now and then from any thread of the visit; not 0 ends it. May be null. */
    int32_t (*isCancelled)(void* user);
    /* Called once for each `passedDown` that is not null, when no location needs it any more; on
       any thread of the visit. May be null. */
    void (*releasePassedDown)(void* passedDown, void* user);
} OxVisitOptions;

typedef enum OxVisitEnd {
    kOxVisitFailed = -1,
    kOxVisitDone = 0,
    kOxVisitStopped = 1, /* by the visitor */
    kOxVisitCancelled = 2
} OxVisitEnd;

/* How a location changed. */
typedef enum OxChangeKind {
    kOxChangeRemoved = 0, /* with everything below it, which is not listed */
    kOxChangeAdded = 1,   /* the same */
    kOxChangeChanged = 2
} OxChangeKind;

/* What changed about a location, as a mask. */
enum {
    kOxChangeTransform = 1,
    kOxChangeGeometry = 2, /* points, other values along the geometry, the bound */
    kOxChangeTopology = 4, /* connectivity and subdivision */
    kOxChangeMaterial = 8,
    kOxChangeVisibility = 16,
    kOxChangeSettings = 32, /* of the render */
    kOxChangeType = 64,
    kOxChangeChildren = 128, /* the order of the same children */
    kOxChangeOther = 256,    /* attributes that have names in the change */
    kOxChangeError = 512     /* it cannot be cooked any more, or can be again */
};

/* One change. The texts are borrowed from the changes. */
typedef struct OxChange {
    const char* path;
    int32_t kind;                  /* an OxChangeKind */
    uint32_t mask;                 /* for kOxChangeChanged; 0 for the others */
    const char* const* attributes; /* the names behind kOxChangeOther */
    int64_t attributeCount;
} OxChange;

/* Suite "ScenegraphIteratorHost", version 4. The order of the slots is the contract: no slot is
   ever changed or removed. */
typedef struct OxScenegraphIteratorHostSuite_v4 {
    uint32_t size;
    uint32_t version;

    /* ---- Scenes ---- */

    /* 0 [any thread] Reads or maps a scene once: a serialised op file, an op-tree description as
         an attribute stream or JSON, or a file that the op type SceneImport reads. What happens to
         the file afterwards does not matter. A failure is kOxErrorFile and is not remembered. */
    OxSceneStruct* (*openScene)(const char* path, OxErrorStruct** error);
    /* 1 [any thread] The same for an op-tree description. */
    OxSceneStruct* (*openDescription)(const OxAttributeStruct* description, OxErrorStruct** error);
    /* 2 3 [any thread] Adds and drops one reference. The scene is freed when no handle onto it or
           its locations is left. */
    void (*retainScene)(OxSceneStruct* scene);
    void (*releaseScene)(OxSceneStruct* scene);
    /* 4 [any thread] Writes a 128-bit hash of the newest revision's content: equal for equal
         scenes, under whatever name they were opened. */
    void (*getSceneIdentity)(const OxSceneStruct* scene, uint64_t words[2]);
    /* 5 [any thread] The number of the newest revision: 0, and 1 more with every edit. */
    int64_t (*getSceneRevision)(const OxSceneStruct* scene);
    /* 6 [any thread] The location "/root" of the newest revision. */
    OxSgIteratorStruct* (*getSceneRoot)(OxSceneStruct* scene, OxErrorStruct** error);
    /* 7 [any thread] The op-tree description in an attribute-stream file, as a group. */
    OxAttributeStruct* (*loadOpTreeDescription)(const char* path, OxErrorStruct** error);
    /* 8 9 [any thread] openScene or openDescription, and getSceneRoot. */
    OxSgIteratorStruct* (*createRootIteratorFromOpTreeFile)(const char* path,
                                                            OxErrorStruct** error);
    OxSgIteratorStruct* (*createRootIteratorFromOpTreeDescription)(
        const OxAttributeStruct* description, OxErrorStruct** error);

    /* ---- Navigation ---- */

    /* 10 11 [any thread] Adds and drops one reference; the last one frees the handle. */
    void (*retainIterator)(OxSgIteratorStruct* location);
    void (*releaseIterator)(OxSgIteratorStruct* location);
    /* 12 [any thread] The first child that exists or could not be cooked. */
    OxSgIteratorStruct* (*getFirstChild)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 13 [any thread] The next sibling that exists or could not be cooked. */
    OxSgIteratorStruct* (*getNextSibling)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 14 [any thread] Null for a root. */
    OxSgIteratorStruct* (*getParent)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 15 [any thread] The topmost location above, or the location itself. */
    OxSgIteratorStruct* (*getRoot)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 16 [any thread] The child of this name; ".." is the parent, "." the location itself. */
    OxSgIteratorStruct* (*getChildByName)(OxSgIteratorStruct* location, const char* name,
                                          OxErrorStruct** error);
    /* 17 [any thread] The location at a path whose first part is this location's name, "." or
          "..": "/root/world" asked of the root. Null and an error also when a location above it
          could not be cooked. */
    OxSgIteratorStruct* (*getProducerByPath)(OxSgIteratorStruct* location, const char* path,
                                             OxErrorStruct** error);
    /* 18 [any thread] The number of potential children. Some of them may not exist. */
    int64_t (*getNumberOfChildren)(OxSgIteratorStruct* location);
    /* 19 [any thread] The borrowed name of a potential child; null when out of range. Writes its
          length in bytes to *length, unless `length` is null. */
    const char* (*getChildName)(OxSgIteratorStruct* location, int64_t index, int64_t* length);
    /* 20 [any thread] The potential child at an index; null when it does not exist and when the
          index is out of range. */
    OxSgIteratorStruct* (*getChild)(OxSgIteratorStruct* location, int64_t index,
                                    OxErrorStruct** error);
    /* 21 [any thread] The same location, computed anew from what lies outside of the scene, such as
          files. */
    OxSgIteratorStruct* (*evict)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 22 [any thread] The error of a location that could not be cooked; null for a sound one. */
    OxErrorStruct* (*getLocationError)(OxSgIteratorStruct* location);

    /* ---- One location ---- */

    /* 23 24 25 [any thread] Borrowed texts: the last part of the path, the path, and the attribute
          "type" ("" when there is none). Each writes its length in bytes to *length, unless
       `length` is null. */
    const char* (*getName)(OxSgIteratorStruct* location, int64_t* length);
    const char* (*getFullName)(OxSgIteratorStruct* location, int64_t* length);
    const char* (*getType)(OxSgIteratorStruct* location, int64_t* length);
    /* 26 [any thread] The attribute at a dotted path, or the group of all attributes for an empty
          name. Null when there is none, which is no error. */
    OxAttributeStruct* (*getAttribute)(OxSgIteratorStruct* location, const char* name,
                                       OxErrorStruct** error);
    /* 27 [any thread] The attribute as inherited from the locations above. Null when there is
          none. */
    OxAttributeStruct* (*getGlobalAttribute)(OxSgIteratorStruct* location, const char* name,
                                             OxErrorStruct** error);
    /* 28 [any thread] The names of the attributes as one string attribute, sorted. */
    OxAttributeStruct* (*getAttributeNames)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 29 [any thread] The transforms from the root down: a group of groups i0, i1, ...
          "RenderOutputUtilsHost" makes matrices of it. */
    OxAttributeStruct* (*getGlobalXFormGroup)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 30 [any thread] The names of the potential children as one string attribute; null when the
          location has none. */
    OxAttributeStruct* (*getPotentialChildren)(OxSgIteratorStruct* location, OxErrorStruct** error);

    /* ---- Identity and subtrees ---- */

    /* 31 [any thread] Writes a 128-bit hash of the attributes without "xform" and of the names of
          potential children: equal for two instances of one thing. Zeros for a location that could
          not be cooked. */
    void (*getContentHash)(OxSgIteratorStruct* location, uint64_t words[2]);
    /* 32 [any thread] 1 when the locations and everything below them are known to be equal but for
          their own transforms, without cooking what is below. 0 when they differ, or when it is not
          known. */
    int32_t (*isSame)(OxSgIteratorStruct* a, OxSgIteratorStruct* b);
    /* 33 [any thread] Writes what is known of the location and everything below it, without cooking
          that. Returns 1, or 0 with an error. */
    int32_t (*getSubtree)(OxSgIteratorStruct* location, OxSubtree* subtree, OxErrorStruct** error);
    /* 34 [any thread] The locations below this one as instances of prototypes, told before they are
          cooked. They are all that is below, apart from groups without attributes of their own.
          Null without an error when it is not known. The expanded locations are there as well: a
          plug-in uses either. */
    OxInstancesStruct* (*getInstances)(OxSgIteratorStruct* location, OxErrorStruct** error);
    /* 35 36 [any thread] Adds and drops one reference. */
    void (*retainInstances)(OxInstancesStruct* instances);
    void (*releaseInstances)(OxInstancesStruct* instances);
    /* 37 38 [any thread] */
    int64_t (*getNumberOfInstances)(const OxInstancesStruct* instances);
    int64_t (*getNumberOfPrototypes)(const OxInstancesStruct* instances);
    /* 39 [any thread] A location that is the same as each instance of the prototype, but for the
          location's own transform, which the matrices below replace. */
    OxSgIteratorStruct* (*getPrototype)(const OxInstancesStruct* instances, int64_t index,
                                        OxErrorStruct** error);
    /* 40 [any thread] Writes the prototype of each instance from `begin` up to and without `end`,
          and its matrix: 16 doubles row by row for row vectors, from the prototype's points to the
          space of the location that was asked in slot 34. Either pointer may be null. Returns 1, or
          0 with an error. */
    int32_t (*readInstances)(const OxInstancesStruct* instances, int64_t begin, int64_t end,
                             int64_t* prototypes, double* matrices, OxErrorStruct** error);
    /* 41 [any thread] The expanded location of an instance. */
    OxSgIteratorStruct* (*getInstance)(const OxInstancesStruct* instances, int64_t index,
                                       OxErrorStruct** error);

    /* ---- Visits ---- */

    /* 42 [any thread] Calls the visitor for the location and all that exist, or could not be
       cooked, below it. `options` null: one thread. Returns an OxVisitEnd when all calls have
       ended. A visitor may call any slot; it must not let an exception out. */
    int32_t (*visit)(OxSgIteratorStruct* location, const OxVisitOptions* options, OxVisitor visitor,
                     void* user, OxErrorStruct** error);

    /* ---- Live edits ---- */

    /* 43 [any thread] A receiver of the changes of the scene after its newest revision. */
    OxSubscriptionStruct* (*subscribe)(OxSceneStruct* scene, OxErrorStruct** error);
    /* 44 45 [any thread] Adds and drops one reference. */
    void (*retainSubscription)(OxSubscriptionStruct* subscription);
    void (*releaseSubscription)(OxSubscriptionStruct* subscription);
    /* 46 [any thread] Waits until the scene has changes that are not acknowledged: 1 when there are
          some, 0 after so many seconds without any. Negative: without an end. */
    int32_t (*waitForChanges)(OxSubscriptionStruct* subscription, double seconds);
    /* 47 [any thread] All changes since the revision that was acknowledged last, as one list. Null
          when there are none. */
    OxChangesStruct* (*receiveChanges)(OxSubscriptionStruct* subscription, OxErrorStruct** error);
    /* 48 [any thread] Later lists begin at the revision that these changes lead to. Until then
          receiveChanges repeats them, together with newer ones. */
    void (*acknowledgeChanges)(OxSubscriptionStruct* subscription, const OxChangesStruct* changes);
    /* 49 50 [any thread] Adds and drops one reference. */
    void (*retainChanges)(OxChangesStruct* changes);
    void (*releaseChanges)(OxChangesStruct* changes);
    /* 51 [any thread] */
    int64_t (*getNumberOfChanges)(const OxChangesStruct* changes);
    /* 52 [any thread] Writes one change. Parents come before children, and each location once.
          Returns 1, or 0 when the index is out of range. */
    int32_t (*getChange)(const OxChangesStruct* changes, int64_t index, OxChange* change);
    /* 53 54 [any thread] The root of the revision to which the changes lead, and that of the
          revision where they begin. */
    OxSgIteratorStruct* (*getChangedRoot)(const OxChangesStruct* changes, OxErrorStruct** error);
    OxSgIteratorStruct* (*getPreviousRoot)(const OxChangesStruct* changes, OxErrorStruct** error);

    /* ---- End of a render ---- */

    /* 55 [any thread] Lets the scene's runtime drop its results, unless "/root" has an attribute
          "liveRenderSettings" or "liveRender". Handles stay valid. */
    void (*finalizeRuntime)(OxSgIteratorStruct* location);
} OxScenegraphIteratorHostSuite_v4;

#ifdef __cplusplus
}
#endif

#endif
