#ifndef OXTELLARPRODUCERS_SCENEEDIT_H
#define OXTELLARPRODUCERS_SCENEEDIT_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/SceneChanges.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

class OpDrafts;
class SceneRevisions;

/// A list of changes to the ops of a scene, made by Scene::edit. Nothing happens to the scene
/// before the commit, which applies all of them at once. An edit keeps its scene alive.
///
///     SceneEdit edit = scene->edit();
///     edit.setOpArg("move", "translate", DoubleAttribute({0.0, 1.0, 0.0}, 3));
///     const SceneChanges changes = edit.commit();
///
/// For one thread at a time. Several threads may have an edit each: a commit applies its list to
/// the revision that is the newest one then.
class TELLAR_API SceneEdit {
public:
    /// Replaces all arguments of an op.
    void setOpArgs(const std::string& op, const OxAttribute::GroupAttribute& args);
    /// Replaces one argument, or a part of it by a dotted name. An invalid value removes it.
    void setOpArg(const std::string& op, const std::string& name,
                  const OxAttribute::Attribute& value);
    void setOpType(const std::string& op, const std::string& type);
    /// Replaces the inputs by the ops of these names. An empty name is a missing input.
    void setOpInputs(const std::string& op, const std::vector<std::string>& inputs);
    void addOp(const std::string& op, const std::string& type,
               const OxAttribute::GroupAttribute& args, const std::vector<std::string>& inputs);
    /// The ops that have it as input have to get other inputs in the same edit.
    void removeOp(const std::string& op);
    /// Chooses the op whose locations are the scene's.
    void setTerminal(const std::string& op);

    /// Makes a new revision of the scene and returns what it changes. Ops that the edit does not
    /// concern, and what was cooked of them, are kept. The edit is empty afterwards.
    ///
    /// Throws TellarError and leaves the scene and the edit as they were: of the kind
    /// kOxErrorBadCall for an unknown op, a name that is taken, and an input that is no op; and as
    /// the cook would for an op type that is unknown or refuses the arguments, and for a cycle.
    /// Errors of single locations are part of the changes.
    SceneChanges commit();

    SceneEdit(SceneEdit&& other) noexcept;
    SceneEdit& operator=(SceneEdit&& other) noexcept;
    ~SceneEdit();

private:
    friend class Scene;
    explicit SceneEdit(std::shared_ptr<SceneRevisions> revisions);

    std::shared_ptr<SceneRevisions> revisions;
    std::vector<std::function<void(OpDrafts&)>> steps;
};

} // namespace TELLAR

#endif
