#include "SuiteWalk.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeSuite.h>

#include "Check.h"

namespace {

// Limits: a scene may have any number of locations, and attributes of any size.
constexpr int kMaxLocations = 24;
constexpr int kMaxAttributes = 4000;
constexpr std::int64_t kMaxChildren = 40;

const OxPluginHost& Host() {
    static const OxPluginHost* const host = [] {
        OxPluginHost* const made = OxGetPluginHost();
        OxTellarProducersInitialize(made);
        return made;
    }();
    return *host;
}

template <typename Suite>
const Suite& SuiteOf(const char* name, unsigned version) {
    const auto* suite = static_cast<const Suite*>(Host().getSuite(name, version));
    Check(suite != nullptr, "the host has the suite");
    return *suite;
}

const OxAttributeSuite_v1& Attributes() {
    static const auto& suite = SuiteOf<OxAttributeSuite_v1>("AttributeHost", 1);
    return suite;
}

const OxRenderOutputUtilsHostSuite_v3& Utils() {
    static const auto& suite =
        SuiteOf<OxRenderOutputUtilsHostSuite_v3>(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3);
    return suite;
}

/// The FNV-1a hash of all answers.
class Digest {
public:
    void addBytes(const void* bytes, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i)
            value = (value ^ static_cast<const unsigned char*>(bytes)[i]) * 0x100000001b3u;
    }
    template <typename Number>
    void add(Number number) {
        addBytes(&number, sizeof number);
    }
    void add(const char* text) {
        add(text ? std::strlen(text) : std::size_t(-1));
        if (text) addBytes(text, std::strlen(text));
    }
    template <typename Number>
    void addSample(const Number* values, std::int64_t count) {
        Check(count >= 0 && (values || count == 0), "a sample has all its values");
        add(count);
        if (count > 0) addBytes(values, static_cast<std::size_t>(count) * sizeof(Number));
    }
    std::uint64_t get() const { return value; }

private:
    std::uint64_t value = 0xcbf29ce484222325u;
};

/// Owns the reference to an attribute that an entry returned.
class Owned {
public:
    explicit Owned(OxAttributeStruct* attribute) : attribute(attribute) {}
    ~Owned() { Attributes().release(attribute); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    OxAttributeStruct* get() const { return attribute; }
    const char* text() const { return Attributes().getString(attribute, 0, 0); }

private:
    OxAttributeStruct* attribute;
};

/// Calls all getters of the suite "AttributeHost" on an attribute and its children.
class AttributeReader {
public:
    AttributeReader(Digest& digest, const std::vector<std::string>& names)
        : digest(digest), names(names) {}

    void read(OxAttributeStruct* attribute) {
        digest.add(Attributes().getType(attribute));
        if (!attribute || budget-- <= 0) return;
        std::uint64_t words[2] = {};
        Attributes().getHash(attribute, words);
        digest.add(words[0]);
        digest.add(words[1]);
        Attributes().retain(attribute);
        Check(Attributes().isEqual(attribute, attribute) == 1, "a value equals itself");
        Attributes().release(attribute);
        readSamples(attribute);
        readChildren(attribute);
    }

    /// Reads the attribute as `read` does, and its XML text.
    void readWhole(OxAttributeStruct* attribute) {
        read(attribute);
        if (budget > 0) digest.add(Owned(Attributes().getXml(attribute)).text());
    }

private:
    void readSamples(OxAttributeStruct* data) {
        const OxAttributeSuite_v1& suite = Attributes();
        digest.add(suite.getTupleSize(data));
        digest.add(suite.getNumberOfValues(data));
        const std::int64_t times = suite.getNumberOfTimeSamples(data);
        for (std::int64_t i = -1; i <= std::min(times, kMaxChildren); ++i)
            digest.add(suite.getSampleTime(data, i));
        for (const float time : {-std::numeric_limits<float>::infinity(), 0.0f, 0.5f,
                                 std::numeric_limits<float>::quiet_NaN()}) {
            std::int64_t count = 0;
            const auto* ints = suite.getIntSample(data, time, &count);
            digest.addSample(ints, count);
            const auto* floats = suite.getFloatSample(data, time, &count);
            digest.addSample(floats, count);
            const auto* doubles = suite.getDoubleSample(data, time, &count);
            digest.addSample(doubles, count);
            const std::int64_t texts = std::min(suite.getNumberOfValues(data), kMaxChildren);
            for (std::int64_t i = -1; i <= texts; ++i)
                digest.add(suite.getString(data, time, i));
        }
    }

