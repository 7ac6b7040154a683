#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include <OxConfiguration/Configuration.h>

#include "DamagedFiles.h"
#include "ScopedEnvironment.h"

namespace {

/// A change that damages the yard, and the error for it.
struct Damage {
    const char* what;
    const char* by;
    const char* reason;

    friend std::ostream& operator<<(std::ostream& out, const Damage& damage) {
        return out << damage.what << " to " << damage.by;
    }
};

class DamagedYard : public testing::TestWithParam<Damage> {};

TEST_P(DamagedYard, IsRefused) {
    const Damage& damage = GetParam();
    EXPECT_EQ(ReasonOfYard(damage.what, damage.by), std::string("damaged glTF: ") + damage.reason);
}

INSTANTIATE_TEST_SUITE_P(
    Nodes, DamagedYard,
    testing::Values(
        Damage{"[1, 2, 3, 4]", "[1, 2, 3, 9]", "a child of node 0 does not exist"},
        Damage{"[1, 2, 3, 4]", "[1, 2, 3, 4, 5]", "node 5 has two parents"},
        Damage{"\"children\": [5]", "\"children\": [0]", "the nodes form a cycle"},
        Damage{"\"camera\": 0", "\"camera\": 1", "\"camera\" of a node refers to nothing"},
        Damage{"\"light\": 0", "\"light\": -1", "\"light\" of a node refers to nothing"},
        Damage{"[1, 2, 3]", "[1, 2]", "\"translation\" of a node is not 3 numbers"}));

INSTANTIATE_TEST_SUITE_P(
    Indices, DamagedYard,
    testing::Values(
        Damage{"\"material\": 0", "\"material\": 7",
               "\"material\" of a primitive refers to nothing"},
        Damage{"\"POSITION\": 0", "\"POSITION\": 70",
               "attribute \"POSITION\" of a primitive refers to nothing"},
        Damage{"\"indices\": 3", "\"indices\": -3", "\"indices\" of a primitive refers to nothing"},
        Damage{"{\"source\": 1}", "{\"source\": 2}", "\"source\" of a texture refers to nothing"},
        Damage{"\"input\": 4, \"output\": 6", "\"input\": 4, \"output\": 16",
               "\"output\" of a sampler of an animation refers to nothing"},
        Damage{"\"target\": {\"node\": 2", "\"target\": {\"node\": 20",
               "\"node\" of a channel of an animation refers to nothing"},
        Damage{"\"scene\": 0", "\"scene\": 1", "\"scene\" of the file refers to nothing"}));

INSTANTIATE_TEST_SUITE_P(
    TimesOfAnimations, DamagedYard,
    testing::Values(Damage{R"("componentType": 5126, "count": 2, "type": "SCALAR")",
                           R"("componentType": 5120, "count": 2, "type": "SCALAR")",
                           "the times of an animation are not floats"},
                    Damage{R"("componentType": 5126, "count": 2, "type": "SCALAR")",
                           R"("componentType": 5126, "count": 1, "type": "VEC2")",
                           "the times of an animation are not floats"},
                    Damage{R"("componentType": 5126, "count": 2, "type": "SCALAR")",
                           R"("componentType": 5126, "count": 2)",
                           "the times of an animation are not floats"}));

TEST(DamagedGltf, HasIndicesThatAreNumbers) {
    EXPECT_NE(ReasonOfYard("\"mesh\": 0", "\"mesh\": true"), "");
}

TEST(DamagedGltf, AsksForNoMoreMemoryThanItHasDataFor) {
    EXPECT_EQ(ReasonOfYard("\"bufferView\": 0, \"componentType\": 5126, \"count\": 4",
                           "\"componentType\": 5126, \"count\": 4000000000"),
              "damaged glTF: an accessor without data is too large");
    EXPECT_NE(ReasonOfYard("\"componentType\": 5126, \"count\": 4",
                           "\"componentType\": 5126, \"count\": 4000000"),
              "");
    EXPECT_EQ(ReasonOfYard("\"count\": 4, \"type\": \"VEC2\"",
                           "\"count\": 4, \"type\": \"VEC2\", \"sparse\": {\"count\": 1}"),
              "damaged glTF: a sparse accessor is incomplete");
}

/// The error for a glTF file with these members when reading may take 64 MiB.
std::string ReasonInLittleMemory(const std::string& members) {
    const ScopedEnvironment limit("OX_CONFIG_SCENE_READER_MEBIBYTES", "64");
    Config()->reload();
    std::string reason = ReasonOf("a.gltf", R"({"asset": {"version": "2.0"}, )" + members + "}");
    return reason;
}

/// A list of `count` equal items, separated by commas.
std::string Repeated(int count, const std::string& item) {
    std::string list;
    for (int i = 0; i < count; ++i)
        list += (i > 0 ? "," : "") + item;
    return "[" + list + "]";
}

const std::string kTooMuchMemory =
    "reading it takes more than 64 MiB of memory (SCENE_READER_MEBIBYTES)";

// Points without data, which take 1.2 MB for each use.
const std::string kZeros =
    R"("accessors": [{"componentType": 5126, "count": 100000, "type": "VEC3"}], )";

class SmallGltf : public testing::Test {
protected:
    ~SmallGltf() override { Config()->reload(); }
};

TEST_F(SmallGltf, HasALimitForAllPointsOfPrimitives) {
    const std::string points = R"({"mode": 0, "attributes": {"POSITION": 0}})";
    const auto file = [&](int count) {
        return kZeros + R"("nodes": [{"mesh": 0}], "meshes": [{"primitives": )" +
               Repeated(count, points) + "}]";
    };
    EXPECT_EQ(ReasonInLittleMemory(file(10)), "");
    EXPECT_EQ(ReasonInLittleMemory(file(100)), kTooMuchMemory);
}

TEST_F(SmallGltf, HasALimitForAllMorphTargets) {
    const auto file = [&](int count) {
        return kZeros + R"("nodes": [{"mesh": 0}], "meshes": [{"primitives": [{"mode": 0,
            "attributes": {"POSITION": 0}, "targets": )" +
               Repeated(count, R"({"POSITION": 0})") + "}]}]";
    };
    EXPECT_EQ(ReasonInLittleMemory(file(5)), "");
    EXPECT_EQ(ReasonInLittleMemory(file(100)), kTooMuchMemory);
}

