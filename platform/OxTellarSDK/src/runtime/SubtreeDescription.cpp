// Asks the Ops of a graph for the facts that they know without cooking.
#include <OxTellarSDK/SubtreeFacts.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <unordered_map>
#include <utility>

#include <xxhash.h>

#include "OpGraph.h"

namespace OxOpType {
namespace {

using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using OxTellarRuntimeDetail::LocationStore;
using OxTellarRuntimeDetail::OpNode;

/// Op types are asked at most this often for one answer, which takes a few milliseconds.
constexpr int kMostQuestions = 16384;
/// How far an Op may go down through its own locations. Op types call each other on the stack.
constexpr int kMostLevels = 64;

/// Whether the path is absolute and has no empty level.
bool IsLocationPath(const std::string& path) {
    return path.size() > 1 && path[0] == '/' && path.back() != '/' &&
           path.find("//") == std::string::npos;
}

Hash IdentityOf(const OpNode& op, const std::string& path) {
    const XXH128_hash_t value =
        XXH3_128bits_withSeed(path.data(), path.size(), op.identity.words[0]);
    const std::uint64_t parts[] = {op.identity.words[0], op.identity.words[1], value.high64,
                                   value.low64};
    const XXH128_hash_t identity = XXH3_128bits(parts, sizeof parts);
    return {{identity.high64 != 0 ? identity.high64 : 1, identity.low64}};
}

/// The answers to one question of a caller. Each Op is asked once for each path, so the work does
/// not grow with the number of ways through the graph.
class Answers {
public:
    SubtreeFacts subtree(const OpNode& op, const std::string& path);
    std::shared_ptr<const Instances> instances(const OpNode& op, const std::string& path);
    /// One level further down in one Op.
    SubtreeFacts below(const OpNode& op, const std::string& path);

private:
    using Key = std::pair<const OpNode*, std::string>;
    struct KeyHash {
        std::size_t operator()(const Key& key) const noexcept {
            return XXH3_64bits_withSeed(key.second.data(), key.second.size(),
                                        reinterpret_cast<std::uintptr_t>(key.first));
        }
    };

    bool mayAsk(const OpNode& op);

    std::unordered_map<Key, SubtreeFacts, KeyHash> known;
    std::unordered_map<Key, std::shared_ptr<const Instances>, KeyHash> knownInstances;
    int questionsLeft = kMostQuestions;
    int level = 0;
};

class Question final : public InstanceContext {
public:
    Question(Answers& answers, const OpNode& op, const std::string& path, const State* state)
        : answers(answers), op(op), location(path), opState(state) {}
    virtual ~Question() = default;

    const std::string& path() const override { return location; }
    const GroupAttribute& args() const override { return op.args; }
    const State* state() const override { return opState; }
    std::size_t numberOfInputs() const override { return op.inputs.size(); }

    SubtreeFacts input(std::size_t index, const std::string& path) override {
        const OpNode* const from = inputNode(index);
        return from ? answers.subtree(*from, path) : SubtreeFacts::Missing();
    }

    SubtreeFacts here(const std::string& path) override { return answers.below(op, path); }

    std::shared_ptr<const Instances> instances(std::size_t index,
                                               const std::string& path) override {
        const OpNode* const from = inputNode(index);
        return from ? answers.instances(*from, path) : nullptr;
    }

private:
    const OpNode* inputNode(std::size_t index) const {
        const bool isThere = index < op.inputs.size() && op.inputs[index];
        return isThere ? &OpNode::Of(*op.inputs[index]) : nullptr;
    }

    Answers& answers;
    const OpNode& op;
    const std::string& location;
    const State* opState;
};

/// Calls `ask(context)`. What it returns by default is the answer of an Op that fails.
template <typename Answer, typename Ask>
Answer AskOp(Answers& answers, const OpNode& op, const std::string& path, Ask ask) {
    // Kept here, because the Op may lose its store meanwhile (TellarRuntime::Client::takeResults).
    const std::shared_ptr<LocationStore> store = op.store;
    if (!op.type || !store) return {};
    try {
        const State* const state = store->prepare(*op.type, op.args, op.inputs.size());
        Question question(answers, op, path, state);
        return ask(question);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) { // cooking the location reports the error
        return {};
    }
}

bool Answers::mayAsk(const OpNode& op) {
    if (op.defect || questionsLeft == 0) return false;
    --questionsLeft;
    return true;
}

SubtreeFacts Answers::subtree(const OpNode& op, const std::string& path) {
    const auto [entry, isNew] = known.try_emplace({&op, path});
    SubtreeFacts& answer = entry->second; // stays in place when entries are added
    if (!isNew || !mayAsk(op)) return answer;
    // Until the answer is there, an Op that asks itself the same question finds no facts.
    SubtreeFacts facts = AskOp<SubtreeFacts>(*this, op, path, [&op](SubtreeContext& context) {
        return op.type->describeSubtree(context);
    });
    if (facts.identity == Hash() && facts.exists != false) facts.identity = IdentityOf(op, path);
    answer = facts;
    return facts;
}

SubtreeFacts Answers::below(const OpNode& op, const std::string& path) {
    if (level == kMostLevels) return {};
    ++level;
    SubtreeFacts facts = subtree(op, path);
    --level;
    return facts;
}

std::shared_ptr<const Instances> Answers::instances(const OpNode& op, const std::string& path) {
    const auto [entry, isNew] = knownInstances.try_emplace({&op, path});
    std::shared_ptr<const Instances>& answer = entry->second; // stays in place as above
    if (!isNew || !mayAsk(op)) return answer;
    auto found =
        AskOp<std::shared_ptr<const Instances>>(*this, op, path, [&op](InstanceContext& context) {
            return op.type->describeInstances(context);
        });
    answer = found;
    return found;
}

/// Null when nothing is known of the path.
const OpNode* CommittedOp(TellarRuntime::Client& client, const std::string& path) {
    const auto op = client.getOp();
    if (!op || !IsLocationPath(path)) return nullptr;
    const OpNode& node = OpNode::Of(*op);
    if (!node.committed || node.defect) return nullptr;
    // There is no such location. A client whose results were taken finds them again, and with them
    // the prepared arguments of its Ops, which stay while it has them.
    client.cookLocation("");
    return &node;
}

} // namespace

SubtreeFacts DescribeSubtree(TellarRuntime::Client& client, const std::string& path) {
    const OpNode* const op = CommittedOp(client, path);
    return op ? Answers().subtree(*op, path) : SubtreeFacts();
}

std::shared_ptr<const Instances> DescribeInstances(TellarRuntime::Client& client,
                                                   const std::string& path) {
    const OpNode* const op = CommittedOp(client, path);
    return op ? Answers().instances(*op, path) : nullptr;
}

} // namespace OxOpType
