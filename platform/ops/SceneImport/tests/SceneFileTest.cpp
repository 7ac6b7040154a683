#include "SceneFile.h"

#include <array>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OxTellarSDK/MemoryBudget.h>

#include "ImportedScene.h"
#include "RunTogether.h"
#include "TempDirectory.h"
#include "TestScenes.h"
#include "isolation/ReaderProcess.h"

// When a file is read, and when it is not. What is asked of the op type through the runtime
// comes from the plug-in; reads are counted in the code linked to this program.

namespace {

using namespace TellarSceneImport;
using Names = std::vector<std::string>;

const bool kHasReader = [] {
    SetReaderProgram(TELLAR_SCENE_READER);
    return true;
}();

/// A file whose root node and only mesh have these points.
std::string Ply(const std::string& lastPoint) {
    return "ply\nformat ascii 1.0\nelement vertex 3\n"
           "property float x\nproperty float y\nproperty float z\n"
           "end_header\n0 0 0\n1 1 1\n" +
           lastPoint + "\n";
}

const std::string kCloud = "/root/world/node/nodeShape";

std::string MissingText(const std::string& file) {
    return "Cannot read scene file \"" + file + "\": there is no such file";
}

TEST(SceneFile, IsReadOnceHoweverOftenItIsOpened) {
    const TempDirectory directory;
    const std::string file = directory.write("points.ply", kPointsPly);
    const auto before = GetNumberOfSceneReads();
    const auto first = OpenSceneFile(file);
    const auto second =
        OpenSceneFile(directory.path() + "/../" +
                      std::filesystem::path(directory.path()).filename().string() + "/points.ply");
    EXPECT_EQ(&first->scene(), &second->scene());
    EXPECT_EQ(GetNumberOfSceneReads(), before + 1);
}

TEST(SceneFile, IsNotReadBeforeItIsNeeded) {
    const TempDirectory directory;
    const auto before = GetNumberOfSceneReads();
    OpenSceneFile(directory.write("points.ply", kPointsPly));
    EXPECT_EQ(GetNumberOfSceneReads(), before);
}

TEST(SceneFile, IsReadOnceByManyThreads) {
    const TempDirectory directory;
    const std::string file = WriteYard(directory);
    const auto before = GetNumberOfSceneReads();
    std::array<std::shared_ptr<const SceneFile>, 8> opened;
    std::array<const Scene*, 8> scenes{};
    RunTogether(8, [&](int number) {
        opened[number] = OpenSceneFile(file);
        scenes[number] = &opened[number]->scene();
    });
    EXPECT_EQ(GetNumberOfSceneReads(), before + 1);
    EXPECT_THAT(scenes, testing::Each(scenes[0]));
}

TEST(SceneFile, IsAnotherOneWhenTheFileHasChanged) {
    const TempDirectory directory;
    const std::string file = directory.write("points.ply", Ply("2 2 2"));
    const auto old = OpenSceneFile(file);
    old->scene();
    EXPECT_TRUE(old->isCurrent());
    directory.write("points.ply", Ply("33 33 33"));
    EXPECT_FALSE(old->isCurrent());
    const auto changed = OpenSceneFile(file);
    EXPECT_NE(&changed->scene(), &old->scene());
    EXPECT_TRUE(changed->isCurrent());
}

TEST(SceneFile, IsAnotherOneWhenAFileThatItRefersToHasChanged) {
    const TempDirectory directory;
    const auto old = OpenSceneFile(WriteHouse(directory));
    old->scene();
    directory.write("house.mtl", std::string(kHouseMtl) + "newmtl more\nKd 1 1 1\n");
    EXPECT_FALSE(old->isCurrent());
}

TEST(SceneFile, IsAnotherOneWhenAFileThatItMissedIsThere) {
    const TempDirectory directory;
    const auto old = OpenSceneFile(directory.write("house.obj", kHouseObj));
    old->scene();
    EXPECT_TRUE(old->isCurrent());
    directory.write("house.mtl", kHouseMtl);
    EXPECT_FALSE(old->isCurrent());
}

TEST(SceneFile, RemembersThatItCouldNotBeRead) {
    const TempDirectory directory;
    const std::string file = directory.write("broken.gltf", "{\"asset\": ");
    const auto before = GetNumberOfSceneReads();
    const auto opened = OpenSceneFile(file);
    EXPECT_THROW(opened->scene(), std::runtime_error);
    EXPECT_THROW(opened->scene(), std::runtime_error);
    EXPECT_THROW(OpenSceneFile(file)->scene(), std::runtime_error);
    EXPECT_EQ(GetNumberOfSceneReads(), before + 1);
}

TEST(SceneFile, IsKeptForAWhileAfterItsLastUser) {
    const TempDirectory directory;
    const std::string file = directory.write("points.ply", kPointsPly);
    OpenSceneFile(file)->scene();
    const auto before = GetNumberOfSceneReads();
    OpenSceneFile(file)->scene();
    EXPECT_EQ(GetNumberOfSceneReads(), before);
}

TEST(SceneFile, IsDroppedOnDemandUnlessInUse) {
    const TempDirectory directory;
    const std::string unused = directory.write("unused.ply", kPointsPly);
    const std::string used = directory.write("used.ply", kPointsPly);
    OpenSceneFile(unused)->scene();
    const auto user = OpenSceneFile(used);
    user->scene();
    DropUnusedSceneFiles();
    const auto before = GetNumberOfSceneReads();
    OpenSceneFile(used)->scene();
    EXPECT_EQ(GetNumberOfSceneReads(), before);
    OpenSceneFile(unused)->scene();
    EXPECT_EQ(GetNumberOfSceneReads(), before + 1);
}

/// Of this program and of the plug-in, which may keep small files of other tests.
OxTellarMemory::CacheStatistics CountedFiles() {
    for (const auto& cache : OxTellarMemory::GetMemoryStatistics().caches)
        if (cache.name == "scene files") return cache;
    return {};
}

/// Points whose coordinates take some MiB in memory.
std::string LargePly() {
    constexpr int kPoints = 200000;
    std::string text = "ply\nformat ascii 1.0\nelement vertex " + std::to_string(kPoints) +
                       "\nproperty float x\nproperty float y\nproperty float z\nend_header\n";
    for (int i = 0; i < kPoints; ++i)
        text += std::to_string(i % 977) + " 1 2\n";
    return text;
}

OxAttribute::Hash HashOfPoints(const SceneFile& file) {
    return file.scene().findNode("node/nodeShape")->attrs.getHash();
}

constexpr std::uint64_t kLargeBytes = 200000 * 3 * sizeof(float);

TEST(SceneFile, CountsInTheBudgetOfMemoryWhileItIsThere) {
    const TempDirectory directory;
    DropUnusedSceneFiles();
    OxTellarMemory::ResetMemoryStatistics();
    const OxTellarMemory::CacheStatistics before = CountedFiles();
    auto file = OpenSceneFile(directory.write("large.ply", LargePly()));
    EXPECT_EQ(CountedFiles().bytes, before.bytes); // not read yet
    file->scene();
    EXPECT_EQ(CountedFiles().entries, before.entries + 1);
    EXPECT_GE(CountedFiles().bytes, before.bytes + kLargeBytes);
    EXPECT_LE(CountedFiles().bytes, before.bytes + kLargeBytes + 10000);
    OpenSceneFile(directory.path() + "/large.ply");
    EXPECT_EQ(CountedFiles().hits, 1u);
    EXPECT_EQ(CountedFiles().misses, 1u);
    file.reset();
    DropUnusedSceneFiles();
    EXPECT_EQ(CountedFiles().entries, before.entries);
    EXPECT_EQ(CountedFiles().bytes, before.bytes);
    EXPECT_EQ(CountedFiles().drops, 0u);
}

TEST(SceneFile, IsDroppedWhenMemoryIsShortAndReadAgainEqual) {
    const TempDirectory directory;
    const std::string path = directory.write("large.ply", LargePly());
    const auto limit = OxTellarMemory::GetMemoryLimit();
    auto file = OpenSceneFile(path);
    const OxAttribute::Hash hash = HashOfPoints(*file);
    const auto before = GetNumberOfSceneReads();

    OxTellarMemory::SetMemoryLimit(1);
    EXPECT_GE(CountedFiles().bytes, kLargeBytes) << "it is in use";
    EXPECT_GT(OxTellarMemory::GetMemoryStatistics().beyondLimit, 0u);
    file.reset();
    OxTellarMemory::ResetMemoryStatistics();
    OxTellarMemory::SetMemoryLimit(1);
    EXPECT_GE(CountedFiles().drops, 1u);
    EXPECT_LT(CountedFiles().bytes, kLargeBytes);

    EXPECT_EQ(HashOfPoints(*OpenSceneFile(path)), hash);
    EXPECT_EQ(GetNumberOfSceneReads(), before + 1);
    OxTellarMemory::SetMemoryLimit(limit);
}

TEST(SceneFile, IsReadByThreadsWhileOthersDropIt) {
    const TempDirectory directory;
    const std::string path = directory.write("large.ply", LargePly());
    const auto limit = OxTellarMemory::GetMemoryLimit();
    DropUnusedSceneFiles();
    const std::uint64_t before = CountedFiles().entries;
    const OxAttribute::Hash hash = HashOfPoints(*OpenSceneFile(path));
    RunTogether(4, [&](int number) {
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(HashOfPoints(*OpenSceneFile(path)), hash);
            if (number == 0) OxTellarMemory::SetMemoryLimit(1);
        }
    });
    OxTellarMemory::SetMemoryLimit(limit);
    DropUnusedSceneFiles();
    EXPECT_LE(CountedFiles().entries, before);
}

