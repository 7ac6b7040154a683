#include "CheckedUnits.h"

#include <cstdint>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "RunTogether.h"

namespace {

using OxAttribute::CheckedUnits;

constexpr std::uint64_t kCount = 100000;

/// All units that are there.
std::vector<std::uint64_t> UnitsIn(const CheckedUnits& checked) {
    std::vector<std::uint64_t> found;
    for (std::uint64_t unit = 0; unit < kCount; ++unit)
        if (checked.contains(unit)) found.push_back(unit);
    return found;
}

std::vector<std::uint64_t> EveryUnit(std::uint64_t step) {
    std::vector<std::uint64_t> units;
    for (std::uint64_t unit = step / 2; unit < kCount; unit += step)
        units.push_back(unit);
    return units;
}

CheckedUnits Checked(const std::vector<std::uint64_t>& units) {
    CheckedUnits checked(kCount);
    for (const std::uint64_t unit : units)
        checked.add(unit);
    return checked;
}

TEST(CheckedUnits, AreNoneAtFirst) {
    EXPECT_EQ(UnitsIn(CheckedUnits(kCount)), std::vector<std::uint64_t>());
}

TEST(CheckedUnits, AreThoseThatWereAddedHoweverDense) {
    for (const std::uint64_t step : {1u, 2u, 7u, 63u, 64u, 65u, 102u, 256u, 999u, 40000u}) {
        SCOPED_TRACE(step);
        const std::vector<std::uint64_t> units = EveryUnit(step);
        EXPECT_EQ(UnitsIn(Checked(units)), units);
    }
}

TEST(CheckedUnits, OfADensePlaceAreToldFromTheirNeighbours) {
    std::set<std::uint64_t> units;
    for (std::uint64_t i = 0; i < 2000; ++i)
        units.insert(i % 5 == 0 ? i * 49 : 50000 + i * i % 1500);
    const CheckedUnits checked = Checked({units.begin(), units.end()});
    EXPECT_EQ(UnitsIn(checked), std::vector<std::uint64_t>(units.begin(), units.end()));
}

TEST(CheckedUnits, AreForgottenInARange) {
    for (const std::uint64_t step : {3u, 102u}) {
        SCOPED_TRACE(step);
        CheckedUnits checked = Checked(EveryUnit(step));
        checked.remove(30000, 60000);
        std::uint64_t left = 0;
        for (const std::uint64_t unit : UnitsIn(checked)) {
            EXPECT_TRUE(unit < 30000 || unit >= 60000) << unit;
            ++left;
        }
        EXPECT_GT(left, 70000 / step - 10000 / step);
        checked.remove(0, kCount);
        EXPECT_EQ(UnitsIn(checked), std::vector<std::uint64_t>());
    }
}

TEST(CheckedUnits, CanBeAddedAgainAfterTheyWereForgotten) {
    const std::vector<std::uint64_t> units = EveryUnit(20);
    CheckedUnits checked = Checked(units);
    checked.remove(100, 70000);
    for (const std::uint64_t unit : units)
        checked.add(unit);
    EXPECT_EQ(UnitsIn(checked), units);
}

TEST(CheckedUnits, TakeNoUnitsFromAnEmptyRange) {
    CheckedUnits checked = Checked({0, 500});
    checked.remove(0, 0);
    EXPECT_EQ(UnitsIn(checked), (std::vector<std::uint64_t>{0, 500}));
}

TEST(CheckedUnits, AreAddedByManyThreadsAtOnce) {
    constexpr int kThreads = 8;
    for (const std::uint64_t step : {11u, 60u}) {
        CheckedUnits checked(kCount);
        const std::vector<std::uint64_t> units = EveryUnit(step);
        RunTogether(kThreads, [&](int thread) {
            for (std::size_t i = 0; i < units.size(); ++i)
                if (i % kThreads == static_cast<std::size_t>(thread) || i % 5 == 0)
                    checked.add(units[i]);
        });
        EXPECT_EQ(UnitsIn(checked), units);
    }
}

TEST(CheckedUnits, ShowWhatWasWrittenBeforeTheyWereAdded) {
    CheckedUnits checked(kCount);
    std::vector<int> values(kCount);
    RunTogether(2, [&](int thread) {
        for (std::uint64_t unit = 0; unit < kCount; unit += 3) {
            if (thread == 1) {
                if (checked.contains(unit)) {
                    EXPECT_EQ(values[unit], 5);
                }
                continue;
            }
            values[unit] = 5;
            checked.add(unit);
        }
    });
}

} // namespace
