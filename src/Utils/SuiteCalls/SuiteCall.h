#ifndef OXTELLARPRODUCERS_SUITECALL_H
#define OXTELLARPRODUCERS_SUITECALL_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

/// Calls between plug-ins and the function tables of the host, as one type for all slots.
///
/// Layers that stand between plug-ins and suites see each call as a SuiteCall: which slot it is,
/// what each argument means, and where its value lies. The meanings are derived from the C types of
/// the slot (ValueTypes.h and SlotRules.h), so a layer needs no code for single slots:
///
///     class Counter : public SuiteCallObserver {
///         void onCall(SuiteCall& call) noexcept override {
///             ++calls[call.getSlot().name];
///             call.proceed();
///         }
///     };
///
/// WrapSuite.h makes the tables that stand in for the host's.

namespace TELLAR {

/// The kinds of C handles.
enum class HandleKind : std::uint8_t {
    None,
    Attribute,
    Error,
    Location,
    Scene,
    Instances,
    Subscription,
    Changes,
    Camera,
    ShadingNodes,
    ShadingNode,
    ShadingConnection,
    Cook, ///< not counted
    LocationData
};
constexpr std::size_t kHandleKinds = 14;

/// "attribute", "shading node" and so on, for messages.
const char* NameOf(HandleKind kind);

/// The meaning of an argument or result.
enum class ValueRole : std::uint8_t {
    Nothing,  ///< the result of a function without one
    Scalar,   ///< a number, bool or enum by value
    Handle,   ///< K*
    Handles,  ///< K* const*, an array of handles
    Error,    ///< OxErrorStruct**, where the slot puts an error with one reference
    Text,     ///< const char*
    Texts,    ///< const char* const*
    Values,   ///< a pointer to numbers
    Record,   ///< a pointer to a struct of the suites' headers
    Callback, ///< a function of the plug-in
    User,     ///< void*, which only the plug-in understands
    Delegate  ///< the table of a location delegate
};

enum class ScalarType : std::uint8_t { None, Bool, Int32, UInt32, Int64, UInt64, Float, Double };

constexpr std::size_t SizeOf(ScalarType type) {
    constexpr std::size_t kSizes[] = {0, 1, 4, 4, 8, 8, 4, 8};
    return kSizes[static_cast<std::size_t>(type)];
}

enum class RecordType : std::uint8_t {
    None,
    ErrorFacts,
    Samples,
    Subtree,
    Lens,
    Change,
    Visit,
    VisitOptions,
    ProceduralContext
};

/// Whether the slot reads or writes what a pointer points to.
enum class Direction : std::uint8_t { In, Out, InOut };

/// How many elements are behind a pointer: the number that `source` tells, times `factor`.
struct CountRule {
    enum Source : std::uint8_t {
        None,     ///< no array
        One,      ///< a single element
        Argument, ///< the integer argument `index`
        Range,    ///< argument `index` up to and without the argument after it
        Written   ///< for results: what the slot wrote through the argument `index`
    };
    Source source = None;
    std::uint8_t index = 0;
    std::uint8_t factor = 1;
};

/// All that is known of an argument or result from its type and its slot.
struct ValueType {
    ValueRole role = ValueRole::Nothing;
    Direction direction = Direction::In;
    HandleKind handle = HandleKind::None; ///< for Handle and Handles
    ScalarType scalar = ScalarType::None; ///< for Scalar and Values
    RecordType record = RecordType::None; ///< for Record
    bool isNullable = false;              ///< null is a meaningful value
    bool isOwned = false;                 ///< a result that carries one reference
    CountRule count;                      ///< for Handles, Texts and Values; for a Text that has a
                                          ///< length: Written
};

/// How a slot changes the count of its handle.
enum class SlotAction : std::uint8_t { Ask, Retain, Release };

constexpr std::size_t kMostArguments = 8;

/// A slot of a table, or a function that the plug-in passed to one.
struct SlotInfo {
    const char* suite = "";
    std::uint32_t version = 0;
    const char* name = "";
    int index = 0; ///< in the table; -1 for a function of the plug-in
    SlotAction action = SlotAction::Ask;
    ValueType result;
    std::array<ValueType, kMostArguments> arguments{};
    int argumentCount = 0;

