#include "MemoryText.h"

#include <cstdio>

#include "JsonText.h"
#include "Table.h"

namespace TellarTool {

namespace {

using OxTellarMemory::CacheStatistics;
using OxTellarMemory::MemoryStatistics;

std::string Mebibytes(std::uint64_t bytes) {
    char text[40];
    std::snprintf(text, sizeof(text), "%.1f MiB", double(bytes) / (1 << 20));
    return text;
}

std::string LimitText(std::uint64_t limit) {
    return limit == OxTellarMemory::kUnlimitedMemory ? "unlimited" : Mebibytes(limit);
}

bool WasUsed(const CacheStatistics& cache) {
    return cache.entries + cache.peak + cache.hits + cache.misses + cache.drops > 0;
}

std::string CacheJson(const CacheStatistics& cache) {
    return JsonObject()
        .add("name", cache.name)
        .addJson("entries", std::to_string(cache.entries))
        .addJson("bytes", std::to_string(cache.bytes))
        .addJson("peak", std::to_string(cache.peak))
        .addJson("hits", std::to_string(cache.hits))
        .addJson("misses", std::to_string(cache.misses))
        .addJson("drops", std::to_string(cache.drops))
        .line();
}

} // namespace

std::string MemoryText(const MemoryStatistics& memory) {
    std::string text = "cached       " + Mebibytes(memory.bytes) + ", at most " +
                       Mebibytes(memory.peak) + " (limit: " + LimitText(memory.limit) + ")\n";
    if (memory.beyondLimit > 0)
        text += "in use       " + Mebibytes(memory.beyondLimit) + " beyond the limit\n";
    Table table = {{"cache", "entries", "size", "peak", "hits", "misses", "drops"}};
    for (const CacheStatistics& cache : memory.caches)
        if (WasUsed(cache))
            table.push_back({cache.name, std::to_string(cache.entries), Mebibytes(cache.bytes),
                             Mebibytes(cache.peak), std::to_string(cache.hits),
                             std::to_string(cache.misses), std::to_string(cache.drops)});
    if (table.size() == 1) return text;
    text += '\n';
    AppendTable(text, table);
    return text;
}

std::string MemoryJson(const MemoryStatistics& memory) {
    std::vector<std::string> caches;
    for (const CacheStatistics& cache : memory.caches)
        caches.push_back(CacheJson(cache));
    const bool isLimited = memory.limit != OxTellarMemory::kUnlimitedMemory;
    return JsonObject()
        .addJson("limit", isLimited ? std::to_string(memory.limit) : "null")
        .addJson("bytes", std::to_string(memory.bytes))
        .addJson("peak", std::to_string(memory.peak))
        .addJson("beyondLimit", std::to_string(memory.beyondLimit))
        .addJson("reliefs", std::to_string(memory.reliefs))
        .addJson("caches", JsonArray(caches))
        .line();
}

} // namespace TellarTool
