#ifndef OXTELLARPRODUCERS_VALIDATOR_H
#define OXTELLARPRODUCERS_VALIDATOR_H

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "Findings.h"
#include "HandleTable.h"
#include "SuiteCall.h"

namespace TELLAR {

/// Checks all calls between plug-ins and the host of this process. Lives to its end.
///
/// Nothing wrong is passed on to the host: a bad handle becomes null, and a release that is one too
/// many is left out. So a faulty plug-in goes on, and later faults are found as well.
class Validator : public SuiteCallObserver {
public:
    explicit Validator(bool isFatal) : findings(isFatal), handles(poisoned) {}

    void onCall(SuiteCall& call) noexcept override;

    /// A call of a plug-in's own function begins: the next number, on the present thread.
    CallStamp stamp(const SlotInfo& slot);

    /// C++ code of the host made a location handle, which it may pass to slots and plug-ins.
    void adopt(const void* handle);

    /// A handle that the host passes to a plug-in for a call; null is nothing.
    void lend(HandleKind kind, const void* handle, const CallStamp& stamp);
    void takeBack(const void* handle);
    /// A handle that a plug-in returned to the host together with its reference; null is nothing.
    void moveToHost(const void* handle);

    /// Sets the render that the present thread works for, 0 for none, and returns the one before.
    static int setThreadRender(int render);

    /// A render of a plug-in begins, on the present thread: its number.
    int beginRender(const std::string& plugin);
    /// Tells of what is left of it, and summarizes.
    void endRender(int number);
    /// Tells of what is left of the process, and summarizes.
    void endProcess();

    /// A function of a listener was called, by name, as it should not be.
    void reportListener(Fault fault, const std::string& function, int render,
                        const std::string& text);

    /// The table that plug-ins get for a location delegate whose table for the host is known.
    void addDelegate(const void* ofHost, const void* ofPlugin);

private:
    struct Render {
        std::string plugin;
        std::uint64_t firstCall = 0;
        std::int64_t findingsBefore = 0;
    };

    void onSlot(SuiteCall& call);
    void onCallback(SuiteCall& call);
    void retain(SuiteCall& call, const CallStamp& stamp);
    void release(SuiteCall& call, const CallStamp& stamp);
    /// The render of the first handle that belongs to one, which becomes the thread's.
    void follow(const SuiteCall& call, CallStamp& stamp) const;

    /// False when the slot cannot be called.
    bool checkArguments(SuiteCall& call);
    void checkHandle(const SlotInfo& slot, HandleKind kind, CallValue value);
    void checkHandles(const SuiteCall& call, int index);
    void checkBorrowed(const SlotInfo& slot, const void* pointer);
    void checkTexts(const SuiteCall& call, int index);
    bool checkNull(const SuiteCall& call, int index);

    void takeResults(SuiteCall& call, const void* owner, const CallStamp& stamp);
    void lendResult(SuiteCall& call, const void* owner, const CallStamp& stamp);
    void lendRecord(const CallValue& record, const void* owner, const CallStamp& stamp);
    const char* lendText(const void* owner, const char* text, const CallStamp& stamp);

    void report(Fault fault, const SlotInfo& slot, const HandleFacts& facts,
                const std::string& what);
    void reportHandle(Fault fault, const SlotInfo& slot, HandleKind kind, const void* handle,
                      const HandleFacts& facts);
    void reportLeak(const LeakedHandle& leak);

    Findings findings;
    PoisonedCopies poisoned;
    HandleTable handles;
    std::atomic<std::uint64_t> calls{0};

    std::mutex mutex; // guards the next members
    int renderCount = 0;
    std::map<int, Render> renders; // that go on
    std::map<const void*, const void*> delegates;
};

} // namespace TELLAR

#endif
