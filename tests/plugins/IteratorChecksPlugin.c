#define _POSIX_C_SOURCE 200809L /* threads */

#include "IteratorChecksSuite.h"

#include <pthread.h>
#include <string.h>

#include "ChecksPlugin.h"

static OxSgIteratorStruct* retained(const Suites* suites, OxSgIteratorStruct* iterator) {
    suites->iterators->retainIterator(iterator);
    return iterator;
}

/* Whether the attribute is this text; takes its reference. */
static int isText(const Suites* suites, OxAttributeStruct* attribute, const char* text) {
    const char* value = suites->attributes->getString(attribute, 0, 0);
    const int isEqual = value && strcmp(value, text) == 0;
    suites->attributes->release(attribute);
    return isEqual;
}

/* Whether the attribute is there; takes its reference. */
static int isThere(const Suites* suites, OxAttributeStruct* attribute) {
    suites->attributes->release(attribute);
    return attribute != NULL;
}

static int checkNullHandles(void) {
    const OxScenegraphIteratorHostSuite_v3* suite =
        host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    const OxScenegraphIteratorHostSuite_v2* old =
        host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 2);
    CHECK(suite && old);

    suite->retainIterator(NULL);
    suite->releaseIterator(NULL);
    CHECK(suite->loadOpTreeDescription(NULL) == NULL);
    CHECK(suite->createRootIteratorFromOpTreeFile(NULL) == NULL);
    CHECK(suite->createRootIteratorFromOpTreeDescription(NULL) == NULL);
    CHECK(suite->getFirstChild(NULL, false) == NULL);
    CHECK(suite->getNextSibling(NULL, true) == NULL);
    CHECK(suite->getParent(NULL) == NULL);
    CHECK(suite->getRoot(NULL) == NULL);
    CHECK(suite->getChildByName(NULL, "a", false) == NULL);
    CHECK(suite->getChildByName(NULL, NULL, false) == NULL);
    CHECK(suite->getProducerByPath(NULL, "/root", false) == NULL);
    CHECK(suite->getProducerByPath(NULL, NULL, false) == NULL);
    CHECK(suite->getName(NULL) == NULL);
    CHECK(suite->getFullName(NULL) == NULL);
    CHECK(suite->getAttribute(NULL, "type") == NULL);
    CHECK(suite->getAttribute(NULL, NULL) == NULL);
    CHECK(suite->getGlobalAttribute(NULL, "type") == NULL);
    CHECK(suite->getGlobalAttribute(NULL, NULL) == NULL);
    CHECK(suite->getAttributeNames(NULL) == NULL);
    CHECK(suite->getGlobalXFormGroup(NULL) == NULL);
    CHECK(suite->getPotentialChildren(NULL) == NULL);
    suite->finalizeRuntime(NULL);

    old->retainIterator(NULL);
    old->releaseIterator(NULL);
    CHECK(old->createRootIteratorFromOpTreeFile(NULL) == NULL);
    CHECK(old->getFirstChild(NULL, false) == NULL);
    CHECK(old->getNextSibling(NULL, false) == NULL);
    CHECK(old->getParent(NULL) == NULL);
    CHECK(old->getRoot(NULL) == NULL);
    CHECK(old->getChildByName(NULL, NULL, false) == NULL);
    CHECK(old->getProducerByPath(NULL, NULL, false) == NULL);
    CHECK(old->getName(NULL) == NULL);
    CHECK(old->getFullName(NULL) == NULL);
    CHECK(old->getAttribute(NULL, NULL) == NULL);
    CHECK(old->getGlobalAttribute(NULL, NULL) == NULL);
    CHECK(old->getAttributeNames(NULL) == NULL);
    CHECK(old->getGlobalXFormGroup(NULL) == NULL);
    CHECK(old->getPotentialChildren(NULL) == NULL);
    return 0;
}

