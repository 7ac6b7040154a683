#include "EditedScene.h"

#include <stdexcept>

#include <OxTellarProducers/OxSceneHandle.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "HostSuites.h"
#include "Output.h"
#include "RenderObject.h"

namespace TellarTool {

EditedScene::EditedScene(const OxAttribute::GroupAttribute& description, const std::string& file)
    : suite(IteratorSuite4()) {
    WriteFile(file, OxAttribute::WriteDescriptionJson(description));
    ErrorOut error;
    scene = suite.openScene(file.c_str(), error.get());
    if (!scene) throw std::runtime_error(error.text());
    root = suite.getSceneRoot(scene, nullptr);
    subscription = suite.subscribe(scene, nullptr);
}

EditedScene::~EditedScene() {
    suite.releaseSubscription(subscription);
    suite.releaseIterator(root);
    suite.releaseScene(scene);
}

OxAttribute::GroupAttribute EditedScene::getDescription() const {
    return TELLAR::OxHandleToScene(scene)->getDescription();
}

void EditedScene::edit(const std::function<void(TELLAR::SceneEdit&)>& fill) const {
    TELLAR::SceneEdit edit = TELLAR::OxHandleToScene(scene)->edit();
    fill(edit);
    edit.commit();
}

ReceivedChanges::ReceivedChanges(const EditedScene& edited)
    : edited(edited), changes(edited.suite.receiveChanges(edited.subscription, nullptr)) {}

ReceivedChanges::~ReceivedChanges() {
    if (!changes) return;
    edited.suite.acknowledgeChanges(edited.subscription, changes);
    edited.suite.releaseChanges(changes);
}

} // namespace TellarTool
