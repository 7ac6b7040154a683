#include "SuiteTour.h"

#include <cstddef>
#include <cstring>
#include <initializer_list>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/AttributeSuite4.h>

namespace {

using TellarTest::TourResult;

constexpr const char* kCamera = "/root/world/cam/camera";

/// One tour. Its members are the suites that the host has; a suite that is missing ends the tour.
class Tour {
public:
    TourResult run(const char* opFile, const char* descriptionFile) {
        host = OxGetPluginHost();
        add(OxTellarProducersInitialize(const_cast<OxPluginHost*>(host)));
        attributes = static_cast<const OxAttributeSuite_v1*>(host->getSuite("AttributeHost", 1));
        iterators = static_cast<const OxScenegraphIteratorHostSuite_v3*>(
            host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3));
        utils = static_cast<const OxRenderOutputUtilsHostSuite_v3*>(
            host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3));
        values =
            static_cast<const OxAttributeSuite_v4*>(host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4));
        add(attributes && iterators && utils && values);
        if (!attributes || !iterators || !utils || !values) return result;
        askHost();
        makeAttributes();
        makeValues();
        utils->emptyFlattenedMaterialCache();
        OxSgIteratorStruct* const root = iterators->createRootIteratorFromOpTreeFile(opFile);
        result.isFileOpen = root != nullptr;
        digest = &result.ofFile;
        visitScene(root);
        digest = &result.ofRest;
        OxAttributeStruct* const description = iterators->loadOpTreeDescription(descriptionFile);
        visitScene(iterators->createRootIteratorFromOpTreeDescription(description));
        attributes->release(description);
        askWithoutScene();
        utils->emptyFlattenedMaterialCache();
        return result;
    }

