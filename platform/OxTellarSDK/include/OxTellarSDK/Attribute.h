#ifndef OXTELLARSDK_ATTRIBUTE_H
#define OXTELLARSDK_ATTRIBUTE_H

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <OxTellarSDK/AttributeTypes.h>
#include <OxTellarSDK/Export.h>

/// The first four bytes of every attribute value, in memory and in files. For the library's own
/// use; it is public so that inline functions can read it. What lies behind it: see
/// AttributeNode.h.
struct OxAttributeStruct {
    static constexpr std::uint32_t kTypeBits = 7;
    static constexpr std::uint32_t kShort = 16; ///< everything but the values is in the word
    static constexpr int kPayload = 8;          ///< the first bit of what a short value says
    static constexpr std::uint32_t kCountBits = 0xfff;

    std::uint32_t word;

    int type() const noexcept { return static_cast<int>(word & kTypeBits); }
    bool isShort() const noexcept { return (word & kShort) != 0; }
    /// True for numbers whose count is in the word.
    bool isShortNumbers() const noexcept {
        return isShort() && type() >= kAttributeTypeInt && type() <= kAttributeTypeDouble;
    }
    std::uint32_t shortCount() const noexcept { return word >> kPayload & kCountBits; }
};

namespace OxAttribute {

/// 128-bit content hash. Equal attributes have equal hashes on every machine and in every process,
/// wherever they are stored.
struct Hash {
    std::uint64_t words[2] = {0, 0};

    /// 32 lower-case hexadecimal digits, first word first.
    OXTELLARSDK_API std::string str() const;
    /// The first word.
    std::uint64_t uint64() const { return words[0]; }

    friend bool operator==(const Hash& a, const Hash& b) {
        return a.words[0] == b.words[0] && a.words[1] == b.words[1];
    }
    friend bool operator!=(const Hash& a, const Hash& b) { return !(a == b); }
    friend bool operator<(const Hash& a, const Hash& b) {
        return a.words[0] != b.words[0] ? a.words[0] < b.words[0] : a.words[1] < b.words[1];
    }
};

/// A counted handle onto an immutable value, or onto nothing ("invalid").
///
/// One pointer wide. Copying shares the value. A value lies in memory of its own or in an open
/// attribute file, which the handle then keeps open; both have the same interface. Reading a value
/// that lies in a damaged file throws std::runtime_error saying what is damaged.
///
/// Threads: values never change, so any number of threads may read one and copy
/// handles to it. One handle object is for one thread at a time, like a pointer.
class OXTELLARSDK_API Attribute {
public:
    Attribute() noexcept = default;
    Attribute(const Attribute& other) noexcept : handle(other.handle) {
        if (handle) retain(handle);
    }
    Attribute(Attribute&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}
    Attribute& operator=(const Attribute& other) noexcept {
        Attribute(other).swap(*this);
        return *this;
    }
    Attribute& operator=(Attribute&& other) noexcept {
        Attribute(std::move(other)).swap(*this);
        return *this;
    }
    ~Attribute() {
        if (handle) release(handle);
    }
    void swap(Attribute& other) noexcept { std::swap(handle, other.handle); }

    bool isValid() const noexcept { return handle != nullptr; }

    /// kAttributeTypeInvalid for an invalid handle.
    AttributeType getType() const noexcept {
        return handle ? static_cast<AttributeType>(handle->type()) : kAttributeTypeInvalid;
    }

    /// The content hash; the zero hash for an invalid handle. It is computed on first need and kept
    /// with a value in memory. For a value in a file it may be computed again.
    Hash getHash() const;
    /// The hash that getHash has computed and kept with the value; the zero hash if there is none,
    /// and for every value in a file. Does not read the value.
    Hash getKeptHash() const noexcept;

    /// The value as XML text that ParseAttributeXml turns back into an equal value.
    /// Empty for an invalid handle.
    std::string getXML() const;

    /// True for equal content: type, tuple size, times, and values bit by bit; for groups names,
    /// order and inheritance as well. Two invalid handles are equal.
    friend bool operator==(const Attribute& a, const Attribute& b) {
        return a.handle == b.handle || (a.isValid() && b.isValid() && a.getHash() == b.getHash());
    }
    friend bool operator!=(const Attribute& a, const Attribute& b) { return !(a == b); }

    /// Reads one attribute stream. `read` is called with `stream` until it has delivered all of it.
    /// With FileStream::read, a large plain file is kept open instead, and read as it is used (or
    /// mapped: configuration key MAP_FILES_ABOVE). `flags` must be 0. An empty stream gives an
    /// invalid attribute; a damaged one throws std::runtime_error naming the file (if known) and
    /// the damage.
    static Attribute readAttributeStream(void* stream, StreamRead read, int flags);

