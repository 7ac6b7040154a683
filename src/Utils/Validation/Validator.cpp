#include "Validator.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/AttributeSuite4.h>

#include "PerThread.h"

namespace TELLAR {

namespace {

// The number of the present thread, 0 before its first call, and the render that it works for.
TELLAR_THREAD_WORD int threadNumber = 0;
TELLAR_THREAD_WORD int threadRender = 0;

int ThreadNumber() {
    static std::atomic<int> count{0};
    if (threadNumber == 0) threadNumber = count.fetch_add(1, std::memory_order_relaxed) + 1;
    return threadNumber;
}

constexpr SlotInfo HostSlot() {
    SlotInfo slot;
    slot.name = "OxGeometryProducerToHandle";
    return slot;
}
constexpr SlotInfo kHostSlot = HostSlot();

std::string Described(HandleKind kind) {
    const std::string name = NameOf(kind);
    return (std::strchr("aeiou", name[0]) ? "an " : "a ") + name;
}

std::string Described(const HandleFacts& facts) {
    return Described(facts.kind) + " of " + TextOf(facts.made);
}

std::string Plural(std::int64_t count, const std::string& name) {
    return (count == 0 ? "no" : std::to_string(count)) + ' ' + name + (count == 1 ? "" : "s");
}

/// The first handle that is passed to a slot. Texts and values that the slot returns are borrowed
/// from it.
const void* OwnerOf(const SuiteCall& call) {
    for (int i = 0; i < call.getArgumentCount(); ++i)
        if (call.getArgument(i).getType().role == ValueRole::Handle)
            return call.getArgument(i).getPointer();
    return nullptr;
}

} // namespace

// ---- Calls --------------------------------------------------------------------------------------

CallStamp Validator::stamp(const SlotInfo& slot) {
    return {&slot, calls.fetch_add(1, std::memory_order_relaxed) + 1, ThreadNumber(), threadRender};
}

void Validator::onCall(SuiteCall& call) noexcept {
    if (call.getSlot().isCallback())
        onCallback(call);
    else
        onSlot(call);
}

void Validator::onSlot(SuiteCall& call) {
    CallStamp now = stamp(call.getSlot());
    follow(call, now);
    if (call.getSlot().action == SlotAction::Retain) return retain(call, now);
    if (call.getSlot().action == SlotAction::Release) return release(call, now);
    if (!checkArguments(call)) return;
    const void* const owner = OwnerOf(call);
    call.proceed();
    takeResults(call, owner, now);
}

void Validator::onCallback(SuiteCall& call) {
    const CallStamp now = stamp(call.getSlot());
    std::array<const void*, kMostArguments> lent{};
    for (int i = 0; i < call.getArgumentCount(); ++i) {
        const CallValue value = call.getArgument(i);
        if (value.getType().role != ValueRole::Handle) continue;
        lent[static_cast<std::size_t>(i)] = value.getPointer();
        lend(value.getType().handle, value.getPointer(), now);
    }
    call.proceed();
    for (const void* handle : lent)
        takeBack(handle);
}

void Validator::follow(const SuiteCall& call, CallStamp& stamp) const {
    const void* const owner = OwnerOf(call);
    const int render = owner ? handles.renderOf(owner) : 0;
    if (render != 0) stamp.render = threadRender = render;
}

void Validator::retain(SuiteCall& call, const CallStamp& stamp) {
    const CallValue value = call.getArgument(0);
    const HandleKind kind = value.getType().handle;
    if (!value.getPointer()) return;
    HandleFacts facts;
    const auto fault = handles.retain(kind, value.getPointer(), stamp, facts);
    if (fault) reportHandle(*fault, call.getSlot(), kind, value.getPointer(), facts);
    if (!fault || fault == Fault::AfterRender) call.proceed();
}

void Validator::release(SuiteCall& call, const CallStamp& stamp) {
    const CallValue value = call.getArgument(0);
    const HandleKind kind = value.getType().handle;
    void* const handle = value.getPointer();
    if (!handle) return;
    HandleFacts facts;
    HandleTable::Forward forward{};
    const auto fault = handles.release(kind, handle, stamp, facts, forward);
    if (fault) reportHandle(*fault, call.getSlot(), kind, handle, facts);
    if (forward == HandleTable::Forward::Now) call.proceed();
    if (forward == HandleTable::Forward::Later) handles.freeLater(handle, call.getHandleFunction());
}

// ---- Arguments ----------------------------------------------------------------------------------

bool Validator::checkArguments(SuiteCall& call) {
    bool isCallable = true;
    for (int i = 0; i < call.getArgumentCount(); ++i) {
        const CallValue value = call.getArgument(i);
        const ValueType& type = value.getType();
        if (type.role == ValueRole::Scalar) continue;
        if (!value.getPointer()) {
            isCallable = checkNull(call, i) && isCallable;
            continue;
        }
        if (type.role == ValueRole::Handle) checkHandle(call.getSlot(), type.handle, value);
        if (type.role == ValueRole::Handles) checkHandles(call, i);
        if (type.role == ValueRole::Texts) checkTexts(call, i);
        const bool isRead = type.role == ValueRole::Text || type.role == ValueRole::Values;
        if (isRead && type.direction == Direction::In)
            checkBorrowed(call.getSlot(), value.getPointer());
    }
    return isCallable;
}

/// A slot that reports errors is called nevertheless, and reports this one to the plug-in.
bool Validator::checkNull(const SuiteCall& call, int index) {
    const SlotInfo& slot = call.getSlot();
    const ValueType& type = call.getArgument(index).getType();
    const bool isCounted = type.count.source == CountRule::Argument;
    const bool isEmpty = isCounted && call.getArgument(type.count.index).getInteger() <= 0;
    if (type.isNullable || isEmpty) return true;
    report(Fault::Null, slot, {}, "got null for its argument " + std::to_string(index + 1));
    const ValueRole last = slot.arguments[static_cast<std::size_t>(slot.argumentCount) - 1].role;
    return last == ValueRole::Error;
}

void Validator::checkHandle(const SlotInfo& slot, HandleKind kind, CallValue value) {
    HandleFacts facts;
    auto fault = handles.check(kind, value.getPointer(), facts);
    const bool isOtherThread = facts.lent.thread != ThreadNumber();
    if (!fault && kind == HandleKind::Cook && isOtherThread) fault = Fault::WrongThread;
    if (!fault) return;
    reportHandle(*fault, slot, kind, value.getPointer(), facts);
    if (fault != Fault::AfterRender) value.setPointer(nullptr);
}

void Validator::checkHandles(const SuiteCall& call, int index) {
    const CallValue value = call.getArgument(index);
    // The array belongs to the plug-in, so a bad handle cannot become null: the array does.
    const auto* const list = value.get<const void* const*>();
    for (std::int64_t i = 0; i < call.getCount(index); ++i) {
        HandleFacts facts;
        const auto fault =
            list[i] ? handles.check(value.getType().handle, list[i], facts) : std::nullopt;
        if (!fault) continue;
        reportHandle(*fault, call.getSlot(), value.getType().handle, list[i], facts);
        if (fault != Fault::AfterRender) return CallValue(value).setPointer(nullptr);
    }
}

void Validator::checkTexts(const SuiteCall& call, int index) {
    const auto* const texts = call.getArgument(index).get<const char* const*>();
    checkBorrowed(call.getSlot(), texts);
    for (std::int64_t i = 0; i < call.getCount(index); ++i)
        checkBorrowed(call.getSlot(), texts[i]);
}

void Validator::checkBorrowed(const SlotInfo& slot, const void* pointer) {
    const auto found = poisoned.find(pointer);
    if (!found) return;
    HandleFacts facts;
    facts.made = found->borrowed;
    std::string text = std::string(found->isText ? "got a text of " : "got values of ") +
                       TextOf(found->borrowed) + ", whose handle ";
    text += found->released.slot ? TextOf(found->released) + " released"
                                 : std::string("is no longer lent");
    report(Fault::BorrowedTooLong, slot, facts, text);
}

// ---- Results ------------------------------------------------------------------------------------

void Validator::takeResults(SuiteCall& call, const void* owner, const CallStamp& stamp) {
    for (int i = 0; i < call.getArgumentCount(); ++i) {
        const CallValue value = call.getArgument(i);
        if (value.getType().role == ValueRole::Error && value.getPointer()) {
            const OxErrorStruct* const error = *value.get<OxErrorStruct**>();
            if (error) handles.give(HandleKind::Error, error, stamp, true);
        }
        const bool isRecord = value.getType().role == ValueRole::Record && value.getPointer();
        const bool isWritten = isRecord && value.getType().direction == Direction::Out;
        const ValueType& result = call.getResult().getType();
        const bool isFailed =
            result.role == ValueRole::Scalar && call.getResult().getInteger() != 1;
        if (isWritten && owner && !isFailed) lendRecord(value, owner, stamp);
    }
    if (!call.hasResult() || call.getResult().getType().role == ValueRole::Scalar) return;
    void* const result = call.getResult().getPointer();
    if (!result) return;
    const ValueType& type = call.getResult().getType();
    if (type.role == ValueRole::Handle) handles.give(type.handle, result, stamp, type.isOwned);
    if (owner) lendResult(call, owner, stamp);
    if (type.role != ValueRole::Delegate) return;
    const std::lock_guard<std::mutex> lock(mutex);
    const auto delegate = delegates.find(result);
    if (delegate != delegates.end()) call.getResult().setPointer(delegate->second);
}

void Validator::lendResult(SuiteCall& call, const void* owner, const CallStamp& stamp) {
    CallValue result = call.getResult();
    const ValueType& type = result.getType();
    const auto count = static_cast<std::size_t>(call.getResultCount());
    if (type.role == ValueRole::Text)
        result.setPointer(handles.borrow(owner, result.getPointer(), count + 1, true, stamp));
    if (type.role == ValueRole::Values)
        result.setPointer(
            handles.borrow(owner, result.getPointer(), count * SizeOf(type.scalar), false, stamp));
}

const char* Validator::lendText(const void* owner, const char* text, const CallStamp& stamp) {
    if (!text) return nullptr;
    return static_cast<const char*>(
        handles.borrow(owner, text, std::strlen(text) + 1, true, stamp));
}

void Validator::lendRecord(const CallValue& record, const void* owner, const CallStamp& stamp) {
    const auto lendValues = [&](const void* values, std::size_t size) {
        return handles.borrow(owner, values, size, false, stamp);
    };
    if (record.getType().record == RecordType::ErrorFacts) {
        auto& facts = *record.get<OxErrorFacts*>();
        for (const char** text : {&facts.text, &facts.op, &facts.opType, &facts.location,
                                  &facts.attribute, &facts.file})
            *text = lendText(owner, *text, stamp);
    }
    if (record.getType().record == RecordType::Change) {
        auto& change = *record.get<OxChange*>();
        change.path = lendText(owner, change.path, stamp);
    }
    if (record.getType().record == RecordType::Samples) {
        auto& samples = *record.get<OxSamples*>();
        const auto count = static_cast<std::size_t>(samples.sampleCount);
        const std::size_t valueSize = samples.type == kAttributeTypeDouble ? 8 : 4;
        samples.times = static_cast<const float*>(lendValues(samples.times, count * sizeof(float)));
        samples.values = lendValues(
            samples.values, count * static_cast<std::size_t>(samples.valueCount) * valueSize);
    }
}

// ---- Handles between host and plug-ins ---------------------------------------------------------

void Validator::adopt(const void* handle) {
    handles.adopt(HandleKind::Location, handle,
                  {&kHostSlot, calls.load(std::memory_order_relaxed), ThreadNumber(), 0});
}

void Validator::lend(HandleKind kind, const void* handle, const CallStamp& stamp) {
    if (handle) handles.lend(kind, handle, stamp);
}

void Validator::takeBack(const void* handle) {
    if (handle) handles.takeBack(handle);
}

void Validator::moveToHost(const void* handle) {
    if (handle) handles.moveToHost(handle);
}

void Validator::addDelegate(const void* ofHost, const void* ofPlugin) {
    const std::lock_guard<std::mutex> lock(mutex);
    delegates[ofHost] = ofPlugin;
}

// ---- Renders ------------------------------------------------------------------------------------

int Validator::setThreadRender(int render) {
    return std::exchange(threadRender, render);
}

int Validator::beginRender(const std::string& plugin) {
    const std::lock_guard<std::mutex> lock(mutex);
    threadRender = ++renderCount;
    renders[renderCount] = {plugin, calls.load(std::memory_order_relaxed), findings.getCount()};
    return renderCount;
}

void Validator::endRender(int number) {
    Render render;
    bool isLast = false;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        render = renders[number];
        renders.erase(number);
        isLast = renders.empty();
    }
    threadRender = 0;
    for (const LeakedHandle& leak : handles.endRender(number, isLast))
        reportLeak(leak);
    handles.freeReleased();
    findings.summarize("render " + std::to_string(number) + " by \"" + render.plugin + "\": " +
                       Plural(findings.getCount() - render.findingsBefore, "finding") + " in " +
                       Plural(static_cast<std::int64_t>(calls.load() - render.firstCall), "call"));
}

