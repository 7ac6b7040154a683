#ifndef LANTERN_READING_ATTRIBUTE_H
#define LANTERN_READING_ATTRIBUTE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/AttributeSuite4.h>

#include "SceneData.h"

namespace lantern {

/// A 128-bit content hash; 0 for a missing attribute.
struct Hash {
    std::uint64_t words[2] = {0, 0};

    bool operator==(const Hash& other) const {
        return words[0] == other.words[0] && words[1] == other.words[1];
    }
    bool operator!=(const Hash& other) const { return !(*this == other); }
    explicit operator bool() const { return words[0] != 0 || words[1] != 0; }
    /// The combined hash of both, in this order.
    Hash with(const Hash& next) const;
    std::string text() const;
};

struct HashOfHash {
    std::size_t operator()(const Hash& hash) const {
        return static_cast<std::size_t>(hash.words[0]);
    }
};

/// A counted reference to an attribute, or none. Copies share the attribute. Each function answers
/// for an attribute of another type as for none.
class Attribute {
public:
    Attribute() = default;
    /// Takes over the reference of a handle, which may be null.
    static Attribute owning(const OxAttributeSuite_v4& suite, OxAttributeStruct* handle);
    /// Adds a reference to a borrowed handle.
    static Attribute sharing(const OxAttributeSuite_v4& suite, OxAttributeStruct* handle);
    Attribute(const Attribute& other);
    Attribute(Attribute&& other) noexcept;
    Attribute& operator=(Attribute other) noexcept;
    ~Attribute();

    explicit operator bool() const { return handle != nullptr; }
    OxAttributeStruct* get() const { return handle; }
    /// The suite of an attribute that is not none.
    const OxAttributeSuite_v4& suite() const { return *table; }
    Hash hash() const;

    bool isGroup() const;
    bool isText() const;
    bool isNumeric() const;
    bool isInt() const;

    // For groups.
    std::int64_t childCount() const;
    /// Borrowed; "" if the index is out of range.
    const char* childName(std::int64_t index) const;
    Attribute childAt(std::int64_t index) const;
    /// The descendant at a dotted path.
    Attribute child(const char* path) const;
    Attribute child(const std::string& path) const { return child(path.c_str()); }

    // For strings.
    std::string text(const std::string& otherwise = {}) const;
    /// Borrowed; null if the index is out of range.
    const char* textAt(std::int64_t index) const;
    bool isTextEqual(std::string_view wanted) const;

    // For numbers of any type. Values are interpolated linearly between samples; the first sample
    // holds before it and the last one after it.
    std::int64_t count() const;
    std::int64_t tupleSize() const;
    std::int64_t sampleCount() const;
    std::vector<float> sampleTimes() const;
    /// Writes the first `wanted` values. Returns false, and writes nothing, if there are fewer.
    bool read(double* out, std::int64_t wanted, float time = 0) const;
    /// Whether all samples have the same number of values.
    bool hasEqualSamples() const;
    /// All values of the sample nearest to the time.
    std::vector<float> floatsNearest(float time = 0) const;
    /// All values at a time. A value that is not finite is replaced by that of the nearest sample.
    std::vector<float> floatsAt(float time) const;
    /// All values of an integer attribute.
    std::vector<std::int32_t> ints() const;
    double number(double otherwise) const;

private:
    Attribute(const OxAttributeSuite_v4& suite, OxAttributeStruct* handle)
        : table(&suite), handle(handle) {}

    const OxAttributeSuite_v4* table = nullptr;
    OxAttributeStruct* handle = nullptr;
};

} // namespace lantern

#endif