    /// Writes the attribute as a stream. Throws std::runtime_error when `write`
    /// takes fewer bytes than it was given, or when the attribute is invalid.
    void writeAttributeStream(void* stream, StreamWrite write) const;

    /// Shares the value of a C handle by adding a reference. Null gives an invalid attribute.
    static Attribute CreateAndRetain(OxAttributeStruct* handle) noexcept {
        if (handle) retain(handle);
        return CreateAndSteal(handle);
    }
    /// Takes over the caller's reference of a C handle.
    static Attribute CreateAndSteal(OxAttributeStruct* handle) noexcept {
        Attribute attribute;
        attribute.handle = handle;
        return attribute;
    }
    /// The C handle, which this object still owns.
    OxAttributeStruct* getHandle() const noexcept { return handle; }
    /// The C handle with one more reference, owned by the caller.
    OxAttributeStruct* getRetainedHandle() const noexcept {
        if (handle) retain(handle);
        return handle;
    }
    /// Hands this object's reference to the caller and becomes invalid.
    OxAttributeStruct* detach() noexcept { return std::exchange(handle, nullptr); }

    static void retain(OxAttributeStruct* handle) noexcept;
    static void release(OxAttributeStruct* handle) noexcept;

protected:
    /// Takes `other`'s value if it is of the wanted type; otherwise invalid.
    Attribute(const Attribute& other, AttributeType wanted) noexcept
        : Attribute(other.getType() == wanted ? other : Attribute()) {}
    Attribute(Attribute&& other, AttributeType wanted) noexcept
        : Attribute(other.getType() == wanted ? std::move(other) : Attribute()) {}

    OxAttributeStruct* handle = nullptr;
};

/// The values of one time sample, read in place; it keeps its attribute alive.
template <typename T>
class ConstSample {
public:
    ConstSample() = default;
    ConstSample(Attribute attribute, const T* first, std::int64_t valueCount)
        : owner(std::move(attribute)), values(first), count(valueCount) {}

    const T* data() const noexcept { return values; }
    std::size_t size() const noexcept { return static_cast<std::size_t>(count); }
    bool empty() const noexcept { return count == 0; }
    const T& operator[](std::size_t index) const noexcept { return values[index]; }
    const T* begin() const noexcept { return values; }
    const T* end() const noexcept { return values + count; }

private:
    Attribute owner;
    const T* values = nullptr;
    std::int64_t count = 0;
};

/// The strings of one time sample, read in place; it keeps its attribute alive.
/// Every string is followed by a NUL byte, so `[i].data()` is also a C string.
class OXTELLARSDK_API ConstStringSample {
public:
    ConstStringSample() = default;
    /// One string of `size` bytes.
    ConstStringSample(Attribute attribute, const char* text, std::uint32_t size)
        : owner(std::move(attribute)), bytes(text), byteCount(size + 1), count(1) {}
    /// `firstEnd` is where the first string starts and, from the next word on, where each of
    /// them ends, its NUL included, in the `size` bytes from `firstByte` on.
    ConstStringSample(Attribute attribute, const std::uint32_t* firstEnd, const char* firstByte,
                      std::uint32_t size, std::int64_t stringCount)
        : owner(std::move(attribute)), ends(firstEnd), bytes(firstByte), byteCount(size),
          count(stringCount) {}

    std::size_t size() const noexcept { return static_cast<std::size_t>(count); }
    bool empty() const noexcept { return count == 0; }
    std::string_view operator[](std::size_t index) const noexcept {
        if (!ends) return {bytes, byteCount > 0 ? byteCount - 1 : 0};
        // A mapped file may have been overwritten after these numbers were checked.
        const std::uint32_t begin = ends[index];
        const std::uint32_t end = ends[index + 1];
        if (begin >= end || end > byteCount) return "";
        return {bytes + begin, end - begin - 1};
    }

    class Iterator {
    public:
        Iterator(const ConstStringSample* strings, std::size_t first)
            : sample(strings), index(first) {}
        std::string_view operator*() const { return (*sample)[index]; }
        Iterator& operator++() {
            ++index;
            return *this;
        }
        bool operator!=(const Iterator& other) const { return index != other.index; }

