#ifndef TELLAR_TESTS_REFERENCECOUNT_H
#define TELLAR_TESTS_REFERENCECOUNT_H

#include <cstdint>
#include <cstring>

#include <OxTellarSDK/Attribute.h>

/// How many references a value in memory has. Its second word counts them.
inline std::uint32_t CountReferences(const OxAttribute::Attribute& value) {
    std::uint32_t count = 0;
    std::memcpy(&count, reinterpret_cast<const char*>(value.getHandle()) + sizeof count,
                sizeof count);
    return count;
}

#endif