static int checkCounts(const char* opFile) {
    const Suites suites = getSuites();
    const OxScenegraphIteratorHostSuite_v3* suite = suites.iterators;
    OxSgIteratorStruct* root = suite->createRootIteratorFromOpTreeFile(opFile);
    OxSgIteratorStruct* child;
    OxSgIteratorStruct* again;
    CHECK(root);
    child = retained(&suites, suite->getFirstChild(root, false));
    again = retained(&suites, suite->getFirstChild(root, false));
    CHECK(child && again && child != again);

    /* The root's own handle goes; the location lives on below its children. */
    suite->releaseIterator(root);
    root = retained(&suites, suite->getRoot(child));
    CHECK(isText(&suites, suite->getFullName(root), "/root"));
    CHECK(suite->getParent(root) == NULL);

    /* Each handle lives by its own count. */
    suite->retainIterator(child);
    suite->releaseIterator(child);
    suite->releaseIterator(again);
    CHECK(isText(&suites, suite->getFullName(child), "/root/world"));
    suite->releaseIterator(child);
    suite->releaseIterator(root);
    return 0;
}

/* The number of locations from this one down; negative: minus the line of a fault. */
static long walk(const Suites* suites, OxSgIteratorStruct* iterator) {
    const OxScenegraphIteratorHostSuite_v3* suite = suites->iterators;
    long count = 1;
    OxSgIteratorStruct* child;
    OxSgIteratorStruct* parent;
    if (!isThere(suites, suite->getName(iterator))) return -__LINE__;
    if (!isThere(suites, suite->getFullName(iterator))) return -__LINE__;
    if (!isThere(suites, suite->getAttribute(iterator, "number"))) return -__LINE__;
    if (!isText(suites, suite->getGlobalAttribute(iterator, "inherited"), "from above"))
        return -__LINE__;
    if (!isThere(suites, suite->getAttributeNames(iterator))) return -__LINE__;
    if (!isThere(suites, suite->getGlobalXFormGroup(iterator))) return -__LINE__;
    parent = retained(suites, suite->getParent(iterator));
    suite->releaseIterator(parent);

    child = retained(suites, suite->getFirstChild(iterator, false));
    while (child) {
        const long below = walk(suites, child);
        OxSgIteratorStruct* next = retained(suites, suite->getNextSibling(child, false));
        suite->releaseIterator(child);
        child = next;
        if (below < 0) {
            suite->releaseIterator(child);
            return below;
        }
        count += below;
    }
    return count;
}

static long walkVersion2(const OxScenegraphIteratorHostSuite_v2* suite,
                         OxSgIteratorStruct* iterator) {
    long count = 1;
    OxSgIteratorStruct* child = suite->getFirstChild(iterator, false);
    while (child) {
        OxSgIteratorStruct* next;
        suite->retainIterator(child);
        count += walkVersion2(suite, child);
        next = suite->getNextSibling(child, false);
        suite->releaseIterator(child);
        child = next;
    }
    return count;
}

static int checkVersion2(const char* opFile, long locations) {
    const OxScenegraphIteratorHostSuite_v2* suite =
        host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 2);
    OxSgIteratorStruct* root = suite->createRootIteratorFromOpTreeFile(opFile);
    CHECK(root);
    CHECK(walkVersion2(suite, root) == locations);
    suite->releaseIterator(root);
    return 0;
}

/* What threads share. */
typedef struct Shared {
    Suites suites;
    OxSgIteratorStruct* root;
    long locations;
    int rounds;
    pthread_mutex_t lock;
    OxSgIteratorStruct* found; /* guarded by lock; carries a reference */
} Shared;

static void initShared(Shared* shared, const Suites* suites, OxSgIteratorStruct* root,
                       long locations, int rounds) {
    memset(shared, 0, sizeof *shared);
    shared->suites = *suites;
    shared->root = root;
    shared->locations = locations;
    shared->rounds = rounds;
    pthread_mutex_init(&shared->lock, NULL);
}

static void shareFound(Shared* shared, OxSgIteratorStruct* iterator) {
    OxSgIteratorStruct* before;
    pthread_mutex_lock(&shared->lock);
    before = shared->found;
    shared->found = iterator;
    pthread_mutex_unlock(&shared->lock);
    shared->suites.iterators->releaseIterator(before);
}

/* With a reference for the caller. */
static OxSgIteratorStruct* takeFound(Shared* shared) {
    OxSgIteratorStruct* found;
    pthread_mutex_lock(&shared->lock);
    found = retained(&shared->suites, shared->found);
    pthread_mutex_unlock(&shared->lock);
    return found;
}

static void dropShared(Shared* shared) {
    shareFound(shared, NULL);
    shared->suites.iterators->releaseIterator(shared->root);
    pthread_mutex_destroy(&shared->lock);
}

