#include <OxTellarProducers/SceneEdit.h>

#include <utility>

#include "OpDrafts.h"
#include "SceneRevisions.h"

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;

namespace TELLAR {

SceneEdit::SceneEdit(std::shared_ptr<SceneRevisions> revisions) : revisions(std::move(revisions)) {}
SceneEdit::SceneEdit(SceneEdit&& other) noexcept = default;
SceneEdit& SceneEdit::operator=(SceneEdit&& other) noexcept = default;
SceneEdit::~SceneEdit() = default;

void SceneEdit::setOpArgs(const std::string& op, const GroupAttribute& args) {
    steps.emplace_back([=](OpDrafts& drafts) { drafts.setArgs(op, args); });
}

void SceneEdit::setOpArg(const std::string& op, const std::string& name, const Attribute& value) {
    steps.emplace_back([=](OpDrafts& drafts) { drafts.setArg(op, name, value); });
}

void SceneEdit::setOpType(const std::string& op, const std::string& type) {
    steps.emplace_back([=](OpDrafts& drafts) { drafts.setType(op, type); });
}

void SceneEdit::setOpInputs(const std::string& op, const std::vector<std::string>& inputs) {
    steps.emplace_back([=](OpDrafts& drafts) { drafts.setInputs(op, inputs); });
}

void SceneEdit::addOp(const std::string& op, const std::string& type, const GroupAttribute& args,
                      const std::vector<std::string>& inputs) {
    steps.emplace_back([=](OpDrafts& drafts) { drafts.add(op, type, args, inputs); });
}

void SceneEdit::removeOp(const std::string& op) {
    steps.emplace_back([=](OpDrafts& drafts) { drafts.remove(op); });
}

void SceneEdit::setTerminal(const std::string& op) {
    steps.emplace_back([=](OpDrafts& drafts) { drafts.setTerminal(op); });
}

SceneChanges SceneEdit::commit() {
    const auto changes = revisions->commit(steps);
    steps.clear();
    return *changes;
}

} // namespace TELLAR
