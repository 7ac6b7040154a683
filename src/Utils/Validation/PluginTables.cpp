#include "PluginTables.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>
#include <OxTellarSDK/OpTypeSuite.h>

#include "RenderWatch.h"

namespace TELLAR {

namespace {

constexpr SlotInfo PluginSlot(const char* suite, std::uint32_t version, const char* name) {
    SlotInfo slot;
    slot.suite = suite;
    slot.version = version;
    slot.name = name;
    return slot;
}

constexpr SlotInfo kRender = PluginSlot(OX_RENDERER_API, 1, "render");
constexpr SlotInfo kStart = PluginSlot(OX_RENDERER_API, 2, "start");
constexpr SlotInfo kApplyChanges = PluginSlot(OX_RENDERER_API, 2, "applyChanges");
constexpr SlotInfo kPrepare = PluginSlot(OX_OP_TYPE_API, 2, "prepare");
constexpr SlotInfo kReleaseState = PluginSlot(OX_OP_TYPE_API, 2, "releaseState");
constexpr SlotInfo kCook = PluginSlot(OX_OP_TYPE_API, 2, "cook");
constexpr SlotInfo kGetReplacement = PluginSlot(OX_LOCATION_DELEGATE_API, 1, "getReplacement");

/// A table of a plug-in and the one that stands in for it.
template <typename Suite>
struct PluginTable {
    const Suite* next = nullptr;
    Suite own{};
    std::string plugin;
    Validator* validator = nullptr;
};

// The functions of a table know nothing but their arguments, so each table has functions of its
// own, which are made for so many tables.
constexpr std::size_t kMostTables = 16;

template <typename Suite>
PluginTable<Suite> tables[kMostTables];

// Guards which tables are in use.
std::mutex& TablesMutex() {
    static std::mutex* const mutex = new std::mutex;
    return *mutex;
}

/// A handle that is lent to a plug-in during a call.
class Loan {
public:
    Loan(Validator& validator, HandleKind kind, const void* handle, const SlotInfo& slot)
        : validator(validator), handle(handle) {
        validator.lend(kind, handle, validator.stamp(slot));
    }
    ~Loan() { validator.takeBack(handle); }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

private:
    Validator& validator;
    const void* handle;
};

/// The result of a function of the plug-in, whose error it hands to the host.
template <typename Suite, typename Result>
Result WithError(const PluginTable<Suite>& table, OxErrorStruct** error, Result result) {
    if (error) table.validator->moveToHost(*error);
    return result;
}

// ---- Renderers, version 1 -----------------------------------------------------------------------

using Renderer_v1 = PluginTable<OxRendererPluginSuite_v1>;

int Render(const Renderer_v1& table, const OxRenderJob_v1* job) {
    RenderWatch& watch = RenderWatch::Begin(*table.validator, table.plugin);
    OxRenderJob_v1 watched = *job;
    watched.listener = watch.watch(job->listener);
    int status = kOxRenderFailed;
    {
        const Loan loan(*table.validator, HandleKind::Location, job->root, kRender);
        status = table.next->render(&watched);
    }
    watch.end();
    return status;
}

int Stitch(const Renderer_v1& table, const char* const* tiles, std::int64_t count,
           const char* picture, const OxRenderListener_v1* listener) {
    RenderWatch& watch = RenderWatch::Begin(*table.validator, table.plugin);
    const OxRenderListener_v1 watched = watch.watch(listener ? *listener : OxRenderListener_v1{});
    const int status = table.next->stitch(tiles, count, picture, listener ? &watched : nullptr);
    watch.end();
    return status;
}

template <std::size_t index>
void Fill(OxRendererPluginSuite_v1& own) {
    constexpr auto& table = tables<OxRendererPluginSuite_v1>[index];
    if (own.render) own.render = [](const OxRenderJob_v1* job) { return Render(table, job); };
    if (own.stitch)
        own.stitch = [](const char* const* tiles, std::int64_t count, const char* picture,
                        const OxRenderListener_v1* listener) {
            return Stitch(table, tiles, count, picture, listener);
        };
}

// ---- Renderers, version 2 -----------------------------------------------------------------------

using Renderer_v2 = PluginTable<OxRendererPluginSuite_v2>;

// The watches of the renders that go on.
struct Renders {
    std::mutex mutex;
    std::map<const OxRenderStruct*, RenderWatch*> watches;
};

Renders& GetRenders() {
    static auto* const renders = new Renders;
    return *renders;
}

OxRenderStruct* Start(const Renderer_v2& table, const OxRenderJob_v2* job, OxErrorStruct** error) {
    RenderWatch& watch = RenderWatch::Begin(*table.validator, table.plugin);
    OxRenderJob_v2 watched{};
    std::memcpy(&watched, job, std::min<std::size_t>(job->size, sizeof watched));
    watched.listener = watch.watch(watched.listener);
    OxRenderStruct* render = nullptr;
    {
        const Loan loan(*table.validator, HandleKind::Location, watched.root, kStart);
        render = WithError(table, error, table.next->start(&watched, error));
    }
    if (!render) {
        watch.end();
        return nullptr;
    }
    Renders& renders = GetRenders();
    const std::lock_guard<std::mutex> lock(renders.mutex);
    renders.watches[render] = &watch;
    return render;
}

void Release(const Renderer_v2& table, OxRenderStruct* render) {
    RenderWatch* watch = nullptr;
    {
        Renders& renders = GetRenders();
        const std::lock_guard<std::mutex> lock(renders.mutex);
        const auto found = renders.watches.find(render);
        if (found != renders.watches.end()) {
            watch = found->second;
            renders.watches.erase(found);
        }
    }
    table.next->release(render);
    if (watch) watch->end();
}

std::int32_t ApplyChanges(const Renderer_v2& table, OxRenderStruct* render,
                          const OxChangesStruct* changes, OxErrorStruct** error) {
    const Loan loan(*table.validator, HandleKind::Changes, changes, kApplyChanges);
    return WithError(table, error, table.next->applyChanges(render, changes, error));
}

std::int32_t Stitch(const Renderer_v2& table, const char* const* tiles, std::int64_t count,
                    const char* picture, const OxRenderListener_v2* listener,
                    OxErrorStruct** error) {
    RenderWatch& watch = RenderWatch::Begin(*table.validator, table.plugin);
    const OxRenderListener_v2 watched = watch.watch(listener ? *listener : OxRenderListener_v2{});
    const std::int32_t status =
        WithError(table, error,
                  table.next->stitch(tiles, count, picture, listener ? &watched : nullptr, error));
    watch.end();
    return status;
}

template <std::size_t index>
void Fill(OxRendererPluginSuite_v2& own) {
    constexpr auto& table = tables<OxRendererPluginSuite_v2>[index];
    if (own.start)
        own.start = [](const OxRenderJob_v2* job, OxErrorStruct** error) {
            return Start(table, job, error);
        };
    if (own.release) own.release = [](OxRenderStruct* render) { Release(table, render); };
    if (own.wait)
        own.wait = [](OxRenderStruct* render, double seconds, OxErrorStruct** error) {
            return WithError(table, error, table.next->wait(render, seconds, error));
        };
    if (own.setRegion)
        own.setRegion = [](OxRenderStruct* render, const OxPixelRegion* region,
                           OxErrorStruct** error) {
            return WithError(table, error, table.next->setRegion(render, region, error));
        };
    if (own.readLayer)
        own.readLayer = [](OxRenderStruct* render, std::int64_t layer, float* values,
                           std::int64_t count, OxErrorStruct** error) {
            return WithError(table, error,
                             table.next->readLayer(render, layer, values, count, error));
        };
    if (own.applyChanges)
        own.applyChanges = [](OxRenderStruct* render, const OxChangesStruct* changes,
                              OxErrorStruct** error) {
            return ApplyChanges(table, render, changes, error);
        };
    if (own.stitch)
        own.stitch = [](const char* const* tiles, std::int64_t count, const char* picture,
                        const OxRenderListener_v2* listener, OxErrorStruct** error) {
            return Stitch(table, tiles, count, picture, listener, error);
        };
}

// ---- Location delegates -------------------------------------------------------------------------

using Delegate = PluginTable<OxScenegraphLocationDelegatePluginSuite_v1>;

OxAttributeStruct* ToHost(const Delegate& table, OxAttributeStruct* returned) {
    table.validator->moveToHost(returned);
    return returned;
}

OxAttributeStruct* GetReplacement(const Delegate& table, OxLocationDelegateInstance instance,
                                  OxSgIteratorStruct* location) {
    const Loan loan(*table.validator, HandleKind::Location, location, kGetReplacement);
    return ToHost(table, table.next->getReplacement(instance, location));
}

/// The table for the host. Plug-ins that ask for a delegate get the delegate's own.
template <std::size_t index>
void Fill(OxScenegraphLocationDelegatePluginSuite_v1& own) {
    constexpr auto& table = tables<OxScenegraphLocationDelegatePluginSuite_v1>[index];
    if (own.getReplacement)
        own.getReplacement = [](OxLocationDelegateInstance instance, OxSgIteratorStruct* location) {
            return GetReplacement(table, instance, location);
        };
    if (own.getSupportedRenderer)
        own.getSupportedRenderer = [](OxLocationDelegateInstance instance) {
            return ToHost(table, table.next->getSupportedRenderer(instance));
        };
    if (own.getSupportedLocationTypes)
        own.getSupportedLocationTypes = [](OxLocationDelegateInstance instance) {
            return ToHost(table, table.next->getSupportedLocationTypes(instance));
        };
}

// ---- Op types in C ------------------------------------------------------------------------------

using COpType = PluginTable<OxOpTypePluginSuite_v2>;

/// A call of an op type. Its handles belong to no render, although renders cook: states outlive
/// them.
class OpTypeCall {
public:
    OpTypeCall(const COpType& table, HandleKind kind, const void* handle, const SlotInfo& slot)
        : loan(*table.validator, kind, handle, slot) {}
    ~OpTypeCall() { Validator::setThreadRender(render); }
    OpTypeCall(const OpTypeCall&) = delete;
    OpTypeCall& operator=(const OpTypeCall&) = delete;

private:
    const int render = Validator::setThreadRender(0);
    const Loan loan;
};

template <std::size_t index>
void Fill(OxOpTypePluginSuite_v2& own) {
    constexpr auto& table = tables<OxOpTypePluginSuite_v2>[index];
    if (own.prepare)
        own.prepare = [](const OxCookSuite* cooks, OxAttributeStruct* args, std::int64_t inputs,
                         void** state, OxErrorStruct** error) {
            const OpTypeCall call(table, HandleKind::Attribute, args, kPrepare);
            return WithError(table, error, table.next->prepare(cooks, args, inputs, state, error));
        };
    if (own.releaseState)
        own.releaseState = [](void* state) {
            const OpTypeCall call(table, HandleKind::None, nullptr, kReleaseState);
            table.next->releaseState(state);
        };
    if (own.cook)
        own.cook = [](OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                      OxErrorStruct** error) {
            const OpTypeCall call(table, HandleKind::Cook, cook, kCook);
            return WithError(table, error, table.next->cook(cook, cooks, state, error));
        };
}

// ---- Tables -------------------------------------------------------------------------------------

template <typename Suite, std::size_t... index>
void FillTable(std::size_t number, Suite& own, std::index_sequence<index...>) {
    static_cast<void>(((index == number && (Fill<index>(own), true)) || ...));
}

template <typename Suite>
Suite CopyOf(const Suite& suite) {
    return suite;
}

/// A table that tells its size may be smaller or larger than ours.
template <typename Suite>
Suite CopyOfSized(const Suite& suite) {
    Suite copy{};
    std::memcpy(&copy, &suite, std::min<std::size_t>(suite.size, sizeof copy));
    copy.size = std::min<std::uint32_t>(suite.size, sizeof copy);
    return copy;
}

template <>
OxRendererPluginSuite_v2 CopyOf(const OxRendererPluginSuite_v2& suite) {
    return CopyOfSized(suite);
}

template <>
OxOpTypePluginSuite_v2 CopyOf(const OxOpTypePluginSuite_v2& suite) {
    return CopyOfSized(suite);
}

template <typename Suite>
const Suite* Validated(const OxPluginManager::SuiteOffer& offer, Validator& validator) {
    const auto* const suite = static_cast<const Suite*>(offer.suite);
    const std::lock_guard<std::mutex> lock(TablesMutex());
    for (std::size_t i = 0; i < kMostTables; ++i) {
        PluginTable<Suite>& table = tables<Suite>[i];
        if (table.next == suite) return &table.own;
        if (table.next) continue;
        table.plugin = offer.pluginName;
        table.validator = &validator;
        table.own = CopyOf(*suite);
        table.next = suite;
        FillTable(i, table.own, std::make_index_sequence<kMostTables>());
        return &table.own;
    }
    return suite;
}

} // namespace

const void* ValidatedPluginSuite(const OxPluginManager::SuiteOffer& offer, Validator& validator) {
    if (offer.apiName == OX_RENDERER_API && offer.apiVersion == OX_RENDERER_API_VERSION)
        return Validated<OxRendererPluginSuite_v1>(offer, validator);
    if (offer.apiName == OX_RENDERER_API && offer.apiVersion == OX_RENDERER_API_VERSION_2)
        return Validated<OxRendererPluginSuite_v2>(offer, validator);
    if (offer.apiName == OX_OP_TYPE_API && offer.apiVersion == OX_OP_TYPE_API_VERSION)
        return Validated<OxOpTypePluginSuite_v2>(offer, validator);
    if (offer.apiName != OX_LOCATION_DELEGATE_API || offer.apiVersion != 1) return offer.suite;
    const auto* const own = Validated<OxScenegraphLocationDelegatePluginSuite_v1>(offer, validator);
    validator.addDelegate(own, offer.suite);
    return own;
}

} // namespace TELLAR
