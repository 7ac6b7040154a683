#include "reading/Attribute.h"

#include <algorithm>
#include <cstdio>
#include <type_traits>
#include <utility>

namespace lantern {

namespace {

std::uint64_t Mixed(std::uint64_t value) {
    value ^= value >> 32;
    value *= 0xd6e8feb86659fd93U;
    value ^= value >> 32;
    value *= 0xd6e8feb86659fd93U;
    return value ^ (value >> 32);
}

/// The two samples around a time, and how far it is from the first to the second.
struct Span {
    float before = 0;
    float after = 0;
    double blend = 0;
};

Span FindSpan(const OxAttributeSuite_v4& suite, const OxAttributeStruct* data, float time) {
    const std::int64_t last = suite.getNumberOfTimeSamples(data) - 1;
    std::int64_t low = 0; // the first sample that is not before the time, or the last one
    std::int64_t high = last;
    while (low < high) {
        const std::int64_t middle = low + (high - low) / 2;
        if (suite.getSampleTime(data, middle) < time)
            low = middle + 1;
        else
            high = middle;
    }
    Span span;
    span.after = suite.getSampleTime(data, low);
    span.before = low > 0 && time < span.after ? suite.getSampleTime(data, low - 1) : span.after;
    const double length = static_cast<double>(span.after) - span.before;
    span.blend = length > 0 ? (static_cast<double>(time) - span.before) / length : 0;
    return span;
}

template <typename Value>
struct Sample {
    const Value* values = nullptr;
    std::int64_t count = 0;
};

/// Calls use(sample at a time) with the values as they are.
template <typename Use>
void WithSamples(const OxAttributeSuite_v4& suite, const OxAttributeStruct* data, Use use) {
    const auto samplesOf = [&](auto get) {
        return [=](float time) {
            Sample<std::remove_pointer_t<decltype(get(data, time, nullptr, nullptr))>> sample;
            sample.values = get(data, time, &sample.count, nullptr);
            if (!sample.values) sample.count = 0;
            return sample;
        };
    };
    switch (suite.getType(data)) {
    case kAttributeTypeInt:
        return use(samplesOf(suite.getIntSample));
    case kAttributeTypeFloat:
        return use(samplesOf(suite.getFloatSample));
    case kAttributeTypeDouble:
        return use(samplesOf(suite.getDoubleSample));
    default:
        return;
    }
}

/// Interpolates as the platform does for transforms: integers as doubles, the rest in its own type.
template <typename Value>
auto Blend(Value low, Value high, double blend) {
    using Blended = std::conditional_t<std::is_integral_v<Value>, double, Value>;
    return static_cast<Blended>(static_cast<double>(low) +
                                (static_cast<double>(high) - static_cast<double>(low)) * blend);
}

} // namespace

Hash Hash::with(const Hash& next) const {
    Hash both;
    both.words[0] = Mixed(words[0] + 0x9e3779b97f4a7c15U) ^ (next.words[0] * 3 + words[1]);
    both.words[1] = Mixed(next.words[1] + both.words[0]) + words[1] * 5;
    both.words[0] = Mixed(both.words[0]);
    return both;
}

std::string Hash::text() const {
    char characters[33];
    std::snprintf(characters, sizeof characters, "%016llx%016llx",
                  static_cast<unsigned long long>(words[0]),
                  static_cast<unsigned long long>(words[1]));
    return characters;
}

Attribute Attribute::owning(const OxAttributeSuite_v4& suite, OxAttributeStruct* handle) {
    return Attribute(suite, handle);
}

Attribute Attribute::sharing(const OxAttributeSuite_v4& suite, OxAttributeStruct* handle) {
    suite.retain(handle);
    return Attribute(suite, handle);
}

Attribute::Attribute(const Attribute& other) : table(other.table), handle(other.handle) {
    if (handle) table->retain(handle);
}

Attribute::Attribute(Attribute&& other) noexcept
    : table(other.table), handle(std::exchange(other.handle, nullptr)) {}

Attribute& Attribute::operator=(Attribute other) noexcept {
    std::swap(table, other.table);
    std::swap(handle, other.handle);
    return *this;
}

Attribute::~Attribute() {
    if (handle) table->release(handle);
}

Hash Attribute::hash() const {
    Hash hash;
    if (handle) table->getHash(handle, hash.words);
    return hash;
}

bool Attribute::isGroup() const {
    return handle && table->getType(handle) == kAttributeTypeGroup;
}

bool Attribute::isText() const {
    return handle && table->getType(handle) == kAttributeTypeString;
}

bool Attribute::isNumeric() const {
    if (!handle) return false;
    const std::int32_t type = table->getType(handle);
    return type == kAttributeTypeInt || type == kAttributeTypeFloat || type == kAttributeTypeDouble;
}

bool Attribute::isInt() const {
    return handle && table->getType(handle) == kAttributeTypeInt;
}

std::int64_t Attribute::childCount() const {
    return handle ? table->getNumberOfChildren(handle) : 0;
}

const char* Attribute::childName(std::int64_t index) const {
    const char* const name = handle ? table->getChildName(handle, index) : nullptr;
    return name ? name : "";
}

Attribute Attribute::childAt(std::int64_t index) const {
    return handle ? owning(*table, table->getChildByIndex(handle, index, nullptr)) : Attribute();
}

Attribute Attribute::child(const char* path) const {
    return handle ? owning(*table, table->getChildByName(handle, path, nullptr)) : Attribute();
}

std::string Attribute::text(const std::string& otherwise) const {
    const char* const found = textAt(0);
    return found ? found : otherwise;
}

const char* Attribute::textAt(std::int64_t index) const {
    return isText() ? table->getString(handle, 0, index, nullptr, nullptr) : nullptr;
}

bool Attribute::isTextEqual(std::string_view wanted) const {
    const char* const found = textAt(0);
    return found && wanted == found;
}

std::int64_t Attribute::count() const {
    return handle ? table->getNumberOfValues(handle) : 0;
}

std::int64_t Attribute::tupleSize() const {
    return handle ? table->getTupleSize(handle) : 0;
}

std::int64_t Attribute::sampleCount() const {
    return handle ? table->getNumberOfTimeSamples(handle) : 0;
}

std::vector<float> Attribute::sampleTimes() const {
    std::vector<float> times(static_cast<std::size_t>(sampleCount()));
    for (std::size_t i = 0; i < times.size(); ++i)
        times[i] = table->getSampleTime(handle, static_cast<std::int64_t>(i));
    return times;
}

bool Attribute::read(double* out, std::int64_t wanted, float time) const {
    if (!handle) return false;
    bool isDone = false;
    WithSamples(*table, handle, [&](auto sampleAt) {
        const Span span = FindSpan(*table, handle, time);
        const auto low = sampleAt(span.before);
        const auto high = sampleAt(span.after);
        isDone = low.count >= wanted && high.count >= wanted;
        for (std::int64_t i = 0; isDone && i < wanted; ++i)
            out[i] = static_cast<double>(span.before == span.after
                                             ? low.values[i]
                                             : Blend(low.values[i], high.values[i], span.blend));
    });
    return isDone;
}

bool Attribute::hasEqualSamples() const {
    bool isEqual = true;
    if (!handle) return isEqual;
    WithSamples(*table, handle, [&](auto sampleAt) {
        const std::vector<float> times = sampleTimes();
        isEqual = std::all_of(times.begin(), times.end(), [&](float time) {
            return sampleAt(time).count == sampleAt(times[0]).count;
        });
    });
    return isEqual;
}

std::vector<float> Attribute::floatsNearest(float time) const {
    if (!isNumeric()) return {};
    std::vector<float> values(static_cast<std::size_t>(count()));
    const std::int64_t found = table->readFloats(handle, time, kOxNearest, values.data(),
                                                 static_cast<std::int64_t>(values.size()), nullptr);
    values.resize(static_cast<std::size_t>(std::clamp<std::int64_t>(found, 0, count())));
    return values;
}

std::vector<float> Attribute::floatsAt(float time) const {
    if (sampleCount() < 2) return floatsNearest(time);
    std::vector<float> values;
    WithSamples(*table, handle, [&](auto sampleAt) {
        const Span span = FindSpan(*table, handle, time);
        const auto low = sampleAt(span.before);
        const auto high = sampleAt(span.after);
        if (low.count != high.count) return;
        values.resize(static_cast<std::size_t>(low.count));
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = static_cast<float>(Blend(low.values[i], high.values[i], span.blend));
    });
    return values.empty() ? floatsNearest(time) : values;
}

std::vector<std::int32_t> Attribute::ints() const {
    if (!isInt()) return {};
    std::int64_t valueCount = 0;
    const std::int32_t* const values = table->getIntSample(handle, 0, &valueCount, nullptr);
    if (!values || valueCount <= 0) return {};
    return {values, values + valueCount};
}

double Attribute::number(double otherwise) const {
    double value = otherwise;
    return read(&value, 1) ? value : otherwise;
}

} // namespace lantern