    constexpr bool isCallback() const { return index < 0; }
};

/// One argument or result of a call.
class CallValue {
public:
    CallValue(const ValueType& type, void* place) : type(&type), place(place) {}

    const ValueType& getType() const { return *type; }

    /// The C variable itself; T is its type but for const.
    template <typename T>
    T get() const {
        T value;
        // NOLINTNEXTLINE(bugprone-sizeof-expression): the variable may be a pointer
        std::memcpy(&value, place, sizeof value);
        return value;
    }
    template <typename T>
    void set(T value) {
        // NOLINTNEXTLINE(bugprone-sizeof-expression): the variable may be a pointer
        std::memcpy(place, &value, sizeof value);
    }

    /// The variable when it is a pointer.
    void* getPointer() const { return get<void*>(); }
    void setPointer(const void* value) { set(value); }

    /// The variable when it is a Scalar; integers are exact up to 2^63.
    std::int64_t getInteger() const;
    double getNumber() const;
    void setInteger(std::int64_t value);
    void setNumber(double value);

private:
    const ValueType* type;
    void* place;
};

/// A call that is under way. Its observer may change arguments before it proceeds, and the result
/// after that.
class SuiteCall {
public:
    using Proceed = void (*)(SuiteCall& call, void* frame);
    using HandleFunction = void (*)(void* handle);

    /// `places` are the C variables of the arguments; `result` is null without one.
    SuiteCall(const SlotInfo& slot, void* const* places, void* result, Proceed run, void* frame,
              const SuiteCall* caller = nullptr)
        : slot(slot), places(places), result(result), run(run), frame(frame), caller(caller) {}
    SuiteCall(const SuiteCall&) = delete;
    SuiteCall& operator=(const SuiteCall&) = delete;

    const SlotInfo& getSlot() const { return slot; }
    int getArgumentCount() const { return slot.argumentCount; }
    CallValue getArgument(int index) const {
        return {slot.arguments[static_cast<std::size_t>(index)], places[index]};
    }
    /// A value of the role Nothing has no variable.
    CallValue getResult() const { return {slot.result, result}; }
    bool hasResult() const { return slot.result.role != ValueRole::Nothing; }

    /// For a function of the plug-in: the call of the slot that it was passed to. Null otherwise.
    const SuiteCall* getCaller() const { return caller; }

    /// The number of elements behind an argument: the capacity of what the slot writes, 0 for null.
    std::int64_t getCount(int index) const;
    /// The number of elements that the slot has written behind an argument of the role Values.
    std::int64_t getWrittenCount(int index) const;
    /// The number of elements behind the result of the role Values, and the bytes of a Text without
    /// the zero at its end.
    std::int64_t getResultCount() const;

    /// The function behind a slot that retains or releases, for calls at another time. Null for
    /// other slots.
    HandleFunction getHandleFunction() const { return handleFunction; }
    void setHandleFunction(HandleFunction function) { handleFunction = function; }

    /// Calls the function behind the slot with the present arguments, and sets the result. An
    /// observer that answers itself does not call this; the result is then null, 0 or nothing until
    /// it sets it, and what the plug-in reads through pointers is left as it was.
    void proceed() { run(*this, frame); }

private:
    std::int64_t getCount(const ValueType& type, const void* pointer) const;

    const SlotInfo& slot;
    void* const* places;
    void* result;
    Proceed run;
    void* frame;
    const SuiteCall* caller;
    HandleFunction handleFunction = nullptr;
};

/// A layer between plug-ins and tables. Any thread calls it, several at once.
class SuiteCallObserver {
public:
    virtual ~SuiteCallObserver() = default;
    /// Runs in place of a slot, or of a function that a plug-in passed to a slot
    /// (SlotInfo::isCallback). Such a function gets handles only for the call.
    virtual void onCall(SuiteCall& call) noexcept = 0;
};

} // namespace TELLAR

#endif
