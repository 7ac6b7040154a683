#include <OxTellarSDK/AttributeSuite.h>

#include <atomic>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "NodeAccess.h"
#include "SuiteEntry.h"

namespace OxAttribute {

namespace {

const NamedLogger kLogger("AttributeHost");

/// The attribute behind a borrowed C handle.
Attribute View(const OxAttributeStruct* handle) {
    return Attribute::CreateAndRetain(const_cast<OxAttributeStruct*>(handle));
}

bool IsData(const OxAttributeStruct* handle) {
    return handle && handle->type() >= kAttributeTypeInt && handle->type() <= kAttributeTypeString;
}

void Retain(OxAttributeStruct* handle) {
    if (handle) Attribute::retain(handle);
}

void Release(OxAttributeStruct* handle) {
    if (handle) Attribute::release(handle);
}

std::int32_t GetType(const OxAttributeStruct* handle) {
    return View(handle).getType();
}

void GetHash(const OxAttributeStruct* handle, std::uint64_t words[2]) {
    if (!words) return;
    words[0] = words[1] = 0; // the result if the call throws
    const Hash hash = View(handle).getHash();
    words[0] = hash.words[0];
    words[1] = hash.words[1];
}

std::int32_t IsEqual(const OxAttributeStruct* a, const OxAttributeStruct* b) {
    return View(a) == View(b);
}

std::int64_t GetTupleSize(const OxAttributeStruct* handle) {
    return IsData(handle) ? ViewOf(handle).tupleSize : 0;
}

std::int64_t GetNumberOfValues(const OxAttributeStruct* handle) {
    return IsData(handle) ? static_cast<std::int64_t>(ViewOf(handle).count) : 0;
}

std::int64_t GetNumberOfTimeSamples(const OxAttributeStruct* handle) {
    return IsData(handle) ? ViewOf(handle).timeCount : 0;
}

float GetSampleTime(const OxAttributeStruct* handle, std::int64_t index) {
    if (!IsData(handle) || index < 0) return 0.0f;
    const DataView view = ViewOf(handle);
    return index < view.timeCount ? view.timeAt(static_cast<std::uint64_t>(index)) : 0.0f;
}

template <typename T>
const T* GetSample(const OxAttributeStruct* handle, float time, std::int64_t* count) {
    const ConstSample<T> sample = NumericAttribute<T>(View(handle)).getNearestSample(time);
    if (count) *count = static_cast<std::int64_t>(sample.size());
    return sample.data();
}

const char* GetString(const OxAttributeStruct* handle, float time, std::int64_t index) {
    return handle ? TextAt(handle, static_cast<std::uint64_t>(index), time).data() : nullptr;
}

std::int64_t GetNumberOfChildren(const OxAttributeStruct* handle) {
    return GroupAttribute(View(handle)).getNumberOfChildren();
}

const char* GetChildName(const OxAttributeStruct* handle, std::int64_t index) {
    return GroupAttribute(View(handle)).getChildNameView(index).data();
}

OxAttributeStruct* GetChildByIndex(const OxAttributeStruct* handle, std::int64_t index) {
    return GroupAttribute(View(handle)).getChildByIndex(index).detach();
}

OxAttributeStruct* GetChildByName(const OxAttributeStruct* handle, const char* path) {
    if (!path) return nullptr;
    return GroupAttribute(View(handle)).getChildByName(path).detach();
}

std::int32_t GetGroupInherit(const OxAttributeStruct* handle) {
    const GroupAttribute group(View(handle));
    return group.isValid() && group.getGroupInherit();
}

template <typename T>
OxAttributeStruct* CreateNumbers(const T* values, std::int64_t count, std::int64_t tupleSize) {
    if (tupleSize < 1 || count < 0 || (count > 0 && !values)) return nullptr;
    return NumericAttribute<T>(values, count, tupleSize).detach();
}

OxAttributeStruct* CreateString(const char* const* values, std::int64_t count,
                                std::int64_t tupleSize) {
    if (tupleSize < 1 || count < 0 || (count > 0 && !values)) return nullptr;
    std::vector<std::string_view> strings;
    for (std::int64_t i = 0; i < count; ++i)
        strings.emplace_back(values[i] ? values[i] : "");
    return StringAttribute(strings.data(), count, tupleSize).detach();
}

OxAttributeStruct* CreateGroup(const char* const* names, OxAttributeStruct* const* children,
                               std::int64_t count, std::int32_t inherit) {
    if (count < 0 || (count > 0 && (!names || !children))) return nullptr;
    std::vector<GroupAttribute::Child> list;
    for (std::int64_t i = 0; i < count; ++i)
        list.emplace_back(names[i] ? names[i] : "", View(children[i]));
    return GroupAttribute(list, inherit != 0).detach();
}

OxAttributeStruct* GetXml(const OxAttributeStruct* handle) {
    return handle ? StringAttribute(View(handle).getXML()).detach() : nullptr;
}

/// Entries that cannot throw, which are called for every value, stand in their slots as they are.
OxAttributeSuite_v1 MakeBuiltInSuite() {
    static_assert(sizeof(OxAttributeSuite_v1) == 25 * sizeof(void*));
    OxAttributeSuite_v1 suite{};
    TELLAR_SET_SLOT(suite, 0, retain, Retain);
    TELLAR_SET_SLOT(suite, 1, release, Release);
    TELLAR_SET_SLOT(suite, 2, getType, GetType);
    TELLAR_SET_ENTRY(suite, 3, getHash, GetHash);
    TELLAR_SET_ENTRY(suite, 4, isEqual, IsEqual);
    TELLAR_SET_SLOT(suite, 5, getTupleSize, GetTupleSize);
    TELLAR_SET_SLOT(suite, 6, getNumberOfValues, GetNumberOfValues);
    TELLAR_SET_SLOT(suite, 7, getNumberOfTimeSamples, GetNumberOfTimeSamples);
    TELLAR_SET_SLOT(suite, 8, getSampleTime, GetSampleTime);
    TELLAR_SET_SLOT(suite, 9, getIntSample, GetSample<std::int32_t>);
    TELLAR_SET_SLOT(suite, 10, getFloatSample, GetSample<float>);
    TELLAR_SET_SLOT(suite, 11, getDoubleSample, GetSample<double>);
    TELLAR_SET_SLOT(suite, 12, getString, GetString);
    TELLAR_SET_SLOT(suite, 13, getNumberOfChildren, GetNumberOfChildren);
    TELLAR_SET_SLOT(suite, 14, getChildName, GetChildName);
    TELLAR_SET_ENTRY(suite, 15, getChildByIndex, GetChildByIndex);
    TELLAR_SET_ENTRY(suite, 16, getChildByName, GetChildByName);
    TELLAR_SET_SLOT(suite, 17, getGroupInherit, GetGroupInherit);
    TELLAR_SET_ENTRY(suite, 18, createInt, CreateNumbers<std::int32_t>);
    TELLAR_SET_ENTRY(suite, 19, createFloat, CreateNumbers<float>);
    TELLAR_SET_ENTRY(suite, 20, createDouble, CreateNumbers<double>);
    TELLAR_SET_ENTRY(suite, 21, createString, CreateString);
    TELLAR_SET_ENTRY(suite, 22, createNull, [] { return NullAttribute().detach(); });
    TELLAR_SET_ENTRY(suite, 23, createGroup, CreateGroup);
    TELLAR_SET_ENTRY(suite, 24, getXml, GetXml);
    return suite;
}

std::atomic<const OxAttributeSuite_v1*> currentSuite{nullptr};

} // namespace

} // namespace OxAttribute

const OxAttributeSuite_v1* OxGetAttributeSuite() {
    return OxAttribute::currentSuite.load(std::memory_order_acquire);
}

void OxSetAttributeSuite(const OxAttributeSuite_v1* suite) {
    OxAttribute::currentSuite.store(suite, std::memory_order_release);
}

const OxAttributeSuite_v1* OxGetBuiltInAttributeSuite() {
    static const OxAttributeSuite_v1 suite = OxAttribute::MakeBuiltInSuite();
    return &suite;
}
