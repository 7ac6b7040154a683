#ifndef OXTELLARSDK_TESTS_CARELESSREADER_H
#define OXTELLARSDK_TESTS_CARELESSREADER_H

#include <cmath>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>

#include <OxTellarSDK/Attribute.h>

/// A program that uses every value without a check, for tests of damaged files.
namespace Damaged {

using namespace OxAttribute;

/// Calls every getter of a value without a check.
class Reader {
public:
    std::uint64_t read(const Attribute& attribute) {
        sum += static_cast<std::uint64_t>(attribute.getType() + 2);
        readData(IntAttribute(attribute));
        readData(FloatAttribute(attribute));
        readData(DoubleAttribute(attribute));
        readStrings(StringAttribute(attribute));
        const GroupAttribute group(attribute);
        readStrings(group.getChildNames());
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            const std::string_view name = group.getChildNameView(i);
            sum += name.size() + static_cast<std::uint64_t>(name.data()[name.size()] == '\0');
            if (group.findChild(name) != i) throw std::logic_error("a child is not found");
            if (group.getChild(name, i).getHandle() != group.getChildByIndex(i).getHandle())
                throw std::logic_error("another child is found");
            if (++children > kMaximumChildren) throw std::logic_error("a tree without end");
            read(group.getChildByIndex(i));
        }
        return sum;
    }

private:
    // Every child has an entry of 16 bytes in a file of a few kilobytes.
    static constexpr std::uint64_t kMaximumChildren = 100000;

    template <typename T>
    void readData(const NumericAttribute<T>& data) {
        for (std::int64_t i = 0; i < data.getNumberOfTimeSamples(); ++i)
            for (const T value : data.getNearestSample(data.getSampleTime(i)))
                sum += !std::isnan(static_cast<double>(value));
        T values[4];
        data.fillInterpSample(values, 4, 0.3f, T(1), false);
        sum += static_cast<std::uint64_t>(data.getNumberOfTuples());
    }

    void readStrings(const StringAttribute& strings) {
        for (std::int64_t i = 0; i < strings.getNumberOfTimeSamples(); ++i)
            for (const std::string_view value : strings.getSample(i))
                sum += std::strlen(value.data()) + std::string(value).size();
    }

    std::uint64_t sum = 0;
    std::uint64_t children = 0;
};

} // namespace Damaged

#endif