TEST(SceneFile, MakesRoomForOthersInTheEnd) {
    const TempDirectory directory;
    const std::string first = directory.write("first.ply", kPointsPly);
    const std::weak_ptr<const SceneFile> watched = OpenSceneFile(first);
    for (const char* name : {"a.ply", "b.ply", "c.ply", "d.ply"})
        OpenSceneFile(directory.write(name, kPointsPly));
    EXPECT_TRUE(watched.expired());
}

TEST(SceneImportFiles, AreNotLookedAtAgainAfterTheFirstCook) {
    const TempDirectory directory;
    const std::string file = WriteYard(directory);
    const ImportedScene scene(file);
    scene.cook("/root/world/yard");
    std::filesystem::remove(file);
    std::filesystem::remove(directory.path("yard.bin"));
    EXPECT_EQ(scene.type("/root/world/yard/panel/quad"), "polymesh");
    EXPECT_EQ(scene.type("/root/materials/paint"), "material");
}

TEST(SceneImportFiles, AreNotNeededForWhatStandsAboveTheScene) {
    const ImportedScene scene(std::string("/no/such/file.obj"));
    EXPECT_EQ(scene.children("/root"), (Names{"world", "materials"}));
    EXPECT_FALSE(scene.exists("/root/elsewhere"));
}