    void readChildren(OxAttributeStruct* group) {
        const OxAttributeSuite_v1& suite = Attributes();
        digest.add(suite.getGroupInherit(group));
        const std::int64_t count = suite.getNumberOfChildren(group);
        for (std::int64_t i = -1; i <= std::min(count, kMaxChildren); ++i) {
            digest.add(suite.getChildName(group, i));
            read(Owned(suite.getChildByIndex(group, i)).get());
        }
        if (count == 0) return;
        digest.add(suite.getChildByName(group, nullptr) != nullptr);
        for (const std::string& name : names)
            digest.add(suite.getType(Owned(suite.getChildByName(group, name.c_str())).get()));
    }

    Digest& digest;
    const std::vector<std::string>& names;
    int budget = kMaxAttributes;
};

/// Reads attributes that the suite made.
void ReadMadeAttributes(AttributeReader& reader, const std::vector<std::string>& names,
                        OxAttributeStruct* child) {
    const OxAttributeSuite_v1& suite = Attributes();
    std::vector<const char*> texts;
    for (const std::string& name : names)
        texts.push_back(name.c_str());
    const auto count = static_cast<std::int64_t>(texts.size());
    const std::vector<OxAttributeStruct*> children(texts.size(), child);
    reader.readWhole(Owned(suite.createString(texts.data(), count, 2)).get());
    reader.readWhole(Owned(suite.createGroup(texts.data(), children.data(), count, 1)).get());
    const double numbers[] = {0, -1, std::nan("")};
    reader.readWhole(Owned(suite.createDouble(numbers, 3, 2)).get());
    Check(!suite.createInt(nullptr, -1, 1), "there is no value with fewer than no numbers");
}

/// Calls all getters of the suite "RenderOutputUtilsHost" on a location.
class UtilsReader {
public:
    UtilsReader(Digest& digest, AttributeReader& reader, const std::vector<std::string>& names)
        : digest(digest), reader(reader) {
        for (const std::string& name : names)
            texts.push_back(name.c_str());
        texts.push_back(nullptr);
    }

    void read(OxSgIteratorStruct* location, OxAttributeStruct* attrs) {
        readSettings(location);
        readProcedurals(location, attrs);
        readMaterials(location, attrs);
        for (const char* name : texts)
            readCamera(location, name);
        const Owned camera(Utils().getCameraPath(location));
        readCamera(location, camera.text());
    }

private:
    void take(OxAttributeStruct* attribute) { reader.read(Owned(attribute).get()); }

    void readSettings(OxSgIteratorStruct* location) {
        int width = 0;
        int height = 0;
        take(Utils().getRenderResolution(location, &width, &height));
        digest.add(width);
        digest.add(height);
        take(Utils().getArchString());
        for (const char* name : texts) {
            take(Utils().expandArchPath(name));
            take(Utils().getTempRenderLocation(location, name, -1e20f));
            take(Utils().getTilePath(location, name));
            take(Utils().getLocationTypesWithDelegates(name));
            digest.add(Utils().getLocationDelegate(name, name) != nullptr);
        }
        const float times[] = {1, std::nanf(""), -std::numeric_limits<float>::infinity(), 0, 1};
        take(Utils().getSampleTimesRelevantToShutterRange(times, 5, std::nanf(""), 0.5f));
    }

