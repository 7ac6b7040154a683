#include <string>

#include <OxTellarSDK/MemoryBudget.h>
#include <OxTellarSDK/TellarError.h>
#include <nanobind/stl/string.h>

#include "Classes.h"
#include "Unlocked.h"

namespace nb = nanobind;

namespace TellarPython {

namespace {

using namespace OxTellarMemory;

void SetLimit(std::uint64_t bytes) {
    Unlocked([&] {
        SetMemoryLimit(bytes);
        return true;
    });
}

void SetLimitText(const std::string& size) {
    std::string error;
    const auto bytes = ParseMemorySize(size, &error);
    if (!bytes) throw TellarError(kOxErrorValue, error);
    SetLimit(*bytes);
}

nb::dict DictOf(const CacheStatistics& cache) {
    nb::dict dict;
    dict["entries"] = cache.entries;
    dict["bytes"] = cache.bytes;
    dict["peak"] = cache.peak;
    dict["hits"] = cache.hits;
    dict["misses"] = cache.misses;
    dict["drops"] = cache.drops;
    return dict;
}

nb::dict Statistics() {
    const MemoryStatistics memory = GetMemoryStatistics();
    nb::dict caches;
    for (const CacheStatistics& cache : memory.caches)
        caches[nb::str(cache.name.c_str())] = DictOf(cache);
    nb::dict dict;
    dict["limit"] = memory.limit;
    dict["bytes"] = memory.bytes;
    dict["peak"] = memory.peak;
    dict["beyond_limit"] = memory.beyondLimit;
    dict["reliefs"] = memory.reliefs;
    dict["caches"] = caches;
    return dict;
}

} // namespace

void AddMemory(nb::module_& module) {
    module.def(
        "memory_limit", &GetMemoryLimit,
        "The limit, in bytes, of the memory for all that the process keeps although it could be\n"
        "made again, such as results of cooks. 2**64 - 1 if there is none.");
    module.def(
        "set_memory_limit", &SetLimit, nb::arg("limit"),
        "Sets memory_limit(), in bytes or as a text such as \"2G\" or \"unlimited\", and drops\n"
        "what exceeds it. What is in use stays. Less than 1 MiB counts as 1 MiB.");
    module.def("set_memory_limit", &SetLimitText, nb::arg("limit"));
    module.def(
        "memory_statistics", &Statistics, nb::sig("def memory_statistics() -> dict[str, Any]"),
        "What caches keep: \"limit\", \"bytes\", \"peak\" and \"beyond_limit\" in bytes,\n"
        "\"reliefs\", which is how often memory was freed, and \"caches\", a dict from names\n"
        "to \"entries\", \"bytes\", \"peak\", \"hits\", \"misses\" and \"drops\".");
    module.def("reset_memory_statistics", &ResetMemoryStatistics,
               "Counts hits, misses, drops and reliefs from 0 again, and peaks from now on.");
}

} // namespace TellarPython
