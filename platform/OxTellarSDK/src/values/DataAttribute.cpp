#include <OxTellarSDK/Attribute.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <type_traits>

#include <OxTellarSDK/TellarError.h>

#include "DataView.h"
#include "NodeAccess.h"

namespace OxAttribute {

namespace {

constexpr const char* kDifferentSizes =
    "Error building attribute time samples are different sizes.";

/// A new value with its header and times. `tailBytes` uninitialised bytes follow the times.
FullNode* AllocateData(AttributeType type, const float* times, std::int64_t timeCount,
                       std::int64_t count, std::int64_t tupleSize, std::uint64_t tailBytes) {
    if (tupleSize < 1 || tupleSize > std::numeric_limits<std::int32_t>::max())
        throw std::invalid_argument("Attribute tuple size must be at least 1");
    if (count < 0) throw std::invalid_argument("Attribute value count must not be negative");
    if (timeCount < 1 || timeCount > std::numeric_limits<std::int32_t>::max())
        throw TellarError(kOxErrorValue,
                          "Error building attribute from an impossible number of times.");
    for (std::int64_t i = 0; i < timeCount; ++i)
        if (!std::isfinite(times[i]) || (i > 0 && !(times[i - 1] < times[i])))
            throw TellarError(kOxErrorValue,
                              "Error building attribute time samples do not ascend.");
    const bool timesOmitted = timeCount == 1 && times[0] == 0.0f && !std::signbit(times[0]);
    const std::uint32_t omitted = timesOmitted ? kTimesOmitted : 0;
    const auto timesCount = static_cast<std::uint64_t>(timeCount);
    const std::uint64_t timesBytes = TimesBytes(omitted, timesCount);
    FullNode* node = AllocateNode(type, timesBytes + tailBytes);
    node->word |= omitted;
    node->tupleSize = static_cast<std::uint32_t>(tupleSize);
    node->count = static_cast<std::uint64_t>(count);
    node->timeCount = static_cast<std::uint32_t>(timeCount);
    if (timesOmitted) return node;
    char* start = reinterpret_cast<char*>(node) + sizeof(FullNode);
    std::memset(start, 0, timesBytes);
    std::memcpy(start, times, 4 * timesCount);
    return node;
}

constexpr float kTimeZero = 0.0f;

/// The place of the values, which need not be there yet.
template <typename T>
T* MutableValues(FullNode* node) {
    return reinterpret_cast<T*>(reinterpret_cast<char*>(node) + sizeof(FullNode) +
                                TimesBytes(node->word, node->timeCount));
}

template <typename T>
std::vector<float> TimesOf(const std::map<float, std::vector<T>>& samples) {
    std::vector<float> times;
    times.reserve(samples.size());
    for (const auto& sample : samples) {
        if (sample.second.size() != samples.begin()->second.size())
            throw TellarError(kOxErrorValue, kDifferentSizes);
        times.push_back(sample.first);
    }
    if (times.empty()) times.push_back(0.0f);
    return times;
}

template <typename T>
Node* MakeNumbers(AttributeType type, const float* times, std::int64_t timeCount, const T* values,
                  std::int64_t count, std::int64_t tupleSize) {
    if (timeCount > 0 && count > std::numeric_limits<std::int64_t>::max() / 8 / timeCount)
        throw std::bad_alloc();
    const auto elements = static_cast<std::uint64_t>(count) * static_cast<std::uint64_t>(timeCount);
    FullNode* node = AllocateData(type, times, timeCount, count, tupleSize, elements * sizeof(T));
    if (elements > 0) std::memcpy(MutableValues<T>(node), values, elements * sizeof(T));
    return node;
}

template <typename String>
Node* MakeStrings(const float* times, std::int64_t timeCount, const String* values,
                  std::int64_t count, std::int64_t tupleSize) {
    const std::int64_t elements = count * timeCount;
    std::uint64_t bytes = 0;
    for (std::int64_t i = 0; i < elements; ++i)
        bytes += values[i].size() + 1;
    if (bytes > std::numeric_limits<std::uint32_t>::max())
        throw TellarError(kOxErrorValue, "A string attribute cannot hold more than 4 GiB");
    const std::uint64_t tail = 4 * (static_cast<std::uint64_t>(elements) + 1) + bytes;
    FullNode* node = AllocateData(kAttributeTypeString, times, timeCount, count, tupleSize, tail);
    std::uint32_t* ends = MutableValues<std::uint32_t>(node);
    char* characters = reinterpret_cast<char*>(ends + elements + 1);
    std::uint32_t end = 0;
    ends[0] = 0;
    for (std::int64_t i = 0; i < elements; ++i) {
        if (!values[i].empty()) std::memcpy(characters + end, values[i].data(), values[i].size());
        end += static_cast<std::uint32_t>(values[i].size());
        characters[end++] = '\0';
        ends[i + 1] = end;
    }
    return node;
}

} // namespace

std::int64_t DataAttribute::countValues() const noexcept {
    const std::uint64_t count = Container::Of(handle) ? ViewOf(handle).count : Full(handle)->count;
    return static_cast<std::int64_t>(count);
}

std::int64_t DataAttribute::getTupleSize() const noexcept {
    return handle ? ViewOf(handle).tupleSize : 0;
}

std::int64_t DataAttribute::getNumberOfTimeSamples() const noexcept {
    return handle ? ViewOf(handle).timeCount : 0;
}

std::int64_t DataAttribute::getNumberOfTuples() const noexcept {
    if (!handle) return 0;
    const DataView view = ViewOf(handle);
    return static_cast<std::int64_t>(view.count / view.tupleSize);
}

float DataAttribute::getSampleTime(std::int64_t index) const noexcept {
    if (!handle || index < 0) return 0.0f;
    const DataView view = ViewOf(handle);
    return index < view.timeCount ? view.timeAt(static_cast<std::uint64_t>(index)) : 0.0f;
}

std::int64_t DataAttribute::getNearestSampleIndex(float time) const noexcept {
    return handle ? static_cast<std::int64_t>(NearestSample(ViewOf(handle), time)) : -1;
}

template <typename T>
NumericAttribute<T>::NumericAttribute(T value) : NumericAttribute(&value, 1, 1) {}

template <typename T>
NumericAttribute<T>::NumericAttribute(const T* values, std::int64_t count, std::int64_t tupleSize)
    : NumericAttribute(&kTimeZero, 1, values, count, tupleSize) {}

template <typename T>
NumericAttribute<T>::NumericAttribute(const float* times, std::int64_t timeCount, const T* values,
                                      std::int64_t count, std::int64_t tupleSize) {
    handle = MakeNumbers(kType, times, timeCount, values, count, tupleSize);
}

template <typename T>
NumericAttribute<T>::NumericAttribute(const std::map<float, std::vector<T>>& samples,
                                      std::int64_t tupleSize) {
    const std::vector<float> times = TimesOf(samples);
    std::vector<T> values;
    for (const auto& sample : samples)
        values.insert(values.end(), sample.second.begin(), sample.second.end());
    const auto timeCount = static_cast<std::int64_t>(times.size());
    handle = MakeNumbers(kType, times.data(), timeCount, values.data(),
                         static_cast<std::int64_t>(values.size()) / timeCount, tupleSize);
}

template <typename T>
T NumericAttribute<T>::getValue(T defaultValue, bool throwOnError) const {
    if (handle) {
        const NumberSpan<T> numbers = ShortNumbers<T>(handle);
        if (numbers.count > 0) return *numbers.values;
        const DataView view = ViewOf(handle, kType);
        if (view.count > 0) return view.as<T>()[NearestSample(view, 0.0f) * view.count];
    }
    if (throwOnError) throw TellarError(kOxErrorValue, "Attribute has no value.");
    return defaultValue;
}

template <typename T>
ConstSample<T> NumericAttribute<T>::getNearestSample(float time) const& {
    return NumericAttribute(*this).getNearestSample(time);
}

template <typename T>
ConstSample<T> NumericAttribute<T>::getNearestSample(float time) && {
    if (!handle) return {};
    const NumberSpan<T> numbers = ShortNumbers<T>(handle);
    if (numbers.count > 0)
        return {std::move(*this), numbers.values, static_cast<std::int64_t>(numbers.count)};
    const DataView view = ViewOf(handle, kType);
    const T* values = view.as<T>() + NearestSample(view, time) * view.count;
    return ConstSample<T>(std::move(*this), values, static_cast<std::int64_t>(view.count));
}

template <typename T>
void NumericAttribute<T>::fillInterpSample(T* out, std::int64_t count, float time, T defaultValue,
                                           bool throwOnError) const {
    const DataView view = handle ? ViewOf(handle, kType) : DataView();
    const auto available = static_cast<std::int64_t>(view.count);
    if (available < count && throwOnError)
        throw TellarError(kOxErrorValue, "Attribute has too few values.");
    const std::int64_t filled = std::min(available, count);
    if (filled > 0) {
        const SampleSpan span = FindSpan(view, time);
        const T* low = view.as<T>() + span.before * view.count;
        const T* high = view.as<T>() + span.after * view.count;
        for (std::int64_t i = 0; i < filled; ++i)
            out[i] = span.interpolate<T>(low[i], high[i]);
    }
    for (std::int64_t i = filled; i < count; ++i)
        out[i] = defaultValue;
}

template class NumericAttribute<std::int32_t>;
template class NumericAttribute<float>;
template class NumericAttribute<double>;

StringAttribute::StringAttribute(std::string_view value) : StringAttribute(&value, 1, 1) {}

StringAttribute::StringAttribute(const std::string_view* values, std::int64_t count,
                                 std::int64_t tupleSize) {
    handle = MakeStrings(&kTimeZero, 1, values, count, tupleSize);
}

StringAttribute::StringAttribute(const std::vector<std::string>& values, std::int64_t tupleSize) {
    handle = MakeStrings(&kTimeZero, 1, values.data(), static_cast<std::int64_t>(values.size()),
                         tupleSize);
}

StringAttribute::StringAttribute(const std::map<float, std::vector<std::string>>& samples,
                                 std::int64_t tupleSize) {
    const std::vector<float> times = TimesOf(samples);
    std::vector<std::string_view> values;
    for (const auto& sample : samples)
        values.insert(values.end(), sample.second.begin(), sample.second.end());
    const auto timeCount = static_cast<std::int64_t>(times.size());
    handle = MakeStrings(times.data(), timeCount, values.data(),
                         static_cast<std::int64_t>(values.size()) / timeCount, tupleSize);
}

std::string StringAttribute::getValue(const std::string& defaultValue, bool throwOnError) const {
    if (getNumberOfValues() > 0) return std::string(getValueView());
    if (throwOnError) throw TellarError(kOxErrorValue, "Attribute has no value.");
    return defaultValue;
}

namespace {

/// The strings of a sample of `attribute`, which has this view.
ConstStringSample MakeSample(Attribute attribute, const DataView& view, std::uint64_t sample) {
    if (!view.ends && view.count == 1)
        return {std::move(attribute), view.values, view.textBytes - 1};
    if (!view.ends) return {};
    return {std::move(attribute), view.ends + sample * view.count, view.values, view.textBytes,
            static_cast<std::int64_t>(view.count)};
}

} // namespace

std::string_view StringAttribute::getValueView(std::int64_t index) const noexcept {
    return handle ? TextAt(handle, static_cast<std::uint64_t>(index)) : std::string_view();
}

ConstStringSample StringAttribute::getSample(std::int64_t index) const {
    if (!handle || index < 0) return {};
    const DataView view = ViewOf(handle, kAttributeTypeString);
    if (index >= view.timeCount) return {};
    return MakeSample(*this, view, static_cast<std::uint64_t>(index));
}

ConstStringSample StringAttribute::getNearestSample(float time) const& {
    return StringAttribute(*this).getNearestSample(time);
}

ConstStringSample StringAttribute::getNearestSample(float time) && {
    if (!handle) return {};
    if (const std::string_view text = ShortText(handle); text.data())
        return {std::move(*this), text.data(), static_cast<std::uint32_t>(text.size())};
    const DataView view = ViewOf(handle, kAttributeTypeString);
    const std::uint64_t sample = NearestSample(view, time);
    return MakeSample(std::move(*this), view, sample);
}

} // namespace OxAttribute