    void readProcedurals(OxSgIteratorStruct* location, OxAttributeStruct* attrs) {
        const Owned group(Attributes().getChildByName(attrs, "rendererProcedural"));
        const OxProceduralContext_v1 context{-7, -0.5f, 0.5f, {0, 1, std::nanf(""), 1}, -1, 0};
        for (OxAttributeStruct* procedural : {group.get(), attrs})
            for (const auto form : {kOxProceduralClassic, kOxProceduralAttributes}) {
                take(Utils().getProceduralArguments(location, nullptr, procedural, form, nullptr,
                                                    nullptr));
                take(Utils().getProceduralArguments(
                    location, &context, procedural, form,
                    [](const char* message, void* heard) {
                        static_cast<Digest*>(heard)->add(message);
                    },
                    &digest));
            }
    }

    void readMaterials(OxSgIteratorStruct* location, OxAttributeStruct* attrs) {
        const OxRenderOutputUtilsHostSuite_v3& utils = Utils();
        const Owned textures(Attributes().getChildByName(attrs, "textures"));
        take(utils.convertTexturesToArbitraryAttr(textures.get()));
        take(utils.convertTexturesToArbitraryAttr(attrs));
        std::vector<const char*> terminals = texts;
        terminals.push_back("surface");
        const Owned flattened(utils.getFlattenedMaterialAttr(
            location, terminals.data(), static_cast<std::int64_t>(terminals.size())));
        reader.read(flattened.get());
        readNodes(utils.getShadingNetworkNodes(location));
        readNodes(utils.getShadingNetworkNodesOfMaterial(flattened.get()));
        readNodes(utils.getShadingNetworkNodesOfMaterial(attrs));
    }

    void readNodes(OxShadingNodeMapStruct* nodes) {
        for (const char* name : texts) {
            OxShadingStruct* const node = Utils().findShadingNode(nodes, name);
            readNode(node);
            Utils().releaseShadingNode(node);
        }
        Utils().destroyShadingNodeMap(nodes);
    }

    void readNode(OxShadingStruct* node) {
        const OxRenderOutputUtilsHostSuite_v3& utils = Utils();
        utils.retainShadingNode(node);
        digest.add(utils.getShadingNodeName(node));
        digest.add(utils.getShadingNodeType(node));
        digest.add(utils.isShadingNodeValid(node));
        const std::int64_t parameters = utils.getNumberOfShadingParameters(node);
        for (std::int64_t i = -1; i <= std::min(parameters, kMaxChildren); ++i) {
            digest.add(utils.getShadingParameterName(node, i));
            take(utils.getShadingParameter(node, utils.getShadingParameterName(node, i)));
        }
        const std::int64_t connections = utils.getNumberOfShadingConnections(node);
        for (std::int64_t i = -1; i <= std::min(connections, kMaxChildren); ++i)
            readConnection(node, utils.getShadingConnectionName(node, i));
        utils.releaseShadingNode(node);
    }

    void readConnection(OxShadingStruct* node, const char* name) {
        const OxRenderOutputUtilsHostSuite_v3& utils = Utils();
        OxShadingStruct* const connection = utils.getShadingConnection(node, name);
        utils.retainShadingConnection(connection);
        digest.add(name);
        digest.add(utils.getConnectionName(connection));
        digest.add(utils.getConnectedPort(connection));
        digest.add(utils.getConnectedNode(connection));
        digest.add(utils.isShadingConnectionValid(connection));
        utils.releaseShadingConnection(connection);
        utils.releaseShadingConnection(connection);
    }

    void readCamera(OxSgIteratorStruct* location, const char* path) {
        const OxRenderOutputUtilsHostSuite_v3& utils = Utils();
        digest.add(utils.getPixelAreaThroughCamera(location, path, "square_512"));
        CameraInfoStruct* const camera = utils.getCameraInfo(location, path);
        if (!camera) return;
        utils.retainCameraInfo(camera);
        for (const auto lens : {utils.getCameraFov, utils.getCameraNear, utils.getCameraFar,
                                utils.getCameraLeft, utils.getCameraRight, utils.getCameraTop,
                                utils.getCameraBottom, utils.getCameraOrthographicWidth})
            digest.add(lens(camera));
        digest.add(utils.getCameraOrthographic(camera));
        digest.addSample(utils.getCameraXform(camera), 16);
        utils.releaseCameraInfo(camera);
        utils.releaseCameraInfo(camera);
    }

