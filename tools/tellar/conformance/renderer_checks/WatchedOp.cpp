#include "WatchedOp.h"

#include <atomic>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/TellarError.h>

#include "TestScenes.h"

namespace TellarTool {

using namespace OxAttribute;

namespace {

constexpr const char* kTypeName = "ConformWatch";

struct Watch {
    std::shared_mutex lock;
    std::function<void(const std::string&)> function; // guarded by lock
};

Watch& GetWatch() {
    static auto* const watch = new Watch;
    return *watch;
}

class WatchType : public OxOpType::OpType {
public:
    const OxOpType::Description& description() const override { return ownDescription; }

    void cook(OxOpType::CookContext& context) const override {
        {
            Watch& watch = GetWatch();
            const std::shared_lock<std::shared_mutex> guard(watch.lock);
            if (watch.function) watch.function(context.path());
        }
        const StringAttribute failing = context.args().getChildByName("failing");
        if (failing.isValid() && failing.getValue() == context.path())
            throw TellarError(kOxErrorCook, "this location cannot be cooked on purpose");
        context.pass(context.input(0));
    }

private:
    const OxOpType::Description ownDescription = {
        kTypeName,
        1,
        "Passes its input on, tells of every cook, and fails at one location.",
        {{"run", "int", "Tells the ops apart."},
         {"failing", "string", "The location that fails. Default: none."}},
        "one"};
};

void Register() {
    static const bool isRegistered = [] {
        OxOpType::RegisterOpType(new WatchType);
        return true;
    }();
    static_cast<void>(isRegistered);
}

} // namespace

GroupAttribute WithWatch(const GroupAttribute& description, const std::string& failing) {
    Register();
    static std::atomic<int> runs{0};
    const int run = ++runs;
    const GroupAttribute args({{"run", IntAttribute(run)}, {"failing", StringAttribute(failing)}},
                              true);
    return WithOp(description, "watch " + std::to_string(run), kTypeName, args);
}

void WatchCooks(std::function<void(const std::string&)> function) {
    Watch& watch = GetWatch();
    const std::unique_lock<std::shared_mutex> guard(watch.lock);
    watch.function = std::move(function);
}

} // namespace TellarTool