static long workOnce(Shared* shared) {
    const Suites* suites = &shared->suites;
    const OxScenegraphIteratorHostSuite_v3* suite = suites->iterators;
    OxSgIteratorStruct* root = retained(suites, shared->root);
    OxSgIteratorStruct* deep;
    OxSgIteratorStruct* found;
    long count = walk(suites, root);
    if (count != shared->locations) return count < 0 ? -count : __LINE__;

    /* A location of this thread for the others, and one of another thread to go on from. */
    deep = retained(suites, suite->getProducerByPath(root, "/root/world/group3/leaf7", false));
    suite->releaseIterator(root);
    CHECK(deep);
    shareFound(shared, deep);
    found = takeFound(shared);
    root = retained(suites, suite->getRoot(found));
    CHECK(isText(suites, suite->getFullName(found), "/root/world/group3/leaf7"));
    CHECK(isText(suites, suite->getName(root), "root"));
    suite->releaseIterator(root);
    root = retained(suites, suite->getNextSibling(found, false));
    CHECK(isText(suites, suite->getName(root), "leaf8"));
    suite->releaseIterator(root);
    suite->releaseIterator(found);
    return 0;
}

static void* work(void* argument) {
    Shared* shared = argument;
    long line = 0;
    int round;
    for (round = 0; round < shared->rounds && line == 0; ++round)
        line = workOnce(shared);
    return (void*)line;
}

/* 0, or what the first thread with a fault returned. */
static int joinAll(pthread_t* threads, int count) {
    long line = 0;
    int i;
    for (i = 0; i < count; ++i) {
        void* result = NULL;
        pthread_join(threads[i], &result);
        if (line == 0) line = (long)result;
    }
    return (int)line;
}

static int checkThreads(const char* opFile, int threads, long locations) {
    const Suites suites = getSuites();
    OxSgIteratorStruct* root = suites.iterators->createRootIteratorFromOpTreeFile(opFile);
    Shared shared;
    pthread_t ids[64];
    int line;
    int i;
    CHECK(root && threads <= 64);
    initShared(&shared, &suites, root, locations, 3);
    for (i = 0; i < threads; ++i)
        CHECK(pthread_create(&ids[i], NULL, work, &shared) == 0);
    line = joinAll(ids, threads);
    suites.iterators->finalizeRuntime(root);
    dropShared(&shared);
    return line;
}

typedef struct Opening {
    Suites suites;
    const char* opFile;
    OxSgIteratorStruct* root;
} Opening;

static void* open(void* argument) {
    Opening* opening = argument;
    const OxScenegraphIteratorHostSuite_v3* suite = opening->suites.iterators;
    opening->root = suite->createRootIteratorFromOpTreeFile(opening->opFile);
    return NULL;
}

static int checkThreadThatEnds(const char* opFile, int threads, long locations) {
    Opening opening;
    Shared shared;
    pthread_t opener;
    pthread_t early[32];
    pthread_t late[32];
    int line;
    int lineEarly;
    int lineLate;
    int i;
    CHECK(threads <= 32);
    memset(&opening, 0, sizeof opening);
    opening.suites = getSuites();
    opening.opFile = opFile;
    CHECK(pthread_create(&opener, NULL, open, &opening) == 0);
    pthread_join(opener, NULL);
    CHECK(opening.root);

    /* Clients of threads that have ended are taken over by those that begin meanwhile. */
    initShared(&shared, &opening.suites, opening.root, locations, 1);
    for (i = 0; i < threads; ++i)
        CHECK(pthread_create(&early[i], NULL, work, &shared) == 0);
    line = joinAll(early, 1);
    for (i = 0; i < threads; ++i)
        CHECK(pthread_create(&late[i], NULL, work, &shared) == 0);
    lineEarly = joinAll(early + 1, threads - 1);
    lineLate = joinAll(late, threads);
    dropShared(&shared);
    return line ? line : lineEarly ? lineEarly : lineLate;
}

static const IteratorChecksSuite checks = {checkNullHandles, checkCounts, checkVersion2,
                                           checkThreads, checkThreadThatEnds};

static const void* getSuite(void) {
    return &checks;
}

static const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                         "iterator checks",
                                         "TestIteratorChecks",
                                         1,
                                         1,
                                         0,
                                         getSuite,
                                         setHost,
                                         NULL};

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &record : NULL;
}
