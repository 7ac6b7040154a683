// The walks of a renderer plug-in through version 4 of the C suites.

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeSuite4.h>

#include "Measure.h"
#include "PointerTree.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

namespace TellarBench {

namespace {

constexpr int kPasses = 5;

struct Suites {
    const OxScenegraphIteratorHostSuite_v4* scenes;
    const OxAttributeSuite_v4* values;
};

const Suites& GetSuites() {
    static const Suites suites = [] {
        OxPluginHost* const host = OxGetPluginHost();
        OxTellarProducersInitialize(host);
        return Suites{
            static_cast<const OxScenegraphIteratorHostSuite_v4*>(
                host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 4)),
            static_cast<const OxAttributeSuite_v4*>(host->getSuite(OX_ATTRIBUTE_HOST_SUITE, 4))};
    }();
    return suites;
}

struct ReleaseLocation {
    void operator()(OxSgIteratorStruct* location) const {
        GetSuites().scenes->releaseIterator(location);
    }
};
using Location = std::unique_ptr<OxSgIteratorStruct, ReleaseLocation>;

struct ReleaseAttribute {
    void operator()(OxAttributeStruct* attribute) const { GetSuites().values->release(attribute); }
};
using Attribute = std::unique_ptr<OxAttributeStruct, ReleaseAttribute>;

/// Throws the text of an error and releases it. Does nothing for null.
void Check(OxErrorStruct* error) {
    if (!error) return;
    OxErrorFacts facts;
    GetSuites().values->getErrorFacts(error, &facts);
    const std::string text = facts.text;
    GetSuites().values->releaseError(error);
    throw std::runtime_error(text);
}

Location OpenRoot() {
    OxErrorStruct* error = nullptr;
    const std::string path = GetScenePath(GetOptions().leaves);
    Location root(GetSuites().scenes->createRootIteratorFromOpTreeFile(path.c_str(), &error));
    Check(error);
    if (!root) throw std::runtime_error("the scene has no /root; has it been made (--prepare)?");
    return root;
}

/// The same walk as the one with producers.
template <typename Visit>
void Walk(OxSgIteratorStruct* location, const Visit& visit) {
    const OxScenegraphIteratorHostSuite_v4& suite = *GetSuites().scenes;
    visit(location);
    OxErrorStruct* error = nullptr;
    Location child(suite.getFirstChild(location, &error));
    Check(error);
    while (child) {
        Walk(child.get(), visit);
        child.reset(suite.getNextSibling(child.get(), &error));
        Check(error);
    }
}

Attribute Get(OxSgIteratorStruct* location, const char* name) {
    OxErrorStruct* error = nullptr;
    Attribute attribute(GetSuites().scenes->getAttribute(location, name, &error));
    Check(error);
    return attribute;
}

LocationSum ReadNames(OxSgIteratorStruct* location) {
    LocationSum sum;
    std::int64_t length = 0;
    const char* const name = GetSuites().scenes->getName(location, &length);
    sum.addText({name, static_cast<std::size_t>(length)});
    const char* const type = GetSuites().scenes->getType(location, &length);
    sum.addText({type, static_cast<std::size_t>(length)});
    return sum;
}

template <typename T>
using GetSample = const T* (*)(const OxAttributeStruct*, float, std::int64_t*, OxErrorStruct**);

/// The values of the sample at time 0; none when the location has no such attribute.
template <typename T, typename Add>
void ReadValues(OxSgIteratorStruct* location, const char* name, GetSample<T> getSample, Add add) {
    const Attribute attribute = Get(location, name);
    std::int64_t count = 0;
    OxErrorStruct* error = nullptr;
    const T* const values = attribute ? getSample(attribute.get(), 0.0f, &count, &error) : nullptr;
    Check(error);
    add(values, static_cast<std::size_t>(count));
}

template <typename T>
void AddValues(OxSgIteratorStruct* location, const char* name, GetSample<T> getSample,
               LocationSum& sum) {
    ReadValues(location, name, getSample,
               [&sum](const T* values, std::size_t count) { sum.addAll(values, count); });
}

template <typename T>
void AddFirstValue(OxSgIteratorStruct* location, const char* name, GetSample<T> getSample,
                   LocationSum& sum) {
    ReadValues(location, name, getSample, [&sum](const T* values, std::size_t count) {
        sum.add(count > 0 ? values[0] : T());
    });
}

void AddString(OxSgIteratorStruct* location, const char* name, LocationSum& sum) {
    const Attribute attribute = Get(location, name);
    std::int64_t length = 0;
    OxErrorStruct* error = nullptr;
    const char* const text =
        attribute ? GetSuites().values->getString(attribute.get(), 0.0f, 0, &length, &error) : "";
    Check(error);
    sum.addText({text, static_cast<std::size_t>(length)});
}

Checksum WalkNames(OxSgIteratorStruct* root) {
    Checksum total;
    Walk(root, [&total](OxSgIteratorStruct* location) { total.add(ReadNames(location)); });
    return total;
}

Checksum WalkAttributes(OxSgIteratorStruct* root) {
    const OxAttributeSuite_v4& suite = *GetSuites().values;
    Checksum total;
    Walk(root, [&](OxSgIteratorStruct* location) {
        LocationSum sum = ReadNames(location);
        AddValues(location, "xform.matrix", suite.getDoubleSample, sum);
        for (const char* name : {"user.f0", "user.f1", "user.f2"})
            AddFirstValue(location, name, suite.getFloatSample, sum);
        AddString(location, "user.s", sum);
        AddFirstValue(location, "user.i", suite.getIntSample, sum);
        AddValues(location, "user.c", suite.getFloatSample, sum);
        AddValues(location, "bound", suite.getDoubleSample, sum);
        total.add(sum);
    });
    return total;
}

/// `walk` takes handles or nodes. If `isWarm`, the scene is walked once before the measurement.
template <typename WalkAny>
void AddWalk(const char* name, bool isWarm, WalkAny walk) {
    AddRow(name, isWarm ? kPasses : 1, [isWarm, walk](Row& row) {
        const auto nodes = BuildTree(GetOptions().leaves);
        const Node* const tree = nodes.get();
        const Location root = OpenRoot();
        if (isWarm) row.verify(walk(root.get()), walk(tree));
        row.compare(
            "ns", 1e9 / static_cast<double>(CountLocations(GetOptions().leaves)),
            [&] { return walk(root.get()); }, [&] { return walk(tree); });
    });
}

} // namespace

void AddSuite4Rows() {
    const auto walkNames = [](auto root) { return WalkNames(root); };
    AddWalk("first_walk/c_suite_4", false, walkNames);
    AddWalk("second_walk/c_suite_4", true, walkNames);
    AddWalk("read_attributes/c_suite_4", true, [](auto root) { return WalkAttributes(root); });
}

} // namespace TellarBench
