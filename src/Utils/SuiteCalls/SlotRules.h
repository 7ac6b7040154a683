#ifndef OXTELLARPRODUCERS_SLOTRULES_H
#define OXTELLARPRODUCERS_SLOTRULES_H

#include <string_view>

#include "ValueTypes.h"

/// The rules by which the meaning of a slot follows from its types, its name and its version, and
/// all exceptions from them.

namespace TELLAR {

constexpr bool BeginsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

template <std::size_t size>
constexpr bool IsOneOf(std::string_view name, const std::string_view (&names)[size]) {
    for (const std::string_view each : names)
        if (each == name) return true;
    return false;
}

/// Rule: void functions of one handle that are named retain..., release... or destroy... count.
constexpr SlotAction ActionOf(const SlotInfo& slot) {
    const bool isCount = slot.result.role == ValueRole::Nothing && slot.argumentCount == 1 &&
                         slot.arguments[0].role == ValueRole::Handle;
    if (isCount && BeginsWith(slot.name, "retain")) return SlotAction::Retain;
    const bool isRelease = BeginsWith(slot.name, "release") || BeginsWith(slot.name, "destroy");
    return isCount && isRelease ? SlotAction::Release : SlotAction::Ask;
}

/// Rule: a handle that is returned carries one reference. Exception: navigation in versions 2
/// and 3.
constexpr bool IsResultOwned(const SlotInfo& slot) {
    if (slot.result.role != ValueRole::Handle) return false;
    const bool isOldLocation = slot.version < 4 && slot.result.handle == HandleKind::Location;
    return !isOldLocation || BeginsWith(slot.name, "create");
}

/// Exception: nodes and connections of shading networks share one type in C.
constexpr void TellConnections(SlotInfo& slot) {
    constexpr std::string_view kOfConnections[] = {
        "retainShadingConnection", "releaseShadingConnection", "getConnectionName",
        "getConnectedPort",        "getConnectedNode",         "isShadingConnectionValid"};
    if (IsOneOf(slot.name, kOfConnections))
        slot.arguments[0].handle = HandleKind::ShadingConnection;
    if (std::string_view(slot.name) == "getShadingConnection")
        slot.result.handle = HandleKind::ShadingConnection;
}

constexpr bool IsInteger(const ValueType& type) {
    return type.role == ValueRole::Scalar && type.scalar == ScalarType::Int64;
}

/// Rule: the next 64-bit integer argument is the number of elements of arrays before it.
constexpr CountRule NextCount(const SlotInfo& slot, int index) {
    for (int next = index + 1; next < slot.argumentCount; ++next)
        if (IsInteger(slot.arguments[static_cast<std::size_t>(next)]))
            return {CountRule::Argument, static_cast<std::uint8_t>(next), 1};
    return {CountRule::One, 0, 1};
}

/// Rule: only numbers that the next argument counts are arrays. Two of uint64_t are a hash, and
/// other doubles are a matrix. Everything else is one number.
constexpr CountRule CountOfValues(const SlotInfo& slot, int index) {
    const ValueType& type = slot.arguments[static_cast<std::size_t>(index)];
    const bool isCounted = index + 1 < slot.argumentCount &&
                           IsInteger(slot.arguments[static_cast<std::size_t>(index) + 1]);
    if (isCounted) return NextCount(slot, index);
    if (type.scalar == ScalarType::UInt64) return {CountRule::One, 0, 2};
    return {CountRule::One, 0,
            static_cast<std::uint8_t>(type.scalar == ScalarType::Double ? 16 : 1)};
}

/// Exceptions of slots with several arrays or arrays of points.
constexpr void TellUnusualCounts(SlotInfo& slot) {
    const std::string_view name = slot.name;
    if (name == "getWorldMatrices") slot.arguments[3].count = {CountRule::Argument, 2, 16};
    if (name == "getPixelAreaOfBound") slot.arguments[3].count = {CountRule::One, 0, 6};
    if (name == "readInstances") {
        slot.arguments[3].count = {CountRule::Range, 1, 1};
        slot.arguments[4].count = {CountRule::Range, 1, 16};
    }
    for (ValueType& type : slot.arguments) {
        if (!BeginsWith(name, "convertPoints") || type.role != ValueRole::Values) continue;
        type.count.factor = 3;
        type.direction = Direction::InOut;
    }
}

/// The argument to which the slot writes the number of elements behind its result; -1 for none.
constexpr int LengthArgument(const SlotInfo& slot) {
    for (int i = 0; i < slot.argumentCount; ++i) {
        const ValueType& type = slot.arguments[static_cast<std::size_t>(i)];
        if (type.role == ValueRole::Values && type.scalar == ScalarType::Int64 &&
            type.direction == Direction::Out && type.count.source == CountRule::One)
            return i;
    }
    return -1;
}

constexpr CountRule CountOfResult(const SlotInfo& slot) {
    const bool isText = slot.result.role == ValueRole::Text;
    if (!isText && slot.result.role != ValueRole::Values) return {};
    const int length = LengthArgument(slot);
    if (length >= 0) return {CountRule::Written, static_cast<std::uint8_t>(length), 1};
    if (isText) return {};
    return {CountRule::One, 0, 16}; // the matrix of a camera
}

constexpr void TellCounts(SlotInfo& slot) {
    for (int i = 0; i < slot.argumentCount; ++i) {
        ValueType& type = slot.arguments[static_cast<std::size_t>(i)];
        if (type.role == ValueRole::Values) type.count = CountOfValues(slot, i);
        if (type.role == ValueRole::Texts || type.role == ValueRole::Handles)
            type.count = NextCount(slot, i);
    }
    TellUnusualCounts(slot);
    slot.result.count = CountOfResult(slot);
}

constexpr bool HasError(const SlotInfo& slot) {
    return slot.argumentCount > 0 &&
           slot.arguments[static_cast<std::size_t>(slot.argumentCount) - 1].role ==
               ValueRole::Error;
}

/// Rule: null is meaningful for errors, data of the plug-in, single numbers that are written, and
/// options; for handles of slots that report no error; and for everything before version 4. An
/// array may be null when it has no elements, whatever this says.
constexpr bool IsNullable(const SlotInfo& slot, const ValueType& type) {
    if (slot.version < 4) return true;
    switch (type.role) {
    case ValueRole::Handle:
        return !HasError(slot);
    case ValueRole::Values:
        return type.direction == Direction::Out && type.count.source == CountRule::One &&
               type.count.factor == 1;
    case ValueRole::Record:
        return type.direction == Direction::In;
    case ValueRole::Text:
    case ValueRole::Texts:
    case ValueRole::Handles:
    case ValueRole::Callback:
        return false;
    default:
        return true;
    }
}

/// Exceptions: arguments of version 4 that may be null, and a record that may not.
constexpr void TellNullableArguments(SlotInfo& slot) {
    const std::string_view name = slot.name;
    if (slot.version < 4) return;
    if (name == "getAttribute" || name == "getLocationDelegate")
        slot.arguments[1].isNullable = true;
    if (name == "getLocationTypesWithDelegates") slot.arguments[0].isNullable = true;
    if (name == "getPixelAreaOfBound" || name == "getProceduralArguments")
        slot.arguments[4].isNullable = true;
    if (name == "withChild") slot.arguments[0].isNullable = slot.arguments[2].isNullable = true;
    if (name == "createSamples") slot.arguments[0].isNullable = false;
    if (name == "readInstances") slot.arguments[3].isNullable = slot.arguments[4].isNullable = true;
}

/// Completes a slot whose names and types are set.
constexpr void ApplySlotRules(SlotInfo& slot) {
    slot.action = ActionOf(slot);
    slot.result.isOwned = IsResultOwned(slot);
    TellConnections(slot);
    TellCounts(slot);
    for (int i = 0; i < slot.argumentCount; ++i) {
        ValueType& type = slot.arguments[static_cast<std::size_t>(i)];
        type.isNullable = IsNullable(slot, type);
        type.isOwned = type.role == ValueRole::Error;
    }
    slot.result.isNullable = true;
    TellNullableArguments(slot);
}

} // namespace TELLAR

#endif