private:
    void add(std::uint64_t number) { *digest = (*digest ^ (number + 1)) * 0x100000001b3u; }

    void add(const char* text) {
        add(text ? std::strlen(text) : 77);
        for (; text && *text; ++text)
            add(static_cast<std::uint64_t>(*text));
    }

    /// The attribute's content; takes its reference over.
    void take(OxAttributeStruct* attribute) {
        std::uint64_t words[2] = {0, 0};
        attributes->getHash(attribute, words);
        add(static_cast<std::uint64_t>(attributes->getType(attribute)));
        add(words[0]);
        attributes->release(attribute);
    }

    void askHost() {
        add(host->getNewestSuiteVersion(OX_SCENEGRAPH_ITERATOR_HOST_SUITE));
        add(host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 2) != nullptr);
        const char* const plugin = host->getPluginName(OX_LOCATION_DELEGATE_API, 1, 0);
        host->getPluginSuite(plugin, OX_LOCATION_DELEGATE_API, 1);
        take(host->getConfiguration("OMBRA_TILE_FILENAME"));
        add(static_cast<std::uint64_t>(host->isLogged("SuiteTour", kOxLogError)));
        host->log("SuiteTour", kOxLogError, "a message of the tour", __FILE__, __LINE__);
        add(static_cast<std::uint64_t>(host->registerSuite(attributes, "AttributeHost", 1)));
        add(static_cast<std::uint64_t>(host->registerSuite(this, "AttributeHost", 0)));
    }

    void makeAttributes() {
        const std::int32_t ints[] = {1, 2};
        const float floats[] = {1, 2};
        const double doubles[] = {1, 2};
        const char* const texts[] = {"one", "a text that is too long for any string on the stack"};
        const char* const names[] = {"ints", "floats", "doubles", "texts", "null"};
        OxAttributeStruct* const children[] = {
            attributes->createInt(ints, 2, 1), attributes->createFloat(floats, 2, 1),
            attributes->createDouble(doubles, 2, 1), attributes->createString(texts, 2, 1),
            attributes->createNull()};
        OxAttributeStruct* const group = attributes->createGroup(names, children, 5, 1);
        OxAttributeStruct* const again = attributes->createGroup(names, children, 5, 1);
        add(static_cast<std::uint64_t>(attributes->isEqual(group, again)));
        add(static_cast<std::uint64_t>(attributes->getNumberOfChildren(group)));
        take(attributes->getChildByIndex(group, 1));
        take(attributes->getChildByName(group, "texts"));
        take(attributes->getXml(group));
        for (OxAttributeStruct* const child : children)
            take(child);
        attributes->release(again);
        take(group);
        take(attributes->createInt(ints, 2, std::int64_t(1) << 40)); // refused and logged
    }

    /// The error's facts, if there is one; takes its reference over.
    void take(OxErrorStruct* error) {
        OxErrorFacts facts;
        values->getErrorFacts(error, &facts);
        add(static_cast<std::uint64_t>(facts.code));
        add(facts.text);
        values->releaseError(error);
    }

    /// An attribute and the error that came with it.
    void take(OxAttributeStruct* attribute, OxErrorStruct* error) {
        take(error);
        take(attribute);
    }

    /// What makeAttributes does, by version 4.
    void makeValues() {
        const double doubles[] = {1, 2, 3};
        const char* const texts[] = {"one", "a text that is too long for any string on the stack"};
        const char* const names[] = {"doubles", "texts", "null"};
        OxErrorStruct* error = nullptr;
        OxAttributeStruct* const children[] = {values->createDouble(doubles, 3, 3, &error),
                                               values->createString(texts, 2, 1, nullptr),
                                               values->createNull(nullptr)};
        take(error);
        double read[3] = {0, 0, 0};
        add(static_cast<std::uint64_t>(
            values->readDoubles(children[0], 0, kOxLinear, read, 3, &error) + 1));
        take(error);
        values->getFloatSample(children[0], 0, nullptr, &error); // of another type
        take(error);
        values->getString(children[1], 0, 7, nullptr, &error); // out of range
        take(error);
        OxAttributeStruct* const group = values->createGroup(names, children, 3, 1, &error);
        take(error);
        OxAttributeStruct* const found = values->getChildByName(group, "texts", &error);
        take(found, error);
        OxAttributeStruct* const changed = values->withChild(group, "a.b", children[0], &error);
        take(changed, error);
        OxAttributeStruct* const xml = values->getXml(group, &error);
        take(xml, error);
        OxSamples samples = {};
        values->getSamples(children[0], &samples, nullptr);
        OxAttributeStruct* const again = values->createSamples(&samples, &error);
        take(again, error);
        for (OxAttributeStruct* const child : children)
            take(child);
        take(group);
        OxErrorFacts facts = {};
        facts.text = texts[1];
        take(values->createError(&facts));
    }

    void visitScene(OxSgIteratorStruct* root) {
        add(root != nullptr);
        visitBelow(root);
        visitByName(root);
        askAboutRoot(root);
        iterators->finalizeRuntime(root);
        iterators->releaseIterator(root);
    }

    /// A new handle, retained as the suite asks for.
    OxSgIteratorStruct* kept(OxSgIteratorStruct* iterator) {
        iterators->retainIterator(iterator);
        return iterator;
    }

    void visitBelow(OxSgIteratorStruct* parent) {
        visit(parent);
        OxSgIteratorStruct* child = kept(iterators->getFirstChild(parent, false));
        while (child) {
            visitBelow(child);
            OxSgIteratorStruct* const next = kept(iterators->getNextSibling(child, false));
            iterators->releaseIterator(child);
            child = next;
        }
    }

    void visit(OxSgIteratorStruct* location) {
        take(iterators->getName(location));
        take(iterators->getFullName(location));
        take(iterators->getPotentialChildren(location));
        take(iterators->getAttributeNames(location));
        take(iterators->getGlobalXFormGroup(location));
        take(iterators->getAttribute(location, ""));
        take(iterators->getGlobalAttribute(location, "material"));
        const char* const terminals[] = {"surface", "displacement"};
        OxAttributeStruct* const material = utils->getFlattenedMaterialAttr(location, terminals, 2);
        visitNodes(utils->getShadingNetworkNodesOfMaterial(material));
        take(material);
        visitNodes(utils->getShadingNetworkNodes(location));
        OxAttributeStruct* const textures = iterators->getAttribute(location, "textures");
        take(utils->convertTexturesToArbitraryAttr(textures));
        attributes->release(textures);
        add(static_cast<std::uint64_t>(
            utils->getPixelAreaThroughCamera(location, kCamera, "square_512")));
        take(utils->getTilePath(location, "/pictures/beauty.exr"));
        visitProcedural(location);
    }

    void visitNodes(OxShadingNodeMapStruct* nodes) {
        for (const char* const name : {"metal", "plaster:0", "paint:0", "paint", "layers"}) {
            OxShadingStruct* const node = utils->findShadingNode(nodes, name);
            add(utils->getShadingNodeName(node));
            add(utils->getShadingNodeType(node));
            add(static_cast<std::uint64_t>(utils->isShadingNodeValid(node)));
            for (std::int64_t i = 0; i < utils->getNumberOfShadingParameters(node); ++i)
                take(utils->getShadingParameter(node, utils->getShadingParameterName(node, i)));
            for (std::int64_t i = 0; i < utils->getNumberOfShadingConnections(node); ++i)
                visitConnection(
                    utils->getShadingConnection(node, utils->getShadingConnectionName(node, i)));
            utils->retainShadingNode(node);
            utils->releaseShadingNode(node);
            utils->releaseShadingNode(node);
        }
        utils->destroyShadingNodeMap(nodes);
    }

    void visitConnection(OxShadingStruct* connection) {
        utils->retainShadingConnection(connection);
        add(utils->getConnectionName(connection));
        add(utils->getConnectedPort(connection));
        add(utils->getConnectedNode(connection));
        add(static_cast<std::uint64_t>(utils->isShadingConnectionValid(connection)));
        utils->releaseShadingConnection(connection);
        utils->releaseShadingConnection(connection);
    }

    void visitProcedural(OxSgIteratorStruct* location) {
        OxAttributeStruct* const procedural = iterators->getAttribute(location, "procedural");
        if (!procedural) return;
        const OxProceduralContext_v1 context = {12, -0.25f, 0.25f, {0, 1, 0, 1}, 640, 480};
        const auto hear = [](const char* message, void* user) {
            static_cast<Tour*>(user)->add(message);
        };
        for (const auto form : {kOxProceduralClassic, kOxProceduralAttributes})
            take(utils->getProceduralArguments(location, &context, procedural, form, hear, this));
        attributes->release(procedural);
    }

    void visitByName(OxSgIteratorStruct* root) {
        OxSgIteratorStruct* const world = kept(iterators->getChildByName(root, "world", true));
        OxSgIteratorStruct* const cam = kept(iterators->getProducerByPath(root, kCamera, true));
        OxSgIteratorStruct* const above = kept(iterators->getParent(cam));
        OxSgIteratorStruct* const top = kept(iterators->getRoot(cam));
        OxSgIteratorStruct* const medal =
            kept(iterators->getProducerByPath(root, "/root/world/medal", false));
        // Both are refused and logged.
        add(static_cast<std::uint64_t>(utils->getPixelAreaThroughCamera(medal, kCamera, "none")));
        OxSgIteratorStruct* const deep = kept(iterators->getChildByName(root, "a/b", false));
        for (OxSgIteratorStruct* const location : {world, cam, above, top, medal, deep}) {
            take(iterators->getFullName(location));
            iterators->releaseIterator(location);
        }
    }

    void askAboutRoot(OxSgIteratorStruct* root) {
        int width = 0;
        int height = 0;
        take(utils->getRenderResolution(root, &width, &height));
        add(static_cast<std::uint64_t>(width) * 65536 + static_cast<std::uint64_t>(height));
        take(utils->getCameraPath(root));
        take(utils->getTempRenderLocation(root, "beauty", 7));
        CameraInfoStruct* const camera = utils->getCameraInfo(root, kCamera);
        utils->retainCameraInfo(camera);
        for (const auto getLens : {utils->getCameraFov, utils->getCameraNear, utils->getCameraFar,
                                   utils->getCameraLeft, utils->getCameraRight, utils->getCameraTop,
                                   utils->getCameraBottom, utils->getCameraOrthographicWidth})
            add(static_cast<std::uint64_t>(getLens(camera) * 1000 + 100000));
        add(static_cast<std::uint64_t>(utils->getCameraOrthographic(camera)));
        const double* const xform = utils->getCameraXform(camera);
        add(xform ? static_cast<std::uint64_t>(xform[12] * 1000) : 7);
        utils->releaseCameraInfo(camera);
        utils->releaseCameraInfo(camera);
    }

    void askWithoutScene() {
        utils->flushRuntimePluginCaches();
        const float times[] = {3, 1, 0, 2};
        take(utils->getSampleTimesRelevantToShutterRange(times, 4, 1.5f, 2.5f));
        take(utils->getArchString());
        take(utils->expandArchPath("a path that is too long for the stack/%ARCH/lib"));
        utils->getLocationDelegate("sphere", "lantern");
        attributes->release(utils->getLocationTypesWithDelegates("lantern"));
    }

    const OxPluginHost* host = nullptr;
    const OxAttributeSuite_v1* attributes = nullptr;
    const OxAttributeSuite_v4* values = nullptr;
    const OxScenegraphIteratorHostSuite_v3* iterators = nullptr;
    const OxRenderOutputUtilsHostSuite_v3* utils = nullptr;
    TourResult result;
    std::uint64_t* digest = &result.ofRest;
};

} // namespace

TellarTest::TourResult TellarTest::TourSuites(const char* opFile, const char* descriptionFile) {
    Tour tour;
    return tour.run(opFile, descriptionFile);
}