void Validator::endProcess() {
    for (const LeakedHandle& leak : handles.findLeaks())
        reportLeak(leak);
    findings.summarize("process: " + Plural(findings.getCount(), "finding") + " in " +
                       Plural(static_cast<std::int64_t>(calls.load()), "call"));
}

// ---- Reports ------------------------------------------------------------------------------------

void Validator::report(Fault fault, const SlotInfo& slot, const HandleFacts& facts,
                       const std::string& what) {
    findings.report({fault, slot.name, facts.made.slot ? facts.made.slot->name : ""},
                    TextOf(slot) + ' ' + what);
}

void Validator::reportHandle(Fault fault, const SlotInfo& slot, HandleKind kind, const void* handle,
                             const HandleFacts& facts) {
    std::string text = "got " + (facts.made.slot ? Described(facts) : Described(kind));
    switch (fault) {
    case Fault::Foreign:
        char address[32];
        std::snprintf(address, sizeof address, " %p", handle);
        text += address + std::string(" that no function has given to a plug-in");
        break;
    case Fault::WrongKind:
        text = "takes " + Described(kind) + " and " + text;
        break;
    case Fault::UsedAfterRelease:
    case Fault::ReleasedTwice:
        text += ", which " + TextOf(facts.released) + " released";
        break;
    case Fault::NotOwned:
    case Fault::AfterLoan:
        text = "got " + Described(facts.kind) + " that was lent by " + TextOf(facts.lent) +
               (fault == Fault::NotOwned ? " and not retained" : "");
        break;
    case Fault::WrongThread:
        text += " in thread " + std::to_string(ThreadNumber());
        break;
    case Fault::Leaked:
        text += " that was not retained, so it is never freed";
        break;
    default:
        break;
    }
    report(fault, slot, facts, text);
}

void Validator::reportLeak(const LeakedHandle& leak) {
    const SlotInfo& made = *leak.facts.made.slot;
    std::string text = Described(leak.facts);
    if (!leak.reference.slot) {
        text += " was not retained, so it is never freed";
    } else {
        if (leak.reference.number != leak.facts.made.number)
            text += " with a reference of " + TextOf(leak.reference);
        text += " was not released";
    }
    findings.report(
        {Fault::Leaked, made.name, leak.reference.slot ? leak.reference.slot->name : ""}, text);
}

void Validator::reportListener(Fault fault, const std::string& function, int render,
                               const std::string& text) {
    findings.report({fault, function, ""},
                    function + " of the listener of render " + std::to_string(render) + ' ' + text);
}

} // namespace TELLAR
