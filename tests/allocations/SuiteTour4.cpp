#include <cstddef>
#include <cstring>
#include <exception>
#include <initializer_list>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxSceneHandle.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeSuite4.h>

#include "SuiteTour.h"

namespace {

using TellarTest::TourResult;

constexpr const char* kCamera = "/root/world/cam/camera";
constexpr const char* kTerminals[] = {"surface", "displacement"};

/// One tour through version 4. Its members are the suites that the host has; a suite that is
/// missing ends the tour.
class Tour4 {
public:
    TourResult run(const char* opFile, const char* descriptionFile) {
        const OxPluginHost* const host = OxGetPluginHost();
        OxTellarProducersInitialize(const_cast<OxPluginHost*>(host));
        values =
            static_cast<const OxAttributeSuite_v4*>(host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4));
        scenes = static_cast<const OxScenegraphIteratorHostSuite_v4*>(
            host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4));
        utils = static_cast<const OxRenderOutputUtilsHostSuite_v4*>(
            host->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 4));
        add(values && scenes && utils);
        if (!values || !scenes || !utils) return result;
        // Keeps the memory of the log, which an entry of another version may be the first to need.
        host->log("SuiteTour", kOxLogError, "a message of the tour", __FILE__, __LINE__);
        OxErrorStruct* error = nullptr;
        OxSceneStruct* const scene = scenes->openScene(opFile, &error);
        take(error);
        result.isFileOpen = scene != nullptr;
        tourScene(scene);
        edit(scene);
        scenes->releaseScene(scene);
        openOtherwise(opFile, descriptionFile);
        askWithoutScene();
        utils->emptyFlattenedMaterialCache();
        return result;
    }

