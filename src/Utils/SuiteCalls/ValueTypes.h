#ifndef OXTELLARPRODUCERS_VALUETYPES_H
#define OXTELLARPRODUCERS_VALUETYPES_H

#include <type_traits>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/AttributeSuite4.h>
#include <OxTellarSDK/OpTypeSuite.h>

#include "SuiteCall.h"

/// The meaning of the C types of arguments and results. SlotRules.h adds the meaning that depends
/// on the slot.

namespace TELLAR {

template <typename Struct>
inline constexpr HandleKind kKindOf = HandleKind::None;
template <>
inline constexpr HandleKind kKindOf<OxAttributeStruct> = HandleKind::Attribute;
template <>
inline constexpr HandleKind kKindOf<OxErrorStruct> = HandleKind::Error;
template <>
inline constexpr HandleKind kKindOf<OxSgIteratorStruct> = HandleKind::Location;
template <>
inline constexpr HandleKind kKindOf<OxSceneStruct> = HandleKind::Scene;
template <>
inline constexpr HandleKind kKindOf<OxInstancesStruct> = HandleKind::Instances;
template <>
inline constexpr HandleKind kKindOf<OxSubscriptionStruct> = HandleKind::Subscription;
template <>
inline constexpr HandleKind kKindOf<OxChangesStruct> = HandleKind::Changes;
template <>
inline constexpr HandleKind kKindOf<CameraInfoStruct> = HandleKind::Camera;
template <>
inline constexpr HandleKind kKindOf<OxShadingNodeMapStruct> = HandleKind::ShadingNodes;
template <>
inline constexpr HandleKind kKindOf<OxShadingStruct> = HandleKind::ShadingNode;
template <>
inline constexpr HandleKind kKindOf<OxCookStruct> = HandleKind::Cook;
template <>
inline constexpr HandleKind kKindOf<OxLocationDataStruct> = HandleKind::LocationData;

template <typename Struct>
inline constexpr RecordType kRecordOf = RecordType::None;
template <>
inline constexpr RecordType kRecordOf<OxErrorFacts> = RecordType::ErrorFacts;
template <>
inline constexpr RecordType kRecordOf<OxSamples> = RecordType::Samples;
template <>
inline constexpr RecordType kRecordOf<OxSubtree> = RecordType::Subtree;
template <>
inline constexpr RecordType kRecordOf<OxLens> = RecordType::Lens;
template <>
inline constexpr RecordType kRecordOf<OxChange> = RecordType::Change;
template <>
inline constexpr RecordType kRecordOf<OxVisitOptions> = RecordType::VisitOptions;
template <>
inline constexpr RecordType kRecordOf<OxProceduralContext_v1> = RecordType::ProceduralContext;

template <typename T>
constexpr ScalarType ScalarOf() {
    if constexpr (std::is_enum_v<T>) return ScalarType::Int32;
    if constexpr (std::is_same_v<T, bool>) return ScalarType::Bool;
    if constexpr (std::is_same_v<T, float>) return ScalarType::Float;
    if constexpr (std::is_same_v<T, double>) return ScalarType::Double;
    if constexpr (std::is_integral_v<T> && !std::is_same_v<T, bool> && sizeof(T) == 4)
        return std::is_signed_v<T> ? ScalarType::Int32 : ScalarType::UInt32;
    if constexpr (std::is_integral_v<T> && sizeof(T) == 8)
        return std::is_signed_v<T> ? ScalarType::Int64 : ScalarType::UInt64;
    return ScalarType::None;
}

/// The meaning of a pointer to T, which may be const.
template <typename T>
constexpr ValueType TypeOfPointerTo() {
    using Bare = std::remove_cv_t<T>;
    constexpr Direction kDirection = std::is_const_v<T> ? Direction::In : Direction::Out;
    ValueType type;
    type.direction = kDirection;
    if constexpr (std::is_function_v<T>) {
        type.role = ValueRole::Callback;
    } else if constexpr (std::is_void_v<Bare>) {
        type.role = ValueRole::User;
    } else if constexpr (std::is_same_v<T, const char>) {
        type.role = ValueRole::Text;
    } else if constexpr (std::is_same_v<T, const char* const>) {
        type.role = ValueRole::Texts;
    } else if constexpr (std::is_same_v<T, OxErrorStruct*>) {
        type.role = ValueRole::Error;
    } else if constexpr (std::is_same_v<T, OxScenegraphLocationDelegatePluginSuite_v1>) {
        type.role = ValueRole::Delegate;
    } else if constexpr (kKindOf<Bare> != HandleKind::None) {
        // const says nothing about handles: the count of a const one may change.
        type.role = ValueRole::Handle;
        type.direction = Direction::In;
        type.handle = kKindOf<Bare>;
    } else if constexpr (std::is_pointer_v<Bare>) {
        type.role = ValueRole::Handles;
        type.handle = kKindOf<std::remove_pointer_t<Bare>>;
        static_assert(kKindOf<std::remove_pointer_t<Bare>> != HandleKind::None);
    } else if constexpr (ScalarOf<Bare>() != ScalarType::None) {
        type.role = ValueRole::Values;
        type.scalar = ScalarOf<Bare>();
    } else {
        type.role = ValueRole::Record;
        type.record = kRecordOf<Bare>;
        static_assert(kRecordOf<Bare> != RecordType::None);
    }
    return type;
}

/// The meaning of a type of an argument or result.
template <typename T>
constexpr ValueType TypeOf() {
    ValueType type;
    if constexpr (std::is_pointer_v<T>) return TypeOfPointerTo<std::remove_pointer_t<T>>();
    if constexpr (!std::is_pointer_v<T> && !std::is_void_v<T>) {
        static_assert(ScalarOf<T>() != ScalarType::None);
        type.role = ValueRole::Scalar;
        type.scalar = ScalarOf<T>();
    }
    return type;
}

} // namespace TELLAR

#endif