    private:
        const ConstStringSample* sample;
        std::size_t index;
    };
    Iterator begin() const { return {this, 0}; }
    Iterator end() const { return {this, size()}; }

private:
    Attribute owner;
    const std::uint32_t* ends = nullptr; // null: there is one string, which is all of the bytes
    const char* bytes = nullptr;
    std::uint32_t byteCount = 0;
    std::int64_t count = 0;
};

/// A numeric or string attribute: values in tuples, at one or more times. All queries of an invalid
/// handle return 0, except where they say otherwise.
class OXTELLARSDK_API DataAttribute : public Attribute {
public:
    DataAttribute() noexcept = default;

    /// The number of values that belong together, such as 3 for a point.
    std::int64_t getTupleSize() const noexcept;
    /// The number of values in one time sample.
    std::int64_t getNumberOfValues() const noexcept {
        if (!handle) return 0;
        return handle->isShortNumbers() ? handle->shortCount() : countValues();
    }
    std::int64_t getNumberOfTuples() const noexcept;
    std::int64_t getNumberOfTimeSamples() const noexcept;
    /// Times ascend with `index`. Returns 0 when `index` is out of range.
    float getSampleTime(std::int64_t index) const noexcept;
    /// The index of the sample nearest to `time`; of two that are equally near, the earlier one.
    /// Returns -1 for an invalid handle.
    std::int64_t getNearestSampleIndex(float time) const noexcept;

protected:
    using Attribute::Attribute;

private:
    std::int64_t countValues() const noexcept;
};

/// Integers, floats or doubles.
///
/// Constructors throw std::invalid_argument for a tuple size below 1, and
/// std::runtime_error for an unusable set of time samples.
template <typename T>
class OXTELLARSDK_API NumericAttribute : public DataAttribute {
public:
    using value_type = T;
    static constexpr AttributeType kType = std::is_same_v<T, std::int32_t> ? kAttributeTypeInt
                                           : std::is_same_v<T, float>      ? kAttributeTypeFloat
                                                                           : kAttributeTypeDouble;

    NumericAttribute() noexcept = default;
    /// Invalid when `other` is of another type; values are not converted.
    NumericAttribute(const Attribute& other) noexcept : DataAttribute(other, kType) {}
    NumericAttribute(Attribute&& other) noexcept : DataAttribute(std::move(other), kType) {}

    explicit NumericAttribute(T value);
    NumericAttribute(const T* values, std::int64_t count, std::int64_t tupleSize);
    NumericAttribute(std::initializer_list<T> values, std::int64_t tupleSize)
        : NumericAttribute(values.begin(), static_cast<std::int64_t>(values.size()), tupleSize) {}
    NumericAttribute(const std::vector<T>& values, std::int64_t tupleSize)
        : NumericAttribute(values.data(), static_cast<std::int64_t>(values.size()), tupleSize) {}
    /// One sample for each time. Throws std::runtime_error "Error building attribute time samples
    /// are different sizes." unless all have the same number of values. An empty map gives one
    /// empty sample.
    NumericAttribute(const std::map<float, std::vector<T>>& samples, std::int64_t tupleSize);
    /// Takes `timeCount` strictly ascending times, and `count` values for each of them.
    NumericAttribute(const float* times, std::int64_t timeCount, const T* values,
                     std::int64_t count, std::int64_t tupleSize);

    /// The first value of the sample nearest to time 0. If there is none, returns `defaultValue`,
    /// or throws std::runtime_error "Attribute has no value." when `throwOnError`.
    T getValue(T defaultValue = T(), bool throwOnError = true) const;

    /// The sample nearest to `time`; empty for an invalid handle.
    ConstSample<T> getNearestSample(float time) const&;
    ConstSample<T> getNearestSample(float time) &&;

    /// Fills `out[0..count)` with values at `time`, linearly interpolated between
    /// samples and held beyond the first and last. Where there is no value, writes
    /// `defaultValue`, or throws std::runtime_error "Attribute has too few values."
    /// when `throwOnError`.
    void fillInterpSample(T* out, std::int64_t count, float time, T defaultValue = T(),
                          bool throwOnError = true) const;
};

extern template class NumericAttribute<std::int32_t>;
extern template class NumericAttribute<float>;
extern template class NumericAttribute<double>;

using IntAttribute = NumericAttribute<std::int32_t>;
using FloatAttribute = NumericAttribute<float>;
using DoubleAttribute = NumericAttribute<double>;

/// Byte strings, usually UTF-8. They may hold any bytes, NUL included.
class OXTELLARSDK_API StringAttribute : public DataAttribute {
public:
    using value_type = std::string;

    StringAttribute() noexcept = default;
    StringAttribute(const Attribute& other) noexcept : DataAttribute(other, kAttributeTypeString) {}
    StringAttribute(Attribute&& other) noexcept
        : DataAttribute(std::move(other), kAttributeTypeString) {}

