#include "RenderUtilsChecksSuite.h"

#include <string.h>

#include "ChecksPlugin.h"

static int isEmpty(const char* text) {
    return text && *text == '\0';
}

/* Whether it is a string attribute with this value first. Takes its reference over. */
static int isText(OxAttributeStruct* attribute, const char* expected) {
    const OxAttributeSuite_v1* attributes = getSuites().attributes;
    const char* const text = attributes->getString(attribute, 0, 0);
    const int isSame = text && strcmp(text, expected) == 0;
    attributes->release(attribute);
    return isSame;
}

static int checkNullHandles(void) {
    const OxRenderOutputUtilsHostSuite_v3* utils = getSuites().utils;
    const char* const names[] = {"surface"};
    int width = 7;
    int height = 7;
    CHECK(utils);
    CHECK(isText(utils->getProceduralArguments(NULL, NULL, NULL, kOxProceduralClassic, NULL, NULL),
                 " -frame 1 -shutter 0 0 -cropwindow 0 1 0 1"));
    utils->flushRuntimePluginCaches();
    CHECK(utils->getPixelAreaThroughCamera(NULL, NULL, NULL) == 0);
    CHECK(!utils->getSampleTimesRelevantToShutterRange(NULL, 1, 0, 0));
    CHECK(!utils->getSampleTimesRelevantToShutterRange(NULL, -1, 0, 0));
    CHECK(isText(utils->getRenderResolution(NULL, &width, &height), "square_512"));
    CHECK(width == 512 && height == 512);
    CHECK(isText(utils->getRenderResolution(NULL, NULL, NULL), "square_512"));
    CHECK(isText(utils->getCameraPath(NULL), ""));
    CHECK(!utils->convertTexturesToArbitraryAttr(NULL));
    CHECK(!utils->expandArchPath(NULL));
    CHECK(!utils->getFlattenedMaterialAttr(NULL, names, 1));
    CHECK(!utils->getFlattenedMaterialAttr(NULL, NULL, 0));
    CHECK(!utils->getShadingNetworkNodes(NULL));
    utils->destroyShadingNodeMap(NULL);
    utils->destroyShadingNodeMap(utils->getShadingNetworkNodesOfMaterial(NULL));
    utils->retainShadingNode(NULL);
    utils->releaseShadingNode(NULL);
    utils->retainShadingConnection(NULL);
    utils->releaseShadingConnection(NULL);
    CHECK(!utils->findShadingNode(NULL, "n"));
    CHECK(isEmpty(utils->getShadingNodeName(NULL)));
    CHECK(isEmpty(utils->getShadingNodeType(NULL)));
    CHECK(utils->getNumberOfShadingParameters(NULL) == 0);
    CHECK(isEmpty(utils->getShadingParameterName(NULL, 0)));
    CHECK(!utils->getShadingParameter(NULL, "Kd"));
    CHECK(utils->getNumberOfShadingConnections(NULL) == 0);
    CHECK(isEmpty(utils->getShadingConnectionName(NULL, 0)));
    CHECK(!utils->getShadingConnection(NULL, "Kd"));
    CHECK(utils->isShadingNodeValid(NULL) == 0);
    CHECK(isEmpty(utils->getConnectionName(NULL)));
    CHECK(isEmpty(utils->getConnectedPort(NULL)));
    CHECK(isEmpty(utils->getConnectedNode(NULL)));
    CHECK(utils->isShadingConnectionValid(NULL) == 1);
    CHECK(!utils->getCameraInfo(NULL, "/root/cam"));
    utils->retainCameraInfo(NULL);
    utils->releaseCameraInfo(NULL);
    CHECK(utils->getCameraFov(NULL) == 0);
    CHECK(utils->getCameraNear(NULL) == 0);
    CHECK(utils->getCameraFar(NULL) == 0);
    CHECK(utils->getCameraLeft(NULL) == 0);
    CHECK(utils->getCameraRight(NULL) == 0);
    CHECK(utils->getCameraTop(NULL) == 0);
    CHECK(utils->getCameraBottom(NULL) == 0);
    CHECK(utils->getCameraOrthographic(NULL) == 0);
    CHECK(utils->getCameraOrthographicWidth(NULL) == 0);
    CHECK(!utils->getCameraXform(NULL));
    CHECK(!utils->getLocationDelegate(NULL, NULL));
    CHECK(!utils->getTempRenderLocation(NULL, NULL, 0));
    CHECK(!utils->getTilePath(NULL, NULL));
    return 0;
}

