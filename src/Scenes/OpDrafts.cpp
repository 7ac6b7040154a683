#include "OpDrafts.h"

#include <algorithm>
#include <cstdint>
#include <string_view>
#include <utility>

#include <OxTellarSDK/AttributeDifference.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/TellarError.h>
#include <OxTellarServicesHost/OxTellarServicesHost.h>

#include "text/SimilarNames.h"

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

namespace TELLAR {

struct OpDrafts::Draft {
    std::string name;
    std::string place; // in a text; empty if it is not known
    std::string type;
    GroupAttribute args;
    std::vector<std::string> inputs;
    std::shared_ptr<const SceneOp> original; // null for an op that was added
    bool isEdited = false;
    bool isChanged = false; // the op or one that it depends on differs from the original
    std::shared_ptr<TellarRuntime::Op> op;

    /// Whether the op differs from the original apart from the Ops that its inputs stand for.
    bool differs() const {
        return !original || type != original->op->getType() || inputs != original->inputs ||
               !OxAttribute::HaveEqualContent(args, original->op->getArgs());
    }
};

namespace {

[[noreturn]] void Refuse(const std::string& op, const std::string& text) {
    ErrorFacts facts;
    facts.code = kOxErrorBadCall;
    facts.text = text;
    facts.op = op;
    throw TellarError(std::move(facts));
}

std::string Quoted(const std::string& name) {
    return '"' + name + '"';
}

} // namespace

OpDrafts::OpDrafts(const GroupAttribute& description, const OpPlaces& places) {
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const GroupAttribute entry(description.getChildByIndex(i));
        auto draft = std::make_unique<Draft>();
        draft->name = description.getChildName(i);
        const auto place = places.find(draft->name);
        if (place != places.end()) draft->place = place->second;
        draft->type = StringAttribute(entry.getChildByName("opType")).getValue("", false);
        draft->args = GroupAttribute(entry.getChildByName("opArgs"));
        const StringAttribute inputs(entry.getChildByName("opInputs"));
        for (const std::string_view input : inputs.getNearestSample(0.0f))
            draft->inputs.emplace_back(input);
        terminal = draft->name;
        append(std::move(draft));
    }
}

OpDrafts::OpDrafts(const SceneRevision& base) : terminal(base.terminal) {
    for (const auto& op : base.ops) {
        auto draft = std::make_unique<Draft>();
        draft->name = op->name;
        draft->place = op->op->getPlace();
        draft->type = op->op->getType();
        draft->args = op->op->getArgs();
        draft->inputs = op->inputs;
        draft->original = op;
        append(std::move(draft));
    }
}

OpDrafts::~OpDrafts() = default;

OpDrafts::Draft* OpDrafts::find(const std::string& op) const {
    const auto known = byName.find(op);
    return known == byName.end() ? nullptr : known->second;
}

OpDrafts::Draft& OpDrafts::get(const std::string& op) const {
    if (Draft* const draft = find(op)) return *draft;
    std::vector<std::string> names;
    for (const auto& draft : drafts)
        names.push_back(draft->name);
    const std::string hint = TellarInternal::DidYouMean(names, op);
    Refuse(op, "The scene has no op " + Quoted(op) + (hint.empty() ? "." : hint));
}

OpDrafts::Draft& OpDrafts::edited(const std::string& op) {
    Draft& draft = get(op);
    draft.isEdited = true;
    return draft;
}

void OpDrafts::append(std::unique_ptr<Draft> draft) {
    byName.emplace(draft->name, draft.get());
    drafts.push_back(std::move(draft));
}

void OpDrafts::setArgs(const std::string& op, const GroupAttribute& args) {
    edited(op).args = args;
}

void OpDrafts::setArg(const std::string& op, const std::string& name, const Attribute& value) {
    Draft& draft = edited(op);
    OxAttribute::GroupBuilder args;
    args.setGroupInherit(draft.args.getGroupInherit());
    args.update(draft.args);
    if (value.isValid())
        args.set(name, value);
    else
        args.del(name);
    draft.args = args.build();
}

void OpDrafts::setType(const std::string& op, const std::string& type) {
    edited(op).type = type;
}

