#ifndef TELLAR_TOOL_EDITEDSCENE_H
#define TELLAR_TOOL_EDITEDSCENE_H

#include <functional>
#include <string>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarProducers/SceneEdit.h>
#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

/// A scene to be edited, with its handles for plug-ins. Needs SetUpPluginHost. For one thread.
class EditedScene {
public:
    /// Throws std::runtime_error when the file cannot be written and read.
    EditedScene(const OxAttribute::GroupAttribute& description, const std::string& file);
    ~EditedScene();
    EditedScene(const EditedScene&) = delete;
    EditedScene& operator=(const EditedScene&) = delete;

    /// The root of the first revision.
    OxSgIteratorStruct* getRoot() const { return root; }
    OxAttribute::GroupAttribute getDescription() const;
    void edit(const std::function<void(TELLAR::SceneEdit&)>& fill) const;

private:
    friend class ReceivedChanges;

    const OxScenegraphIteratorHostSuite_v4& suite;
    OxSceneStruct* scene = nullptr;
    OxSgIteratorStruct* root = nullptr;
    OxSubscriptionStruct* subscription = nullptr;
};

/// The changes of a scene since the ones before, which are acknowledged at the end.
class ReceivedChanges {
public:
    explicit ReceivedChanges(const EditedScene& edited);
    ~ReceivedChanges();
    ReceivedChanges(const ReceivedChanges&) = delete;
    ReceivedChanges& operator=(const ReceivedChanges&) = delete;

    OxChangesStruct* get() const { return changes; }

private:
    const EditedScene& edited;
    OxChangesStruct* const changes;
};

} // namespace TellarTool

#endif
