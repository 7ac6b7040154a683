// The walks of a renderer plug-in, through the C suites for locations and attributes.

#include <memory>
#include <stdexcept>
#include <string>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/AttributeSuite.h>

#include "Measure.h"
#include "PointerTree.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

namespace TellarBench {

namespace {

constexpr int kPasses = 5;

struct Suites {
    const OxScenegraphIteratorHostSuite_v3* iterators;
    const OxAttributeSuite_v1* attributes;
};

const Suites& GetSuites() {
    static const Suites suites = [] {
        OxPluginHost* const host = OxGetPluginHost();
        OxTellarProducersInitialize(host);
        return Suites{static_cast<const OxScenegraphIteratorHostSuite_v3*>(
                          host->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3)),
                      static_cast<const OxAttributeSuite_v1*>(host->getSuite("AttributeHost", 1))};
    }();
    return suites;
}

struct ReleaseIterator {
    void operator()(OxSgIteratorStruct* iterator) const {
        GetSuites().iterators->releaseIterator(iterator);
    }
};
using Iterator = std::unique_ptr<OxSgIteratorStruct, ReleaseIterator>;

struct ReleaseAttribute {
    void operator()(OxAttributeStruct* attribute) const {
        GetSuites().attributes->release(attribute);
    }
};
using Attribute = std::unique_ptr<OxAttributeStruct, ReleaseAttribute>;

Iterator Retain(OxSgIteratorStruct* iterator) {
    GetSuites().iterators->retainIterator(iterator);
    return Iterator(iterator);
}

Iterator OpenRoot() {
    const std::string path = GetScenePath(GetOptions().leaves);
    Iterator root(GetSuites().iterators->createRootIteratorFromOpTreeFile(path.c_str()));
    if (!root) throw std::runtime_error("the scene has no /root; has it been made (--prepare)?");
    return root;
}

/// The same walk as the one with producers.
template <typename Visit>
void Walk(OxSgIteratorStruct* iterator, const Visit& visit) {
    const OxScenegraphIteratorHostSuite_v3& suite = *GetSuites().iterators;
    visit(iterator);
    for (Iterator child = Retain(suite.getFirstChild(iterator, false)); child;
         child = Retain(suite.getNextSibling(child.get(), false)))
        Walk(child.get(), visit);
}

Attribute Get(OxSgIteratorStruct* iterator, const char* name) {
    return Attribute(GetSuites().iterators->getAttribute(iterator, name));
}

void AddString(const Attribute& attribute, LocationSum& sum) {
    const char* text = GetSuites().attributes->getString(attribute.get(), 0.0f, 0);
    sum.addText(text ? text : "");
}

LocationSum ReadNames(OxSgIteratorStruct* iterator) {
    LocationSum sum;
    AddString(Attribute(GetSuites().iterators->getName(iterator)), sum);
    AddString(Get(iterator, "type"), sum);
    return sum;
}

/// Adds the values that one of the suite's sample entries returns.
template <typename T>
void AddValues(OxSgIteratorStruct* iterator, const char* name,
               const T* (*getSample)(const OxAttributeStruct*, float, std::int64_t*),
               LocationSum& sum) {
    const Attribute attribute = Get(iterator, name);
    std::int64_t count = 0;
    const T* values = getSample(attribute.get(), 0.0f, &count);
    sum.addAll(values, static_cast<std::size_t>(count));
}

template <typename T>
void AddFirstValue(OxSgIteratorStruct* iterator, const char* name,
                   const T* (*getSample)(const OxAttributeStruct*, float, std::int64_t*),
                   LocationSum& sum) {
    const Attribute attribute = Get(iterator, name);
    std::int64_t count = 0;
    const T* values = getSample(attribute.get(), 0.0f, &count);
    sum.add(count > 0 ? values[0] : T());
}

Checksum WalkNames(OxSgIteratorStruct* root) {
    Checksum total;
    Walk(root, [&total](OxSgIteratorStruct* iterator) { total.add(ReadNames(iterator)); });
    return total;
}

Checksum WalkAttributes(OxSgIteratorStruct* root) {
    const OxAttributeSuite_v1& suite = *GetSuites().attributes;
    Checksum total;
    Walk(root, [&](OxSgIteratorStruct* iterator) {
        LocationSum sum = ReadNames(iterator);
        AddValues(iterator, "xform.matrix", suite.getDoubleSample, sum);
        for (const char* name : {"user.f0", "user.f1", "user.f2"})
            AddFirstValue(iterator, name, suite.getFloatSample, sum);
        AddString(Get(iterator, "user.s"), sum);
        AddFirstValue(iterator, "user.i", suite.getIntSample, sum);
        AddValues(iterator, "user.c", suite.getFloatSample, sum);
        AddValues(iterator, "bound", suite.getDoubleSample, sum);
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
        const Iterator root = OpenRoot();
        if (isWarm) row.verify(walk(root.get()), walk(tree));
        row.compare(
            "ns", 1e9 / static_cast<double>(CountLocations(GetOptions().leaves)),
            [&] { return walk(root.get()); }, [&] { return walk(tree); });
    });
}

} // namespace

void AddSuiteRows() {
    const auto walkNames = [](auto root) { return WalkNames(root); };
    AddWalk("first_walk/c_suite", false, walkNames);
    AddWalk("second_walk/c_suite", true, walkNames);
    AddWalk("read_attributes/c_suite", true, [](auto root) { return WalkAttributes(root); });
}

} // namespace TellarBench