TEST(SceneImportFiles, MayChangeUnnoticedUntilALocationIsEvicted) {
    const TempDirectory directory;
    const std::string file = directory.write("points.ply", Ply("2 2 2"));
    const ImportedScene scene(file);
    EXPECT_EQ(scene.doubles(kCloud, "bound")[1], 2);
    directory.write("points.ply", Ply("33 33 33"));
    EXPECT_EQ(scene.doubles(kCloud, "bound")[1], 2);
    EXPECT_EQ(scene.doubles("/root/world/node", "bound")[1], 2);
    scene.evict(kCloud);
    EXPECT_EQ(scene.doubles(kCloud, "bound")[1], 33);
}

TEST(SceneImportFiles, AreNewForLaterCooksOnceTheChangeIsNoticed) {
    const TempDirectory directory;
    const std::string file = directory.write("points.ply", Ply("2 2 2"));
    const ImportedScene scene(file);
    scene.cook("/root/world");
    directory.write("points.ply", Ply("33 33 33"));
    scene.evict("/root/world");
    scene.cook("/root/world");
    EXPECT_EQ(scene.doubles(kCloud, "bound")[1], 33);
}

TEST(SceneImportFiles, AreSharedByOpsThatDifferInOtherThings) {
    const TempDirectory directory;
    const std::string file = WriteYard(directory);
    const ImportedScene one(file);
    const ImportedScene other(ImportArgs(file).set("frame", 10.0));
    EXPECT_EQ(one.attr("/root/world/yard/panel/quad", "geometry").getHandle(),
              other.attr("/root/world/yard/panel/quad", "geometry").getHandle());
}

TEST(SceneImportFiles, ThatAreMissingAreAnErrorThatStaysTheSame) {
    const TempDirectory directory;
    const std::string file = directory.path("later.ply");
    const ImportedScene scene(file);
    const std::string first = scene.error("/root/world");
    EXPECT_EQ(first, "Op \"op0\" (SceneImport) at \"/root/world\": " + MissingText(file));
    EXPECT_EQ(scene.error("/root/world"), first);
    EXPECT_THAT(scene.error("/root/materials"), testing::EndsWith(MissingText(file)));
}