TEST_F(SmallGltf, HasALimitForAllInstances) {
    const auto file = [&](int count) {
        return R"("accessors": [{"componentType": 5126, "type": "VEC3", "count": )" +
               std::to_string(count) + R"(}], "meshes": [{"primitives": []}],
            "nodes": [{"mesh": 0, "extensions": {"EXT_mesh_gpu_instancing": {"attributes":
            {"TRANSLATION": 0}}}}], "extensionsUsed": ["EXT_mesh_gpu_instancing"])";
    };
    EXPECT_EQ(ReasonInLittleMemory(file(100)), "");
    EXPECT_EQ(ReasonInLittleMemory(file(100000)), kTooMuchMemory);
}

TEST_F(SmallGltf, HasALimitForAllKeysOfAnimations) {
    const auto file = [&](int count) {
        return R"("accessors": [{"componentType": 5126, "type": "SCALAR", "count": 1000000},
            {"componentType": 5126, "type": "VEC3", "count": 1000000}], "nodes": [{}, {}, {}],
            "animations": [{"samplers": [{"input": 0, "output": 1}], "channels": )" +
               Repeated(count, R"({"sampler": 0, "target": {"node": 0, "path": "scale"}})") + "}]";
    };
    EXPECT_EQ(ReasonInLittleMemory(file(1)), "");
    EXPECT_EQ(ReasonInLittleMemory(file(20)), kTooMuchMemory);
}

TEST_F(SmallGltf, HasALimitForAllZeros) {
    const std::string triangle =
        R"({"mode": 5, "attributes": {"POSITION": 0, "NORMAL": 0}, "indices": 1})";
    EXPECT_EQ(ReasonOf("a.gltf", R"({"asset": {"version": "2.0"},
        "accessors": [{"componentType": 5126, "count": 16000000, "type": "VEC3"},
                      {"componentType": 5121, "count": 3, "type": "SCALAR"}],
        "nodes": [{"mesh": 0}], "meshes": [{"primitives": )" +
                                     Repeated(50, triangle) + "}]}"),
              "damaged glTF: its accessors without data are too large");
}

TEST(DamagedGltf, HasWholeNumbersAsIndicesOfCompressedMeshes) {
    for (const char* view : {"1e308", "0.5", "-1", "\"a\"", "4000000000"})
        EXPECT_EQ(ReasonOf("a.gltf", std::string(R"({"asset": {"version": "2.0"},
            "nodes": [{"mesh": 0}], "meshes": [{"primitives": [{"attributes": {}, "extensions":
            {"KHR_draco_mesh_compression": {"bufferView": )") +
                                         view + "}}}]}]}"),
                  "damaged glTF: a compressed mesh has no buffer view")
            << view;
}

TEST(DamagedGltf, IsNotNestedWithoutEnd) {
    EXPECT_EQ(ReasonOf("deep.gltf", std::string(1000000, '[')),
              "damaged glTF: its JSON is nested deeper than 256");
}

TEST(DamagedGltf, HasPairsInTextureTransforms) {
    EXPECT_EQ(ReasonOfYard("\"baseColorTexture\": {\"index\": 0}",
                           "\"baseColorTexture\": {\"index\": 0, \"extensions\": "
                           "{\"KHR_texture_transform\": {\"offset\": [0.5]}}}"),
              "damaged glTF: a texture transform needs pairs of numbers");
}

} // namespace
