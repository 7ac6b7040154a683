// Writing and reading of op files, compared with plain writing and reading of the same bytes.

#include <algorithm>
#include <cstdio>
#include <string>

#include <unistd.h>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/AttributeStream.h>

#include "Measure.h"
#include "PlainFile.h"
#include "Rows.h"
#include "Scene.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

constexpr int kPasses = 3;
constexpr double kMegabyte = 1e6;

std::int64_t GetLeaves() {
    return std::min(GetOptions().leaves, kMostFileLeaves);
}

/// A file for this process in the folder of the scenes, which the destructor removes.
class ScratchFile {
public:
    ScratchFile() : path(GetOptions().scenes + "/scratch_" + std::to_string(::getpid())) {}
    ~ScratchFile() { remove(); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    const std::string& getPath() const { return path; }
    void remove() const { std::remove(path.c_str()); }

private:
    const std::string path;
};

/// A checksum of the content and the length of an op file.
Checksum SumContent(const GroupAttribute& description, std::int64_t bytes) {
    return {description.getHash().uint64(), bytes};
}

/// The seconds of one run, which writes a new file.
template <typename Write>
double TimeWrite(const ScratchFile& file, const Write& write) {
    file.remove();
    const Stopwatch watch;
    write(file.getPath());
    return watch.seconds();
}

void CompareWriting(Row& row) {
    const GroupAttribute description = DescribeScene(GetLeaves());
    const std::string bytes = ReadWhole(GetScenePath(GetLeaves()));
    const ScratchFile opFile;
    double librarySeconds = 0;
    double plainSeconds = 0;
    for (int pass = 0; pass < kPasses; ++pass) {
        librarySeconds +=
            TimeWrite(opFile, [&](const std::string& path) { WriteOpFile(path, description); });
        const std::string written = ReadWhole(opFile.getPath());
        row.verify(
            SumContent(ReadOpFile(opFile.getPath()), static_cast<std::int64_t>(written.size())),
            SumContent(description, static_cast<std::int64_t>(bytes.size())));
        plainSeconds +=
            TimeWrite(opFile, [&](const std::string& path) { WriteWhole(path, bytes); });
    }
    const double megabytes = static_cast<double>(bytes.size()) / kMegabyte * kPasses;
    row.report("mb_per_s", megabytes / librarySeconds, megabytes / plainSeconds);
    row.finish(librarySeconds);
}

void CompareReading(Row& row) {
    const std::string path = GetScenePath(GetLeaves());
    const Checksum expected = SumContent(DescribeScene(GetLeaves()), ReadThrough(path));
    double librarySeconds = 0;
    double plainSeconds = 0;
    for (int pass = 0; pass < kPasses; ++pass) {
        const Stopwatch libraryWatch;
        const GroupAttribute description = ReadOpFile(path);
        const std::uint64_t hash = description.getHash().uint64(); // reads every value
        librarySeconds += libraryWatch.seconds();
        const Stopwatch plainWatch;
        const std::int64_t bytes = ReadThrough(path);
        plainSeconds += plainWatch.seconds();
        row.verify({hash, bytes}, expected);
    }
    const double megabytes = static_cast<double>(expected.locations) / kMegabyte * kPasses;
    row.report("mb_per_s", megabytes / librarySeconds, megabytes / plainSeconds);
    row.finish(librarySeconds);
}

} // namespace

void AddFileRows() {
    AddRow("write_op_file", 1, CompareWriting);
    AddRow("read_op_file", 1, CompareReading);
}

} // namespace TellarBench