static int checkCamera(const char* opFile) {
    const Suites suites = getSuites();
    const OxRenderOutputUtilsHostSuite_v3* utils = suites.utils;
    OxSgIteratorStruct* root = suites.iterators->createRootIteratorFromOpTreeFile(opFile);
    OxAttributeStruct* path = utils->getCameraPath(root);
    const char* text = suites.attributes->getString(path, 0, 0);
    CameraInfoStruct* camera = utils->getCameraInfo(root, text);
    CameraInfoStruct* missing = utils->getCameraInfo(root, "/root/nowhere");
    const double* xform;
    CHECK(camera && !missing);
    /* All of it outlives the scene. */
    suites.iterators->releaseIterator(root);
    suites.attributes->release(path);
    utils->retainCameraInfo(camera);
    utils->releaseCameraInfo(camera);
    CHECK(utils->getCameraFov(camera) == 90);
    CHECK(utils->getCameraNear(camera) == 1);
    CHECK(utils->getCameraFar(camera) == 101);
    CHECK(utils->getCameraLeft(camera) == -2);
    CHECK(utils->getCameraRight(camera) == 3);
    CHECK(utils->getCameraTop(camera) == 4);
    CHECK(utils->getCameraBottom(camera) == -5);
    CHECK(utils->getCameraOrthographic(camera) == 1);
    CHECK(utils->getCameraOrthographicWidth(camera) == 8);
    xform = utils->getCameraXform(camera);
    CHECK(xform && xform[0] == 1 && xform[12] == 3 && xform[15] == 1);
    utils->releaseCameraInfo(camera);
    return 0;
}

static int checkShadingNetwork(const char* opFile) {
    const Suites suites = getSuites();
    const OxRenderOutputUtilsHostSuite_v3* utils = suites.utils;
    OxSgIteratorStruct* root = suites.iterators->createRootIteratorFromOpTreeFile(opFile);
    OxSgIteratorStruct* geo = suites.iterators->getProducerByPath(root, "/root/world/geo", false);
    OxShadingNodeMapStruct* nodes;
    OxShadingStruct* clay;
    OxShadingStruct* connection;
    OxAttributeStruct* roughness;
    suites.iterators->retainIterator(geo);
    nodes = utils->getShadingNetworkNodes(geo);
    clay = utils->findShadingNode(nodes, "clay");
    CHECK(nodes && clay && !utils->findShadingNode(nodes, "nobody"));
    CHECK(!utils->findShadingNode(nodes, NULL));
    connection = utils->getShadingConnection(clay, "Kd:r");
    roughness = utils->getShadingParameter(clay, "roughness");
    CHECK(connection && !utils->getShadingConnection(clay, "Kd"));
    CHECK(!utils->getShadingParameter(clay, NULL));

    /* The map and the scene go first, the connection's node before it. */
    utils->destroyShadingNodeMap(nodes);
    suites.iterators->releaseIterator(geo);
    suites.iterators->releaseIterator(root);
    CHECK(strcmp(utils->getShadingNodeName(clay), "clay") == 0);
    CHECK(strcmp(utils->getShadingNodeType(clay), "matte") == 0);
    CHECK(utils->isShadingNodeValid(clay) == 1);
    CHECK(utils->getNumberOfShadingParameters(clay) == 1);
    CHECK(strcmp(utils->getShadingParameterName(clay, 0), "roughness") == 0);
    CHECK(isEmpty(utils->getShadingParameterName(clay, 1)));
    CHECK(isEmpty(utils->getShadingParameterName(clay, -1)));
    CHECK(utils->getNumberOfShadingConnections(clay) == 1);
    CHECK(strcmp(utils->getShadingConnectionName(clay, 0), "Kd:r") == 0);
    CHECK(isEmpty(utils->getShadingConnectionName(clay, 1)));
    CHECK(isEmpty(utils->getConnectedNode(clay)));
    utils->retainShadingNode(clay);
    utils->releaseShadingNode(clay);
    utils->releaseShadingNode(clay);
    CHECK(strcmp(utils->getConnectionName(connection), "Kd") == 0);
    CHECK(strcmp(utils->getConnectedPort(connection), "out") == 0);
    CHECK(strcmp(utils->getConnectedNode(connection), "dots") == 0);
    CHECK(utils->isShadingConnectionValid(connection) == 1);
    CHECK(utils->isShadingNodeValid(connection) == 0);
    CHECK(utils->getNumberOfShadingParameters(connection) == 0);
    CHECK(isEmpty(utils->getShadingParameterName(connection, 0)));
    utils->retainShadingConnection(connection);
    utils->releaseShadingConnection(connection);
    utils->releaseShadingConnection(connection);
    CHECK(suites.attributes->getType(roughness) == kAttributeTypeDouble);
    suites.attributes->release(roughness);
    return 0;
}

static void countError(const char* message, void* user) {
    (void)message;
    ++*(int*)user;
}