private:
    void add(std::uint64_t number) {
        result.ofFile = (result.ofFile ^ (number + 1)) * 0x100000001b3u;
    }
    void add(const char* text) {
        add(text ? std::strlen(text) : 77);
        for (; text && *text; ++text)
            add(static_cast<std::uint64_t>(*text));
    }

    // Each takes over a reference.
    void take(OxErrorStruct* error) {
        OxErrorFacts facts;
        values->getErrorFacts(error, &facts);
        add(static_cast<std::uint64_t>(facts.code));
        add(facts.text);
        values->releaseError(error);
    }
    void take(OxAttributeStruct* attribute, OxErrorStruct* error) {
        std::uint64_t words[2] = {0, 0};
        values->getHash(attribute, words);
        add(words[0]);
        values->release(attribute);
        take(error);
    }
    void take(OxSgIteratorStruct* location, OxErrorStruct* error) {
        add(scenes->getFullName(location, nullptr));
        scenes->releaseIterator(location);
        take(error);
    }

    void tourScene(OxSceneStruct* scene) {
        OxErrorStruct* error = nullptr;
        OxSgIteratorStruct* const root = scenes->getSceneRoot(scene, &error);
        take(error);
        visitBelow(root);
        navigate(root);
        askAboutPicture(root);
        OxVisitOptions options = {1, 0, nullptr, nullptr};
        for (options.isOrdered = 0; options.isOrdered < 2; ++options.isOrdered) {
            add(static_cast<std::uint64_t>(scenes->visit(root, &options, Visit, this, &error) + 1));
            take(error);
        }
        scenes->finalizeRuntime(root);
        scenes->releaseIterator(root);
    }

    static std::int32_t Visit(OxVisit* visit, void* user) {
        auto& tour = *static_cast<Tour4*>(user);
        tour.add(tour.scenes->getName(visit->location, nullptr));
        visit->passedDown = user;
        return kOxVisitGoOn;
    }

    void visitBelow(OxSgIteratorStruct* location) {
        // The others would only repeat these, and every allocation costs the test two tours.
        constexpr int kMostRead = 10;
        if (++visited <= kMostRead) read(location);
        OxErrorStruct* error = nullptr;
        OxSgIteratorStruct* child = scenes->getFirstChild(location, &error);
        take(error);
        while (child) {
            visitBelow(child);
            OxSgIteratorStruct* const next = scenes->getNextSibling(child, &error);
            take(error);
            scenes->releaseIterator(child);
            child = next;
        }
    }

    void read(OxSgIteratorStruct* location) {
        for (const auto getText : {scenes->getName, scenes->getFullName, scenes->getType})
            add(getText(location, nullptr));
        OxErrorStruct* error = nullptr;
        for (const auto get : {scenes->getAttributeNames, scenes->getGlobalXFormGroup,
                               scenes->getPotentialChildren, utils->getMaterials}) {
            OxAttributeStruct* const attribute = get(location, &error);
            take(attribute, error);
        }
        OxAttributeStruct* const own = scenes->getAttribute(location, "", &error);
        take(own, error);
        OxAttributeStruct* const global = scenes->getGlobalAttribute(location, "material", &error);
        take(global, error);
        std::uint64_t words[2];
        scenes->getContentHash(location, words);
        add(words[0]);
        OxSubtree subtree = {};
        add(static_cast<std::uint64_t>(scenes->getSubtree(location, &subtree, &error)));
        take(error);
        add(subtree.types);
        scenes->releaseInstances(scenes->getInstances(location, &error));
        take(error);
        double matrix[16] = {};
        utils->getWorldMatrix(location, 0.5f, matrix, &error);
        take(error);
        utils->getLocalMatrix(location, 0.5f, matrix, &error);
        take(error);
        add(static_cast<std::uint64_t>(utils->getTransformTimes(location, nullptr, 0, &error) + 1));
        take(error);
        readMaterial(location);
    }

    void readMaterial(OxSgIteratorStruct* location) {
        OxErrorStruct* error = nullptr;
        OxAttributeStruct* const material =
            utils->getFlattenedMaterialAttr(location, kTerminals, 2, &error);
        take(error);
        OxAttributeStruct* const again =
            utils->flattenMaterials(&material, material ? 1 : 0, kTerminals, 2, &error);
        take(again, error);
        readNodes(utils->getShadingNetworkNodesOfMaterial(material, nullptr));
        values->release(material);
        readNodes(utils->getShadingNetworkNodes(location, &error));
        take(error);
        OxAttributeStruct* const textures = scenes->getAttribute(location, "textures", &error);
        take(error);
        if (!textures) return;
        OxAttributeStruct* const converted =
            utils->convertTexturesToArbitraryAttr(textures, &error);
        take(converted, error);
        values->release(textures);
    }

    void readNodes(OxShadingNodeMapStruct* nodes) {
        OxErrorStruct* error = nullptr;
        OxShadingStruct* const node =
            nodes ? utils->findShadingNode(nodes, "paint", &error) : nullptr;
        if (node) {
            OxAttributeStruct* const value =
                utils->getShadingParameter(node, utils->getShadingParameterName(node, 0), nullptr);
            take(value, nullptr);
            utils->releaseShadingConnection(utils->getShadingConnection(
                node, utils->getShadingConnectionName(node, 0), nullptr));
        }
        take(error);
        utils->releaseShadingNode(node);
        utils->destroyShadingNodeMap(nodes);
    }

    void navigate(OxSgIteratorStruct* root) {
        OxErrorStruct* error = nullptr;
        OxSgIteratorStruct* const camera = scenes->getProducerByPath(root, kCamera, &error);
        take(error);
        for (const auto step : {scenes->getParent, scenes->getRoot, scenes->evict}) {
            OxSgIteratorStruct* const found = step(camera, &error);
            take(found, error);
        }
        OxSgIteratorStruct* const world = scenes->getChildByName(root, "world", &error);
        take(world, error);
        OxSgIteratorStruct* const first = scenes->getChild(root, 0, &error);
        take(first, error);
        OxSgIteratorStruct* const deep = scenes->getChildByName(root, "a/b", &error); // refused
        take(deep, error);
        scenes->releaseIterator(camera);
    }

    void askAboutPicture(OxSgIteratorStruct* root) {
        OxErrorStruct* error = nullptr;
        OxAttributeStruct* text = utils->getRenderResolution(root, nullptr, nullptr, &error);
        take(text, error);
        text = utils->getCameraPath(root, &error);
        take(text, error);
        text = utils->getTempRenderLocation(root, "beauty", 7, &error);
        take(text, error);
        text = utils->getTilePath(root, "/pictures/beauty.exr", &error);
        take(text, error);
        CameraInfoStruct* const camera = utils->getCameraInfo(root, kCamera, &error);
        take(error);
        double numbers[16] = {1, 2, 3};
        utils->convertPointsToNdc(camera, numbers, 1, &error);
        take(error);
        utils->convertPointsToPixels(camera, 640, 480, numbers, 1, &error);
        take(error);
        utils->getCameraProjection(camera, 640, 480, numbers, &error);
        take(error);
        utils->releaseCameraInfo(camera);
        utils->getPixelAreaThroughCamera(root, kCamera, "none", &error); // refused
        take(error);
        readProcedural(root);
    }

    void readProcedural(OxSgIteratorStruct* root) {
        OxErrorStruct* error = nullptr;
        OxSgIteratorStruct* const geo = scenes->getProducerByPath(root, "/root/world/geo", &error);
        take(error);
        OxAttributeStruct* const procedural = scenes->getAttribute(geo, "procedural", &error);
        take(error);
        for (const auto form : {kOxProceduralClassic, kOxProceduralAttributes}) {
            OxAttributeStruct* const arguments = utils->getProceduralArguments(
                geo, nullptr, procedural, form, nullptr, nullptr, &error);
            take(arguments, error);
        }
        values->release(procedural);
        scenes->releaseIterator(geo);
    }

    /// Edits are made in C++, where missing memory is an exception.
    void edit(OxSceneStruct* handle) {
        OxErrorStruct* error = nullptr;
        OxSubscriptionStruct* const subscription = scenes->subscribe(handle, &error);
        take(error);
        try {
            if (const auto scene = TELLAR::OxHandleToScene(handle)) {
                auto edit = scene->edit();
                edit.setOpArg("rest", "a.edited", OxAttribute::IntAttribute(1));
                edit.commit();
            }
        } catch (const std::exception&) {
            add("no edit");
        }
        OxChangesStruct* const changes = scenes->receiveChanges(subscription, &error);
        take(error);
        OxChange change = {};
        scenes->getChange(changes, 0, &change);
        add(change.path);
        for (const auto getRoot : {scenes->getChangedRoot, scenes->getPreviousRoot}) {
            OxSgIteratorStruct* const root = getRoot(changes, &error);
            take(root, error);
        }
        scenes->acknowledgeChanges(subscription, changes);
        scenes->releaseChanges(changes);
        scenes->releaseSubscription(subscription);
    }

    void openOtherwise(const char* opFile, const char* descriptionFile) {
        OxErrorStruct* error = nullptr;
        OxSgIteratorStruct* const root = scenes->createRootIteratorFromOpTreeFile(opFile, &error);
        take(root, error);
        OxAttributeStruct* const ops = scenes->loadOpTreeDescription(descriptionFile, &error);
        take(error);
        OxSgIteratorStruct* const same =
            scenes->createRootIteratorFromOpTreeDescription(ops, &error);
        take(same, error);
        OxSceneStruct* const scene = scenes->openDescription(ops, &error);
        take(error);
        std::uint64_t words[2];
        scenes->getSceneIdentity(scene, words);
        add(words[0]);
        scenes->releaseScene(scene);
        values->release(ops);
        scenes->releaseScene(scenes->openScene("/no/such/scene.oxop", &error));
        take(error);
    }

    void askWithoutScene() {
        OxErrorStruct* error = nullptr;
        const float times[] = {3, 1, 0, 2};
        OxAttributeStruct* attribute =
            utils->getSampleTimesRelevantToShutterRange(times, 4, 1.5f, 2.5f, &error);
        take(attribute, error);
        attribute = utils->getArchString(&error);
        take(attribute, error);
        attribute = utils->expandArchPath("a path that is too long for the stack/%ARCH", &error);
        take(attribute, error);
        utils->flushRuntimePluginCaches();
        utils->getLocationDelegate("sphere", "lantern", &error);
        values->releaseError(error);
        values->release(utils->getLocationTypesWithDelegates("lantern", &error));
        values->releaseError(error);
    }

    const OxAttributeSuite_v4* values = nullptr;
    const OxScenegraphIteratorHostSuite_v4* scenes = nullptr;
    const OxRenderOutputUtilsHostSuite_v4* utils = nullptr;
    int visited = 0;
    TourResult result;
};

} // namespace

TellarTest::TourResult TellarTest::TourSuites4(const char* opFile, const char* descriptionFile) {
    Tour4 tour;
    return tour.run(opFile, descriptionFile);
}
