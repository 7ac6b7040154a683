#ifndef TELLAR_PLATFORM_SUITETABLE_H
#define TELLAR_PLATFORM_SUITETABLE_H

#include <cstddef>
#include <type_traits>

// Tables of functions for C code. The order of their slots is the contract, so each slot is checked
// by its number in the function that fills the table.
//
//     constexpr OxShutterHostSuite_v1 MakeSuite() {
//         static_assert(sizeof(OxShutterHostSuite_v1) == 2 * sizeof(void*));
//         OxShutterHostSuite_v1 suite{};
//         TELLAR_SET_SLOT(suite, 0, retain, Retain);
//         TELLAR_SET_SLOT(suite, 1, release, Release);
//         return suite;
//     }
//
// The table of an older version takes its functions from the newer one's: suite.retain. In tables
// that begin with the members `size` and `version`, slot 0 is the one behind these.

namespace TELLAR {

/// The number of bytes before slot 0: those of the members `size` and `version` in tables that have
/// them, otherwise none.
template <typename Table, typename = void>
inline constexpr std::size_t kSlotsBegin = 0;
template <typename Table>
inline constexpr std::size_t
    kSlotsBegin<Table, std::void_t<decltype(Table::size), decltype(Table::version)>> =
        sizeof(Table::size) + sizeof(Table::version);

} // namespace TELLAR

/// Does not compile unless `member` is in slot `index` of the table and as large as a pointer.
#define TELLAR_CHECK_SLOT(Table, index, member)                                                    \
    static_assert(offsetof(Table, member) ==                                                       \
                      TELLAR::kSlotsBegin<Table> + (index) * sizeof(void*) &&                      \
                  sizeof(Table::member) == sizeof(void*))

/// Checks the slot and sets it.
#define TELLAR_SET_SLOT(table, index, member, value)                                               \
    TELLAR_CHECK_SLOT(std::remove_reference_t<decltype(table)>, index, member);                    \
    (table).member = value

#endif
