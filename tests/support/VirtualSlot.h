#ifndef TELLAR_TEST_VIRTUALSLOT_H
#define TELLAR_TEST_VIRTUALSLOT_H

#include <cstddef>
#include <cstring>
#include <string>
#include <typeinfo>
#include <vector>

#if defined(__GLIBC__)
#include <dlfcn.h>
#include <link.h>
#endif

/// The places of virtual functions in the tables of GCC and Clang (Itanium C++ ABI). Tests compare
/// them with the order that programs compiled earlier rely on.
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

#if defined(TELLAR_TEST_HAS_VIRTUAL_SLOTS) && defined(__GLIBC__)
#define TELLAR_TEST_HAS_VIRTUAL_TABLES 1

/// The class's table of virtual functions, as long as its symbol says: both entries of the
/// destructor as one, then the function of each slot.
template <typename Class>
std::vector<const void*> VirtualTable() {
    const std::string symbol = std::string("_ZTV") + typeid(Class).name();
    const void* const table = dlsym(RTLD_DEFAULT, symbol.c_str());
    Dl_info about;
    void* entry = nullptr;
    if (!table || !dladdr1(table, &about, &entry, RTLD_DL_SYMENT) || !entry) return {};
    const std::size_t bytes = static_cast<const ElfW(Sym)*>(entry)->st_size;
    // In front are the offset to the whole object, the type, and one of the destructors.
    const auto* const words = static_cast<const void* const*>(table);
    return std::vector<const void*>(words + 3, words + bytes / sizeof *words);
}

/// The entry of such a table for a function that derived classes must define.
inline const void* PureVirtual() {
    return dlsym(RTLD_DEFAULT, "__cxa_pure_virtual");
}

#endif

#endif