void OpDrafts::setInputs(const std::string& op, const std::vector<std::string>& inputs) {
    edited(op).inputs = inputs;
}

void OpDrafts::add(const std::string& op, const std::string& type, const GroupAttribute& args,
                   const std::vector<std::string>& inputs) {
    if (op.empty()) Refuse(op, "An op needs a name.");
    if (find(op)) Refuse(op, "The scene has an op " + Quoted(op) + " already.");
    auto draft = std::make_unique<Draft>();
    draft->name = op;
    draft->type = type;
    draft->args = args;
    draft->inputs = inputs;
    draft->isEdited = true;
    append(std::move(draft));
}

void OpDrafts::remove(const std::string& op) {
    const Draft* const gone = &get(op);
    removed.insert(op);
    byName.erase(op);
    drafts.erase(std::find_if(drafts.begin(), drafts.end(),
                              [gone](const auto& draft) { return draft.get() == gone; }));
}

void OpDrafts::setTerminal(const std::string& op) {
    terminal = get(op).name;
}

/// Inputs of other ops than the edited ones may have been missing all along.
void OpDrafts::checkInputs() const {
    if (!find(terminal)) Refuse(terminal, "The terminal op " + Quoted(terminal) + " was removed.");
    for (const auto& draft : drafts)
        for (const std::string& input : draft->inputs)
            if (!input.empty() && !find(input) && (draft->isEdited || removed.count(input) > 0))
                Refuse(draft->name, "The op " + Quoted(draft->name) + " has the input " +
                                        Quoted(input) + ", which is no op.");
}

void OpDrafts::markChanged() {
    std::unordered_map<const Draft*, std::vector<Draft*>> users;
    std::vector<const Draft*> unseen; // changed drafts whose users are not marked yet
    for (const auto& draft : drafts) {
        for (const std::string& input : draft->inputs)
            if (const Draft* const used = find(input)) users[used].push_back(draft.get());
        draft->isChanged = draft->differs();
        if (draft->isChanged) unseen.push_back(draft.get());
    }
    while (!unseen.empty()) {
        const Draft* const used = unseen.back();
        unseen.pop_back();
        for (Draft* const user : users[used]) {
            if (std::exchange(user->isChanged, true)) continue;
            unseen.push_back(user);
        }
    }
}

void OpDrafts::makeOps(TellarRuntime::Transaction& transaction) {
    for (const auto& draft : drafts) {
        if (!draft->isChanged) {
            draft->op = draft->original->op;
            continue;
        }
        draft->op = transaction.createOp();
        transaction.setOpName(draft->op, draft->name);
        transaction.setOpPlace(draft->op, draft->place);
        transaction.setOpArgs(draft->op, draft->type, draft->args);
    }
    for (const auto& draft : drafts) {
        if (!draft->isChanged) continue;
        std::vector<std::shared_ptr<TellarRuntime::Op>> inputs;
        for (const std::string& name : draft->inputs) {
            const Draft* const input = find(name);
            inputs.push_back(input ? input->op : nullptr);
        }
        transaction.setOpInputs(draft->op, inputs);
    }
}

std::shared_ptr<SceneRevision> OpDrafts::build() {
    checkInputs();
    const auto runtime = OxTellarServicesHost().createRuntime();
    if (!runtime) throw TellarError(kOxErrorUnknown, "No runtime can be made for the scene.");
    const auto transaction = runtime->createTransaction();
    markChanged();
    makeOps(*transaction);
    auto revision = std::make_shared<SceneRevision>();
    revision->client = transaction->createClient();
    transaction->setClientOp(revision->client, find(terminal)->op);
    runtime->commit(transaction);
    for (const auto& draft : drafts)
        if (draft->isEdited && draft->isChanged) draft->op->prepare();
    revision->terminal = terminal;
    for (const auto& draft : drafts)
        revision->ops.push_back(draft->isChanged ? std::make_shared<const SceneOp>(SceneOp{
                                                       draft->name, draft->inputs, draft->op})
                                                 : draft->original);
    return revision;
}

} // namespace TELLAR
