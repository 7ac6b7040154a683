#include "reading/Location.h"

#include <string>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::SizeIs;

/// A scene with triangles before and after a model that does not exist.
std::string WithMissingModel(const std::string& settings = "") {
    return R"({"ops": [
        {"name": "scene", "type": "StaticScene", "args": {
            "a": {"renderSettings": {)" +
           settings + R"("cameraName": "/root/world/cam"}}, "c": {"world": {"c": {
                "cam": {"a": {"type": "camera", )" +
           kLens + "}}, " + Triangle("a") + R"(, "m": {}, )" + Triangle("z") + R"(}}}}},
        {"name": "missing", "type": "SceneImport", "args": {
            "file": "nowhere.obj", "location": "/root/world/m/model"}},
        {"name": "both", "type": "Merge", "inputs": ["scene", "missing"]}]})";
}

TEST(ReadFailures, DrawsTheSiblingsOfALocationThatCannotBeCooked) {
    Told told;
    const SceneData scene = ReadJson(WithMissingModel(R"("aovs": "id", )"), told);
    EXPECT_THAT(scene.locations, ElementsAre("/root/world/a", "/root/world/z"));
}

TEST(ReadFailures, NamesTheOpAndTheLocation) {
    Told told;
    ReadJson(WithMissingModel(), told);
    ASSERT_THAT(told.warnings, SizeIs(2)); // the model, and its materials
    EXPECT_THAT(told.warnings, Contains(AllOf(HasSubstr("/root/world/m/model"),
                                              HasSubstr("missing"), HasSubstr("nowhere.obj"))));
}

TEST(ReadFailures, KnowsTheFactsOfAFailedLocation) {
    const Location root = RootOfJson(WithMissingModel());
    const Location failed = root.byPath("/root/world/m/model");
    ASSERT_TRUE(static_cast<bool>(failed));
    ASSERT_TRUE(failed.hasFailed());
    EXPECT_EQ(failed.failure().op, "missing");
    EXPECT_EQ(failed.failure().opType, "SceneImport");
    EXPECT_EQ(failed.failure().location, "/root/world/m/model");
    EXPECT_FALSE(static_cast<bool>(failed.firstChild()));
    EXPECT_EQ(failed.name(), "model");
}

TEST(ReadFailures, TellsWhyTheCameraCannotBeRead) {
    const std::string error = ReadErrorOf(
        R"({"ops": [
        {"name": "scene", "type": "StaticScene", "args": {"a": {"renderSettings": {
            "cameraName": "/root/world/m/model"}}, "c": {"world": {"c": {"m": {}}}}}},
        {"name": "missing", "type": "SceneImport", "args": {
            "file": "nowhere.obj", "location": "/root/world/m/model"}},
        {"name": "both", "type": "Merge", "inputs": ["scene", "missing"]}]})");
    EXPECT_THAT(error, HasSubstr("nowhere.obj"));
}

TEST(ReadFailures, CountsTheLocationsThatAreNotTold) {
    std::string ops;
    std::string inputs = R"("scene")";
    for (int i = 0; i < 14; ++i) {
        const std::string number = std::to_string(i);
        ops += R"(, {"name": "missing)" + number + R"(", "type": "SceneImport", "args": {
            "file": "nowhere)" +
               number + R"(.obj", "location": "/root/world/m/model)" + number + R"("}})";
        inputs += R"(, "missing)" + number + '"';
    }
    Told told;
    ReadJson(R"({"ops": [{"name": "scene", "type": "StaticScene", "args": {
        "a": {"renderSettings": {"cameraName": "/root/world/cam"}}, "c": {"world": {"c": {
            "cam": {"a": {"type": "camera", )" +
                 std::string(kLens) + R"(}}, "m": {}}}}}})" + ops +
                 R"(, {"name": "both", "type": "Merge", "inputs": [)" + inputs + "]}]}",
             told);
    ASSERT_THAT(told.warnings, SizeIs(11)); // of 14 models, and /root/materials
    EXPECT_EQ(told.warnings.back(), "and 5 more locations cannot be cooked");
}

} // namespace