static int checkLocation(OxSgIteratorStruct* root, OxSgIteratorStruct* geo) {
    const Suites suites = getSuites();
    const OxRenderOutputUtilsHostSuite_v3* utils = suites.utils;
    const OxAttributeSuite_v1* attributes = suites.attributes;
    OxAttributeStruct* procedural = suites.iterators->getAttribute(geo, "procedural");
    const OxProceduralContext_v1 context = {12, -0.25f, 0.25f, {0, 0.5f, 0.25f, 1}, 640, 480};
    int width = 0;
    int height = 0;
    int errors = 0;
    CHECK(isText(utils->getProceduralArguments(geo, &context, procedural, kOxProceduralClassic,
                                               countError, &errors),
                 " -count 3 -frame 12 -shutter -0.25 0.25 -cropwindow 0 0.5 0.25 1"));
    CHECK(errors == 0);
    attributes->release(procedural);
    CHECK(utils->getPixelAreaThroughCamera(geo, "/root/world/cam/camera", "square_512") == 65536);
    CHECK(isText(utils->getRenderResolution(root, &width, &height), "hd_720"));
    CHECK(width == 1280 && height == 720);
    CHECK(isText(utils->getTempRenderLocation(root, "beauty", 7), "/tmp/beauty.0007.exr"));
    CHECK(isText(utils->getTilePath(geo, "/out/b.exr"), "/out/tile_2_3.b.exr"));
    return 0;
}

static int checkMaterial(OxSgIteratorStruct* geo) {
    const Suites suites = getSuites();
    const OxRenderOutputUtilsHostSuite_v3* utils = suites.utils;
    const OxAttributeSuite_v1* attributes = suites.attributes;
    const char* const terminals[] = {"surface"};
    OxAttributeStruct* textures = suites.iterators->getAttribute(geo, "textures");
    OxAttributeStruct* converted = utils->convertTexturesToArbitraryAttr(textures);
    OxAttributeStruct* material;
    OxShadingNodeMapStruct* nodes;
    OxShadingStruct* clay;
    CHECK(isText(attributes->getChildByName(converted, "dirt.scope"), "primitive"));
    attributes->release(converted);
    attributes->release(textures);

    material = utils->getFlattenedMaterialAttr(geo, terminals, 1);
    CHECK(isText(attributes->getChildByName(material, "terminals.surface"), "clay"));
    utils->emptyFlattenedMaterialCache();
    nodes = utils->getShadingNetworkNodesOfMaterial(material);
    attributes->release(material);
    clay = utils->findShadingNode(nodes, "clay");
    utils->destroyShadingNodeMap(nodes);
    CHECK(strcmp(utils->getShadingNodeType(clay), "matte") == 0);
    utils->releaseShadingNode(clay);
    return 0;
}

static int checkRest(const char* opFile) {
    const Suites suites = getSuites();
    const OxRenderOutputUtilsHostSuite_v3* utils = suites.utils;
    const OxAttributeSuite_v1* attributes = suites.attributes;
    const float times[] = {3, 1, 0, 2};
    int64_t count = 0;
    int failure;
    OxSgIteratorStruct* root = suites.iterators->createRootIteratorFromOpTreeFile(opFile);
    OxSgIteratorStruct* geo = suites.iterators->getProducerByPath(root, "/root/world/geo", false);
    OxAttributeStruct* relevant;
    const float* values;
    suites.iterators->retainIterator(geo);

    relevant = utils->getSampleTimesRelevantToShutterRange(times, 4, 1.5f, 2.5f);
    values = attributes->getFloatSample(relevant, 0, &count);
    CHECK(count == 3 && values[0] == 1 && values[1] == 2 && values[2] == 3);
    attributes->release(relevant);
    CHECK(isText(utils->getArchString(), "tarnix1"));
    CHECK(isText(utils->expandArchPath("lib/%ARCH"), "lib/tarnix1"));
    CHECK(utils->getLocationDelegate("ball", "lantern"));
    CHECK(!utils->getLocationDelegate("ball", NULL));
    CHECK(isText(utils->getLocationTypesWithDelegates("lantern"), "ball"));

    failure = checkLocation(root, geo);
    if (!failure) failure = checkMaterial(geo);
    suites.iterators->releaseIterator(geo);
    suites.iterators->releaseIterator(root);
    return failure;
}

static int flushes;

static void countFlush(void) {
    ++flushes;
}

static int checkFlush(void) {
    const int before = flushes;
    getSuites().utils->flushRuntimePluginCaches();
    CHECK(flushes == before + 2);
    return 0;
}

static const RenderUtilsChecksSuite checks = {checkNullHandles, checkCamera, checkShadingNetwork,
                                              checkRest, checkFlush};

static const void* getSuite(void) {
    return &checks;
}

/* The second and third stand in for runtime plug-ins, to hear of flushes; the last one must not. */
static const OxPluginRecord_v1 records[] = {
    {OX_PLUGIN_RECORD_VERSION, "render utils checks", "TestRenderUtilsChecks", 1, 1, 0, getSuite,
     setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "runtime", "TellarRuntime", 1, 1, 0, getSuite, NULL, countFlush},
    {OX_PLUGIN_RECORD_VERSION, "runtime", "TellarRuntime", 2, 1, 0, getSuite, NULL, countFlush},
    {OX_PLUGIN_RECORD_VERSION, "other", "TestOther", 1, 1, 0, getSuite, NULL, countFlush}};

unsigned int OxGetPluginCount(void) {
    return sizeof records / sizeof records[0];
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index < OxGetPluginCount() ? &records[index] : NULL;
}