    Digest& digest;
    AttributeReader& reader;
    std::vector<const char*> texts;
};

/// Calls all getters of a version of the suite "ScenegraphIteratorHost" on a scene.
template <typename IteratorSuite>
class SceneWalk {
public:
    SceneWalk(const IteratorSuite& suite, const std::vector<std::string>& names, bool evict)
        : suite(suite), names(names), evict(evict), reader(digest, names),
          utilsReader(digest, reader, names) {}

    std::uint64_t walk(OxSgIteratorStruct* root) {
        visit(root);
        return digest.get();
    }

private:
    void visit(OxSgIteratorStruct* location) {
        readLocation(location);
        OxSgIteratorStruct* child = retained(suite.getFirstChild(location, evict));
        while (child) {
            if (++locations < kMaxLocations) visit(child);
            OxSgIteratorStruct* const next =
                locations < kMaxLocations ? retained(suite.getNextSibling(child, evict)) : nullptr;
            suite.releaseIterator(child);
            child = next;
        }
    }

    void readLocation(OxSgIteratorStruct* location) {
        const Owned attrs(suite.getAttribute(location, nullptr));
        reader.readWhole(attrs.get());
        take(suite.getName(location));
        take(suite.getFullName(location));
        take(suite.getAttributeNames(location));
        take(suite.getGlobalXFormGroup(location));
        take(suite.getPotentialChildren(location));
        meet(suite.getParent(location));
        meet(suite.getRoot(location));
        askFor(location, nullptr);
        for (const std::string& name : names)
            askFor(location, name.c_str());
        utilsReader.read(location, attrs.get());
        ReadMadeAttributes(reader, names, attrs.get());
    }

    void askFor(OxSgIteratorStruct* location, const char* name) {
        take(suite.getAttribute(location, name));
        take(suite.getGlobalAttribute(location, name));
        meet(suite.getChildByName(location, name, evict));
        meet(suite.getProducerByPath(location, name, evict));
    }

    void take(OxAttributeStruct* attribute) { reader.read(Owned(attribute).get()); }

    /// Visits a location that a getter of another one returned.
    void meet(OxSgIteratorStruct* location) {
        digest.add(location != nullptr);
        if (!location) return;
        suite.retainIterator(location);
        take(suite.getFullName(location));
        suite.releaseIterator(location);
    }

    OxSgIteratorStruct* retained(OxSgIteratorStruct* location) {
        suite.retainIterator(location);
        return location;
    }

    const IteratorSuite& suite;
    const std::vector<std::string>& names;
    const bool evict;
    int locations = 0;
    Digest digest;
    AttributeReader reader;
    UtilsReader utilsReader;
};

} // namespace

std::uint64_t WalkThroughSuites(const OxScenegraphIteratorHostSuite_v3& suite,
                                OxSgIteratorStruct* root, const std::vector<std::string>& names,
                                bool evict) {
    return SceneWalk(suite, names, evict).walk(root);
}

std::uint64_t WalkThroughSuites(const OxScenegraphIteratorHostSuite_v2& suite,
                                OxSgIteratorStruct* root, const std::vector<std::string>& names,
                                bool evict) {
    return SceneWalk(suite, names, evict).walk(root);
}

const OxScenegraphIteratorHostSuite_v3& IteratorSuiteVersion3() {
    static const auto& suite =
        SuiteOf<OxScenegraphIteratorHostSuite_v3>(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3);
    return suite;
}

const OxScenegraphIteratorHostSuite_v2& IteratorSuiteVersion2() {
    static const auto& suite =
        SuiteOf<OxScenegraphIteratorHostSuite_v2>(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 2);
    return suite;
}
