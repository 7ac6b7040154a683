// The first walk of a scene in a compressed op file, compared with that of the plain file, and the
// sizes of both files.

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <vector>

#include "Measure.h"
#include "PointerTree.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

namespace TellarBench {

namespace {

constexpr int kPasses = 3;

/// The seconds of a first walk, in a process that has cooked nothing.
double TimeFirstWalk(const Row& row, const std::string& file, const Checksum& expected) {
    return MeasureInChild([&]() -> std::vector<double> {
               const Producer root = kSync.openFile(file);
               const Stopwatch watch;
               const Checksum sum = WalkNames(root.get());
               const double seconds = watch.seconds();
               row.verify(sum, expected);
               return {seconds};
           })
        .at(0);
}

/// In a process of its own: the walks would share the memory that the tree leaves behind, and would
/// first have to tidy it up.
Checksum SumOfTree(std::int64_t leaves) {
    const std::vector<double> parts = MeasureInChild([&]() -> std::vector<double> {
        const Checksum sum = WalkNames(static_cast<const Node*>(BuildTree(leaves).get()));
        return {double(sum.value >> 32), double(sum.value & 0xffffffff), double(sum.locations)};
    });
    const auto high = static_cast<std::uint64_t>(parts.at(0));
    return {high << 32 | static_cast<std::uint64_t>(parts.at(1)),
            static_cast<std::int64_t>(parts.at(2))};
}

double Median(std::array<double, kPasses> seconds) {
    std::sort(seconds.begin(), seconds.end());
    return seconds[kPasses / 2];
}

double GetBytesPerLeaf(const std::string& file) {
    return static_cast<double>(std::filesystem::file_size(file)) /
           static_cast<double>(GetOptions().leaves);
}

void CompareWithPlain(Row& row) {
    const std::int64_t leaves = GetOptions().leaves;
    const std::string plainFile = GetScenePath(leaves);
    const std::string compressedFile = GetCompressedScenePath(leaves);
    const Checksum expected = SumOfTree(leaves);
    std::array<double, kPasses> plain{};
    std::array<double, kPasses> compressed{};
    for (int pass = 0; pass < kPasses; ++pass) {
        compressed[pass] = TimeFirstWalk(row, compressedFile, expected);
        plain[pass] = TimeFirstWalk(row, plainFile, expected);
    }
    const double perLocation = 1e9 / static_cast<double>(CountLocations(leaves));
    row.report("ns", Median(compressed) * perLocation, Median(plain) * perLocation);
    row.report("walks", Median(compressed) / Median(plain));
    row.report("plain_bytes", GetBytesPerLeaf(plainFile));
    row.report("compressed_bytes", GetBytesPerLeaf(compressedFile));
    row.finish(Median(compressed));
}

} // namespace

void AddCompressedRows() {
    AddRow("compressed_walk", 1, CompareWithPlain);
}

} // namespace TellarBench
