#ifndef TELLAR_TEST_VIRTUALSLOT_H
#define TELLAR_TEST_VIRTUALSLOT_H

#include <cstddef>
#include <cstring>

/// Where GCC and Clang (Itanium C++ ABI) put virtual functions, so that tests can hold the order
/// of virtual functions fixed, on which programs compiled earlier rely.
#if defined(__GNUC__)
#define TELLAR_TEST_HAS_VIRTUAL_SLOTS 1

/// The place of a virtual function in its class's table, counting the destructor as one place,
/// number 0. Negative when the function is not virtual or the class has no destructor in front.
template <typename MemberFunction>
int VirtualSlot(MemberFunction function) {
    struct {
        std::ptrdiff_t pointer;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof parts == sizeof function, "not the member pointers of this ABI");
    std::memcpy(&parts, &function, sizeof parts);
#if defined(__aarch64__) || defined(__arm__)
    if ((parts.adjustment & 1) == 0) return -1;
    const std::ptrdiff_t offset = parts.pointer;
#else
    if ((parts.pointer & 1) == 0) return -1;
    const std::ptrdiff_t offset = parts.pointer - 1;
#endif
    // A virtual destructor takes two entries there.
    return static_cast<int>(offset / static_cast<std::ptrdiff_t>(sizeof(void*))) - 1;
}

#endif

#endif
