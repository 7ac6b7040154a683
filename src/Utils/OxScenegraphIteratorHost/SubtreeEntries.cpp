#include <algorithm>
#include <memory>
#include <utility>

#include <OxTellarProducers/LocationContent.h>
#include <OxTellarSDK/SubtreeFacts.h>

#include "CountedHandle.h"
#include "IteratorEntries.h"

/// The object behind a C handle of instances.
struct OxInstancesStruct : TELLAR::CountedHandle<OxInstancesStruct> {
    OxInstancesStruct(TELLAR::GeometryProducer::Ptr location,
                      std::shared_ptr<const OxOpType::Instances> instances)
        : location(std::move(location)), instances(std::move(instances)) {}

    const TELLAR::GeometryProducer::Ptr location; // the one that was asked
    const std::shared_ptr<const OxOpType::Instances> instances;
};

namespace TELLAR::ScenegraphIteratorHost4 {

namespace {

using OxOpType::Instances;
using OxOpType::SubtreeFacts;

constexpr std::int32_t kWritten = 1;

constexpr bool AreEqual(std::uint32_t a, std::uint32_t b) {
    return a == b;
}

static_assert(AreEqual(kOxTypeGroup, OxOpType::kTypeGroup));
static_assert(AreEqual(kOxTypePolyMesh, OxOpType::kTypePolyMesh));
static_assert(AreEqual(kOxTypeSubdMesh, OxOpType::kTypeSubdMesh));
static_assert(AreEqual(kOxTypeFaceSet, OxOpType::kTypeFaceSet));
static_assert(AreEqual(kOxTypeCurves, OxOpType::kTypeCurves));
static_assert(AreEqual(kOxTypePointCloud, OxOpType::kTypePointCloud));
static_assert(AreEqual(kOxTypeSphere, OxOpType::kTypeSphere));
static_assert(AreEqual(kOxTypeCamera, OxOpType::kTypeCamera));
static_assert(AreEqual(kOxTypeLight, OxOpType::kTypeLight));
static_assert(AreEqual(kOxTypeOther, OxOpType::kTypeOther));

void GetContentHash(OxSgIteratorStruct* location, std::uint64_t words[2]) {
    if (!words) return;
    words[0] = words[1] = 0; // also when the call throws
    if (!location || location->error) return;
    const OxAttribute::Hash hash = ContentHash(*location->producer);
    words[0] = hash.words[0];
    words[1] = hash.words[1];
}

std::int32_t IsSame(OxSgIteratorStruct* a, OxSgIteratorStruct* b) {
    if (!a || !b || a->error || b->error) return 0;
    return IsSameContent(*a->producer, *b->producer) ? 1 : 0;
}

/// Nothing is known of a location without a client.
OxSubtree Describe(GeometryProducer& location) {
    OxSubtree subtree{};
    const auto client = location.getClient();
    if (!client) return subtree;
    const SubtreeFacts facts = OxOpType::DescribeSubtree(*client, location.getFullName());
    if (facts.types) {
        subtree.known |= kOxSubtreeTypes;
        subtree.types = *facts.types;
    }
    if (facts.locations) {
        subtree.known |= kOxSubtreeLocations;
        subtree.locations = *facts.locations;
    }
    if (const auto bound = facts.boundInParent()) {
        subtree.known |= kOxSubtreeBound;
        std::copy(bound->values.begin(), bound->values.end(), subtree.bound);
    }
    return subtree;
}

std::int32_t GetSubtree(OxSgIteratorStruct* location, OxSubtree* subtree, OxErrorStruct*& error) {
    GeometryProducer& producer = At(location);
    NotNull(subtree, "subtree");
    if (location->error) {
        OxRetainError(error = location->error);
        return 0;
    }
    *subtree = Describe(producer);
    return kWritten;
}

OxInstancesStruct* GetInstances(OxSgIteratorStruct* location) {
    GeometryProducer& producer = At(location);
    const auto client = location->error ? nullptr : producer.getClient();
    if (!client) return nullptr;
    auto instances = OxOpType::DescribeInstances(*client, producer.getFullName());
    return instances ? new OxInstancesStruct(location->producer, std::move(instances)) : nullptr;
}

const Instances& InstancesOf(const OxInstancesStruct* instances) {
    return *NotNull(instances, "instances")->instances;
}

/// The location at a path that is relative to the one that was asked for instances.
OxSgIteratorStruct* Below(const OxInstancesStruct* instances, const std::string& path,
                          OxErrorStruct*& error) {
    return ToHandle(StepAlong(*instances->location, "./" + path), error);
}

OxSgIteratorStruct* GetPrototype(const OxInstancesStruct* instances, std::int64_t index,
                                 OxErrorStruct*& error) {
    const auto& prototypes = InstancesOf(instances).prototypes();
    if (index < 0 || index >= static_cast<std::int64_t>(prototypes.size())) return nullptr;
    return Below(instances, prototypes[static_cast<std::size_t>(index)], error);
}

OxSgIteratorStruct* GetInstance(const OxInstancesStruct* instances, std::int64_t index,
                                OxErrorStruct*& error) {
    const Instances& all = InstancesOf(instances);
    if (index < 0 || index >= all.count()) return nullptr;
    return Below(instances, all.path(index), error);
}

std::int32_t ReadInstances(const OxInstancesStruct* instances, std::int64_t begin, std::int64_t end,
                           std::int64_t* prototypes, double* matrices) {
    const Instances& all = InstancesOf(instances);
    if (begin < 0 || begin > end) throw BadCall{"begin", "is out of range"};
    if (end > all.count()) throw BadCall{"end", "is out of range"};
    all.read(begin, end, prototypes, matrices);
    return kWritten;
}

} // namespace

void FillSubtreeSlots(Suite& suite) {
    TELLAR_SET_SILENT_ENTRY(suite, 31, getContentHash, GetContentHash);
    TELLAR_SET_SILENT_ENTRY(suite, 32, isSame, IsSame);
    TELLAR_SET_ERROR_ENTRY(suite, 33, getSubtree, GetSubtree);
    TELLAR_SET_ERROR_ENTRY(suite, 34, getInstances, GetInstances);
    TELLAR_SET_SLOT(suite, 35, retainInstances, OxInstancesStruct::retain);
    TELLAR_SET_SLOT(suite, 36, releaseInstances, OxInstancesStruct::release);
    TELLAR_SET_SILENT_ENTRY(suite, 37, getNumberOfInstances,
                            [](const OxInstancesStruct* instances) {
                                return instances ? instances->instances->count() : std::int64_t{0};
                            });
    TELLAR_SET_SILENT_ENTRY(
        suite, 38, getNumberOfPrototypes, [](const OxInstancesStruct* instances) {
            return instances ? static_cast<std::int64_t>(instances->instances->prototypes().size())
                             : std::int64_t{0};
        });
    TELLAR_SET_ERROR_ENTRY(suite, 39, getPrototype, GetPrototype);
    TELLAR_SET_ERROR_ENTRY(suite, 40, readInstances, ReadInstances);
    TELLAR_SET_ERROR_ENTRY(suite, 41, getInstance, GetInstance);
}

} // namespace TELLAR::ScenegraphIteratorHost4
