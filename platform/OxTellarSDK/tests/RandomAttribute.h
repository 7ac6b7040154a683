#ifndef OXTELLARSDK_TESTS_RANDOMATTRIBUTE_H
#define OXTELLARSDK_TESTS_RANDOMATTRIBUTE_H

#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>

/// Attributes of every kind from a fixed seed. They are the same on every machine because they use
/// the numbers of the engine directly, without a distribution of the standard library.
class RandomAttribute {
public:
    explicit RandomAttribute(std::uint64_t seed) : engine(seed) {}

    OxAttribute::Attribute make(int depth) {
        switch (below(depth > 0 ? 7 : 5)) {
        case 0:
            return OxAttribute::NullAttribute();
        case 1:
            return numbers<std::int32_t>();
        case 2:
            return numbers<float>();
        case 3:
            return numbers<double>();
        case 4:
            return strings();
        default:
            return group(depth - 1);
        }
    }

    OxAttribute::GroupAttribute group(int depth) {
        std::vector<OxAttribute::GroupAttribute::Child> children(below(6));
        for (auto& child : children)
            child = {bytes(), make(depth)};
        return OxAttribute::GroupAttribute(children, below(4) != 0);
    }

    std::uint64_t below(std::uint64_t limit) { return engine() % limit; }

private:
    std::mt19937_64 engine;

    /// Any bit pattern now and then, so that NaNs with payloads and denormals occur.
    template <typename T>
    T number() {
        constexpr T kSpecial[] = {T(0),
                                  T(1),
                                  T(-1),
                                  std::numeric_limits<T>::max(),
                                  std::numeric_limits<T>::lowest(),
                                  std::numeric_limits<T>::min()};
        if (below(2) == 0) return kSpecial[below(std::size(kSpecial))];
        const std::uint64_t bits = engine();
        T value;
        std::memcpy(&value, &bits, sizeof(value));
        return value;
    }

    /// UTF-8 most of the time, else any bytes.
    std::string bytes() {
        const char* const pieces[] = {"a",    "Z9", ".",    "$type", "\"", "\\", "<&>", " ",
                                      "\n\t", "é",  "日本", "😀",     "/",  "x",  "\x7f"};
        std::string result;
        for (std::uint64_t n = below(5); n > 0; --n)
            result += pieces[below(std::size(pieces))];
        if (below(8) == 0) result += static_cast<char>(below(256));
        return result;
    }

    std::int64_t tupleSize() {
        return below(3) == 0 ? 1 + static_cast<std::int64_t>(below(20)) : 1;
    }
    std::uint64_t count() { return below(4) == 0 ? below(70) : below(4); }

    std::vector<float> times() {
        if (below(3) != 0) return {0.0f};
        std::vector<float> result;
        float time = static_cast<float>(below(100)) / 7.0f - 5.0f;
        for (std::uint64_t n = 1 + below(4); n > 0; --n) {
            result.push_back(time);
            time += static_cast<float>(1 + below(50)) / 3.0f;
        }
        return result;
    }

    template <typename T>
    OxAttribute::Attribute numbers() {
        const std::uint64_t values = count();
        std::map<float, std::vector<T>> samples;
        for (const float time : times())
            for (std::vector<T>& sample = samples[time]; sample.size() < values;)
                sample.push_back(number<T>());
        return OxAttribute::NumericAttribute<T>(samples, tupleSize());
    }

    OxAttribute::Attribute strings() {
        const std::uint64_t values = count();
        std::map<float, std::vector<std::string>> samples;
        for (const float time : times())
            for (std::vector<std::string>& sample = samples[time]; sample.size() < values;)
                sample.push_back(bytes());
        return OxAttribute::StringAttribute(samples, tupleSize());
    }
};

#endif
