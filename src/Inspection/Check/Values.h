#ifndef TELLAR_CHECK_VALUES_H
#define TELLAR_CHECK_VALUES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

// Reading attributes that may hold anything.

/// Calls `visit(numbers)` with the attribute as one of its numeric type. Returns false, without a
/// call, if it has another type.
template <typename Visit>
bool VisitNumbers(const OxAttribute::Attribute& attribute, const Visit& visit) {
    switch (attribute.getType()) {
    case kAttributeTypeInt:
        visit(OxAttribute::IntAttribute(attribute));
        return true;
    case kAttributeTypeFloat:
        visit(OxAttribute::FloatAttribute(attribute));
        return true;
    case kAttributeTypeDouble:
        visit(OxAttribute::DoubleAttribute(attribute));
        return true;
    default:
        return false;
    }
}

/// The size of an attribute that holds values.
struct ValueCount {
    std::int64_t values = 0; ///< in one time sample
    std::int64_t tupleSize = 0;
    std::int64_t times = 0;
};

/// Nothing for groups, nulls and invalid attributes.
std::optional<ValueCount> CountValues(const OxAttribute::Attribute& attribute);

bool IsNumeric(const OxAttribute::Attribute& attribute);
/// Whether all numbers are finite, in all time samples. True for what holds no numbers.
bool AreFinite(const OxAttribute::Attribute& attribute);

/// The numbers of the sample nearest to time 0 as doubles; empty if there are none. Only for short
/// attributes.
std::vector<double> NumbersOf(const OxAttribute::Attribute& attribute);
/// The first of them; nothing if there is none.
std::optional<double> NumberOf(const OxAttribute::Attribute& attribute);

/// The integers of the sample nearest to time 0. `isSound` is false if the attribute is there and
/// holds something else.
struct Integers {
    OxAttribute::ConstSample<std::int32_t> values;
    bool isSound = true;
};
Integers IntegersOf(const OxAttribute::Attribute& attribute);

/// The child with just this name, dots included; invalid if there is none.
OxAttribute::Attribute ChildOf(const OxAttribute::GroupAttribute& group, std::string_view name);

/// The text of a string attribute; empty for anything else.
std::string_view TextOf(const OxAttribute::Attribute& attribute);

/// The name between quotation marks, as valid UTF-8 without control characters: other bytes become
/// "\x1b". A long name is cut.
std::string Quoted(std::string_view name);

/// "1 point", "8 points".
std::string Counted(std::int64_t count, std::string_view noun);

/// "there is 1 point", "there are 8 points".
std::string ThereAre(std::int64_t count, std::string_view noun);

/// The number with as many digits as people need.
std::string NumberText(double value);

} // namespace TELLAR

#endif
