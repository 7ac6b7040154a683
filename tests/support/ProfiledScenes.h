#ifndef TELLAR_TEST_PROFILEDSCENES_H
#define TELLAR_TEST_PROFILEDSCENES_H

#include <chrono>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/SceneProfile.h>

#include "SceneBuilders.h"
#include "TestOps.h"

/// Op types whose costs are known, and profiles of scenes.
///
///     TestNap    passes its input; at the location "at" it first sleeps for kNap.
///     TestCopy   passes its input; /root/b is the location "from" of the input.
///     TestMerge  passes the first input, when it has read all of them.
///     TestGive   passes its input with the attribute "given": 1000 doubles made once for each op.
///     TestMove   has the attribute "moved", which is "given" of its input.
namespace TellarTest {

constexpr double kNap = 0.02; // seconds

inline void Nap() {
    std::this_thread::sleep_for(std::chrono::duration<double>(kNap));
}

inline void CookNap(OxOpType::CookContext& context) {
    if (context.path() == TextOf(TestArg(context, "at"))) Nap();
    context.pass(context.input(0));
}

inline void CookCopy(OxOpType::CookContext& context) {
    const bool isCopy = context.path() == "/root/b";
    context.pass(isCopy ? context.input(0, TextOf(TestArg(context, "from"))) : context.input(0));
}

inline void CookMerge(OxOpType::CookContext& context) {
    std::vector<TellarRuntime::LocationData> inputs;
    for (std::size_t i = 0; i < context.numberOfInputs(); ++i)
        inputs.push_back(context.input(i));
    context.pass(inputs.front());
}

inline void CookGive(OxOpType::CookContext& context) {
    static const OxAttribute::DoubleAttribute given(std::vector<double>(1000, 1.5), 1);
    const TellarRuntime::LocationData data = context.input(0);
    context.setAttrs(Group({{"path", data.getAttrs().getChildByName("path")}, {"given", given}}));
    context.setPotentialChildren(data.getPotentialChildren());
}

inline void CookMove(OxOpType::CookContext& context) {
    const TellarRuntime::LocationData data = context.input(0);
    context.setAttrs(Group({{"moved", data.getAttrs().getChildByName("given")}}));
    context.setPotentialChildren(data.getPotentialChildren());
}

inline const bool profiledOpsAreRegistered = [] {
    OxOpType::RegisterOpType(new TestOp("TestNap", CookNap));
    OxOpType::RegisterOpType(new TestOp("TestCopy", CookCopy));
    OxOpType::RegisterOpType(new TestOp("TestMerge", CookMerge));
    OxOpType::RegisterOpType(new TestOp("TestGive", CookGive));
    OxOpType::RegisterOpType(new TestOp("TestMove", CookMove));
    return true;
}();

/// A TestTree that no other test has: /root and its children.
inline OxAttribute::GroupAttribute TaggedTree(const std::vector<std::string>& children) {
    return OpEntry("TestTree", Group({{"children", Texts(children)}, {"tag", Text(UniqueTag())}}));
}

inline OxAttribute::GroupAttribute NapAt(const std::string& path, const std::string& input) {
    return OpEntry("TestNap", Group({{"at", Text(path)}}), {input});
}

/// The profile of all cooks of a scene, for which `threads` walk it.
inline TELLAR::SceneProfile ProfileOf(const OxAttribute::GroupAttribute& ops,
                                      const TELLAR::ProfileLimits& limits = {}, int threads = 1) {
    TELLAR::CookProfiler profiler(limits);
    const auto root = TELLAR::CreateSyncGeometryProducer(MakeClient(ops), "/root");
    TELLAR::CookLocations(root, {threads});
    return profiler.take();
}

inline const TELLAR::ProfiledOp& OpNamed(const TELLAR::SceneProfile& profile,
                                         const std::string& name) {
    for (const TELLAR::ProfiledOp& op : profile.ops)
        if (op.name == name) return op;
    throw std::runtime_error("The profile has no op " + name);
}

inline const TELLAR::CookTotals& TotalsOfOp(const TELLAR::SceneProfile& profile,
                                            const std::string& name) {
    return OpNamed(profile, name).totals;
}

inline const TELLAR::ProfiledOpType& TypeNamed(const TELLAR::SceneProfile& profile,
                                               const std::string& name) {
    for (const TELLAR::ProfiledOpType& type : profile.opTypes)
        if (type.type == name) return type;
    throw std::runtime_error("The profile has no op type " + name);
}

inline const TELLAR::CookTotals& TotalsAt(const TELLAR::SceneProfile& profile,
                                          const std::string& path) {
    for (const TELLAR::ProfiledLocation& location : profile.locations)
        if (location.path == path) return location.totals;
    throw std::runtime_error("The profile has no location " + path);
}

} // namespace TellarTest

#endif