TEST(SceneImportFiles, ThatAppearAreNoticedByAnEviction) {
    const TempDirectory directory;
    const std::string file = directory.path("later.ply");
    const ImportedScene scene(file);
    EXPECT_NE(scene.error("/root/world"), "");
    directory.write("later.ply", kPointsPly);
    EXPECT_THAT(scene.error("/root/world/node"), testing::EndsWith(MissingText(file)));
    scene.evict("/root/world/node");
    EXPECT_EQ(scene.type("/root/world/node"), "group");
}

TEST(SceneImportFiles, ThatDisappearAreAnErrorOnceThatIsNoticed) {
    const TempDirectory directory;
    const std::string file = directory.write("points.ply", kPointsPly);
    const ImportedScene scene(file);
    EXPECT_EQ(scene.error(kCloud), "");
    std::filesystem::remove(file);
    scene.evict(kCloud);
    EXPECT_THAT(scene.error(kCloud), testing::EndsWith(MissingText(file)));
}

/// The group "sceneFiles" of a scene that lists its files.
OxAttribute::GroupAttribute ListedFiles(const std::string& file) {
    const ImportedScene scene(ImportArgs(file).set("listFiles", OxAttribute::IntAttribute(1)));
    EXPECT_EQ(scene.cook("/root/world").getPotentialChildren().getNumberOfValues(), 0);
    return scene.attrs("/root/world").getChildByName("sceneFiles");
}

TEST(SceneImportFiles, AreListedInPlaceOfTheSceneWhenAskedFor) {
    const TempDirectory directory;
    const std::string file = WriteYard(directory);
    const OxAttribute::StringAttribute paths(ListedFiles(file).getChildByName("paths"));
    ASSERT_EQ(paths.getNumberOfValues(), 2);
    EXPECT_EQ(paths.getValueView(0), directory.path("yard.bin"));
    EXPECT_EQ(paths.getValueView(1), file);
    EXPECT_FALSE(ImportedScene(file).attrs("/root/world").getChildByName("sceneFiles").isValid());
}

TEST(SceneImportFiles, AreListedThoughOneIsMissing) {
    const TempDirectory directory;
    const std::string file = WriteYard(directory);
    std::filesystem::remove(directory.path("yard.bin"));
    const OxAttribute::GroupAttribute files = ListedFiles(file);
    const OxAttribute::StringAttribute paths(files.getChildByName("paths"));
    ASSERT_EQ(paths.getNumberOfValues(), 2);
    EXPECT_EQ(paths.getValueView(0), directory.path("yard.bin"));
    EXPECT_THAT(OxAttribute::StringAttribute(files.getChildByName("failure")).getValue(),
                testing::HasSubstr("yard.bin"));
}

TEST(SceneImportFiles, AreCookedTheSameByManyThreads) {
    const TempDirectory directory;
    const std::string file = WriteYard(directory);
    const Names paths = {"/root", "/root/world/yard/panel/quad", "/root/world/yard/view",
                         "/root/world/yard/lamp_2/a_b/quad", "/root/materials/paint"};
    std::array<std::string, 8> seen;
    RunTogether(8, [&](int number) {
        const ImportedScene scene(file);
        for (std::size_t i = 0; i < paths.size(); ++i)
            seen[number] += scene.cook(paths[(i + number) % paths.size()]).getHash().str();
        seen[number].clear();
        for (const std::string& path : paths)
            seen[number] += scene.cook(path).getHash().str() + scene.type(path);
    });
    EXPECT_THAT(seen, testing::Each(seen[0]));
    EXPECT_THAT(seen[0], testing::HasSubstr("polymesh"));
}

TEST(SceneImportFiles, MayChangeWhileManyThreadsCookAndEvict) {
    const TempDirectory directory;
    const std::string file = directory.write("points.ply", Ply("2 2 2"));
    const ImportedScene scene(file);
    scene.cook(kCloud);
    directory.write("points.ply", Ply("33 33 33"));
    std::array<std::set<double>, 8> seen;
    RunTogether(8, [&](int number) {
        for (int round = 0; round < 20; ++round) {
            if (number % 2 == 0) scene.evict(kCloud);
            seen[number].insert(scene.doubles(kCloud, "bound").at(1));
        }
    });
    for (const std::set<double>& values : seen)
        for (const double value : values)
            EXPECT_TRUE(value == 2 || value == 33) << value;
    EXPECT_EQ(scene.doubles(kCloud, "bound").at(1), 33);
}

} // namespace
