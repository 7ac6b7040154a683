#include "COpType.h"

#include <atomic>
#include <exception>
#include <utility>

#include <OxTellarSDK/ErrorHandle.h>
#include <OxTellarSDK/SuiteFilter.h>
#include <OxTellarSDK/TellarError.h>

#include "ErrorEntry.h"

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;

/// The cook that a plug-in was called for.
struct OxCookStruct {
    OxOpType::CookContext& context;
    /// The last exception of an input, so that a plug-in that hands its error on passes on the
    /// exception itself.
    std::exception_ptr inputError;
};

/// A counted handle onto a cooked location.
struct OxLocationDataStruct {
    const TellarRuntime::LocationData data;
    std::atomic<std::uint32_t> count{1};
};

namespace OxOpType {

namespace {

using OxPluginManager::FilteredSuite;
using OxPluginManager::kCookSuiteName;
using TELLAR::NotNull;

std::string Text(const char* text) {
    return text ? text : "";
}

Attribute View(OxAttributeStruct* handle) {
    return Attribute::CreateAndRetain(handle);
}

Description DescriptionOf(const OxOpDescription& told) {
    Description description;
    description.name = Text(told.name);
    description.version = told.version;
    description.summary = Text(told.summary);
    description.inputs = Text(told.inputs);
    for (std::int64_t i = 0; told.arguments && i < told.argumentCount; ++i) {
        const OxOpArgument& argument = told.arguments[i];
        description.arguments.push_back(
            {Text(argument.name), Text(argument.type), Text(argument.summary)});
    }
    return description;
}

/// Takes over the error of a function that failed, which may be null, and throws it.
[[noreturn]] void ThrowError(OxErrorStruct* error) {
    if (!error) throw TellarError(kOxErrorUnknown, "it failed without an error");
    const OxErrorFacts told = OxHandleToErrorFacts(error);
    ErrorFacts facts{told.code,     told.text,      told.op,   told.opType,
                     told.location, told.attribute, told.file, {}};
    OxReleaseError(error);
    throw TellarError(std::move(facts));
}

/// The same for a cook. An input's exception keeps its type, by which the runtime knows it.
[[noreturn]] void ThrowCookError(const OxCookStruct& cook, OxErrorStruct* error) {
    if (error && cook.inputError &&
        FactsOf(cook.inputError).text == OxHandleToErrorFacts(error).text) {
        OxReleaseError(error);
        std::rethrow_exception(cook.inputError);
    }
    ThrowError(error);
}

struct CState final : State {
    CState(void* value, void (*release)(void*)) : value(value), release(release) {}
    ~CState() override {
        if (value && release) release(value);
    }
    CState(const CState&) = delete;
    CState& operator=(const CState&) = delete;

