#include <OxTellarProducers/SceneEdit.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/Scene.h>
#include <OxTellarSDK/TellarError.h>

#include "LiveScenes.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::GeometryProducer;
using TELLAR::Scene;
using TELLAR::SceneChanges;
using TELLAR::SceneEdit;
using testing::ElementsAre;

/// The facts of the error of a commit, which has to leave the scene as it was.
ErrorFacts CommitFailure(Scene& scene, const std::function<void(SceneEdit&)>& fill) {
    const std::uint64_t revision = scene.getRevision();
    const auto client = scene.getClient();
    SceneEdit edit = scene.edit();
    fill(edit);
    ErrorFacts facts;
    try {
        edit.commit();
        ADD_FAILURE() << "nothing was thrown";
    } catch (const TellarError& error) {
        facts = error.getFacts();
    }
    EXPECT_EQ(scene.getRevision(), revision);
    EXPECT_EQ(scene.getClient(), client);
    return facts;
}

std::vector<std::string> PathsOf(const SceneChanges& changes) {
    std::vector<std::string> paths;
    for (const auto& change : changes)
        paths.push_back(change.path);
    return paths;
}

TEST(SceneEdit, IsSeenByNewReadsAndNotByOldLocations) {
    const auto scene = LiveScene();
    const GeometryProducer::Ptr oldRoot = scene->getRoot();
    SetEdit(*scene, 7);
    EXPECT_EQ(EditOf(scene->getRoot()), 7);
    EXPECT_EQ(EditOf(oldRoot), 0);
    EXPECT_EQ(scene->getRevision(), 1u);
}

TEST(SceneEdit, IsNotSeenBeforeItsCommit) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.setOpArg("edit", "set.edit", Int(7));
    EXPECT_EQ(EditOf(scene->getRoot()), 0);
    EXPECT_EQ(scene->getRevision(), 0u);
}

TEST(SceneEdit, TellsWhatItChanged) {
    const auto scene = LiveScene();
    EXPECT_THAT(PathsOf(SetEdit(*scene, 7)), ElementsAre("/root/world/thing"));
}

TEST(SceneEdit, TellsThatOneTransformChanged) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.addOp("move", "Transform",
               Group({{"paths", Texts({"/root/world/thing"})}, {"translate", Triple(0, 1, 0)}}),
               {"edit"});
    edit.setTerminal("move");
    edit.commit();
    edit.setOpArg("move", "translate", Triple(0, 2, 0));
    const SceneChanges changes = edit.commit();
    ASSERT_THAT(PathsOf(changes), ElementsAre("/root/world/thing"));
    EXPECT_EQ(changes[0].kind, TELLAR::SceneChange::Changed);
    EXPECT_EQ(changes[0].mask, TELLAR::kTransformChanged);
}

TEST(SceneEdit, KeepsTheOpsThatDoNotDependOnWhatChanged) {
    const auto scene = LiveScene();
    const auto oldTerminal = scene->getClient()->getOp();
    SetEdit(*scene, 7);
    const auto newTerminal = scene->getClient()->getOp();
    EXPECT_NE(newTerminal, oldTerminal);
    EXPECT_EQ(newTerminal->getInputs(), oldTerminal->getInputs());
}

TEST(SceneEdit, MakesTheOpsBelowTheChangedOneAnew) {
    const auto scene = LiveScene();
    const std::string tag = UniqueTag();
    SceneEdit edit = scene->edit();
    edit.setOpArg("scene", "a.tag", Text(tag));
    edit.commit();
    EXPECT_EQ(TextOf(scene->getRoot()->getAttribute("tag")), tag);
    EXPECT_EQ(EditOf(scene->getRoot()), 0);
}

TEST(SceneEdit, MakesTheOpsFarBelowTheChangedOneAnew) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.addOp("first", "TestCount", {}, {"edit"});
    edit.addOp("second", "TestCount", {}, {"first"});
    edit.setTerminal("second");
    edit.commit();
    SetEdit(*scene, 7);
    EXPECT_EQ(EditOf(scene->getRoot()), 7);
}

TEST(SceneEdit, WithoutADifferenceKeepsTheIdentityAndAllOps) {
    const auto scene = LiveScene();
    const auto op = scene->getClient()->getOp();
    const auto changes = SetEdit(*scene, 0);
    EXPECT_TRUE(changes.empty());
    EXPECT_EQ(scene->getClient()->getOp(), op);
    EXPECT_EQ(scene->getRevision(), 1u);
}

