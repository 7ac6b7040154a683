#include "HistoryWalk.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <utility>

#include <OxTellarSDK/CookTrace.h>

#include "StepAnalysis.h"

namespace TELLAR {

namespace {

constexpr std::size_t kNoStep = static_cast<std::size_t>(-1);

/// Goes from the last Op to the sources and lists each step behind those that it reads. It keeps
/// its own stack, because op graphs may be deep.
class Walk {
public:
    explicit Walk(const HistorySubject& subject) : subject(subject) {}

    std::vector<HistoryStep> run(const std::shared_ptr<TellarRuntime::Op>& op,
                                 const std::string& location) {
        open.push_back(&visit(op, location));
        while (!open.empty()) {
            Node& node = *open.back();
            if (node.next == node.reads.size()) {
                finish(node);
                open.pop_back();
            } else {
                descend(node);
            }
        }
        return std::move(steps);
    }

private:
    /// An Op at a location. Its step is moved to the list when it is finished.
    struct Node : StepAnalysis {
        std::vector<std::shared_ptr<TellarRuntime::Op>> inputs; // of the Op
        std::vector<Node*> made;                                // the nodes behind the reads so far
        std::size_t next = 0;                                   // index of the next read to follow
        std::size_t index = kNoStep;
    };
    using Key = std::pair<const TellarRuntime::Op*, std::string>;

    const HistorySubject& subject;
    std::map<Key, Node> nodes; // its entries stay where they are
    std::vector<Node*> open;
    std::vector<HistoryStep> steps;

    Node& visit(const std::shared_ptr<TellarRuntime::Op>& op, const std::string& location) {
        Node& node = nodes[{op.get(), location}];
        static_cast<StepAnalysis&>(node) =
            AnalyseStep(op, location, subject, OxOpType::TraceCook(*op, location));
        node.inputs = op->getInputs();
        return node;
    }

    /// Goes to the node behind the next read, unless the walk has been there.
    void descend(Node& node) {
        const WantedRead& read = node.reads[node.next++];
        const auto& input = node.inputs[read.input];
        const auto known = nodes.find({input.get(), read.location});
        if (known != nodes.end()) {
            node.made.push_back(&known->second);
            return;
        }
        Node& next = visit(input, read.location);
        node.made.push_back(&next);
        open.push_back(&next);
    }

    /// Adds the step, unless nothing is known of a location that is not there.
    void finish(Node& node) {
        const bool isAbsent = node.step.action == HistoryAction::Absent;
        if (isAbsent && isAnyThere(node)) node.step.action = HistoryAction::Pruned;
        const bool isPruned = node.step.action == HistoryAction::Pruned;
        for (std::size_t i = 0; i < node.reads.size(); ++i)
            if (!isPruned || node.made[i]->exists) addRead(node, i, isAbsent);
        if (isAbsent && node.step.reads.empty()) return;
        if (isPruned) node.step.before = steps[node.step.reads.front().step].after;
        node.index = steps.size();
        steps.push_back(std::move(node.step));
    }

    static bool isAnyThere(const Node& node) {
        return std::any_of(node.made.begin(), node.made.end(),
                           [](const Node* made) { return made->exists; });
    }

    /// The location of an Op that lacks it may have been in several inputs. The first is then the
    /// origin.
    void addRead(Node& node, std::size_t i, bool isAbsent) {
        // The step is missing where the location never was, and where an Op waits for its own
        // result.
        if (node.made[i]->index == kNoStep) return;
        HistoryRole role = node.reads[i].role;
        if (isAbsent && !node.step.reads.empty()) role = HistoryRole::Contributed;
        node.step.reads.push_back({node.made[i]->index, node.reads[i].input, role});
    }
};

} // namespace

std::vector<HistoryStep> WalkHistory(const std::shared_ptr<TellarRuntime::Op>& op,
                                     const std::string& location, const HistorySubject& subject) {
    return Walk(subject).run(op, location);
}

} // namespace TELLAR
