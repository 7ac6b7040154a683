#ifndef TELLAR_TEST_HISTORYSCENES_H
#define TELLAR_TEST_HISTORYSCENES_H

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>

#include "SceneBuilders.h"
#include "TestOps.h"

/// Op trees for tests of histories, and histories as text.
///
/// Further op types:
///     TestMove             presents the location "from" at "to" as well.
///     TestReadOther        reads the location "other", and sets "size" to a value of its own.
///     TestDrop             passes its first input without the location "at".
///     TestNoChildren       passes its input without potential children.
///     TestReverseChildren  passes its input with the potential children in reverse.
namespace TellarTest {

using OpChild = OxAttribute::GroupAttribute::Child;

inline OpChild OpOf(const std::string& name, const std::string& type,
                    const OxAttribute::GroupAttribute& args,
                    const std::vector<std::string>& inputs) {
    return {name, OpEntry(type, args, inputs)};
}

/// A source with the location /root/x.
inline OpChild Scene(const std::string& name, const OxAttribute::GroupAttribute& x) {
    return OpOf(name, "StaticScene", Group({{"c", Group({{"x", x}})}}), {});
}

inline OpChild Edit(const std::string& name, const std::string& input, const std::string& path,
                    const Children& set, const std::vector<std::string>& deleted = {}) {
    Children args = {{"paths", Texts({path})}, {"set", Group(set)}};
    if (!deleted.empty()) args.emplace_back("delete", Texts(deleted));
    return OpOf(name, "AttributeEdit", Group(args), {input});
}

/// An int as its number, a string in quotation marks, "group" or "none".
inline std::string WordOf(const OxAttribute::Attribute& value) {
    if (!value.isValid()) return "none";
    if (OxAttribute::GroupAttribute(value).isValid()) return "group";
    const OxAttribute::StringAttribute text(value);
    return text.isValid() ? '"' + TextOf(text) + '"' : std::to_string(IntOf(value));
}

inline std::string ValuesText(const TELLAR::HistoryStep& step, bool isAboutValue) {
    using TELLAR::HistoryAction;
    const bool isQuiet =
        step.action == HistoryAction::Passed || step.action == HistoryAction::Absent;
    if (!isAboutValue || isQuiet || step.action == HistoryAction::Failed) return {};
    if (step.action == HistoryAction::Pruned) return {};
    const bool isNew = !step.before.isValid();
    return ' ' + (isNew ? "" : WordOf(step.before) + " -> ") + WordOf(step.after);
}

/// "c changed 1 -> 3 from 1 and 2 not 4", with the indices of the steps that it reads.
inline std::string StepText(const TELLAR::HistoryStep& step, const std::string& location,
                            bool isAboutValue) {
    static constexpr const char* kActions[] = {"made",    "passed", "copied", "set",   "changed",
                                               "deleted", "pruned", "absent", "failed"};
    std::string text = step.op->getName();
    if (step.location != location) text += " at " + step.location;
    text += std::string(" ") + kActions[static_cast<int>(step.action)];
    text += ValuesText(step, isAboutValue);
    const bool isQuiet = step.action == TELLAR::HistoryAction::Passed ||
                         step.action == TELLAR::HistoryAction::Absent;
    bool isFirst = true;
    for (const TELLAR::HistoryRead& read : step.reads) {
        const bool isLost = read.role == TELLAR::HistoryRole::Overridden;
        text += isLost ? " not " : !isFirst ? " and " : isQuiet ? " " : " from ";
        text += std::to_string(read.step);
        isFirst = false;
    }
    return text;
}

inline std::vector<std::string> StepsOf(const TELLAR::LocationHistory& history) {
    std::vector<std::string> lines;
    const bool isAboutValue = history.outcome == TELLAR::HistoryOutcome::Unnamed ||
                              (history.doesLocationExist && !history.attribute.empty());
    for (const TELLAR::HistoryStep& step : history.steps)
        lines.push_back(StepText(step, history.subject, isAboutValue));
    return lines;
}

/// "size 1 -> 2 from /root/y of 0".
inline std::vector<std::string> ChangesOf(const TELLAR::HistoryStep& step) {
    std::vector<std::string> lines;
    for (const TELLAR::HistoryChange& change : step.changes) {
        lines.push_back(change.attribute + ' ' + WordOf(change.before) + " -> " +
                        WordOf(change.after));
        if (!change.copiedFrom.empty())
            lines.back() +=
                " from " + change.copiedFrom + " of " + std::to_string(change.copiedInput);
    }
    return lines;
}

inline void CookTestMove(OxOpType::CookContext& context) {
    const std::string to = TextOf(TestArg(context, "to"));
    if (context.path() == to) {
        context.pass(context.input(0, TextOf(TestArg(context, "from"))));
        return;
    }
    const TellarRuntime::LocationData data = context.input(0);
    if (!data.doesLocationExist()) return;
    context.pass(data);
    if (to.substr(0, to.rfind('/')) != context.path()) return;
    std::vector<std::string> names = ValuesOf(data.getPotentialChildren());
    names.push_back(to.substr(to.rfind('/') + 1));
    context.setPotentialChildren(Texts(names));
}

inline void CookTestReadOther(OxOpType::CookContext& context) {
    context.input(0, TextOf(TestArg(context, "other")));
    PassWithAttribute(context, "size", IntOf(TestArg(context, "size")));
}

inline void CookTestDrop(OxOpType::CookContext& context) {
    if (context.path() != TextOf(TestArg(context, "at"))) context.pass(context.input(0));
}

inline void CookTestNoChildren(OxOpType::CookContext& context) {
    const TellarRuntime::LocationData data = context.input(0);
    if (data.doesLocationExist()) context.setAttrs(data.getAttrs());
}

inline void CookTestReverseChildren(OxOpType::CookContext& context) {
    const TellarRuntime::LocationData data = context.input(0);
    if (!data.doesLocationExist()) return;
    std::vector<std::string> names = ValuesOf(data.getPotentialChildren());
    std::reverse(names.begin(), names.end());
    context.setAttrs(data.getAttrs());
    if (!names.empty()) context.setPotentialChildren(Texts(names));
}

inline bool RegisterHistoryOps() {
    OxOpType::RegisterOpType(new TestOp("TestMove", CookTestMove));
    OxOpType::RegisterOpType(new TestOp("TestReadOther", CookTestReadOther));
    OxOpType::RegisterOpType(new TestOp("TestDrop", CookTestDrop));
    OxOpType::RegisterOpType(new TestOp("TestNoChildren", CookTestNoChildren));
    OxOpType::RegisterOpType(new TestOp("TestReverseChildren", CookTestReverseChildren));
    return true;
}

inline const bool historyOpsAreRegistered = RegisterHistoryOps();

} // namespace TellarTest

#endif