    explicit StringAttribute(std::string_view value);
    explicit StringAttribute(const char* value) : StringAttribute(std::string_view(value)) {}
    StringAttribute(const std::string_view* values, std::int64_t count, std::int64_t tupleSize);
    StringAttribute(const std::vector<std::string>& values, std::int64_t tupleSize);
    StringAttribute(std::initializer_list<std::string_view> values, std::int64_t tupleSize)
        : StringAttribute(values.begin(), static_cast<std::int64_t>(values.size()), tupleSize) {}
    /// See NumericAttribute.
    StringAttribute(const std::map<float, std::vector<std::string>>& samples,
                    std::int64_t tupleSize);

    /// See NumericAttribute::getValue.
    std::string getValue(const std::string& defaultValue = std::string(),
                         bool throwOnError = true) const;
    /// The same as getValue("", false) without a copy. It lives as long as the attribute's value.
    std::string_view getValueView() const noexcept { return getValueView(0); }
    /// Value `index` of the sample nearest to time 0, without a copy; empty when out of range.
    std::string_view getValueView(std::int64_t index) const noexcept;
    /// The place of the first value equal to `text`, counted through all time samples, one after
    /// the other; -1 when there is none. A list of more than 256 values is indexed by the first
    /// call, and the time of further calls does not depend on its length.
    std::int64_t findValue(std::string_view text) const;

    ConstStringSample getNearestSample(float time) const&;
    ConstStringSample getNearestSample(float time) &&;
    /// The sample with this index; empty when out of range.
    ConstStringSample getSample(std::int64_t index) const;
};

/// A value without content.
class OXTELLARSDK_API NullAttribute : public Attribute {
public:
    NullAttribute();
    NullAttribute(const Attribute& other) noexcept : Attribute(other, kAttributeTypeNull) {}
};

/// Named children in a fixed order, names unique.
///
/// Children are found by dotted path ("geometry.point.P"). A child whose own name contains a dot is
/// found by findChild or by index only. A group that inherits shows the children of the same group
/// on the parent location, except those that it has itself.
class OXTELLARSDK_API GroupAttribute : public Attribute {
public:
    using Child = std::pair<std::string, Attribute>;

    GroupAttribute() noexcept = default;
    GroupAttribute(const Attribute& other) noexcept : Attribute(other, kAttributeTypeGroup) {}
    GroupAttribute(Attribute&& other) noexcept : Attribute(std::move(other), kAttributeTypeGroup) {}

    /// An empty group.
    explicit GroupAttribute(bool groupInherit);
    /// Names are taken as they are, dots included. Invalid children are left out. Of two children
    /// with one name the last wins and takes the place of the first. Throws std::runtime_error when
    /// the result would be nested deeper than kMaxGroupDepth.
    GroupAttribute(const std::vector<Child>& children, bool groupInherit);

    std::int64_t getNumberOfChildren() const noexcept;
    /// Returns an empty name when `index` is out of range.
    std::string getChildName(std::int64_t index) const;
    /// The name without a copy. A NUL byte follows it. It lives as long as the group's value.
    std::string_view getChildNameView(std::int64_t index) const noexcept;
    /// The names of all children in their order; invalid when there are none.
    StringAttribute getChildNames() const;
    /// Returns an invalid attribute when `index` is out of range.
    Attribute getChildByIndex(std::int64_t index) const;
    /// The child at a dotted path; invalid when there is none. Does not allocate.
    Attribute getChildByName(std::string_view path) const;
    /// StringAttribute::getValueView of the child at a dotted path, without a handle to it; empty
    /// when no string is there. The text lives as long as the group's value.
    std::string_view getTextView(std::string_view path) const;
    /// The child with just this name; invalid when there is none. The same as
    /// getChildByIndex(findChild(name, hint)), and faster.
    Attribute getChild(std::string_view name, std::int64_t hint = -1) const;
    /// The index of the child with just this name, or -1.
    std::int64_t findChild(std::string_view name) const noexcept;
    /// The same, looking at index `hint` first.
    std::int64_t findChild(std::string_view name, std::int64_t hint) const noexcept;
    /// True for an invalid handle.
    bool getGroupInherit() const noexcept;
};

/// Deepest nesting of groups that can be built or read.
constexpr int kMaxGroupDepth = 2048;

/// Turns the text of Attribute::getXML back into the attribute. Throws
/// std::runtime_error with line and column for any other text.
OXTELLARSDK_API Attribute ParseAttributeXml(std::string_view text);

} // namespace OxAttribute

#endif
