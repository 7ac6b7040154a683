#include "SuiteCall.h"

#include <algorithm>

namespace TELLAR {

const char* NameOf(HandleKind kind) {
    constexpr const char* kNames[kHandleKinds] = {"nothing",      "attribute",
                                                  "error",        "location",
                                                  "scene",        "list of instances",
                                                  "subscription", "list of changes",
                                                  "camera",       "map of shading nodes",
                                                  "shading node", "shading connection",
                                                  "cook",         "result of an input"};
    return kNames[static_cast<std::size_t>(kind)];
}

std::int64_t CallValue::getInteger() const {
    switch (type->scalar) {
    case ScalarType::Bool:
        return get<bool>() ? 1 : 0;
    case ScalarType::Int32:
        return get<std::int32_t>();
    case ScalarType::UInt32:
        return get<std::uint32_t>();
    case ScalarType::Int64:
    case ScalarType::UInt64:
        return get<std::int64_t>();
    default:
        return 0;
    }
}

double CallValue::getNumber() const {
    if (type->scalar == ScalarType::Float) return static_cast<double>(get<float>());
    if (type->scalar == ScalarType::Double) return get<double>();
    return static_cast<double>(getInteger());
}

void CallValue::setInteger(std::int64_t value) {
    switch (type->scalar) {
    case ScalarType::Bool:
        return set(value != 0);
    case ScalarType::Int32:
        return set(static_cast<std::int32_t>(value));
    case ScalarType::UInt32:
        return set(static_cast<std::uint32_t>(value));
    case ScalarType::Int64:
    case ScalarType::UInt64:
        return set(value);
    default:
        return;
    }
}

void CallValue::setNumber(double value) {
    if (type->scalar == ScalarType::Float) return set(static_cast<float>(value));
    if (type->scalar == ScalarType::Double) return set(value);
    setInteger(static_cast<std::int64_t>(value));
}

std::int64_t SuiteCall::getCount(const ValueType& type, const void* pointer) const {
    if (!pointer) return 0;
    const CountRule& rule = type.count;
    std::int64_t count = 1;
    if (rule.source == CountRule::None) return 0;
    if (rule.source == CountRule::Argument) count = getArgument(rule.index).getInteger();
    if (rule.source == CountRule::Range)
        count = getArgument(rule.index + 1).getInteger() - getArgument(rule.index).getInteger();
    if (rule.source == CountRule::Written) {
        const auto* written = getArgument(rule.index).get<const std::int64_t*>();
        count = written ? *written : 0;
    }
    // A wrong count of the plug-in is not multiplied into an overflow.
    constexpr std::int64_t kMost = std::int64_t(1) << 56;
    return std::clamp(count, std::int64_t(0), kMost) * rule.factor;
}

std::int64_t SuiteCall::getCount(int index) const {
    const CallValue value = getArgument(index);
    return getCount(value.getType(), value.getPointer());
}

std::int64_t SuiteCall::getWrittenCount(int index) const {
    const std::int64_t capacity = getCount(index);
    const ValueType& type = getArgument(index).getType();
    if (type.direction == Direction::In) return 0;
    if (type.count.source == CountRule::One && type.count.factor == 1) return capacity;
    if (!hasResult() || slot.result.role != ValueRole::Scalar) return capacity;
    const std::int64_t told = getResult().getInteger();
    // A 64-bit result is a count of values, a 32-bit one tells success.
    if (slot.result.scalar == ScalarType::Int64) return std::clamp(told, std::int64_t(0), capacity);
    return told == 1 ? capacity : 0;
}

std::int64_t SuiteCall::getResultCount() const {
    const CallValue value = getResult();
    const void* const pointer = value.getPointer();
    const bool isText = slot.result.role == ValueRole::Text;
    if (isText && pointer && slot.result.count.source != CountRule::Written)
        return static_cast<std::int64_t>(std::strlen(static_cast<const char*>(pointer)));
    return getCount(slot.result, pointer);
}

} // namespace TELLAR