    void* const value;
    void (*const release)(void*);
};

// ---- The host's functions for a cook ------------------------------------------------------------

OxLocationDataStruct* GetInput(OxCookStruct* cook, std::int64_t index, const char* path) {
    NotNull(cook, "cook");
    NotNull(path, "path");
    if (index < 0) throw TELLAR::BadCall{"index", "is negative"};
    try {
        return new OxLocationDataStruct{cook->context.input(static_cast<std::size_t>(index), path)};
    } catch (...) {
        cook->inputError = std::current_exception();
        throw;
    }
}

std::int32_t SetAttributes(OxCookStruct* cook, OxAttributeStruct* attributes) {
    const GroupAttribute group(View(attributes));
    if (attributes && !group.isValid()) throw TELLAR::BadCall{"attributes", "is not a group"};
    NotNull(cook, "cook")->context.setAttrs(group);
    return 1;
}

std::int32_t SetPotentialChildren(OxCookStruct* cook, OxAttributeStruct* names) {
    const StringAttribute strings(View(names));
    if (names && !strings.isValid()) throw TELLAR::BadCall{"names", "is not of type string"};
    NotNull(cook, "cook")->context.setPotentialChildren(strings);
    return 1;
}

void RetainLocationData(OxLocationDataStruct* data) noexcept {
    if (data) data->count.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseLocationData(OxLocationDataStruct* data) noexcept {
    if (data && data->count.fetch_sub(1, std::memory_order_acq_rel) == 1) delete data;
}

const OxAttributeSuite_v4* GetAttributeSuite() {
    const OxAttributeSuite_v4* const suite = OxGetBuiltInAttributeSuite4();
    const void* const filtered = FilteredSuite({"", OX_ATTRIBUTE_HOST_SUITE, 4, suite});
    return filtered ? static_cast<const OxAttributeSuite_v4*>(filtered) : suite;
}

OxCookSuite MakeCookSuite() {
    using Cook = const OxCookStruct*;
    using Data = const OxLocationDataStruct*;
    OxCookSuite suite{};
    suite.size = sizeof suite;
    suite.version = 1;
    suite.values = GetAttributeSuite(); // slot 0
    TELLAR_SET_SILENT_ENTRY(suite, 1, getPath, [](Cook cook) -> const char* {
        return cook ? cook->context.path().c_str() : nullptr;
    });
    TELLAR_SET_SILENT_ENTRY(suite, 2, getArgs, [](Cook cook) -> OxAttributeStruct* {
        return cook ? GroupAttribute(cook->context.args()).detach() : nullptr;
    });
    TELLAR_SET_SILENT_ENTRY(suite, 3, getNumberOfInputs, [](Cook cook) -> std::int64_t {
        return cook ? static_cast<std::int64_t>(cook->context.numberOfInputs()) : 0;
    });
    TELLAR_SET_ERROR_ENTRY(suite, 4, getInput, GetInput);
    TELLAR_SET_SLOT(suite, 5, retainLocationData, RetainLocationData);
    TELLAR_SET_SLOT(suite, 6, releaseLocationData, ReleaseLocationData);
    TELLAR_SET_SILENT_ENTRY(suite, 7, doesLocationExist, [](Data data) -> std::int32_t {
        return data && data->data.doesLocationExist();
    });
    TELLAR_SET_SILENT_ENTRY(suite, 8, getLocationAttributes, [](Data data) -> OxAttributeStruct* {
        return data ? GroupAttribute(data->data.getAttrs()).detach() : nullptr;
    });
    TELLAR_SET_SILENT_ENTRY(suite, 9, getLocationChildren, [](Data data) -> OxAttributeStruct* {
        return data ? StringAttribute(data->data.getPotentialChildren()).detach() : nullptr;
    });
    TELLAR_SET_SILENT_ENTRY(suite, 10, pass, [](OxCookStruct* cook, Data data) {
        if (cook && data) cook->context.pass(data->data);
    });
    TELLAR_SET_ERROR_ENTRY(suite, 11, setAttributes, SetAttributes);
    TELLAR_SET_ERROR_ENTRY(suite, 12, setPotentialChildren, SetPotentialChildren);
    TELLAR_SET_SILENT_ENTRY(suite, 13, setNote, [](OxCookStruct* cook, OxAttributeStruct* note) {
        if (cook) cook->context.setNote(View(note));
    });
    TELLAR_SET_SILENT_ENTRY(suite, 14, getParentNote, [](Cook cook) -> OxAttributeStruct* {
        return cook ? cook->context.parentNote().detach() : nullptr;
    });
    TELLAR_SET_SILENT_ENTRY(suite, 15, getProbableIndex, [](Cook cook) -> std::int64_t {
        return cook ? cook->context.probableIndex() : 0;
    });
    TELLAR_SET_SILENT_ENTRY(suite, 16, isFresh, [](Cook cook) -> std::int32_t {
        return cook && cook->context.isFresh();
    });
    return suite;
}

const OxCookSuite* GetCookSuite() {
    static const OxCookSuite suite = MakeCookSuite();
    static const void* const filtered = FilteredSuite({"", kCookSuiteName, 1, &suite});
    return filtered ? static_cast<const OxCookSuite*>(filtered) : &suite;
}

} // namespace

std::string COpType::FaultOf(const OxOpTypePluginSuite_v2* suite) {
    if (suite->size < sizeof *suite) return "its function table is smaller than that of version 2";
    if (!suite->getDescription) return "its function table has no getDescription";
    if (!suite->cook) return "its function table has no cook";
    const OxOpDescription* const told = suite->getDescription();
    if (!told) return "getDescription gives no description";
    if (told->size < sizeof *told) return "its description is smaller than that of version 2";
    if (told->argumentCount < 0) return "its description has a negative number of arguments";
    return {};
}

COpType::COpType(const OxOpTypePluginSuite_v2* suite)
    : suite(suite), ownDescription(DescriptionOf(*suite->getDescription())) {}

std::shared_ptr<const State> COpType::prepare(const GroupAttribute& args,
                                              std::size_t numberOfInputs) const {
    if (!suite->prepare) return nullptr;
    void* value = nullptr;
    OxErrorStruct* error = nullptr;
    const std::int32_t isDone =
        suite->prepare(GetCookSuite(), args.getHandle(), static_cast<std::int64_t>(numberOfInputs),
                       &value, &error);
    auto state = std::make_shared<const CState>(value, suite->releaseState);
    if (!isDone) ThrowError(error);
    OxReleaseError(error);
    return state;
}

void COpType::cook(CookContext& context) const {
    const auto* const state = static_cast<const CState*>(context.state());
    OxCookStruct cook{context, nullptr};
    OxErrorStruct* error = nullptr;
    if (!suite->cook(&cook, GetCookSuite(), state ? state->value : nullptr, &error))
        ThrowCookError(cook, error);
    OxReleaseError(error);
}

} // namespace OxOpType
