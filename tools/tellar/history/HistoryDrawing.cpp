#include "HistoryDrawing.h"

#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "DotDrawing.h"
#include "HistoryWords.h"
#include "ValueText.h"

namespace TellarTool {

namespace {

using TELLAR::HistoryAction;
using TELLAR::HistoryRead;
using TELLAR::HistoryRole;
using TELLAR::HistoryStep;
using TELLAR::LocationHistory;
using Op = TellarRuntime::Op;

constexpr std::size_t kMostOps = 300; // a drawing of more is of no use
constexpr std::size_t kMostSteps = 4; // that an op's label tells
constexpr std::size_t kMostText = 48; // bytes of a value

constexpr const char* kUnusedNode = R"(color="#c4c9ce", fillcolor="#f7f8f9", fontcolor="#8b949c")";
constexpr const char* kUnusedEdge = R"(color="#d5d9dd")";

const char* NodeStyle(HistoryAction action) {
    switch (action) {
    case HistoryAction::Made:
    case HistoryAction::Copied:
        return R"(color="#2e7d4f", fillcolor="#dff3e6")";
    case HistoryAction::Set:
    case HistoryAction::Changed:
        return R"(color="#b8791a", fillcolor="#fdeccb")";
    case HistoryAction::Deleted:
    case HistoryAction::Pruned:
    case HistoryAction::Failed:
        return R"(color="#b03030", fillcolor="#fbdcdc")";
    case HistoryAction::Passed:
    case HistoryAction::Absent:
        break;
    }
    return "";
}

const char* EdgeStyle(HistoryRole role) {
    switch (role) {
    case HistoryRole::Origin:
        return R"(color="#2f5f9e", penwidth=2.2)";
    case HistoryRole::Contributed:
        return R"(color="#2f5f9e", penwidth=1.2)";
    case HistoryRole::Overridden:
        break;
    }
    return R"(color="#b03030", style=dashed)";
}

/// Does the op more than pass the subject on?
bool IsQuiet(HistoryAction action) {
    return action == HistoryAction::Passed || action == HistoryAction::Absent;
}

std::string Shortened(const std::string& text) {
    return text.size() <= kMostText ? text : text.substr(0, kMostText) + "...";
}

class Drawing {
public:
    Drawing(const LocationHistory& history, const std::shared_ptr<Op>& last)
        : history(history), isWhole(history.numberOfOps <= kMostOps) {
        for (const HistoryStep& step : history.steps)
            steps[step.op.get()].push_back(&step);
        if (last) collect(last);
    }

    std::string draw() {
        out = DotBeginning("history", "TB", title());
        for (const auto& op : ops)
            drawOp(*op);
        for (const auto& op : ops)
            drawInputs(*op);
        for (std::size_t i = 0; i < history.steps.size(); ++i)
            if (!isLeftOut(i)) drawReads(history.steps[i]);
        return out + "}\n";
    }

private:
    using Edge = std::pair<std::string, std::string>;

    const LocationHistory& history;
    const bool isWhole;
    std::map<const Op*, std::vector<const HistoryStep*>> steps;
    std::vector<std::shared_ptr<Op>> ops; // those that are drawn
    std::map<const Op*, std::string> ids;
    std::set<Edge> drawn;
    std::string out;

    std::string title() const {
        std::string text = history.location;
        if (!history.attribute.empty()) text += "  " + history.attribute;
        if (!isWhole)
            text += "  (on the way: " + std::to_string(steps.size()) + " of " +
                    Counted(history.numberOfOps, "op", "ops") + ")";
        return text;
    }

    void add(const std::shared_ptr<Op>& op) {
        if (ids.emplace(op.get(), "op" + std::to_string(ids.size())).second) ops.push_back(op);
    }

    void collect(const std::shared_ptr<Op>& last) {
        if (!isWhole) {
            for (std::size_t i = 0; i < history.steps.size(); ++i)
                if (!isLeftOut(i)) add(history.steps[i].op);
            return;
        }
        add(last);
        for (std::size_t next = 0; next < ops.size(); ++next)
            for (const auto& input : ops[next]->getInputs())
                if (input) add(input);
    }

    /// In a large graph, a step that only passes on what one other step has made.
    bool isLeftOut(std::size_t i) const {
        const HistoryStep& step = history.steps[i];
        return !isWhole && i + 1 < history.steps.size() && IsQuiet(step.action) &&
               step.reads.size() == 1;
    }

    /// The step of the op that says most: one that did something.
    const HistoryStep* chosenStep(const Op& op) const {
        const auto found = steps.find(&op);
        if (found == steps.end()) return nullptr;
        for (const HistoryStep* step : found->second)
            if (!IsQuiet(step->action)) return step;
        return found->second.front();
    }

    void drawOp(const Op& op) {
        std::string label = DotLabel(op.getName()) + "\\n" + DotLabel(op.getType());
        const HistoryStep* const chosen = chosenStep(op);
        if (!chosen) {
            AppendDotNode(out, ids[&op], label, kUnusedNode);
            return;
        }
        std::size_t told = 0;
        for (const HistoryStep* step : steps[&op]) {
            if (IsQuiet(step->action)) continue;
            if (++told > kMostSteps) break;
            label += "\\n" + DotLabel(stepText(*step));
        }
        std::string style = NodeStyle(chosen->action);
        const bool isDecision =
            history.decidedBy && history.steps[*history.decidedBy].op.get() == &op;
        if (isDecision) style += style.empty() ? "penwidth=2.5" : ", penwidth=2.5";
        AppendDotNode(out, ids[&op], label, style);
    }

    std::string stepText(const HistoryStep& step) const {
        std::string text = ActionWord(step.action);
        if (step.location != history.steps.back().location) text += " " + step.location;
        if (!IsAboutAttribute(history)) return text;
        if (step.after.isValid()) text += ": " + Shortened(ShortText(step.after));
        return text;
    }

    /// What the op reads of the subject is drawn by drawReads.
    void drawInputs(const Op& op) {
        std::set<Edge> read;
        const auto found = steps.find(&op);
        if (found != steps.end())
            for (const HistoryStep* step : found->second)
                for (const HistoryRead& one : step->reads)
                    read.emplace(ids[history.steps[one.step].op.get()], ids[&op]);
        for (const auto& input : op.getInputs()) {
            if (!input || ids.count(input.get()) == 0) continue;
            const Edge edge(ids[input.get()], ids[&op]);
            if (read.count(edge) == 0 && drawn.insert(edge).second)
                AppendDotEdge(out, edge.first, edge.second, {}, kUnusedEdge);
        }
    }

    void drawReads(const HistoryStep& step) {
        for (const HistoryRead& read : step.reads) {
            std::size_t made = read.step;
            std::size_t leftOut = 0;
            for (; isLeftOut(made); made = history.steps[made].reads.front().step)
                ++leftOut;
            const HistoryStep& from = history.steps[made];
            const Edge edge(ids[from.op.get()], ids[step.op.get()]);
            if (!drawn.insert(edge).second) continue;
            std::string label = from.location == step.location ? "" : DotLabel(from.location);
            if (leftOut > 0) label += (label.empty() ? "" : "\\n") + Counted(leftOut, "op", "ops");
            AppendDotEdge(out, edge.first, edge.second, label, EdgeStyle(read.role));
        }
    }
};

} // namespace

std::string HistoryDrawing(const LocationHistory& history, const std::shared_ptr<Op>& last) {
    return Drawing(history, last).draw();
}

} // namespace TellarTool