TEST(SceneEdit, BackToAnEarlierStateHasItsIdentity) {
    const auto scene = LiveScene();
    const auto identity = scene->getIdentity();
    SetEdit(*scene, 7);
    EXPECT_NE(scene->getIdentity(), identity);
    SetEdit(*scene, 0);
    EXPECT_EQ(scene->getIdentity(), identity);
}

TEST(SceneEdit, AddsAndRemovesOpsAndChoosesTheTerminal) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.addOp("prune", "Prune", Group({{"paths", Texts({"/root/world/thing"})}}), {"edit"});
    edit.setTerminal("prune");
    EXPECT_THAT(PathsOf(edit.commit()), ElementsAre("/root/world/thing"));
    EXPECT_EQ(EditOf(scene->getRoot()), -1);

    edit.setTerminal("edit");
    edit.removeOp("prune");
    edit.commit();
    EXPECT_EQ(EditOf(scene->getRoot()), 0);
    EXPECT_THAT(NamesOf(scene->getDescription()), ElementsAre("scene", "edit"));
}

TEST(SceneEdit, SetsTypeArgumentsAndInputsOfAnOp) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.setOpType("edit", "Prune");
    edit.setOpArgs("edit", Group({{"paths", Texts({"/root/world/thing"})}}));
    edit.addOp("other", "StaticScene", Location({{"tag", Text("other")}}), {});
    edit.setOpInputs("edit", {"other"});
    edit.commit();
    EXPECT_EQ(TextOf(scene->getRoot()->getAttribute("tag")), "other");
}

TEST(SceneEdit, RemovesOneArgument) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.setOpArg("scene", "a.tag", {});
    edit.commit();
    EXPECT_FALSE(scene->getRoot()->getAttribute("tag").isValid());
}

TEST(SceneEdit, ReplacesAnOpByAnotherOneOfItsName) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.removeOp("scene");
    edit.addOp("scene", "StaticScene", Location({{"tag", Text("other")}}), {});
    edit.commit();
    EXPECT_EQ(TextOf(scene->getRoot()->getAttribute("tag")), "other");
}

TEST(SceneEdit, AppliesToTheNewestRevisionAndNotToTheOneWhereItBegan) {
    const auto scene = LiveScene();
    SceneEdit first = scene->edit();
    SceneEdit second = scene->edit();
    first.setOpArg("scene", "a.tag", Text("first"));
    second.setOpArg("edit", "set.edit", Int(2));
    first.commit();
    second.commit();
    EXPECT_EQ(TextOf(scene->getRoot()->getAttribute("tag")), "first");
    EXPECT_EQ(EditOf(scene->getRoot()), 2);
    EXPECT_EQ(scene->getRevision(), 2u);
}

TEST(SceneEdit, IsEmptyAfterItsCommit) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.setOpArg("edit", "set.edit", Int(1));
    edit.commit();
    SetEdit(*scene, 2);
    edit.commit();
    EXPECT_EQ(EditOf(scene->getRoot()), 2);
}

TEST(SceneEdit, KeepsItsSceneAlive) {
    auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.setOpArg("edit", "set.edit", Int(1));
    scene.reset();
    EXPECT_EQ(edit.commit().size(), 1u);
}

TEST(SceneEdit, DescribesTheSceneAsItIsNow) {
    const auto scene = LiveScene();
    SetEdit(*scene, 7);
    const auto copy = Scene::FromDescription(scene->getDescription());
    EXPECT_EQ(copy->getIdentity(), scene->getIdentity());
    EXPECT_EQ(EditOf(copy->getRoot()), 7);
}

// Errors

TEST(SceneEditErrors, NameAnUnknownOpAndASimilarOne) {
    const auto scene = LiveScene();
    const ErrorFacts facts =
        CommitFailure(*scene, [](SceneEdit& edit) { edit.setOpArgs("edit2", GroupAttribute()); });
    EXPECT_EQ(facts.code, kOxErrorBadCall);
    EXPECT_EQ(facts.op, "edit2");
    EXPECT_EQ(facts.text, "The scene has no op \"edit2\"; did you mean \"edit\"?");
}

