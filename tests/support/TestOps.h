#ifndef TELLAR_TEST_TESTOPS_H
#define TELLAR_TEST_TESTOPS_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/OpType.h>

#include "SceneBuilders.h"

/// Op types for tests, with faults and other special behaviour. Every program that includes this
/// header registers them.
///
///     TestTree     every location exists but those in "missing" (paths); each has the attribute
///                  "path". "children" are the potential children of /root; with "endless" 1
///                  every location has the potential child "a".
///     TestThrow    passes its input, and throws "It fails on purpose." at the location "at".
///     TestCount    passes its input with one more attribute: "cook", the number of this cook
///                  among all of the process.
///     TestVersion  as TestCount, with "version": what TestVersionNow holds at the time.
///     TestSlow     passes its input a little later, so that threads meet there.
///     TestHook     passes its input after calling the function that TestHookNow holds.
namespace TellarTest {

class TestOp final : public OxOpType::OpType {
public:
    using Cook = std::function<void(OxOpType::CookContext&)>;

    TestOp(const std::string& name, Cook cookFunction) : cookLocation(std::move(cookFunction)) {
        about.name = name;
    }
    const OxOpType::Description& description() const override { return about; }
    void cook(OxOpType::CookContext& context) const override { cookLocation(context); }

private:
    OxOpType::Description about;
    Cook cookLocation;
};

inline std::atomic<int>& TestVersionNow() {
    static std::atomic<int> version{0};
    return version;
}

/// To be set while no thread cooks.
inline std::function<void()>& TestHookNow() {
    static std::function<void()> hook = [] {};
    return hook;
}

inline OxAttribute::Attribute TestArg(const OxOpType::CookContext& context, const char* name) {
    return context.args().getChildByName(name);
}

inline void CookTestTree(OxOpType::CookContext& context) {
    const std::vector<std::string> missing = ValuesOf(TestArg(context, "missing"));
    if (std::find(missing.begin(), missing.end(), context.path()) != missing.end()) return;
    context.setAttrs(Group({{"path", Text(context.path())}}));
    if (IntOf(TestArg(context, "endless")) == 1)
        context.setPotentialChildren(Texts({"a"}));
    else if (context.path() == "/root")
        context.setPotentialChildren(TestArg(context, "children"));
}

inline void CookTestThrow(OxOpType::CookContext& context) {
    if (context.path() == TextOf(TestArg(context, "at")))
        throw std::runtime_error("It fails on purpose.");
    context.pass(context.input(0));
}

/// The input's location with one more attribute; nothing where it does not exist.
inline void PassWithAttribute(OxOpType::CookContext& context, const char* name, int value) {
    const TellarRuntime::LocationData data = context.input(0);
    if (!data.doesLocationExist()) return;
    Children attrs;
    const OxAttribute::GroupAttribute existing = data.getAttrs();
    for (std::int64_t i = 0; i < existing.getNumberOfChildren(); ++i)
        attrs.emplace_back(existing.getChildName(i), existing.getChildByIndex(i));
    attrs.emplace_back(name, Int(value));
    context.setAttrs(Group(attrs));
    context.setPotentialChildren(data.getPotentialChildren());
}

inline void CookTestCount(OxOpType::CookContext& context) {
    static std::atomic<int> cooks{0};
    PassWithAttribute(context, "cook", ++cooks);
}

inline void CookTestVersion(OxOpType::CookContext& context) {
    PassWithAttribute(context, "version", TestVersionNow());
}

inline void CookTestSlow(OxOpType::CookContext& context) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    context.pass(context.input(0));
}

inline void CookTestHook(OxOpType::CookContext& context) {
    TestHookNow()();
    context.pass(context.input(0));
}

inline bool RegisterTestOps() {
    OxOpType::RegisterOpType(new TestOp("TestTree", CookTestTree));
    OxOpType::RegisterOpType(new TestOp("TestThrow", CookTestThrow));
    OxOpType::RegisterOpType(new TestOp("TestCount", CookTestCount));
    OxOpType::RegisterOpType(new TestOp("TestVersion", CookTestVersion));
    OxOpType::RegisterOpType(new TestOp("TestSlow", CookTestSlow));
    OxOpType::RegisterOpType(new TestOp("TestHook", CookTestHook));
    return true;
}

/// An op tree in which every location exists but those missing; /root has the children.
inline OxAttribute::GroupAttribute TestTree(const OxAttribute::StringAttribute& children,
                                            const std::vector<std::string>& missing = {}) {
    return Group({{"tree", OpEntry("TestTree", Group({{"children", children},
                                                      {"missing", Texts(missing)},
                                                      {"tag", Text(UniqueTag())}}))}});
}

inline const bool testOpsAreRegistered = RegisterTestOps();

} // namespace TellarTest

#endif
