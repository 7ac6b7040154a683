#ifndef LANTERN_READING_ATTRIBUTE_H
#define LANTERN_READING_ATTRIBUTE_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/AttributeSuite.h>

#include "SceneData.h"

namespace lantern {

/// 128 bits of a content; all 0 for nothing.
struct Hash {
    std::uint64_t words[2] = {0, 0};

    bool operator==(const Hash& other) const {
        return words[0] == other.words[0] && words[1] == other.words[1];
    }
    bool operator!=(const Hash& other) const { return !(*this == other); }
    explicit operator bool() const { return words[0] != 0 || words[1] != 0; }
    /// That of both in this order.
    Hash with(const Hash& next) const;
    std::string text() const;
};

struct HashOfHash {
    std::size_t operator()(const Hash& hash) const {
        return static_cast<std::size_t>(hash.words[0]);
    }
};

/// A scene's value, kept as long as this lives; it may be none. Copies share it. What is asked of a
/// value of another type is answered as for none.
class Attribute {
public:
    Attribute() = default;
    /// Of a handle that carries a reference already, or null.
    static Attribute owning(const OxAttributeSuite_v1& suite, OxAttributeStruct* handle);
    /// Of a handle that somebody else keeps.
    static Attribute sharing(const OxAttributeSuite_v1& suite, OxAttributeStruct* handle);
    Attribute(const Attribute& other);
    Attribute(Attribute&& other) noexcept;
    Attribute& operator=(Attribute other) noexcept;
    ~Attribute();

    explicit operator bool() const { return handle != nullptr; }
    OxAttributeStruct* get() const { return handle; }
    /// That of whatever has a value.
    const OxAttributeSuite_v1& suite() const { return *table; }
    Hash hash() const;

    bool isGroup() const;
    bool isText() const;
    bool isNumeric() const;
    bool isInt() const;

    // Groups.
    std::int64_t childCount() const;
    /// Borrowed; "" when out of range.
    const char* childName(std::int64_t index) const;
    Attribute childAt(std::int64_t index) const;
    /// By dotted path.
    Attribute child(const char* path) const;
    Attribute child(const std::string& path) const { return child(path.c_str()); }

    // Texts.
    std::string text(const std::string& otherwise = {}) const;
    /// Borrowed; null when out of range.
    const char* textAt(std::int64_t index) const;
    bool isTextEqual(std::string_view wanted) const;

    // Numbers of any type. Samples are joined linearly; before the first and after the last one,
    // these hold.
    std::int64_t count() const;
    std::int64_t tupleSize() const;
    std::int64_t sampleCount() const;
    std::vector<float> sampleTimes() const;
    /// The first `wanted` values; false, and nothing written, when there are fewer.
    bool read(double* out, std::int64_t wanted, float time = 0) const;
    /// Whether all samples have equally many values.
    bool hasEqualSamples() const;
    /// All values of the sample nearest to the time.
    std::vector<float> floatsNearest(float time = 0) const;
    /// All values at a time; what is none becomes that of the nearest sample.
    std::vector<float> floatsAt(float time) const;
    /// All values of integers.
    std::vector<std::int32_t> ints() const;
    double number(double otherwise) const;

private:
    Attribute(const OxAttributeSuite_v1& suite, OxAttributeStruct* handle)
        : table(&suite), handle(handle) {}

    const OxAttributeSuite_v1* table = nullptr;
    OxAttributeStruct* handle = nullptr;
};

} // namespace lantern

#endif
