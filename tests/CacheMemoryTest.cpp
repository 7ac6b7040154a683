// Flattened materials and cameras when memory is short.

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarProducers/StaticGeometryProducer.h>
#include <OxTellarSDK/MemoryBudget.h>

#include "CameraScenes.h"
#include "RunTogether.h"
#include "Sanitized.h"
#include "SceneBuilders.h"

namespace {

using namespace OxTellarMemory;
using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::EmptyFlattenedMaterialCache;
using TELLAR::GetCameraInfo;
using TELLAR::GetFlattenedMaterialAttr;

constexpr std::uint64_t kMebibyte = 1 << 20;
// More cameras than fit into a mebibyte.
constexpr int kManyCameras = 3000;
const std::vector<std::string> kTerminals = {"surface"};

CacheStatistics StatisticsOf(const std::string& name) {
    for (const CacheStatistics& cache : GetMemoryStatistics().caches)
        if (cache.name == name) return cache;
    return {};
}

CacheStatistics OfMaterials() {
    return StatisticsOf("flattened materials");
}

/// A legacy material with some kilobytes of its own.
GroupAttribute Material(int number) {
    const std::string name = "shader_" + std::to_string(number);
    return Group(
        {{"surfaceShader", Text(name)},
         {"surfaceParams", Group({{"names", Texts(std::vector<std::string>(100, name))}})}});
}

GroupAttribute FlattenAt(const std::string& path, const GroupAttribute& material) {
    return GetFlattenedMaterialAttr(
        new TELLAR::StaticGeometryProducer(path, Location({{"material", material}}), -1, nullptr),
        kTerminals);
}

std::string PathOf(int number) {
    return "/root/shape_" + std::to_string(number);
}

class CacheMemory : public testing::Test {
protected:
    CacheMemory() { restart(); }
    ~CacheMemory() override {
        restart();
        SetMemoryLimit(GetDefaultMemoryLimit());
    }
    CacheMemory(const CacheMemory&) = delete;
    CacheMemory& operator=(const CacheMemory&) = delete;

