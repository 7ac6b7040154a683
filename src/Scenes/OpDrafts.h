#ifndef OXTELLARPRODUCERS_OPDRAFTS_H
#define OXTELLARPRODUCERS_OPDRAFTS_H

#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "SceneRevision.h"

namespace TELLAR {

/// The ops of a revision under construction. Wrong edits throw TellarError and leave the drafts
/// unusable.
class OpDrafts {
public:
    /// The ops of a new scene. Inputs that name no op are missing inputs.
    OpDrafts(const OxAttribute::GroupAttribute& description, const OpPlaces& places);
    /// The ops of a revision, to be edited.
    explicit OpDrafts(const SceneRevision& base);
    ~OpDrafts();

    void setArgs(const std::string& op, const OxAttribute::GroupAttribute& args);
    /// Takes a dotted name. An invalid value removes the argument.
    void setArg(const std::string& op, const std::string& name,
                const OxAttribute::Attribute& value);
    void setType(const std::string& op, const std::string& type);
    /// An empty name is a missing input.
    void setInputs(const std::string& op, const std::vector<std::string>& inputs);
    void add(const std::string& op, const std::string& type,
             const OxAttribute::GroupAttribute& args, const std::vector<std::string>& inputs);
    void remove(const std::string& op);
    void setTerminal(const std::string& op);

    /// Makes the Ops that changed, and all that depend on them, in a new runtime; keeps the others.
    /// Throws TellarError about Ops that were edited and cannot be cooked.
    std::shared_ptr<SceneRevision> build();

private:
    struct Draft;

    /// Null for an unknown name.
    Draft* find(const std::string& op) const;
    Draft& get(const std::string& op) const;
    Draft& edited(const std::string& op);
    void append(std::unique_ptr<Draft> draft);
    void checkInputs() const;
    void markChanged();
    void makeOps(TellarRuntime::Transaction& transaction);

    std::vector<std::unique_ptr<Draft>> drafts;
    std::unordered_map<std::string, Draft*> byName;
    std::unordered_set<std::string> removed;
    std::string terminal;
};

} // namespace TELLAR

#endif
