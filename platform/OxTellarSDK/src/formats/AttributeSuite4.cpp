#include <OxTellarSDK/AttributeSuite4.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/ErrorHandle.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/TellarError.h>

#include "ErrorEntry.h"
#include "NodeAccess.h"

namespace OxAttribute {

namespace {

using TELLAR::BadCall;
using TELLAR::NotNull;

/// The attribute behind a borrowed C handle.
Attribute View(const OxAttributeStruct* handle) {
    return Attribute::CreateAndRetain(const_cast<OxAttributeStruct*>(handle));
}

const char* TypeName(int type) {
    switch (type) {
    case kAttributeTypeInt:
        return "int";
    case kAttributeTypeFloat:
        return "float";
    case kAttributeTypeDouble:
        return "double";
    case kAttributeTypeString:
        return "string";
    case kAttributeTypeGroup:
        return "group";
    default:
        return "null";
    }
}

[[noreturn]] void RefuseType(const OxAttributeStruct* data, const char* wanted) {
    throw TellarError(kOxErrorValue, std::string("the attribute is of type ") +
                                         TypeName(data->type()) + " and not " + wanted);
}

bool IsNumeric(const OxAttributeStruct* data) {
    return data->type() == kAttributeTypeInt || data->type() == kAttributeTypeFloat ||
           data->type() == kAttributeTypeDouble;
}

/// Refuses null, and attributes that are not of numbers.
const OxAttributeStruct* Numbers(const OxAttributeStruct* data) {
    if (!IsNumeric(NotNull(data, "data"))) RefuseType(data, "int, float or double");
    return data;
}

// ---- Errors -------------------------------------------------------------------------------------

std::string Text(const char* text) {
    return text ? text : "";
}

void GetErrorFacts(const OxErrorStruct* error, OxErrorFacts* facts) noexcept {
    if (facts) *facts = OxHandleToErrorFacts(error);
}

OxErrorStruct* CreateError(const OxErrorFacts* facts) noexcept {
    try {
        if (!facts) return OxErrorToHandle(ErrorFacts());
        return OxErrorToHandle({facts->code, Text(facts->text), Text(facts->op),
                                Text(facts->opType), Text(facts->location), Text(facts->attribute),
                                Text(facts->file)});
    } catch (...) {
        return OxErrorToHandle(std::current_exception());
    }
}

// ---- Content ------------------------------------------------------------------------------------

// Version 1 logs why a value in a damaged file has no hash.

void GetHash(const OxAttributeStruct* attribute, std::uint64_t words[2]) {
    if (!words) return;
    words[0] = words[1] = 0; // the result if the call throws
    const Hash hash = View(attribute).getHash();
    words[0] = hash.words[0];
    words[1] = hash.words[1];
}

std::int32_t IsEqual(const OxAttributeStruct* a, const OxAttributeStruct* b) {
    return View(a) == View(b);
}

// ---- Values -------------------------------------------------------------------------------------

template <typename T>
const T* GetSample(const OxAttributeStruct* data, float time, std::int64_t* count) {
    if (count) *count = 0;
    constexpr AttributeType kType = NumericAttribute<T>::kType;
    if (NotNull(data, "data")->type() != kType) RefuseType(data, TypeName(kType));
    const DataView view = ViewOf(data, kType);
    if (count) *count = static_cast<std::int64_t>(view.count);
    return view.as<T>() + NearestSample(view, time) * view.count;
}

std::int32_t GetSamples(const OxAttributeStruct* data, OxSamples* samples) {
    static constexpr float kTimeZero = 0.0f;
    *NotNull(samples, "samples") = {};
    Numbers(data);
    const DataView view = ViewOf(data);
    samples->type = static_cast<AttributeType>(view.type);
    samples->tupleSize = view.tupleSize;
    samples->valueCount = static_cast<std::int64_t>(view.count);
    samples->sampleCount = view.timeCount;
    samples->times = view.times ? view.times : &kTimeZero;
    samples->values = view.values;
    return 1;
}

template <typename Result>
Result Converted(double value) {
    return static_cast<Result>(value);
}

template <>
std::int32_t Converted<std::int32_t>(double value) {
    const double rounded = std::round(value);
    // Written so that NaN is refused too.
    if (!(rounded >= std::numeric_limits<std::int32_t>::min() &&
          rounded <= std::numeric_limits<std::int32_t>::max()))
        throw TellarError(kOxErrorValue, "a value is outside of the range of integers");
    return static_cast<std::int32_t>(rounded);
}

/// Copies `count` values at the place between two samples.
template <typename T, typename Result>
void CopyValues(const DataView& view, const SampleSpan& span, Result* values, std::int64_t count) {
    const T* const low = view.as<T>() + span.before * view.count;
    const T* const high = view.as<T>() + span.after * view.count;
    for (std::int64_t i = 0; i < count; ++i)
        values[i] = Converted<Result>(span.interpolate<double>(low[i], high[i]));
}

template <typename Result>
std::int64_t ReadValues(const OxAttributeStruct* data, float time, std::int32_t interpolation,
                        Result* values, std::int64_t capacity) {
    Numbers(data);
    if (capacity < 0) throw BadCall{"capacity", "is negative"};
    if (capacity > 0) NotNull(values, "values");
    if (interpolation != kOxNearest && interpolation != kOxLinear)
        throw BadCall{"interpolation", "is not one of OxInterpolation"};
    const DataView view = ViewOf(data);
    SampleSpan span{0, 0, 0.0};
    if (interpolation == kOxLinear)
        span = FindSpan(view, time);
    else
        span.before = span.after = NearestSample(view, time);
    const auto available = static_cast<std::int64_t>(view.count);
    const std::int64_t count = std::min(available, capacity);
    if (view.type == kAttributeTypeInt)
        CopyValues<std::int32_t>(view, span, values, count);
    else if (view.type == kAttributeTypeFloat)
        CopyValues<float>(view, span, values, count);
    else
        CopyValues<double>(view, span, values, count);
    return available;
}

const char* GetString(const OxAttributeStruct* data, float time, std::int64_t index,
                      std::int64_t* length) {
    if (length) *length = 0;
    if (NotNull(data, "data")->type() != kAttributeTypeString) RefuseType(data, "string");
    const std::string_view text = TextAt(data, static_cast<std::uint64_t>(index), time);
    if (!text.data()) throw BadCall{"index", "is out of range"};
    if (length) *length = static_cast<std::int64_t>(text.size());
    return text.data();
}

// ---- Groups -------------------------------------------------------------------------------------

GroupAttribute Group(const OxAttributeStruct* group) {
    if (NotNull(group, "group")->type() != kAttributeTypeGroup) RefuseType(group, "group");
    return View(group);
}

OxAttributeStruct* GetChildByIndex(const OxAttributeStruct* group, std::int64_t index) {
    return Group(group).getChildByIndex(index).detach();
}

OxAttributeStruct* GetChildByName(const OxAttributeStruct* group, const char* path) {
    return Group(group).getChildByName(NotNull(path, "path")).detach();
}

/// Recurses for every level of the path.
OxAttributeStruct* ReplaceChild(const OxAttributeStruct* group, const char* path,
                                OxAttributeStruct* child) {
    const GroupAttribute present = group ? Group(group) : GroupAttribute(true);
    const std::string_view whole(path);
    const std::string_view name = whole.substr(0, whole.find('.'));
    Attribute changed = View(child);
    if (name.size() < whole.size()) {
        const GroupAttribute inner(present.getChildByIndex(present.findChild(name)));
        if (!inner.isValid() && !child) return GroupAttribute(present).detach();
        changed = Attribute::CreateAndSteal(
            ReplaceChild(inner.getHandle(), path + name.size() + 1, child));
    }
    GroupBuilder builder(BuilderModeStrict);
    builder.setGroupInherit(present.getGroupInherit());
    builder.update(present);
    if (changed.isValid())
        builder.set(name, changed);
    else
        builder.del(name);
    return builder.build().detach();
}

OxAttributeStruct* WithChild(const OxAttributeStruct* group, const char* path,
                             OxAttributeStruct* child) {
    const std::string_view whole(NotNull(path, "path"));
    if (std::count(whole.begin(), whole.end(), '.') >= kMaxGroupDepth)
        throw BadCall{"path", "has too many levels"};
    return ReplaceChild(group, path, child);
}

// ---- New attributes -----------------------------------------------------------------------------

/// Refuses counts that do not describe `count` values at `values`.
void CheckCounts(const void* values, std::int64_t count, std::int64_t tupleSize) {
    if (tupleSize < 1) throw BadCall{"tupleSize", "is less than 1"};
    if (tupleSize > std::numeric_limits<std::int32_t>::max())
        throw BadCall{"tupleSize", "is too large"};
    if (count < 0) throw BadCall{"count", "is negative"};
    if (count % tupleSize != 0) throw BadCall{"count", "is not a multiple of the tuple size"};
    if (count > 0) NotNull(values, "values");
}

template <typename T>
OxAttributeStruct* CreateNumbers(const T* values, std::int64_t count, std::int64_t tupleSize) {
    CheckCounts(values, count, tupleSize);
    return NumericAttribute<T>(values, count, tupleSize).detach();
}

OxAttributeStruct* CreateString(const char* const* values, std::int64_t count,
                                std::int64_t tupleSize) {
    CheckCounts(values, count, tupleSize);
    std::vector<std::string_view> strings;
    for (std::int64_t i = 0; i < count; ++i)
        strings.emplace_back(values[i] ? values[i] : "");
    return StringAttribute(strings.data(), count, tupleSize).detach();
}

template <typename T>
OxAttributeStruct* CreateSamplesOf(const OxSamples& samples) {
    return NumericAttribute<T>(samples.times, samples.sampleCount,
                               static_cast<const T*>(samples.values), samples.valueCount,
                               samples.tupleSize)
        .detach();
}

OxAttributeStruct* CreateSamples(const OxSamples* samples) {
    NotNull(samples, "samples");
    CheckCounts(samples->values, samples->valueCount, samples->tupleSize);
    if (samples->sampleCount < 1) throw BadCall{"samples", "is without a sample"};
    NotNull(samples->times, "samples->times");
    switch (samples->type) {
    case kAttributeTypeInt:
        return CreateSamplesOf<std::int32_t>(*samples);
    case kAttributeTypeFloat:
        return CreateSamplesOf<float>(*samples);
    case kAttributeTypeDouble:
        return CreateSamplesOf<double>(*samples);
    default:
        throw BadCall{"samples->type", "is not int, float or double"};
    }
}

OxAttributeStruct* CreateGroup(const char* const* names, OxAttributeStruct* const* children,
                               std::int64_t count, std::int32_t inherit) {
    if (count < 0) throw BadCall{"count", "is negative"};
    std::vector<GroupAttribute::Child> list;
    for (std::int64_t i = 0; i < count; ++i)
        list.emplace_back(Text(NotNull(names, "names")[i]), View(NotNull(children, "children")[i]));
    return GroupAttribute(list, inherit != 0).detach();
}

OxAttributeStruct* GetXml(const OxAttributeStruct* attribute) {
    return StringAttribute(View(NotNull(attribute, "attribute")).getXML()).detach();
}

/// Slots that version 1 has with the same meaning are its functions.
OxAttributeSuite_v4 MakeSuite() {
    const OxAttributeSuite_v1& first = *OxGetBuiltInAttributeSuite();
    OxAttributeSuite_v4 suite{};
    suite.size = sizeof suite;
    suite.version = 4;
    TELLAR_SET_SLOT(suite, 0, retainError, OxRetainError);
    TELLAR_SET_SLOT(suite, 1, releaseError, OxReleaseError);
    TELLAR_SET_SLOT(suite, 2, getErrorFacts, GetErrorFacts);
    TELLAR_SET_SLOT(suite, 3, createError, CreateError);
    TELLAR_SET_SLOT(suite, 4, retain, first.retain);
    TELLAR_SET_SLOT(suite, 5, release, first.release);
    TELLAR_SET_SLOT(suite, 6, getType, first.getType);
    TELLAR_SET_SILENT_ENTRY(suite, 7, getHash, GetHash);
    TELLAR_SET_SILENT_ENTRY(suite, 8, isEqual, IsEqual);
    TELLAR_SET_SLOT(suite, 9, getTupleSize, first.getTupleSize);
    TELLAR_SET_SLOT(suite, 10, getNumberOfValues, first.getNumberOfValues);
    TELLAR_SET_SLOT(suite, 11, getNumberOfTimeSamples, first.getNumberOfTimeSamples);
    TELLAR_SET_SLOT(suite, 12, getSampleTime, first.getSampleTime);
    TELLAR_SET_ERROR_ENTRY(suite, 13, getIntSample, GetSample<std::int32_t>);
    TELLAR_SET_ERROR_ENTRY(suite, 14, getFloatSample, GetSample<float>);
    TELLAR_SET_ERROR_ENTRY(suite, 15, getDoubleSample, GetSample<double>);
    TELLAR_SET_ERROR_ENTRY(suite, 16, getSamples, GetSamples);
    TELLAR_SET_ERROR_ENTRY(suite, 17, readInts, ReadValues<std::int32_t>);
    TELLAR_SET_ERROR_ENTRY(suite, 18, readFloats, ReadValues<float>);
    TELLAR_SET_ERROR_ENTRY(suite, 19, readDoubles, ReadValues<double>);
    TELLAR_SET_ERROR_ENTRY(suite, 20, getString, GetString);
    TELLAR_SET_SLOT(suite, 21, getNumberOfChildren, first.getNumberOfChildren);
    TELLAR_SET_SLOT(suite, 22, getChildName, first.getChildName);
    TELLAR_SET_ERROR_ENTRY(suite, 23, getChildByIndex, GetChildByIndex);
    TELLAR_SET_ERROR_ENTRY(suite, 24, getChildByName, GetChildByName);
    TELLAR_SET_SLOT(suite, 25, getGroupInherit, first.getGroupInherit);
    TELLAR_SET_ERROR_ENTRY(suite, 26, createInt, CreateNumbers<std::int32_t>);
    TELLAR_SET_ERROR_ENTRY(suite, 27, createFloat, CreateNumbers<float>);
    TELLAR_SET_ERROR_ENTRY(suite, 28, createDouble, CreateNumbers<double>);
    TELLAR_SET_ERROR_ENTRY(suite, 29, createString, CreateString);
    TELLAR_SET_ERROR_ENTRY(suite, 30, createNull, [] { return NullAttribute().detach(); });
    TELLAR_SET_ERROR_ENTRY(suite, 31, createGroup, CreateGroup);
    TELLAR_SET_ERROR_ENTRY(suite, 32, getXml, GetXml);
    TELLAR_SET_ERROR_ENTRY(suite, 33, createSamples, CreateSamples);
    TELLAR_SET_ERROR_ENTRY(suite, 34, withChild, WithChild);
    TELLAR_SET_SLOT(suite, 35, getErrorPlace, OxHandleToErrorPlace);
    return suite;
}

} // namespace

} // namespace OxAttribute

const OxAttributeSuite_v4* OxGetBuiltInAttributeSuite4() {
    static const OxAttributeSuite_v4 suite = OxAttribute::MakeSuite();
    return &suite;
}
