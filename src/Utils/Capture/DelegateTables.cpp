#include "DelegateTables.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>

namespace TELLAR {

namespace {

using Suite = OxScenegraphLocationDelegatePluginSuite_v1;

// The functions of a table know nothing but their arguments, so each table has functions of its
// own, which are made for so many tables.
constexpr std::size_t kMostTables = 64;

struct DelegateTable {
    std::string name;
    Suite suite{};
    std::shared_ptr<const Replacement> replacement;
};

struct DelegateTables {
    std::mutex lock;
    std::size_t count = 0;
    std::array<DelegateTable, kMostTables> tables;
};

/// Never destroyed: plug-ins keep tables to the end of the process.
DelegateTables& GetTables() {
    static auto* const tables = new DelegateTables;
    return *tables;
}

template <std::size_t index>
OxAttributeStruct* GetReplacement(OxLocationDelegateInstance instance,
                                  OxSgIteratorStruct* location) {
    DelegateTables& all = GetTables();
    std::shared_ptr<const Replacement> replacement;
    {
        const std::lock_guard<std::mutex> guard(all.lock);
        replacement = all.tables[index].replacement;
    }
    return (*replacement)(instance, location);
}

using GetReplacementFunction = OxAttributeStruct* (*)(OxLocationDelegateInstance,
                                                      OxSgIteratorStruct*);

template <std::size_t... index>
constexpr std::array<GetReplacementFunction, kMostTables>
MakeFunctions(std::index_sequence<index...>) {
    return {GetReplacement<index>...};
}

constexpr auto kFunctions = MakeFunctions(std::make_index_sequence<kMostTables>());

/// A delegate without instances, which serves what the host says it does.
Suite EmptySuite() {
    Suite suite{};
    suite.create = []() -> OxLocationDelegateInstance { return nullptr; };
    suite.destroy = [](OxLocationDelegateInstance) {};
    suite.getSupportedRenderer = [](OxLocationDelegateInstance) -> OxAttributeStruct* {
        return nullptr;
    };
    suite.getSupportedLocationTypes = suite.getSupportedRenderer;
    return suite;
}

} // namespace

Suite* MakeDelegateTable(const std::string& name, const Suite* next, Replacement replacement) {
    DelegateTables& all = GetTables();
    const std::lock_guard<std::mutex> guard(all.lock);
    std::size_t index = 0;
    while (index < all.count && all.tables[index].name != name)
        ++index;
    if (index == kMostTables) return nullptr;
    if (index == all.count) ++all.count;
    DelegateTable& table = all.tables[index];
    table.name = name;
    Suite suite = next ? *next : EmptySuite();
    suite.getReplacement = kFunctions[index];
    // Plug-ins read the table without the lock, so it is not written again for equal functions.
    if (std::memcmp(&table.suite, &suite, sizeof suite) != 0) table.suite = suite;
    table.replacement = std::make_shared<const Replacement>(std::move(replacement));
    return &table.suite;
}

} // namespace TELLAR