    static void restart() {
        EmptyFlattenedMaterialCache();
        TELLAR::ClearCameraInfoCache();
        SetMemoryLimit(64 * kMebibyte);
        ResetMemoryStatistics();
    }
};

TEST_F(CacheMemory, CountsMaterialsUntilTheCacheIsEmptied) {
    const GroupAttribute first = FlattenAt(PathOf(1), Material(1));
    EXPECT_EQ(FlattenAt(PathOf(2), Material(1)), first);
    EXPECT_EQ(FlattenAt(PathOf(1), Material(1)), first);
    EXPECT_EQ(OfMaterials().misses, 1u);
    EXPECT_EQ(OfMaterials().hits, 2u);
    EXPECT_EQ(OfMaterials().entries, 3u); // two locations and what they share
    EXPECT_GT(OfMaterials().bytes, 3000u);
    EXPECT_LT(OfMaterials().bytes, 6000u);
    EmptyFlattenedMaterialCache();
    EXPECT_EQ(OfMaterials().entries, 0u);
    EXPECT_EQ(OfMaterials().bytes, 0u);
}

TEST_F(CacheMemory, DropsMaterialsOfLocationsAndFlattensThemAgain) {
    SetMemoryLimit(kMebibyte);
    const GroupAttribute held = FlattenAt(PathOf(0), Material(0));
    const auto hash = held.getHash();
    for (int i = 1; i < 1000; ++i) {
        FlattenAt(PathOf(i), Material(i));
        ASSERT_LE(OfMaterials().bytes, kMebibyte + (16 << 10)); // what a thread keeps to itself
    }
    EXPECT_GT(OfMaterials().drops, 1000u);
    EXPECT_EQ(held.getHash(), hash);
    const auto misses = OfMaterials().misses;
    EXPECT_EQ(FlattenAt(PathOf(0), Material(0)).getHash(), hash);
    EXPECT_EQ(OfMaterials().misses, misses + 1);
}

TEST_F(CacheMemory, KeepsOneResultForAllLocationsThatReferToIt) {
    SetMemoryLimit(kMebibyte);
    const void* const shared = FlattenAt(PathOf(-1), Material(-1)).getHandle();
    for (int i = 0; i < 1000; ++i) {
        FlattenAt(PathOf(i), Material(i));
        ASSERT_EQ(FlattenAt(PathOf(-1), Material(-1)).getHandle(), shared) << i;
    }
    EXPECT_EQ(FlattenAt(PathOf(-2), Material(-1)).getHandle(), shared);
}

TEST_F(CacheMemory, DropsMaterialsByContent) {
    SetMemoryLimit(kMebibyte);
    const auto hash = TELLAR::FlattenMaterials({Material(0)}, kTerminals).getHash();
    for (int i = 1; i < 1000; ++i)
        TELLAR::FlattenMaterials({Material(i)}, kTerminals);
    EXPECT_LE(OfMaterials().bytes, kMebibyte + (16 << 10));
    EXPECT_GT(OfMaterials().drops, 400u);
    EXPECT_EQ(OfMaterials().misses, 1000u);
    EXPECT_EQ(TELLAR::FlattenMaterials({Material(0)}, kTerminals).getHash(), hash);
}

/// Scenes of different hashes, each with a camera of its own.
std::shared_ptr<TELLAR::CameraInfo> CameraOf(int number) {
    Children attrs = CameraAttrs(UnitLens());
    attrs.emplace_back("number", Text(std::to_string(number)));
    return GetCameraInfo(StaticRoot(CameraScene(attrs)), kCamera);
}

TEST_F(CacheMemory, DropsCamerasThatNobodyHolds) {
    SetMemoryLimit(kMebibyte);
    const auto held = CameraOf(0);
    for (int i = 1; i < kManyCameras; ++i)
        ASSERT_TRUE(CameraOf(i));
    const CacheStatistics counted = StatisticsOf("cameras");
    EXPECT_GT(counted.drops, 0u);
    EXPECT_EQ(counted.misses, static_cast<std::uint64_t>(kManyCameras));
    EXPECT_LE(counted.bytes, kMebibyte + (16 << 10));
    EXPECT_EQ(CameraOf(0), held);
    EXPECT_EQ(StatisticsOf("cameras").hits, 1u);
}

TEST_F(CacheMemory, KeepsCamerasThatCouldNotBeRead) {
    SetMemoryLimit(kMebibyte);
    const auto root = StaticRoot(CameraScene({}));
    EXPECT_FALSE(GetCameraInfo(root, kCamera));
    for (int i = 1; i < kManyCameras; ++i)
        CameraOf(i);
    const auto misses = StatisticsOf("cameras").misses;
    EXPECT_FALSE(GetCameraInfo(root, kCamera));
    EXPECT_EQ(StatisticsOf("cameras").misses, misses);
}

TEST_F(CacheMemory, IsSharedByThreadsThatEmptyTheCaches) {
    SetMemoryLimit(kMebibyte);
    std::vector<OxAttribute::Hash> hashes;
    for (int i = 0; i < 500; ++i)
        hashes.push_back(FlattenAt(PathOf(i), Material(i)).getHash());
    const int rounds = kSanitized ? 1 : 10;
    RunTogether(8, [&](int thread) {
        for (int i = 0; i < rounds * 500; ++i) {
            const int number = (i + 61 * thread) % 500;
            ASSERT_EQ(FlattenAt(PathOf(number), Material(number)).getHash(),
                      hashes[static_cast<std::size_t>(number)]);
            TELLAR::FlattenMaterials({Material(number)}, kTerminals);
            ASSERT_TRUE(CameraOf(number));
            if (thread == 0 && i % 300 == 0) EmptyFlattenedMaterialCache();
            if (thread == 1 && i % 300 == 0) TELLAR::ClearCameraInfoCache();
        }
    });
    EXPECT_GT(OfMaterials().drops, 0u);
    restart();
    EXPECT_EQ(OfMaterials().bytes, 0u);
    EXPECT_EQ(StatisticsOf("cameras").entries, 0u);
}

} // namespace
