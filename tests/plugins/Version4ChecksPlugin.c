#include "Version4ChecksSuite.h"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/OxPluginApi.h>

#define CHECK(condition)                                                                           \
    if (!(condition)) return __LINE__

static const OxPluginHost* host;
static const OxScenegraphIteratorHostSuite_v4* scenes;
static const OxRenderOutputUtilsHostSuite_v4* utils;
static const OxAttributeSuite_v4* values;

static int setHost(struct OxPluginHost* newHost) {
    host = newHost;
    return 0;
}

static int findSuites(void) {
    scenes = host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4);
    utils = host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 4);
    values = host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4);
    CHECK(scenes && scenes->version == 4 && scenes->size >= sizeof *scenes);
    CHECK(utils && utils->version == 4 && utils->size >= sizeof *utils);
    CHECK(values && values->version == 4 && values->size >= sizeof *values);
    return 0;
}

/* Whether the error is one of a wrong call; takes its reference and forgets it. */
static int isBadCall(OxErrorStruct** error) {
    OxErrorFacts facts;
    int isOne;
    values->getErrorFacts(*error, &facts);
    isOne = facts.code == kOxErrorBadCall && facts.text[0] != '\0';
    values->releaseError(*error);
    *error = NULL;
    return isOne;
}

static int checkNullScenes(void) {
    OxErrorStruct* error = NULL;
    OxSubtree subtree;
    OxChange change;
    uint64_t words[2] = {1, 1};
    int64_t length = 1;
    CHECK(!scenes->openScene(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->openDescription(NULL, &error) && isBadCall(&error));
    scenes->retainScene(NULL);
    scenes->releaseScene(NULL);
    scenes->getSceneIdentity(NULL, words);
    CHECK(words[0] == 0 && words[1] == 0 && scenes->getSceneRevision(NULL) == 0);
    CHECK(!scenes->getSceneRoot(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->loadOpTreeDescription(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->createRootIteratorFromOpTreeFile(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->createRootIteratorFromOpTreeDescription(NULL, &error) && isBadCall(&error));
    scenes->retainIterator(NULL);
    scenes->releaseIterator(NULL);
    CHECK(!scenes->getFirstChild(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getNextSibling(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getParent(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getRoot(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getChildByName(NULL, NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getProducerByPath(NULL, NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getNumberOfChildren(NULL) && !scenes->getChildName(NULL, 0, &length));
    CHECK(length == 0 && !scenes->getChild(NULL, 0, &error) && isBadCall(&error));
    CHECK(!scenes->evict(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getLocationError(NULL));
    CHECK(!scenes->getName(NULL, NULL) && !scenes->getFullName(NULL, NULL));
    CHECK(!scenes->getType(NULL, NULL));
    CHECK(!scenes->getAttribute(NULL, NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getGlobalAttribute(NULL, NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getAttributeNames(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getGlobalXFormGroup(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getPotentialChildren(NULL, &error) && isBadCall(&error));
    scenes->getContentHash(NULL, words);
    CHECK(scenes->isSame(NULL, NULL) == 0);
    CHECK(!scenes->getSubtree(NULL, &subtree, &error) && isBadCall(&error));
    CHECK(!scenes->getInstances(NULL, &error) && isBadCall(&error));
    scenes->retainInstances(NULL);
    scenes->releaseInstances(NULL);
    CHECK(!scenes->getNumberOfInstances(NULL) && !scenes->getNumberOfPrototypes(NULL));
    CHECK(!scenes->getPrototype(NULL, 0, &error) && isBadCall(&error));
    CHECK(!scenes->readInstances(NULL, 0, 0, NULL, NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getInstance(NULL, 0, &error) && isBadCall(&error));
    CHECK(scenes->visit(NULL, NULL, NULL, NULL, &error) == kOxVisitFailed && isBadCall(&error));
    CHECK(!scenes->subscribe(NULL, &error) && isBadCall(&error));
    scenes->retainSubscription(NULL);
    scenes->releaseSubscription(NULL);
    CHECK(scenes->waitForChanges(NULL, 0) == 0);
    CHECK(!scenes->receiveChanges(NULL, &error) && isBadCall(&error));
    scenes->acknowledgeChanges(NULL, NULL);
    scenes->retainChanges(NULL);
    scenes->releaseChanges(NULL);
    CHECK(scenes->getNumberOfChanges(NULL) == 0 && scenes->getChange(NULL, 0, &change) == 0);
    CHECK(!scenes->getChangedRoot(NULL, &error) && isBadCall(&error));
    CHECK(!scenes->getPreviousRoot(NULL, &error) && isBadCall(&error));
    scenes->finalizeRuntime(NULL);
    return 0;
}

static int checkNullCameras(void) {
    OxErrorStruct* error = NULL;
    OxLens lens;
    double matrix[16];
    CHECK(!utils->getWorldMatrix(NULL, 0, matrix, &error) && isBadCall(&error));
    CHECK(!utils->getWorldMatrices(NULL, NULL, 0, NULL, &error) && isBadCall(&error));
    CHECK(!utils->getLocalMatrix(NULL, 0, matrix, &error) && isBadCall(&error));
    CHECK(utils->getTransformTimes(NULL, NULL, 0, &error) == -1 && isBadCall(&error));
    CHECK(!utils->getCameraPath(NULL, &error) && isBadCall(&error));
    CHECK(!utils->getCameraInfo(NULL, NULL, &error) && isBadCall(&error));
    utils->retainCameraInfo(NULL);
    utils->releaseCameraInfo(NULL);
    utils->getCameraLens(NULL, &lens);
    utils->getCameraLens(NULL, NULL);
    CHECK(lens.fov == 0 && utils->getCameraFov(NULL) == 0 && utils->getCameraNear(NULL) == 0);
    CHECK(utils->getCameraFar(NULL) == 0 && utils->getCameraLeft(NULL) == 0);
    CHECK(utils->getCameraRight(NULL) == 0 && utils->getCameraTop(NULL) == 0);
    CHECK(utils->getCameraBottom(NULL) == 0 && utils->getCameraOrthographic(NULL) == 0);
    CHECK(utils->getCameraOrthographicWidth(NULL) == 0 && !utils->getCameraXform(NULL));
    CHECK(!utils->getCameraProjection(NULL, 1, 1, matrix, &error) && isBadCall(&error));
    CHECK(!utils->convertPointsToNdc(NULL, NULL, 0, &error) && isBadCall(&error));
    CHECK(!utils->convertPointsToPixels(NULL, 1, 1, NULL, 0, &error) && isBadCall(&error));
    CHECK(utils->getPixelAreaOfBound(NULL, 1, 1, NULL, NULL, &error) == -1 && isBadCall(&error));
    CHECK(utils->getPixelAreaThroughCamera(NULL, NULL, NULL, &error) == -1 && isBadCall(&error));
    CHECK(!utils->getSampleTimesRelevantToShutterRange(NULL, 1, 0, 1, &error));
    CHECK(isBadCall(&error));
    CHECK(!utils->getRenderResolution(NULL, NULL, NULL, &error) && isBadCall(&error));
    CHECK(!utils->getTilePath(NULL, NULL, &error) && isBadCall(&error));
    CHECK(!utils->getTempRenderLocation(NULL, NULL, 0, &error) && isBadCall(&error));
    return 0;
}

static int checkNullMaterials(void) {
    OxErrorStruct* error = NULL;
    CHECK(!utils->getFlattenedMaterialAttr(NULL, NULL, 0, &error) && isBadCall(&error));
    CHECK(!utils->getMaterials(NULL, &error) && isBadCall(&error));
    CHECK(!utils->flattenMaterials(NULL, 1, NULL, 0, &error) && isBadCall(&error));
    CHECK(!utils->getShadingNetworkNodesOfMaterial(NULL, &error) && isBadCall(&error));
    CHECK(!utils->getShadingNetworkNodes(NULL, &error) && isBadCall(&error));
    utils->destroyShadingNodeMap(NULL);
    utils->retainShadingNode(NULL);
    utils->releaseShadingNode(NULL);
    utils->retainShadingConnection(NULL);
    utils->releaseShadingConnection(NULL);
    CHECK(!utils->findShadingNode(NULL, NULL, &error) && isBadCall(&error));
    CHECK(!utils->getShadingNodeName(NULL) && !utils->getShadingNodeType(NULL));
    CHECK(!utils->getNumberOfShadingParameters(NULL) && !utils->getShadingParameterName(NULL, 0));
    CHECK(!utils->getShadingParameter(NULL, NULL, &error) && isBadCall(&error));
    CHECK(!utils->getNumberOfShadingConnections(NULL) && !utils->getShadingConnectionName(NULL, 0));
    CHECK(!utils->getShadingConnection(NULL, NULL, &error) && isBadCall(&error));
    CHECK(!utils->isShadingNodeValid(NULL) && !utils->isShadingConnectionValid(NULL));
    CHECK(!utils->getConnectionName(NULL) && !utils->getConnectedPort(NULL));
    CHECK(!utils->getConnectedNode(NULL));
    CHECK(!utils->convertTexturesToArbitraryAttr(NULL, &error) && isBadCall(&error));
    CHECK(
        !utils->getProceduralArguments(NULL, NULL, NULL, kOxProceduralClassic, NULL, NULL, &error));
    CHECK(isBadCall(&error));
    CHECK(!utils->expandArchPath(NULL, &error) && isBadCall(&error));
    CHECK(!utils->getLocationDelegate(NULL, NULL, &error) && isBadCall(&error));
    return 0;
}

static int checkNullHandles(void) {
    int line = findSuites();
    if (line == 0) line = checkNullScenes();
    if (line == 0) line = checkNullCameras();
    return line == 0 ? checkNullMaterials() : line;
}

/* The number of locations, or -1 when something failed. */
static long walk(OxSgIteratorStruct* location) {
    OxErrorStruct* error = NULL;
    long count = 1;
    for (int64_t i = 0; i < scenes->getNumberOfChildren(location); ++i) {
        OxSgIteratorStruct* const child = scenes->getChild(location, i, &error);
        const long below = child && !error ? walk(child) : -1;
        scenes->releaseIterator(child);
        values->releaseError(error);
        if (below < 0) return -1;
        count += below;
    }
    return count;
}

static int checkWalk(const char* opFile, long locations) {
    OxErrorStruct* error = NULL;
    OxSceneStruct* scene;
    OxSgIteratorStruct* root;
    long count;
    CHECK(findSuites() == 0);
    scene = scenes->openScene(opFile, &error);
    CHECK(scene && !error);
    root = scenes->getSceneRoot(scene, &error);
    scenes->releaseScene(scene);
    CHECK(root && !error && strcmp(scenes->getFullName(root, NULL), "/root") == 0);
    count = walk(root);
    scenes->releaseIterator(root);
    CHECK(count == locations);
    return 0;
}

/* Counts of a visit, one for each thread, so that threads need no lock in C99. */
typedef struct Counts {
    long visited[64];
    long wrong[64];
} Counts;

static int32_t countVisit(OxVisit* visit, void* user) {
    Counts* const counts = user;
    const intptr_t depth = (intptr_t)visit->inherited;
    ++counts->visited[visit->thread];
    if (visit->error || visit->depth != depth) ++counts->wrong[visit->thread];
    visit->passedDown = (void*)(depth + 1);
    return kOxVisitGoOn;
}

static int checkVisit(const char* opFile, int threads, long locations) {
    OxErrorStruct* error = NULL;
    OxSgIteratorStruct* root;
    OxVisitOptions options = {0, 0, NULL, NULL};
    CHECK(findSuites() == 0);
    root = scenes->createRootIteratorFromOpTreeFile(opFile, &error);
    CHECK(root && !error);
    options.threads = threads;
    for (options.isOrdered = 0; options.isOrdered < 2; ++options.isOrdered) {
        Counts counts = {{0}, {0}};
        long visited = 0;
        CHECK(scenes->visit(root, &options, countVisit, &counts, &error) == kOxVisitDone);
        CHECK(!error);
        for (int i = 0; i < 64; ++i) {
            visited += counts.visited[i];
            CHECK(counts.wrong[i] == 0);
        }
        CHECK(visited == locations);
    }
    scenes->releaseIterator(root);
    return 0;
}

static int checkErrors(const char* opFile, const char* failing) {
    OxErrorStruct* error = NULL;
    OxErrorFacts facts;
    OxSgIteratorStruct* root;
    OxSgIteratorStruct* failed;
    OxSgIteratorStruct* next;
    CHECK(findSuites() == 0);
    CHECK(!scenes->openScene("/no/such.oxop", &error));
    values->getErrorFacts(error, &facts);
    CHECK(facts.code == kOxErrorFile && strcmp(facts.file, "/no/such.oxop") == 0);
    values->releaseError(error);

    root = scenes->createRootIteratorFromOpTreeFile(opFile, &error);
    CHECK(root && !error);
    failed = scenes->getProducerByPath(root, failing, &error);
    CHECK(failed && error);
    values->getErrorFacts(error, &facts);
    CHECK(facts.code == kOxErrorCook && strcmp(facts.location, failing) == 0);
    CHECK(facts.op[0] && facts.opType[0] && facts.text[0]);
    values->releaseError(error);
    next = scenes->getNextSibling(failed, &error);
    CHECK(next && !error);
    scenes->releaseIterator(next);
    scenes->releaseIterator(failed);
    scenes->releaseIterator(root);
    return 0;
}

static int checkCamera(const char* opFile) {
    OxErrorStruct* error = NULL;
    double matrix[16];
    double point[3] = {3, 0, -1};
    const double bound[6] = {2, 4, -1, 1, -2, -2};
    OxLens lens;
    OxSgIteratorStruct* root = NULL;
    OxSgIteratorStruct* location;
    CameraInfoStruct* camera;
    CHECK(findSuites() == 0);
    root = scenes->createRootIteratorFromOpTreeFile(opFile, &error);
    location = scenes->getProducerByPath(root, "/root/world/cam/camera", &error);
    CHECK(location && !error && utils->getWorldMatrix(location, 0, matrix, &error) == 1);
    CHECK(matrix[12] == 3 && matrix[13] == 0 && matrix[15] == 1);
    camera = utils->getCameraInfo(root, "/root/world/cam/camera", &error);
    CHECK(camera && !error && utils->getCameraXform(camera)[12] == 3);
    utils->getCameraLens(camera, &lens);
    CHECK(lens.fov == 90 && lens.isOrthographic == 0);
    CHECK(utils->convertPointsToNdc(camera, point, 1, &error) == 1);
    CHECK(point[0] == 0.5 && point[1] == 0.5 && point[2] == 0);
    CHECK(utils->getPixelAreaOfBound(camera, 512, 512, bound, NULL, &error) == 256 * 256);
    utils->releaseCameraInfo(camera);
    scenes->releaseIterator(location);
    scenes->releaseIterator(root);
    CHECK(!error);
    return 0;
}

static const Version4ChecksSuite checks = {checkNullHandles, checkWalk, checkVisit, checkErrors,
                                           checkCamera};

static const void* getSuite(void) {
    return &checks;
}

static const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                         "version 4 checks",
                                         "TestVersion4Checks",
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