TEST(SceneEditErrors, IncludeANameThatIsTakenOrEmpty) {
    const auto scene = LiveScene();
    EXPECT_EQ(
        CommitFailure(*scene, [](SceneEdit& edit) { edit.addOp("edit", "Prune", {}, {}); }).text,
        "The scene has an op \"edit\" already.");
    EXPECT_EQ(CommitFailure(*scene, [](SceneEdit& edit) { edit.addOp("", "Prune", {}, {}); }).text,
              "An op needs a name.");
}

TEST(SceneEditErrors, IncludeAnInputThatIsNoOp) {
    const auto scene = LiveScene();
    const ErrorFacts facts =
        CommitFailure(*scene, [](SceneEdit& edit) { edit.setOpInputs("edit", {"nowhere"}); });
    EXPECT_EQ(facts.code, kOxErrorBadCall);
    EXPECT_EQ(facts.text, "The op \"edit\" has the input \"nowhere\", which is no op.");
}

TEST(SceneEditErrors, IncludeTheRemovalOfAnOpThatAnotherOneNeeds) {
    const auto scene = LiveScene();
    EXPECT_EQ(CommitFailure(*scene, [](SceneEdit& edit) { edit.removeOp("scene"); }).text,
              "The op \"edit\" has the input \"scene\", which is no op.");
    EXPECT_EQ(CommitFailure(*scene, [](SceneEdit& edit) { edit.removeOp("edit"); }).text,
              "The terminal op \"edit\" was removed.");
}

TEST(SceneEditErrors, IncludeACycle) {
    const auto scene = LiveScene();
    const ErrorFacts facts =
        CommitFailure(*scene, [](SceneEdit& edit) { edit.setOpInputs("edit", {"edit"}); });
    EXPECT_EQ(facts.code, kOxErrorCook);
    EXPECT_EQ(facts.op, "edit");
    EXPECT_EQ(facts.text, "Op \"edit\" (AttributeEdit): it is part of a cycle: edit -> edit");
}

TEST(SceneEditErrors, IncludeAnUnknownOpType) {
    const auto scene = LiveScene();
    const ErrorFacts facts =
        CommitFailure(*scene, [](SceneEdit& edit) { edit.setOpType("edit", "AttributeEdid"); });
    EXPECT_EQ(facts.opType, "AttributeEdid");
    EXPECT_EQ(facts.text, "Op \"edit\" (AttributeEdid): there is no op type of this name; did you "
                          "mean \"AttributeEdit\"?");
}

TEST(SceneEditErrors, IncludeArgumentsThatTheOpTypeRefuses) {
    const auto scene = LiveScene();
    const ErrorFacts facts =
        CommitFailure(*scene, [](SceneEdit& edit) { edit.setOpArg("edit", "paths", Int(1)); });
    EXPECT_EQ(facts.code, kOxErrorValue);
    EXPECT_EQ(facts.op, "edit");
    EXPECT_EQ(facts.attribute, "paths");
}

TEST(SceneEditErrors, LeaveTheEditAsItWas) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.setOpArg("edit", "set.edit", Int(1));
    edit.setOpInputs("edit", {"late"});
    EXPECT_THROW(edit.commit(), TellarError);
    SceneEdit other = scene->edit();
    other.addOp("late", "StaticScene", LiveLocations(), {});
    other.commit();
    edit.commit();
    EXPECT_EQ(EditOf(scene->getRoot()), 1);
}

TEST(SceneEditErrors, DoNotIncludeInputsThatWereMissingBefore) {
    GroupAttribute description = LiveDescription();
    OxAttribute::GroupBuilder builder;
    builder.update(Group({{"merge", OpEntry("Merge", Group({}), {"nowhere"})}}));
    builder.update(description);
    const auto scene = Scene::FromDescription(builder.build());
    SetEdit(*scene, 3);
    EXPECT_EQ(EditOf(scene->getRoot()), 3);
}

TEST(SceneEditErrors, OfSingleLocationsDoNotStopACommit) {
    const auto scene = LiveScene();
    SceneEdit edit = scene->edit();
    edit.addOp("odd", "TestThrow", Group({{"at", Text("/root/world/thing")}}), {"edit"});
    edit.setTerminal("odd");
    const SceneChanges changes = edit.commit();
    ASSERT_THAT(PathsOf(changes), ElementsAre("/root/world/thing"));
    EXPECT_NE(changes[0].newError, nullptr);
    EXPECT_EQ(scene->getRevision(), 1u);
}

} // namespace
