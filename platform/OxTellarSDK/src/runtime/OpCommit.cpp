// The commit of a graph of Ops: finds cycles, and gives each Op its type, its identity and the
// store of its results.
#include "OpGraph.h"

#include <algorithm>
#include <unordered_map>
#include <utility>

#include <xxhash.h>

#include "AttributeNode.h"
#include "PluginCall.h"
#include "text/SimilarNames.h"

namespace OxTellarRuntimeDetail {

using OxAttribute::Hash;

namespace {

// A cook calls itself once for every Op that it passes through.
constexpr int kMaxOpDepth = 512;

// The text of a cycle has at most this many names. That of a longer cycle has the first and last.
constexpr std::size_t kNamedInCycle = 16;
constexpr std::size_t kLongestNameInCycle = 64;

/// At most kLongestNameInCycle bytes of a name, cut between two characters of UTF-8.
std::string Shortened(const std::string& name) {
    if (name.size() <= kLongestNameInCycle) return name;
    std::size_t end = kLongestNameInCycle;
    while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xc0) == 0x80)
        --end;
    return name.substr(0, end) + "...";
}

std::shared_ptr<const std::string> Defect(std::string text) {
    return std::make_shared<const std::string>(std::move(text));
}

/// Walks the graph below some Ops in post-order, inputs first. It does not recurse, because graphs
/// come from files and may be deep.
///
/// All work and all texts are linear in the size of the graph. An Op that lies in several cycles
/// is marked for the first one found. Marked Ops that lie side by side on the stack are skipped at
/// once, because the topmost of them knows where they begin.
class Committer {
public:
    void commit(TellarRuntime::Op& start) {
        enter(start);
        while (!stack.empty()) {
            Visit& visit = stack.back();
            OpNode& node = OpNode::Of(*visit.op);
            if (visit.nextInput == node.inputs.size()) {
                finish(node);
                leave();
                continue;
            }
            TellarRuntime::Op* input = node.inputs[visit.nextInput++].get();
            if (!input || OpNode::Of(*input).committed) continue;
            const auto known = onStack.find(input);
            if (known == onStack.end())
                enter(*input);
            else
                markCycle(known->second);
        }
    }

private:
    struct Visit {
        TellarRuntime::Op* op;
        std::size_t nextInput;
        // Where the run of marked Ops that ends here begins; the own place if there is none.
        std::size_t firstMarked;
    };

    void enter(TellarRuntime::Op& op) {
        if (OpNode::Of(op).committed) return;
        onStack.emplace(&op, stack.size());
        stack.push_back({&op, 0, stack.size()});
    }

    void leave() {
        const Visit left = stack.back();
        onStack.erase(left.op);
        stack.pop_back();
        if (left.firstMarked < stack.size())
            stack.back().firstMarked = std::min(stack.back().firstMarked, left.firstMarked);
    }

    const std::string& nameAt(std::size_t place) const { return OpNode::Of(*stack[place].op).name; }

    /// The Ops from `first` to the top of the stack are a cycle.
    void markCycle(std::size_t first) {
        std::shared_ptr<const std::string> text;
        std::size_t end = stack.size();
        while (end > first) {
            const Visit& visit = stack[end - 1];
            OpNode& node = OpNode::Of(*visit.op);
            if (!node.inCycle) {
                if (!text) text = Defect("it is part of a cycle: " + describeCycle(first));
                node.inCycle = true;
                node.defect = text;
            }
            end = visit.firstMarked;
        }
        stack.back().firstMarked = end;
    }

    std::string describeCycle(std::size_t first) const {
        const std::size_t length = stack.size() - first;
        std::string text;
        for (std::size_t i = 0; i < length; ++i) {
            if (length > kNamedInCycle && i == kNamedInCycle / 2) {
                text += "(" + std::to_string(length - kNamedInCycle) + " more) -> ";
                i = length - kNamedInCycle / 2;
            }
            text += Shortened(nameAt(first + i)) + " -> ";
        }
        return text + Shortened(nameAt(first));
    }

    static std::string hintAbout(const std::string& missing) {
        std::vector<std::string> names;
        for (const OxOpType::Description* const type : OxOpType::GetDescriptions())
            names.push_back(type->name);
        return TellarInternal::DidYouMean(names, missing);
    }

    static void finish(OpNode& node) {
        for (const auto& input : node.inputs)
            if (input) node.depth = std::max(node.depth, OpNode::Of(*input).depth + 1);
        node.type = OxOpType::FindOpType(node.typeName);
        if (!node.defect && !node.type)
            node.defect = Defect("there is no op type of this name" + hintAbout(node.typeName));
        if (!node.defect && node.depth > kMaxOpDepth)
            node.defect = Defect("it depends on more than " + std::to_string(kMaxOpDepth) +
                                 " ops, one through the other");
        const int version = node.defect ? 0 : askForVersion(node);
        node.committed = true;
        node.identity = identify(node, version);
        if (!node.defect) node.store = LocationStore::ForIdentity(node.identity);
    }

    /// The version of the Op's type. If asking for it throws, the Op gets a defect.
    static int askForVersion(OpNode& node) {
        int version = 0;
        const std::string thrown =
            OxPluginManager::ExceptionFrom([&] { version = node.type->description().version; });
        if (!thrown.empty()) node.defect = Defect("the description of its type " + thrown);
        return version;
    }

    static Hash identify(const OpNode& node, int version) {
        std::string described = node.typeName;
        described += '\0';
        const auto append = [&described](const void* data, std::size_t bytes) {
            described.append(static_cast<const char*>(data), bytes);
        };
        if (!node.defect) {
            append(&version, sizeof version);
            const Hash args = OxAttribute::ContentIdentity(node.args);
            append(&args, sizeof args);
            for (const auto& input : node.inputs) {
                const Hash inputIdentity = input ? OpNode::Of(*input).identity : Hash();
                append(&inputIdentity, sizeof inputIdentity);
            }
        } else {
            described += node.name + *node.defect;
        }
        const XXH128_hash_t value = XXH3_128bits(described.data(), described.size());
        return {{value.high64, value.low64}};
    }

    std::vector<Visit> stack;
    std::unordered_map<TellarRuntime::Op*, std::size_t> onStack;
};

} // namespace

void CommitOps(const std::vector<std::shared_ptr<TellarRuntime::Op>>& ops) {
    Committer committer;
    for (const auto& op : ops)
        committer.commit(*op);
    // Ops that keep each other alive would never be freed.
    for (const auto& op : ops) {
        OpNode& node = OpNode::Of(*op);
        if (node.inCycle) node.inputs.clear();
    }
}

} // namespace OxTellarRuntimeDetail
