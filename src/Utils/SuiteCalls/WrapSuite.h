#ifndef OXTELLARPRODUCERS_WRAPSUITE_H
#define OXTELLARPRODUCERS_WRAPSUITE_H

#include <array>
#include <atomic>
#include <utility>

#include <OxTellarSDK/SuiteFilter.h>

#include "CallbackCalls.h"
#include "SuiteTables.h"

/// Tables that stand in for those of the host and tell an observer of each call.
///
///     struct CountingLayer; // a name for the tables of one observer
///     OxPluginManager::AddSuiteFilter([&observer](const OxPluginManager::SuiteOffer& offer) {
///         return TELLAR::WrapHostSuite<CountingLayer>(offer, observer);
///     });
///
/// The functions in a table know nothing but their arguments. So there is one table of each kind
/// for a layer in the process, and its observer and the table behind it are static.

namespace TELLAR {

/// The table of a layer, and what its functions need.
template <typename Layer, typename Table>
struct WrappedTable {
    static inline const Table* next = nullptr;
    static inline SuiteCallObserver* observer = nullptr;
    static inline Table table{};
};

/// The function of a layer for a slot whose type is the last argument's.
template <typename Layer, typename Table, std::size_t index, typename Slot>
struct WrappedSlot;

template <typename Layer, typename Table, std::size_t index, typename Result, typename... Arguments>
struct WrappedSlot<Layer, Table, index, Result (*)(Arguments...)> {
    static Result run(Arguments... arguments) noexcept {
        using Wrapped = WrappedTable<Layer, Table>;
        constexpr const SlotInfo& slot = kSlotInfo<Table, index>;
        // The slot writes to these when the plug-in does not ask, so that observers see the value.
        [[maybe_unused]] std::array<std::uint64_t, kMostArguments> spare{};
        [[maybe_unused]] int position = 0;
        (provide(arguments, slot.arguments[static_cast<std::size_t>(position)],
                 spare[static_cast<std::size_t>(position)], position),
         ...);
        const std::array<void*, sizeof...(Arguments) + 1> places = {placeOf(arguments)..., nullptr};
        std::conditional_t<std::is_void_v<Result>, char, Result> result{};
        auto next = [&](const SuiteCall& call) {
            const auto function = Wrapped::next->*kSlotMember<Table, index>;
            if constexpr (std::is_void_v<Result>)
                CallSlot(*Wrapped::observer, call, function, arguments...);
            else
                result = CallSlot(*Wrapped::observer, call, function, arguments...);
        };
        SuiteCall call(
            slot, places.data(), placeOf(result),
            [](SuiteCall& self, void* frame) { (*static_cast<decltype(next)*>(frame))(self); },
            &next);
        if constexpr (slot.action != SlotAction::Ask)
            call.setHandleFunction(callNext<Arguments...>);
        Wrapped::observer->onCall(call);
        if constexpr (!std::is_void_v<Result>) return result;
    }

private:
    template <typename Handle>
    static void callNext(void* handle) {
        (WrappedTable<Layer, Table>::next->*kSlotMember<Table, index>)(static_cast<Handle>(handle));
    }

    template <typename T>
    static void* placeOf(T& variable) {
        return const_cast<void*>(static_cast<const void*>(&variable));
    }

    /// Lets a null pointer to a single number point to the spare one.
    template <typename T>
    static void provide(T& argument, const ValueType& type, std::uint64_t& spare, int& position) {
        ++position;
        if constexpr (std::is_same_v<T, std::int64_t*> || std::is_same_v<T, std::int32_t*>) {
            const bool isSingle = type.count.source == CountRule::One && type.count.factor == 1;
            if (!argument && isSingle) argument = static_cast<T>(static_cast<void*>(&spare));
        }
    }
};

template <typename Layer, typename Table, std::size_t index>
void WrapSlot(Table& table) {
    constexpr auto member = kSlotMember<Table, index>;
    using Slot = std::remove_reference_t<decltype(table.*member)>;
    if (table.*member) table.*member = WrappedSlot<Layer, Table, index, Slot>::run;
}

/// A copy of a table, without the slots that an older host does not have.
template <typename Table>
Table CopyOf(const Table& next) {
    Table copy{};
    std::size_t size = sizeof(Table);
    if constexpr (kIsSized<Table>) {
        if (next.size < size) size = next.size;
    }
    std::memcpy(&copy, &next, size);
    if constexpr (kIsSized<Table>) copy.size = static_cast<std::uint32_t>(size);
    return copy;
}

template <typename Layer, typename Table, std::size_t... index>
Table MakeWrappedTable(const Table& next, std::index_sequence<index...>) {
    Table table = CopyOf(next);
    (WrapSlot<Layer, Table, index>(table), ...);
    return table;
}

/// The layer's table in front of `next`. The first call decides which table and which observer are
/// behind it; both must live to the end of the process. Another table is returned as it is.
template <typename Layer, typename Table>
const Table* WrapSuite(const Table* next, SuiteCallObserver& observer) {
    static_assert(kHasAllSlots<Table>);
    using Wrapped = WrappedTable<Layer, Table>;
    static const Table* const first = [next, &observer] {
        Wrapped::next = next;
        Wrapped::observer = &observer;
        Wrapped::table =
            MakeWrappedTable<Layer>(*next, std::make_index_sequence<kSlotCount<Table>>());
        return next;
    }();
    return first == next ? &Wrapped::table : next;
}

template <typename Layer, typename Table>
bool WrapIfOffered(const OxPluginManager::SuiteOffer& offer, SuiteCallObserver& observer,
                   const void*& wrapped) {
    const bool isOffered = offer.pluginName.empty() && offer.apiName == SuiteTable<Table>::kName &&
                           offer.apiVersion == SuiteTable<Table>::kVersion;
    if (isOffered) wrapped = WrapSuite<Layer>(static_cast<const Table*>(offer.suite), observer);
    return isOffered;
}

template <typename Layer, typename... Tables>
const void* WrapOneOf(const OxPluginManager::SuiteOffer& offer, SuiteCallObserver& observer) {
    const void* wrapped = offer.suite;
    static_cast<void>((WrapIfOffered<Layer, Tables>(offer, observer, wrapped) || ...));
    return wrapped;
}

/// The layer's table when the offer is one of the host's; otherwise what is offered.
template <typename Layer>
const void* WrapHostSuite(const OxPluginManager::SuiteOffer& offer, SuiteCallObserver& observer) {
    return WrapOneOf<Layer, OxAttributeSuite_v1, OxAttributeSuite_v4,
                     OxScenegraphIteratorHostSuite_v2, OxScenegraphIteratorHostSuite_v3,
                     OxScenegraphIteratorHostSuite_v4, OxRenderOutputUtilsHostSuite_v3,
                     OxRenderOutputUtilsHostSuite_v4, OxCookSuite>(offer, observer);
}

} // namespace TELLAR

#endif
